#include "storage/keptwrites.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QPointer>

#include <utility>

namespace storage {

namespace {

const char *const kKept = "not stored, kept for another attempt:";

Status attempt(const KeptWrites::Write &write)
{
    if (!db())
        return Status::Passing;
    Transaction transaction(*db());
    const Status stored = write.store(*db());
    return stored ? transaction.commit() : stored;
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
        const Status status = attempt(write);
        if (!status.mayPass()) {
            if (!status)
                warn("not stored:", write.name);
            if (write.ended)
                write.ended(status);
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
            write.ended(Status::Lasting);
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
    for (const auto &[write, status] : outcomes) {
        if (self && write.ended)
            write.ended(status);
    }
}

/// Attempts the oldest in one transaction, and takes those that need no further attempt. False after a failure that
/// may pass.
bool KeptWrites::storeTurn(Outcomes *outcomes)
{
    if (!db())
        return false;
    std::vector<Status> ended;
    bool goesOn = true;
    Transaction turn(*db()); // may wait for another program's
    QElapsedTimer elapsed;
    elapsed.start();
    while (goesOn && ended.size() < kTurnWrites && ended.size() < m_kept.size() && elapsed.elapsed() < kTurnMs) {
        const Write &write = m_kept[ended.size()];
        const Status status = attempt(write);
        goesOn = !status.mayPass();
        if (goesOn)
            ended.push_back(status);
        else
            warn(kKept, write.name);
    }
    if (!turn.commit()) {
        if (goesOn)
            warn(kKept, m_kept.front().name);
        return false;
    }
    for (const Status status : ended) {
        if (!status)
            warn("not stored:", m_kept.front().name);
        outcomes->emplace_back(std::move(m_kept.front()), status);
        m_kept.pop_front();
    }
    return goesOn;
}

void KeptWrites::warn(const char *what, const QString &name) const
{
    qWarning().noquote() << m_owner << what << name;
}

} // namespace storage
