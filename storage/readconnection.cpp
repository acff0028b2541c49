#include "storage/readconnection.h"

namespace storage {

ReadConnection::ReadConnection(const QString &path, const std::optional<FileState> &only)
    : m_connection("reader", path, Access::ReadOnly, only)
{
}

ReadConnection::~ReadConnection()
{
    if (m_isReading)
        endRead();
}

Status ReadConnection::beginRead()
{
    if (m_isReading)
        return Status::Lasting;
    const char *where = "ReadConnection::beginRead()";
    if (const Status begun = m_connection.runCached(where, QStringLiteral("BEGIN")); !begun)
        return begun;
    // SQLite takes the state with the first row that is read.
    const Status taken = m_connection.runCached(where, QStringLiteral("SELECT count(*) FROM sqlite_master"), {},
                                                [](const QSqlQuery &) {});
    m_isReading = true;
    if (taken && isCurrent())
        return taken;
    endRead();
    return taken ? Status(Status::Passing) : taken;
}

Status ReadConnection::endRead()
{
    if (!m_isReading)
        return Status::Lasting;
    m_isReading = false;
    return m_connection.runCached("ReadConnection::endRead()", QStringLiteral("COMMIT"));
}

QString ReadConnection::configValue(const QString &key)
{
    return m_connection.configValue("ReadConnection::configValue()", key);
}

QAny ReadConnection::select(const QString &sql)
{
    return m_connection.select("ReadConnection::select()", sql);
}

Status ReadConnection::forEachRow(const QString &sql, const QVariantList &bindings,
                                  const std::function<void(const QSqlQuery &)> &reader)
{
    return m_connection.runCached("ReadConnection::forEachRow()", sql, bindings, reader);
}

} // namespace storage
