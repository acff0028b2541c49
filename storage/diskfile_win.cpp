#include "storage/diskfile.h"

#include <io.h>
#include <windows.h>

namespace storage {

bool flushToDisk(int descriptor)
{
    return FlushFileBuffers(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor))) != 0;
}

/// The file system keeps a journal of its names.
bool flushFolderOf(const QString &)
{
    return true;
}

bool takeRoom(QFile &file, int, qint64 size)
{
    return file.size() >= size || file.resize(size);
}

} // namespace storage
