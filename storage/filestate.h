#pragma once

#include <QString>

namespace storage {

/// Which file a path names, and what can be told of it without opening it: SQLite's locks would not survive that.
struct FileState {
    bool isFile = false; ///< a regular one that can be seen
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 modifiedNs = 0;

    /// Follows links. On Windows every file is taken for the same: one that is open cannot be replaced there.
    static FileState of(const QString &path);

    bool isSameFile(const FileState &other) const
    {
        return isFile && other.isFile && device == other.device && inode == other.inode;
    }
    /// The same, and as far as can be told with the same content.
    bool isSameContent(const FileState &other) const
    {
        return isSameFile(other) && size == other.size && modifiedNs == other.modifiedNs;
    }
};

} // namespace storage
