#include "storage/writehold.h"

#include <QDebug>

#include <atomic>

namespace storage {

namespace {

/// A name of its own for every connection of the process.
QString nextName()
{
    static std::atomic<quint64> count{0};
    return QStringLiteral("hold-%1").arg(++count);
}

} // namespace

WriteHold::WriteHold(const QString &path) : m_connection(nextName(), path), m_status(Status::Passing)
{
    if (m_connection.open(Access::ReadWrite)) {
        m_connection.runText(nullptr, QStringLiteral("PRAGMA busy_timeout=%1").arg(kPatienceMs));
        m_status = m_connection.runCached("WriteHold::WriteHold()", QStringLiteral("BEGIN IMMEDIATE"));
    } else {
        qWarning().noquote() << "WriteHold::WriteHold() can't open" << path;
    }
}

WriteHold::~WriteHold()
{
    if (m_status)
        m_connection.runCached("WriteHold::~WriteHold()", QStringLiteral("ROLLBACK"));
}

} // namespace storage
