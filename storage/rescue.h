#pragma once

#include "qany.h"
#include "storage/rescuefile.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace storage {

/// Keeps what the database refuses in a file beside it ("…-rescue"), so that a stop or a crash loses nothing, and gives
/// it back to its owners at the next start. One per process, owned by ServicesStarter; used on the main thread.
class Rescue
{
public:
    /// Reads what a former process left.
    explicit Rescue(const QString &databasePath);

    /// What was left under the owner's name, oldest first; each is given once.
    std::vector<QAny> take(const QByteArray &owner);
    /// What no owner took, once all have asked, goes to a file of its own ("…-rescue-unread"), with a warning line: it
    /// would be kept here for ever.
    void setAsideUntaken();
    /// On the disk when it returns. False, with a warning line, when it could not be written.
    bool add(const QByteArray &owner, const std::vector<QAny> &writes);
    /// So many of what was given or added are in the database. When all is, the file is emptied.
    void release(size_t count);

private:
    Q_DISABLE_COPY(Rescue)
    struct Left {
        QByteArray owner;
        QAny write;
        QByteArray line;
    };

    RescueFile m_file;
    std::vector<Left> m_left;
    size_t m_held = 0;
};

/// The process's; null before start and after stop. Only ServicesStarter (or a test) sets it.
Rescue *rescue();
void setRescue(Rescue *instance);

} // namespace storage
