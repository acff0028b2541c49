#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

namespace server::host {

/// Replaces a file by a text that is told anew, at once and then every interval, so that who reads it finds a whole
/// one. Where it cannot be written one warning line says so, and one that it can be again. Main thread.
class MetricsFile : public QObject
{
public:
    static constexpr int kIntervalMs = 15000;

    MetricsFile(const QString &path, std::function<QByteArray()> text, QObject *parent = nullptr);
    /// The figures of a server that has ended are nobody's.
    ~MetricsFile() override;

    void setInterval(int ms) { m_timer.setInterval(ms); }

private:
    void write();

    QString m_path;
    std::function<QByteArray()> m_text;
    QTimer m_timer;
    bool m_isFailing = false;
};

} // namespace server::host
