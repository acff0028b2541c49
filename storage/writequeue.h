#pragma once

#include "storage/write.h"

#include <QByteArray>

#include <deque>
#include <functional>
#include <initializer_list>
#include <utility>
#include <vector>

namespace storage {

/// Writes that wait in the order of their coming, and the attempts to store them in db(). Knows no time: KeptWrites
/// says when. Lives on the main thread. Nothing here tells a write its fate: the fates are given back, since who is
/// told may come back to the queue.
class WriteQueue
{
public:
    /// A turn stores so many at once, and begins another one for so long (in ms).
    static constexpr int kTurnWrites = 1000;
    static constexpr int kTurnMs = 50;

    using Fates = std::vector<std::pair<std::function<void(Fate)>, Fate>>;
    /// Whether those that were put aside are attempted as well.
    enum class Aside { Wait, Attempt };

    /// The owner begins the warning lines and names its writes in the rescue file.
    explicit WriteQueue(const QByteArray &owner) : m_owner(owner) {}
    const QByteArray &owner() const { return m_owner; }

    void add(Write write);
    /// One that a former process left in the rescue file.
    void addRescued(Write write);

    /// All that wait, those put aside included.
    int count() const { return waiting() + aside(); }
    int waiting() const { return static_cast<int>(m_waiting.writes.size()); }
    int aside() const { return static_cast<int>(m_aside.writes.size()); }
    /// Whether the file was not looked at since something was stored.
    bool isAnyUnseen() const { return !m_unseen.empty(); }
    /// Whether somebody wants an answer now, who is refused when the attempt fails.
    bool isAnyUnkept() const;

    /// Attempts the oldest in one transaction, and takes those that need no further attempt. False after a failure that
    /// may pass.
    bool storeTurn(Aside aside, Fates *fates);
    /// Who goes on waiting is told so, once it is in the rescue file; who does not is refused. Looks at those alone
    /// that have come since, unless the rescue file is to be tried again for all.
    void keepAll(Fates *fates);
    /// The same for those put aside.
    void keepAside(Fates *fates) { rescueNew({&m_aside}, fates); }
    void tryRescueAgain() { m_waiting.kept = m_aside.kept = 0; }
    /// The file was looked at: what went to one that is no longer there waits once more, before all others.
    void bringBackUnseen();
    /// Lets go of all, with a warning line for each that waits.
    void end();
    void warn(const char *what, const Write &write) const;

private:
    struct Waiting {
        Write write;
        Delivery delivery = Delivery::First;
        bool isKept = false; ///< has been told so
        bool isRescued = false;
    };
    struct Queue {
        std::deque<Waiting> writes;
        size_t kept = 0; ///< so many of the first have been told, and are in the rescue file if that was possible

        Waiting takeFirst();
        void add(Waiting waiting) { writes.push_back(std::move(waiting)); }
    };

    Status storeTogether(std::vector<Status> *ended);
    Status storeOneByOne(size_t *released, Fates *fates);
    void storeAside(size_t *released, Fates *fates);
    size_t settle(Waiting waiting, Status status, Fates *fates);
    void refuseUnkept(Fates *fates);
    void rescueNew(std::initializer_list<Queue *> queues, Fates *fates);

    QByteArray m_owner;
    Queue m_waiting;
    Queue m_aside;                // they met damage
    std::deque<Waiting> m_unseen; // committed since the file was last seen in its place
    quint64 m_generation = 0;
};

} // namespace storage
