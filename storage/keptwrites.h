#pragma once

#include "storage/database.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include <deque>
#include <functional>

namespace storage {

/// Writes that must not get lost: one that fails for a passing reason (file locked, disk full, input or output error)
/// is kept and attempted again, in the order of submission, until it is stored or fails for a lasting reason.
///
/// An attempt may block for DataBase::kBusyTimeoutMs. So while writes are kept, new ones queue behind them without an
/// attempt of their own, and a failed attempt is the last one for the retry interval. Each failed attempt is one
/// warning line. Lives on the main thread; writes to db().
class KeptWrites : public QObject
{
public:
    static constexpr int kRetryIntervalMs = 5000;
    /// Waiting writes that are stored at once, and for how long (in ms) another one is begun: they share one flush of
    /// the file.
    static constexpr int kTurnWrites = 1000;
    static constexpr int kTurnMs = 50;
    /// Before each turn, in ms: for more to gather, and for the event loop.
    static constexpr int kPauseMs = 10;

    struct Write {
        /// Runs inside a transaction. What it wrote is stored if it returns Done, else undone.
        std::function<Status(DataBase &database)> store;
        /// Told once, after the commit: Done or Lasting. Not told of what flush() does.
        std::function<void(Status status)> ended;
        /// For the warning lines.
        QString name;
    };

    /// The owner begins the warning lines. No more writes than the capacity wait.
    KeptWrites(const QByteArray &owner, int capacity, QObject *parent = nullptr);

    /// What became of a submitted write: it ended, or it waits, or it does neither because too many wait already.
    enum class Outcome { Ended, Kept, Dropped };

    /// Attempts the write, unless others wait. A dropped one is told Lasting.
    Outcome submit(Write write);
    /// The same, but the attempt is made with others after the pause. Where many writes come at once and nobody waits
    /// for them, the flushes would take most of the time.
    Outcome enqueue(Write write);
    /// That wait.
    int count() const { return static_cast<int>(m_kept.size()); }
    /// Whether the oldest of them has failed already.
    bool isRefused() const { return m_refused; }
    /// In ms.
    void setRetryInterval(int interval) { m_interval = interval; }

    /// A last attempt for all, before the owner ends. What fails then is lost, with a warning line.
    void flush();

private:
    using Outcomes = std::vector<std::pair<Write, Status>>;

    Outcome keep(Write write, int interval);
    void takeTurn();
    bool storeTurn(Outcomes *outcomes);
    void warn(const char *what, const QString &name) const;

    QByteArray m_owner;
    int m_capacity;
    int m_interval = kRetryIntervalMs;
    QTimer m_timer; // single shot: the next attempt
    std::deque<Write> m_kept;
    bool m_refused = false;
};

} // namespace storage
