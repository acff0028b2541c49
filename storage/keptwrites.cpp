#include "storage/keptwrites.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QPointer>

#include <utility>

using Failure = DataBase::Failure;

namespace {

const char *const kKept = "not stored, kept for another attempt:";

Failure attempt(const KeptWrites::Write &write)
{
    if (!db())
        return Failure::Passing;
    Transaction transaction(*db());
    const Failure failure = write.store(*db());
    if (failure != Failure::None)
        return failure;
    return transaction.commit() ? Failure::None : db()->lastFailure();
}

} // namespace

KeptWrites::KeptWrites(const QByteArray &owner, int capacity, QObject *parent)
    : QObject(parent), m_owner(owner), m_capacity(capacity)
{
    m_timer.setSingleShot(true);
    // Queued: who is told of an outcome may run the event loop.
    connect(&m_timer, &QTimer::timeout, this, &KeptWrites::takeTurn, Qt::QueuedConnection);
}

KeptWrites::Outcome KeptWrites::submit(Write write)
{
    if (m_kept.empty()) {
        const Failure failure = attempt(write);
        if (failure != Failure::Passing) {
            if (failure != Failure::None)
                warn("not stored:", write.name);
            if (write.ended)
                write.ended(failure);
            return Outcome::Ended;
        }
        m_refused = true;
        warn(kKept, write.name);
    }
    return keep(std::move(write), m_interval);
}

KeptWrites::Outcome KeptWrites::enqueue(Write write)
{
    return keep(std::move(write), kPauseMs);
}

KeptWrites::Outcome KeptWrites::keep(Write write, int interval)
{
    if (count() >= m_capacity) {
        warn("dropped, too many are kept:", write.name);
        if (write.ended)
            write.ended(Failure::Lasting);
        return Outcome::Dropped;
    }
    m_kept.push_back(std::move(write));
    if (!m_timer.isActive())
        m_timer.start(interval);
    return Outcome::Kept;
}

void KeptWrites::flush()
{
    m_timer.stop();
    Outcomes outcomes;
    while (!m_kept.empty() && storeTurn(&outcomes))
        outcomes.clear();
    for (const Write &write : m_kept)
        warn("lost at the end:", write.name);
    m_kept.clear();
    m_refused = false;
}

void KeptWrites::takeTurn()
{
    if (m_kept.empty())
        return;
    Outcomes outcomes;
    const bool goesOn = storeTurn(&outcomes);
    m_refused = !goesOn;
    if (!m_kept.empty())
        m_timer.start(goesOn ? kPauseMs : m_interval);
    const QPointer<KeptWrites> self(this);
    for (const auto &[write, failure] : outcomes) {
        if (self && write.ended)
            write.ended(failure);
    }
}

/// Attempts the oldest in one transaction, and takes those that need no further attempt. False after a failure that
/// may pass.
bool KeptWrites::storeTurn(Outcomes *outcomes)
{
    if (!db())
        return false;
    std::vector<Failure> failures;
    bool goesOn = true;
    Transaction turn(*db()); // may wait for another program's
    QElapsedTimer elapsed;
    elapsed.start();
    while (goesOn && failures.size() < kTurnWrites && failures.size() < m_kept.size() && elapsed.elapsed() < kTurnMs) {
        const Failure failure = attempt(m_kept[failures.size()]);
        goesOn = failure != Failure::Passing;
        if (goesOn)
            failures.push_back(failure);
        else
            warn(kKept, m_kept[failures.size()].name);
    }
    if (!turn.commit()) {
        if (goesOn)
            warn(kKept, m_kept.front().name);
        return false;
    }
    for (const Failure failure : failures) {
        if (failure != Failure::None)
            warn("not stored:", m_kept.front().name);
        outcomes->emplace_back(std::move(m_kept.front()), failure);
        m_kept.pop_front();
    }
    return goesOn;
}

void KeptWrites::warn(const char *what, const QString &name) const
{
    qWarning().noquote() << m_owner << what << name;
}
