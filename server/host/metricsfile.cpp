#include "server/host/metricsfile.h"

#include <QDebug>
#include <QFile>
#include <QSaveFile>

#include <utility>

namespace server::host {

MetricsFile::MetricsFile(const QString &path, std::function<QByteArray()> text, QObject *parent)
    : QObject(parent), m_path(path), m_text(std::move(text))
{
    connect(&m_timer, &QTimer::timeout, this, [this] { write(); });
    m_timer.start(kIntervalMs);
    write();
}

MetricsFile::~MetricsFile()
{
    QFile::remove(m_path);
}

void MetricsFile::write()
{
    // Read by another user's program.
    constexpr QFile::Permissions kReadable = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    const QByteArray text = m_text();
    QSaveFile file(m_path);
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(text) == text.size() &&
                           file.setPermissions(kReadable) && file.commit();
    if (isWritten == !m_isFailing)
        return;
    m_isFailing = !isWritten;
    if (m_isFailing)
        qWarning().noquote() << "MetricsFile::write can't write" << m_path << file.errorString();
    else
        qWarning().noquote() << "MetricsFile::write" << m_path << "is written again";
}

} // namespace server::host
