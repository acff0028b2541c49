#include "storage/keptwrites.h"

#include "storage/rescue.h"

#include <QPointer>

#include <utility>

namespace storage {

KeptWrites::KeptWrites(const QByteArray &owner, int capacity, QObject *parent)
    : QObject(parent), m_queue(owner), m_capacity(capacity)
{
    m_timer.setSingleShot(true);
    m_look.setSingleShot(true);
    m_gathered.setSingleShot(true);
    // Queued: who is told of a fate may run the event loop.
    const auto retry = [this] {
        m_retryDue = m_asideDue = true;
        takeTurn();
    };
    connect(&m_timer, &QTimer::timeout, this, retry, Qt::QueuedConnection);
    // Not posted: what is posted comes before the sockets that are ready already.
    connect(&m_gathered, &QTimer::timeout, this, &KeptWrites::takeTurn, Qt::QueuedConnection);
    connect(&m_look, &QTimer::timeout, this, &KeptWrites::look);
}

bool KeptWrites::submit(Write write)
{
    const bool othersWait = !m_queue.isEmpty();
    Fates fates;
    const bool isTaken = add(std::move(write), &fates);
    if (isTaken && !othersWait)
        store(&fates);
    tell(fates);
    return isTaken;
}

bool KeptWrites::gather(Write write)
{
    Fates fates;
    const bool isTaken = add(std::move(write), &fates);
    if (isTaken && !m_isGathering) {
        m_isGathering = true;
        m_gathered.start(0);
    }
    tell(fates);
    return isTaken;
}

bool KeptWrites::enqueue(Write write)
{
    Fates fates;
    const bool isTaken = add(std::move(write), &fates);
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
    if (!m_queue.isEmpty())
        m_timer.start(0);
}

bool KeptWrites::add(Write write, Fates *fates)
{
    if (count() >= m_capacity) {
        m_queue.warn("dropped, too many are kept:", write);
        fates->emplace_back(std::move(write.told), Fate::Failed);
        return false;
    }
    m_queue.add(std::move(write));
    return true;
}

void KeptWrites::takeTurn()
{
    m_isGathering = false;
    Fates fates;
    store(&fates);
    tell(fates);
}

void KeptWrites::finishTurn()
{
    if (m_isGathering)
        takeTurn();
}

void KeptWrites::flush()
{
    m_timer.stop();
    m_asideDue = true;
    Fates untold;
    while (storeTurn(&untold) && !m_queue.isEmpty()) {
    }
    m_look.stop();
    m_queue.keepRest(&untold);
    m_queue.end();
    m_refused = false;
}

/// Stores what waits, unless an attempt would only block once more; keeps what is not stored.
void KeptWrites::store(Fates *fates)
{
    const bool isDue = !m_refused || std::exchange(m_retryDue, false) || m_queue.isAnyUnkept();
    bool goesOn = !m_refused;
    if (isDue) {
        goesOn = storeTurn(fates);
        m_refused = !goesOn;
        m_timer.stop();
    }
    if (!goesOn || m_queue.isAnyAside())
        m_queue.keepRest(fates);
    if (count() > 0 && !m_timer.isActive())
        m_timer.start(goesOn && !m_queue.isEmpty() ? kPauseMs : m_interval);
}

bool KeptWrites::storeTurn(Fates *fates)
{
    using Aside = WriteQueue::Aside;
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
    if (!m_queue.isEmpty() && !m_timer.isActive())
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
