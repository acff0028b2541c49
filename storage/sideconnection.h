#pragma once

#include "storage/connection.h"
#include "storage/filestate.h"

#include <optional>

namespace storage {

/// A connection beside that of the DataBase, to a file that may be moved away or replaced at any time.
///
/// It is open only if the path names the file that is wanted, and SQLite has read nothing of another: it would take the
/// journal that lies there for that one's, and write it into it at the end. The process knows it while it lives.
class SideConnection : public Connection
{
public:
    /// Of one file only; without it of any that is there. The kind of its user begins its name.
    SideConnection(const char *kind, const QString &path, Access access, const std::optional<FileState> &only);
    ~SideConnection();

    /// Whether any of this process, on any thread, may have the file open.
    static bool isAnyOpen(const FileState &file);

    /// Whether the path still names the open file.
    bool isCurrent() const { return isOpen() && FileState::of(path()).isSameFile(m_file); }

private:
    FileState m_file; // that is open, or was tried
};

} // namespace storage
