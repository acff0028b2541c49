#include "storage/readconnection.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

namespace storage {

namespace {

/// A name of its own for every connection of the process.
QString nextName()
{
    static std::atomic<quint64> count{0};
    return QStringLiteral("reader-%1").arg(++count);
}

/// The files that are open, once for each connection.
struct OpenFiles {
    std::mutex mutex; // not Qt's: the thread sanitizer does not see into that library
    std::vector<FileState> files;

    auto find(const FileState &file)
    {
        return std::find_if(files.begin(), files.end(),
                            [&file](const FileState &other) { return other.isSameFile(file); });
    }
};

OpenFiles &openFiles()
{
    static OpenFiles theFiles;
    return theFiles;
}

} // namespace

ReadConnection::ReadConnection(const QString &path) : m_connection(nextName(), path), m_file(FileState::of(path))
{
    if (!m_file.isFile)
        return;
    {
        const std::lock_guard<std::mutex> locker(openFiles().mutex);
        openFiles().files.push_back(m_file);
    }
    // Another file may just have taken the place.
    if (m_connection.open(Access::ReadOnly) && !FileState::of(path).isSameFile(m_file))
        m_connection.close();
}

ReadConnection::~ReadConnection()
{
    if (m_isReading)
        endRead();
    m_connection.close();
    const std::lock_guard<std::mutex> locker(openFiles().mutex);
    const auto own = openFiles().find(m_file);
    if (own != openFiles().files.end())
        openFiles().files.erase(own);
}

bool ReadConnection::isAnyOpen(const FileState &file)
{
    const std::lock_guard<std::mutex> locker(openFiles().mutex);
    return openFiles().find(file) != openFiles().files.end();
}

bool ReadConnection::isCurrent() const
{
    return m_connection.isOpen() && FileState::of(m_connection.path()).isSameFile(m_file);
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
