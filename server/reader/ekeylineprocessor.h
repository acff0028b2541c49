#pragma once

#include "qany.h"
#include "server/reader/ekeysettings.h"
#include "server/reader/ekeytime.h"
#include "storage/database.h"
#include "storage/keptwrites.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace server::reader {

/// Makes events of the lines of the fingerprint reader's file: tells the terminal that stands for the reader, and
/// stores the event with its journal row and the log rows of its line, all of them or none. What the database refuses
/// for the moment is kept and stored later, in order.
///
/// Lives on the main thread. The tracker's thread calls skip() alone, and only while the main thread calls nothing.
class EkeyLineProcessor
{
public:
    /// What the tracker hands over: a line, or a message of its own for the journal.
    struct Entry {
        QByteArray line;
        QString message; ///< null for a line
    };
    using Entries = std::vector<Entry>;

    /// Lines and messages that wait to be stored, and the bytes of their lines. Where there are so many, the rest is as
    /// well kept in the reader's file.
    static constexpr int kMaxWaiting = 100000;
    static constexpr qint64 kMaxWaitingBytes = 64 * 1024 * 1024;

    /// What became of entries: all taken; or those that are left are to be given again, when there is room or when the
    /// database can be read.
    enum class Taken { All, NoRoom, NotReadable };

    /// Creates the table of the reader's users. Told from within any member when there is room again. By the clock it
    /// is today.
    EkeyLineProcessor(const EkeySettings &settings, std::function<void()> roomAgain,
                      process::Clock clock = process::machineTime);

    /// A line that was there before: only its time counts.
    void skip(const QByteArray &line);
    /// Takes entries, the first ones first, and removes them. With `atOnce` it takes all, whatever becomes of them.
    Taken take(Entries *entries, bool atOnce);
    /// Stores what still waits now, or leaves it in the rescue file.
    void flush() { m_kept.flush(); }
    /// Entries that wait to be stored.
    int waiting() const { return m_waiting; }
    storage::KeptWrites &keptWrites() { return m_kept; }

private:
    /// What an entry leaves in the database.
    struct Outcome {
        QStringList messages;
        QAny event; ///< Null where there is none
    };

    bool prepare(const QByteArray &bytes, bool atOnce, Outcome *outcome);
    void makeTable();
    void offer(int terminal, const QAny &employee, const QString &finger) const;
    void submit(const std::vector<Outcome> &outcomes, qint64 bytes);
    static storage::Write writeOf(const std::vector<Outcome> &outcomes);
    static storage::Write restored(const QAny &rescued);
    static storage::Status wasStored(DataBase &database, const Outcome &outcome, bool *stored);
    static storage::Status store(DataBase &database, const Outcome &outcome);

    EkeySettings m_settings;
    bool m_hasTable = false;
    bool m_isUnreadable = false;
    std::function<void()> m_roomAgain;
    EkeyToday m_today;
    EkeyTime m_time;
    qint64 m_lastAccepted = 0; // in seconds since 1970 UTC
    int m_waiting = 0;
    qint64 m_waitingBytes = 0;
    storage::KeptWrites m_kept;
};

} // namespace server::reader
