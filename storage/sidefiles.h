#pragma once

#include "storage/filestate.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace storage {

/// The journal of an open file and the journal's index, which SQLite finds by their names alone: beside another file
/// of the name they would be taken for that one's.
class SideFiles
{
public:
    /// Those that lie beside the file that has just been opened are its own. Forgets those that were set aside.
    void note(const QString &path);
    /// Looks again for what was not there when it was opened.
    void noteMissing();
    /// Gives what still is the open file's a name that nothing looks for, and that never was used. The new names.
    QStringList setAside();
    bool isAnyAside() const;
    /// Takes what was set aside back, for the same file came back. False when nothing was, or something took its place.
    bool takeBack();

private:
    struct SideFile {
        QString name;
        FileState state;
        QString aside; // empty while it is in place
    };

    std::vector<SideFile> m_files;
};

} // namespace storage
