#include "storage/sideconnection.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

namespace storage {

namespace {

/// A name of its own for every connection of the process.
QString nextName(const char *kind)
{
    static std::atomic<quint64> count{0};
    return QStringLiteral("%1-%2").arg(QLatin1String(kind)).arg(++count);
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

SideConnection::SideConnection(const char *kind, const QString &path, Access access,
                               const std::optional<FileState> &only)
    : Connection(nextName(kind), path)
{
    const FileState found = FileState::of(path);
    if (!found.isFile || (only && !found.isSameFile(*only)))
        return;
    m_file = found;
    {
        const std::lock_guard<std::mutex> locker(openFiles().mutex);
        openFiles().files.push_back(m_file);
    }
    // Another file may just have taken the place.
    if (open(access) && !isCurrent())
        close();
}

SideConnection::~SideConnection()
{
    close();
    const std::lock_guard<std::mutex> locker(openFiles().mutex);
    const auto own = openFiles().find(m_file);
    if (own != openFiles().files.end())
        openFiles().files.erase(own);
}

bool SideConnection::isAnyOpen(const FileState &file)
{
    const std::lock_guard<std::mutex> locker(openFiles().mutex);
    return openFiles().find(file) != openFiles().files.end();
}

} // namespace storage
