#include "storage/keptwrites.h"

#include "storage/rescue.h"

#include <QPointer>

#include <utility>

namespace storage {

KeptWrites::KeptWrites(const QByteArray &owner, int capacity, QObject *parent)
    : QObject(parent), m_queue(owner), m_capacity(capacity)
{
    for (QTimer *timer : {&m_timer, &m_gathered, &m_retryAside, &m_look})
        timer->setSingleShot(true);
    // Queued: who is told of a fate may run the event loop.
    const auto retry = [this] {
        m_retryDue = true;
        m_queue.tryRescueAgain();
        takeTurn();
    };
    const auto retryAside = [this] {
        m_asideDue = true;
        takeTurn();
    };
    connect(&m_timer, &QTimer::timeout, this, retry, Qt::QueuedConnection);
    connect(&m_retryAside, &QTimer::timeout, this, retryAside, Qt::QueuedConnection);
    // Not posted: what is posted comes before the sockets that are ready already.
    connect(&m_gathered, &QTimer::timeout, this, &KeptWrites::takeTurn, Qt::QueuedConnection);
    connect(&m_look, &QTimer::timeout, this, &KeptWrites::look);
}

bool KeptWrites::submit(Write write)
{
    const bool othersWait = m_queue.waiting() > 0;
    Fates fates;
    const bool isTaken = add(std::move(write), count(), &fates);
    if (isTaken && !othersWait)
        store(&fates);
    tell(fates);
    return isTaken;
}

bool KeptWrites::gather(Write write)
{
    Fates fates;
    // What has not been refused yet is no burden.
    const bool isTaken = add(std::move(write), m_refused ? count() : m_queue.aside(), &fates);
    if (isTaken && !m_isGathering) {
        m_isGathering = true;
        m_gathered.start(0);
    }
    // Whoever sends faster than the file takes it has to wait.
    if (!m_refused && m_queue.waiting() >= WriteQueue::kTurnWrites)
        store(&m_untold);
    tell(fates);
    return isTaken;
}

bool KeptWrites::enqueue(Write write)
{
    Fates fates;
    const bool isTaken = add(std::move(write), count(), &fates);
    if (isTaken && !m_timer.isActive())
        m_timer.start(kPauseMs);
    tell(fates);
    return isTaken;
}

void KeptWrites::restore(const std::function<Write(const QAny &rescued)> &make)
{
    if (!rescue())
        return;
    for (const QAny &rescued : rescue()->take(m_queue.owner()))
        m_queue.addRescued(make(rescued));
    if (m_queue.waiting() > 0)
        m_timer.start(0);
}

bool KeptWrites::add(Write write, int kept, Fates *fates)
{
    if (kept >= m_capacity) {
        m_queue.warn("dropped, too many are kept:", write);
        fates->emplace_back(std::move(write.told), Fate::Dropped);
        return false;
    }
    m_queue.add(std::move(write));
    return true;
}

void KeptWrites::takeTurn()
{
    m_isGathering = false;
    Fates fates = std::exchange(m_untold, {});
    store(&fates);
    tell(fates);
}

void KeptWrites::finishTurn()
{
    while (m_isGathering || (m_queue.waiting() > 0 && !m_refused))
        takeTurn();
}

void KeptWrites::flush()
{
    m_timer.stop();
    m_retryAside.stop();
    m_asideDue = true;
    m_queue.tryRescueAgain();
    Fates untold;
    while (storeTurn(&untold) && m_queue.waiting() > 0) {
    }
    m_look.stop();
    m_queue.keepAll(&untold);
    m_queue.end();
    m_refused = false;
}

/// Stores what waits, unless an attempt would only block once more; keeps what is not stored.
void KeptWrites::store(Fates *fates)
{
    if (!m_refused || m_retryDue || m_queue.isAnyUnkept()) {
        m_refused = !storeTurn(fates);
        m_timer.stop();
    }
    if (m_refused)
        m_queue.keepAll(fates);
    else
        m_queue.keepAside(fates);
    m_refused = m_refused && m_queue.waiting() > 0; // who was refused waits no more
    if (m_queue.waiting() > 0 && !m_timer.isActive())
        m_timer.start(m_refused ? m_interval : kPauseMs);
    if (m_queue.aside() > 0 && !m_retryAside.isActive())
        m_retryAside.start(m_interval);
}

bool KeptWrites::storeTurn(Fates *fates)
{
    using Aside = WriteQueue::Aside;
    m_retryDue = false;
    const bool goesOn = m_queue.storeTurn(m_asideDue ? Aside::Attempt : Aside::Wait, fates);
    m_asideDue = m_asideDue && !goesOn;
    if (m_queue.isAnyUnseen())
        m_look.start(m_interval);
    return goesOn;
}

/// Whether the file is still in its place. If it is not, what was committed to it is stored in the one that is.
void KeptWrites::look()
{
    if (!db() || !m_queue.isAnyUnseen())
        return;
    db()->look();
    m_queue.bringBackUnseen();
    if (m_queue.waiting() > 0 && !m_timer.isActive())
        m_timer.start(kPauseMs);
}

void KeptWrites::tell(const Fates &fates)
{
    const QPointer<KeptWrites> self(this);
    for (const auto &[told, fate] : fates) {
        if (self && told)
            told(fate);
    }
}

} // namespace storage
