#include "tools/zukbackup/filesync.h"

#include <QDir>

#include <windows.h>

namespace tools::zukbackup {

bool syncFile(const QString &path)
{
    const QString name = QDir::toNativeSeparators(path);
    HANDLE file = CreateFileW(reinterpret_cast<const wchar_t *>(name.utf16()), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool isSynced = FlushFileBuffers(file) != 0;
    CloseHandle(file);
    return isSynced;
}

/// The file system journals names by itself.
bool syncFolder(const QString &)
{
    return true;
}

} // namespace tools::zukbackup
