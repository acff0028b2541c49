#pragma once

#include "storage/connection.h"
#include "storage/sidefiles.h"

#include <QElapsedTimer>
#include <QTimer>

#include <atomic>
#include <functional>

namespace storage {

/// The file of a connection that writes, and that its path goes on naming it.
///
/// A file that was deleted, or that another was moved over, would take what is written with it. So the path is looked
/// at before anything is stored; where it names another file or none, the connection is closed, the journal set aside,
/// and the file that is there opened, which is tried again until it can be. None is created but at the start. A file
/// that can be opened but not read as a database counts as one that cannot. One warning line tells of such an outage,
/// one of its end.
///
/// SQLite itself neither writes its journal back nor removes it when it closes a connection to a file that has moved,
/// and whoever opens the path next would replay it into the file that is there now. The journal is set aside first, so
/// that it lies beside a foreign file for no longer than it must. When the very same file comes back, unchanged, its
/// journal goes back to it: it holds what is not yet in the file.
class GuardedFile
{
public:
    /// In ms.
    static constexpr int kRetryIntervalMs = 5000;

    struct Handlers {
        /// Makes the file that has just been opened ready for use; its failures are none of the opening.
        std::function<void()> prepare;
        /// The open transaction is lost, if there is one.
        std::function<void()> lost;
        /// A file was opened anew: nothing that was known of the former holds.
        std::function<void()> reopened;
    };

    GuardedFile(Connection &connection, Handlers handlers);

    /// At the start: creates a missing file.
    void open();
    /// Whether the path names the open file. If it does not, the connection is closed, unless it is handing out rows.
    bool check();
    /// The same, and opens what is there: when the interval is over, or at once. Not inside a transaction.
    bool look(bool atOnce = false);
    /// Something was stored.
    void noteWritten();

    /// How often a file was opened. Readable from any thread.
    quint64 generation() const { return m_generation; }
    /// The file that is open, as it was when it was last looked at; none while none is open.
    FileState state() const { return m_connection.isOpen() ? m_known : FileState(); }
    void setRetryInterval(int ms);

private:
    Q_DISABLE_COPY(GuardedFile)

    bool isWatched() const { return m_known.isFile; }
    void lose(bool isEmptied);
    bool reopen();
    bool isWorthATry(const FileState &found);
    bool openUsable(Access access);
    void noteOpened();
    void beginOutage();
    void endOutage();

    Connection &m_connection;
    Handlers m_handlers;
    FileState m_known;   // of the open file, when it was last looked at; no file when there is none to look at
    FileState m_refused; // was emptied while it was open: nothing in it is to be trusted until it changes
    QString m_realPath;  // links followed
    SideFiles m_sideFiles;
    QElapsedTimer m_sinceAttempt;
    QTimer m_retry; // runs during an outage
    bool m_isOut = false;
    std::atomic<quint64> m_generation{0};
};

} // namespace storage
