#pragma once

#include "qany.h"
#include "storage/database.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include <deque>
#include <functional>
#include <utility>
#include <vector>

namespace storage {

/// Writes that must not get lost, stored in the order of submission, those that come together in one transaction: they
/// share one flush of the file, each in a savepoint of its own.
///
/// A write that fails for a passing reason (file locked, missing or damaged, disk full, input or output error) is kept
/// and attempted again until it is stored or fails for a lasting reason. What is kept is also in the rescue file. A
/// write that alone meets damage in the file is put aside, and those behind it go on. When another file has taken the
/// place of the open one, what was committed since the file was last seen in its place is stored again.
///
/// An attempt may block for DataBase::kBusyTimeoutMs. So while writes are kept, new ones queue behind them without an
/// attempt of their own, and a failed attempt is the last one for the retry interval. Each failed attempt is one
/// warning line. Lives on the main thread; writes to db().
class KeptWrites : public QObject
{
public:
    static constexpr int kRetryIntervalMs = 5000;
    /// Waiting writes that are stored at once, and for how long (in ms) another one is begun.
    static constexpr int kTurnWrites = 1000;
    static constexpr int kTurnMs = 50;
    /// Before the turn of an enqueued write, in ms: for more to gather, and for the event loop.
    static constexpr int kPauseMs = 10;

    /// Whether a write may have been stored before, in this file or another.
    enum class Delivery { First, Again };
    /// What became of a write.
    enum class Fate {
        Stored,
        Kept,    ///< it waits for another attempt; Stored or Failed follows
        Refused, ///< the attempt failed and the write is none that is kept
        Failed   ///< it can never be stored, or too many wait
    };

    struct Write {
        /// Runs inside a transaction. What it wrote is stored if it returns Done, else undone. One that is delivered
        /// again must not store twice.
        std::function<Status(DataBase &database, Delivery delivery)> store;
        /// Told the fate, after the commit. Not told of what flush() does.
        std::function<void(Fate fate)> told;
        /// For the warning lines.
        QString name;
        /// From which restore() makes it anew after a restart; Null: it lives as long as this process.
        QAny rescued;
        /// Whether it is kept when it is refused.
        bool isKept = true;
    };

    /// The owner begins the warning lines and names its writes in the rescue file. No more writes than the capacity
    /// wait.
    KeptWrites(const QByteArray &owner, int capacity, QObject *parent = nullptr);

    /// Attempts the write at once, unless others wait. False when too many do: it is dropped and told Failed.
    bool submit(Write write);
    /// The attempt is made together with others, of whoever sends some before the event loop comes round.
    bool gather(Write write);
    /// The same after the pause: where many writes come one by one and nobody waits for them, the flushes would take
    /// most of the time.
    bool enqueue(Write write);
    /// Makes the writes that a former process left, and has them stored first.
    void restore(const std::function<Write(const QAny &rescued)> &make);

    /// That wait.
    int count() const { return static_cast<int>(m_waiting.size() + m_aside.size()); }
    /// Whether the oldest of them has failed already.
    bool isRefused() const { return m_refused; }
    /// In ms.
    void setRetryInterval(int interval) { m_interval = interval; }

    /// Does at once what waits for the event loop to come round.
    void finishTurn();
    /// A last attempt for all, before the owner ends. What fails then stays in the rescue file; what is not there is
    /// lost, with a warning line.
    void flush();

private:
    struct Waiting {
        Write write;
        Delivery delivery = Delivery::First;
        bool isKept = false; ///< has been told so
        bool isRescued = false;
    };
    using Queue = std::deque<Waiting>;
    using Fates = std::vector<std::pair<std::function<void(Fate)>, Fate>>;

    bool add(Write write, Fates *fates);
    void takeTurn();
    void store(Fates *fates);
    bool storeTurn(Fates *fates);
    Status storeTogether(std::vector<Status> *ended);
    Status storeOneByOne(size_t *released, Fates *fates);
    void storeAside(size_t *released, Fates *fates);
    size_t settle(Waiting waiting, Status status, Fates *fates);
    void keepRest(Fates *fates);
    void bringBackUnseen();
    void look();
    void warn(const char *what, const QString &name) const;
    void tell(const Fates &fates);

    QByteArray m_owner;
    int m_capacity;
    int m_interval = kRetryIntervalMs;
    QTimer m_timer; // single shot: the next turn
    QTimer m_gathered;
    QTimer m_look; // single shot: whether the file is still in its place
    Queue m_waiting;
    Queue m_aside;  // they met damage
    Queue m_unseen; // committed since the file was last seen in its place
    quint64 m_generation = 0;
    bool m_isGathering = false; // a turn follows when the event loop has come round
    bool m_refused = false;
    bool m_retryDue = false;
    bool m_asideDue = false;
};

} // namespace storage
