#include "storage/writehold.h"

#include <QDebug>

namespace storage {

WriteHold::WriteHold(const QString &path, const std::optional<FileState> &only)
    : m_connection("hold", path, Access::ReadWrite, only), m_status(Status::Passing)
{
    if (m_connection.isOpen()) {
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
