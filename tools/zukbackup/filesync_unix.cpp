#include "tools/zukbackup/filesync.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

namespace tools::zukbackup {

bool syncFile(const QString &path)
{
    const int file = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool isSynced = fsync(file) == 0;
    close(file);
    return isSynced;
}

bool syncFolder(const QString &path)
{
    return syncFile(path);
}

} // namespace tools::zukbackup
