#include "storage/filestate.h"

#include <QFile>

#include <sys/stat.h>

namespace storage {

FileState FileState::of(const QString &path)
{
    constexpr qint64 kNsPerSecond = 1000000000;
    FileState state;
    struct stat found = {};
    if (stat(QFile::encodeName(path).constData(), &found) != 0 || !S_ISREG(found.st_mode))
        return state;
    state.isFile = true;
    state.device = found.st_dev;
    state.inode = found.st_ino;
    state.size = found.st_size;
    state.modifiedNs = found.st_mtim.tv_sec * kNsPerSecond + found.st_mtim.tv_nsec;
    return state;
}

} // namespace storage
