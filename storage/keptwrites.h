#pragma once

#include "qany.h"
#include "storage/database.h"
#include "storage/writequeue.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <functional>

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
/// attempt of their own, and a failed attempt is the last one for the retry interval, unless a write comes that is not
/// to be kept. Each failed attempt is one warning line, which names the oldest. Lives on the main thread; writes to
/// db().
class KeptWrites : public QObject
{
public:
    static constexpr int kRetryIntervalMs = 5000;
    /// Before the turn of an enqueued write, in ms: for more to gather, and for the event loop.
    static constexpr int kPauseMs = 10;

    /// The owner begins the warning lines and names its writes in the rescue file. No more writes than the capacity
    /// wait after a refusal, and none of submit() and enqueue() beyond it.
    KeptWrites(const QByteArray &owner, int capacity, QObject *parent = nullptr);

    /// Attempts the write at once, unless others wait. False when too many do: it is told Dropped.
    bool submit(Write write);
    /// The attempt is made together with others, of whoever sends some before the event loop comes round, and at once,
    /// without telling yet, when a whole turn has gathered.
    bool gather(Write write);
    /// The same after the pause: where many writes come one by one and nobody waits for them, the flushes would take
    /// most of the time.
    bool enqueue(Write write);
    /// Makes the writes that a former process left, and has them stored first.
    void restore(const std::function<Write(const QAny &rescued)> &make);

    /// That wait.
    int count() const { return m_queue.count(); }
    /// Whether the oldest of them has failed already.
    bool isRefused() const { return m_refused; }
    /// In ms.
    void setRetryInterval(int interval) { m_interval = interval; }

    /// Does at once what waits for the event loop to come round.
    void finishTurn();
    /// A last attempt for all, before the owner ends, of whose result nobody is told. What fails then stays in the
    /// rescue file; what is not there is lost, with a warning line.
    void flush();

private:
    using Fates = WriteQueue::Fates;

    bool add(Write write, int kept, Fates *fates);
    void takeTurn();
    void store(Fates *fates);
    bool storeTurn(Fates *fates);
    void look();
    void tell(const Fates &fates);

    WriteQueue m_queue;
    int m_capacity;
    int m_interval = kRetryIntervalMs;
    QTimer m_timer; // the next turn; all are single shot
    QTimer m_gathered;
    QTimer m_retryAside;
    QTimer m_look;              // whether the file is still in its place
    Fates m_untold;             // of a turn in the midst of gathering
    bool m_isGathering = false; // a turn follows when the event loop has come round
    bool m_refused = false;
    bool m_retryDue = false;
    bool m_asideDue = false;
};

} // namespace storage
