#pragma once

#include "page/server/officedoor.h"
#include "storage/readconnection.h"

#include <memory>

namespace page {

/// Looks whether the file at a path has changed, has gone, or another has taken its place. Main thread.
class FileWatch
{
public:
    struct Seen {
        OfficeDoor::Change change;
        bool hasGone = false; ///< since the last look
        bool hasCome = false; ///< back, likewise
    };

    /// The office is not owned.
    FileWatch(QString path, const OfficeDoor &office) : m_path(std::move(path)), m_office(office) {}

    Seen look();
    /// Lets the file go. What changes up to the next look stays unseen.
    void rest();
    bool isGone() const { return m_isGone; }

private:
    const QString m_path;
    const OfficeDoor &m_office;
    std::unique_ptr<storage::ReadConnection> m_reader; // null while there is no file
    std::unique_ptr<OfficeDoor::Watch> m_watch;        // looks through the reader
    bool m_isGone = false;
    bool m_isResting = true;
};

} // namespace page
