#include "storage/keptwrites.h"

#include "storage/rescue.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QPointer>

#include <algorithm>

namespace storage {

namespace {

const char *const kKept = "not stored, kept for another attempt:";

Status attempt(const KeptWrites::Write &write, KeptWrites::Delivery delivery)
{
    Transaction transaction(*db());
    const Status stored = write.store(*db(), delivery);
    return stored ? transaction.commit() : stored;
}

template <typename Queue> typename Queue::value_type takeFirst(Queue &queue)
{
    auto first = std::move(queue.front());
    queue.pop_front();
    return first;
}

} // namespace

KeptWrites::KeptWrites(const QByteArray &owner, int capacity, QObject *parent)
    : QObject(parent), m_owner(owner), m_capacity(capacity)
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
    const bool othersWait = !m_waiting.empty();
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
    for (const QAny &rescued : rescue()->take(m_owner))
        m_waiting.push_back({make(rescued), Delivery::Again, true, true});
    if (!m_waiting.empty())
        m_timer.start(0);
}

bool KeptWrites::add(Write write, Fates *fates)
{
    if (count() >= m_capacity) {
        warn("dropped, too many are kept:", write.name);
        fates->emplace_back(std::move(write.told), Fate::Failed);
        return false;
    }
    m_waiting.push_back({std::move(write)});
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
    m_look.stop();
    m_retryDue = m_asideDue = true;
    Fates untold;
    do {
        untold.clear();
    } while (storeTurn(&untold) && !m_waiting.empty());
    keepRest(&untold);
    m_waiting.insert(m_waiting.end(), std::make_move_iterator(m_aside.begin()), std::make_move_iterator(m_aside.end()));
    for (const Waiting &waiting : m_waiting)
        warn(waiting.isRescued ? "left in the rescue file:" : "lost at the end:", waiting.write.name);
    m_waiting.clear();
    m_aside.clear();
    m_unseen.clear();
    m_refused = false;
}

/// Stores what waits, unless an attempt would only block once more; keeps what is not stored.
void KeptWrites::store(Fates *fates)
{
    const auto isUnkept = [](const Waiting &waiting) { return !waiting.write.isKept; };
    const bool isDue =
        !m_refused || std::exchange(m_retryDue, false) || std::any_of(m_waiting.begin(), m_waiting.end(), isUnkept);
    bool goesOn = !m_refused;
    if (isDue) {
        goesOn = storeTurn(fates);
        m_refused = !goesOn;
        m_timer.stop();
    }
    if (!goesOn || !m_aside.empty())
        keepRest(fates);
    if (count() > 0 && !m_timer.isActive())
        m_timer.start(goesOn && !m_waiting.empty() ? kPauseMs : m_interval);
}

/// Attempts the oldest in one transaction, and takes those that need no further attempt. False after a failure that
/// may pass.
bool KeptWrites::storeTurn(Fates *fates)
{
    if (!db() || count() == 0)
        return count() == 0;
    std::vector<Status> ended;
    Status failure = storeTogether(&ended);
    size_t released = 0;
    for (const Status status : ended)
        released += settle(takeFirst(m_waiting), status, fates);
    if (failure.isDamaged())
        failure = storeOneByOne(&released, fates);
    if (failure)
        storeAside(&released, fates);
    if (rescue())
        rescue()->release(released);
    if (!m_unseen.empty())
        m_look.start(m_interval);
    if (!failure && !m_waiting.empty())
        warn(kKept, m_waiting.front().write.name);
    return bool(failure);
}

/// What became of the oldest, each in a savepoint, all in one transaction. Stops at the first failure that may pass and
/// tells it; those before it are stored, unless it was damage: what is behind that is unsure.
Status KeptWrites::storeTogether(std::vector<Status> *ended)
{
    Transaction turn(*db()); // may wait for another program's
    bringBackUnseen();
    Status failure;
    QElapsedTimer elapsed;
    elapsed.start();
    while (failure && ended->size() < m_waiting.size() && ended->size() < kTurnWrites && elapsed.elapsed() < kTurnMs) {
        const Waiting &waiting = m_waiting[ended->size()];
        const Status status = attempt(waiting.write, waiting.delivery);
        if (status.mayPass())
            failure = status;
        else
            ended->push_back(status);
    }
    const Status committed = failure.isDamaged() ? failure : turn.commit();
    if (!committed)
        ended->clear();
    return failure ? committed : failure;
}

/// Finds those that meet damage and puts them aside, for the sake of the others.
Status KeptWrites::storeOneByOne(size_t *released, Fates *fates)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!m_waiting.empty() && elapsed.elapsed() < kTurnMs) {
        const Waiting &oldest = m_waiting.front();
        const Status status = attempt(oldest.write, oldest.delivery);
        if (status.isDamaged()) {
            warn("met damage, put aside:", oldest.write.name);
            m_aside.push_back(takeFirst(m_waiting));
        } else if (status.mayPass()) {
            return status;
        } else {
            *released += settle(takeFirst(m_waiting), status, fates);
        }
    }
    return Status::Done;
}

/// Attempts those put aside, up to the first that still meets damage.
void KeptWrites::storeAside(size_t *released, Fates *fates)
{
    if (!m_asideDue)
        return;
    m_asideDue = false;
    while (!m_aside.empty()) {
        const Status status = attempt(m_aside.front().write, Delivery::Again);
        if (status.mayPass())
            return;
        *released += settle(takeFirst(m_aside), status, fates);
    }
}

/// Behind the begin of a transaction, at which the file was looked at: what went to a file that is no longer there
/// waits once more, before all others.
void KeptWrites::bringBackUnseen()
{
    if (db()->isOpen() && db()->generation() == m_generation) {
        m_unseen.clear();
        return;
    }
    if (db()->isOpen())
        m_generation = db()->generation();
    m_waiting.insert(m_waiting.begin(), std::make_move_iterator(m_unseen.begin()),
                     std::make_move_iterator(m_unseen.end()));
    m_unseen.clear();
}

/// How many lines of the rescue file are no longer needed.
size_t KeptWrites::settle(Waiting waiting, Status status, Fates *fates)
{
    if (!status)
        warn("not stored:", waiting.write.name);
    fates->emplace_back(std::exchange(waiting.write.told, {}), status ? Fate::Stored : Fate::Failed);
    const size_t released = std::exchange(waiting.isRescued, false) ? 1 : 0;
    if (status) {
        waiting.delivery = Delivery::Again;
        waiting.write.isKept = true; // nobody waits to be refused any more
        m_unseen.push_back(std::move(waiting));
    }
    return released;
}

/// Who goes on waiting is told so, once it is in the rescue file; who does not is refused.
void KeptWrites::keepRest(Fates *fates)
{
    std::vector<QAny> lines;
    std::vector<Waiting *> written;
    Queue kept;
    for (Waiting &waiting : m_waiting) {
        if (!waiting.write.isKept)
            fates->emplace_back(std::move(waiting.write.told), Fate::Refused);
        else
            kept.push_back(std::move(waiting));
    }
    m_waiting = std::move(kept);
    for (Queue *queue : {&m_aside, &m_waiting}) {
        for (Waiting &waiting : *queue) {
            if (!waiting.isKept)
                fates->emplace_back(waiting.write.told, Fate::Kept);
            waiting.isKept = true;
            if (waiting.isRescued || waiting.write.rescued.isNull())
                continue;
            lines.push_back(waiting.write.rescued);
            written.push_back(&waiting);
        }
    }
    if (lines.empty() || !rescue() || !rescue()->add(m_owner, lines))
        return;
    for (Waiting *waiting : written)
        waiting->isRescued = true;
}

/// Whether the file is still in its place. If it is not, what was committed to it is stored in the one that is.
void KeptWrites::look()
{
    if (!db() || m_unseen.empty())
        return;
    db()->look();
    bringBackUnseen();
    if (!m_waiting.empty() && !m_timer.isActive())
        m_timer.start(kPauseMs);
}

void KeptWrites::warn(const char *what, const QString &name) const
{
    qWarning().noquote() << m_owner << what << name;
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
