#include "storage/diskfile.h"

#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace storage {

namespace {

/// For file systems that cannot do it at once. Not flushed: the room is taken when this returns.
bool writeZeros(QFile &file, qint64 size)
{
    const QByteArray zeros(1 << 20, '\0');
    if (!file.seek(file.size()))
        return false;
    for (qint64 left = size - file.size(); left > 0; left -= zeros.size()) {
        const qint64 piece = qMin<qint64>(left, zeros.size());
        if (file.write(zeros.constData(), piece) != piece)
            return false;
    }
    return true;
}

} // namespace

bool flushToDisk(int descriptor)
{
    return fdatasync(descriptor) == 0;
}

bool flushFolderOf(const QString &path)
{
    const int folder = open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return false;
    const bool isFlushed = fsync(folder) == 0 || errno == EINVAL; // a file system that has no such thing
    close(folder);
    return isFlushed;
}

bool takeRoom(QFile &file, int descriptor, qint64 size)
{
    if (file.size() >= size)
        return true;
    int result = 0;
    do
        result = fallocate(descriptor, 0, 0, size);
    while (result != 0 && errno == EINTR);
    if (result == 0)
        return true;
    return (errno == EOPNOTSUPP || errno == ENOSYS) && writeZeros(file, size);
}

} // namespace storage
