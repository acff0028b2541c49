#include "storage/writequeue.h"

#include "storage/database.h"
#include "storage/rescue.h"

#include <QDebug>
#include <QElapsedTimer>

#include <algorithm>
#include <iterator>

namespace storage {

namespace {

Status attempt(const Write &write, Delivery delivery)
{
    Transaction transaction(*db());
    const Status stored = write.store(*db(), delivery);
    return stored ? transaction.commit() : stored;
}

/// Moves all of one queue to a place in another.
template <typename Queue> void moveInto(Queue &queue, typename Queue::iterator place, Queue &from)
{
    queue.insert(place, std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
    from.clear();
}

} // namespace

WriteQueue::Waiting WriteQueue::Queue::takeFirst()
{
    Waiting first = std::move(writes.front());
    writes.pop_front();
    kept -= kept > 0 ? 1 : 0;
    return first;
}

void WriteQueue::add(Write write)
{
    m_waiting.add({std::move(write)});
}

void WriteQueue::addRescued(Write write)
{
    m_waiting.add({std::move(write), Delivery::Again, true, true});
}

bool WriteQueue::isAnyUnkept() const
{
    const auto &writes = m_waiting.writes;
    return std::any_of(writes.begin() + static_cast<std::ptrdiff_t>(m_waiting.kept), writes.end(),
                       [](const Waiting &waiting) { return !waiting.write.isKept; });
}

bool WriteQueue::storeTurn(Aside aside, Fates *fates)
{
    if (!db() || count() == 0)
        return count() == 0;
    std::vector<Status> ended;
    Status failure = storeTogether(&ended);
    size_t released = 0;
    for (const Status status : ended)
        released += settle(m_waiting.takeFirst(), status, fates);
    if (failure.isDamaged())
        failure = storeOneByOne(&released, fates);
    if (failure && aside == Aside::Attempt)
        storeAside(&released, fates);
    if (rescue())
        rescue()->release(released);
    if (!failure && !m_waiting.writes.empty())
        warn("not stored, kept for another attempt:", m_waiting.writes.front().write);
    return bool(failure);
}

/// What became of the oldest, each in a savepoint, all in one transaction. Stops at the first failure that may pass and
/// tells it; those before it are stored, unless it was damage: what is behind that is unsure.
Status WriteQueue::storeTogether(std::vector<Status> *ended)
{
    Transaction turn(*db()); // may wait for another program's
    bringBackUnseen();
    Status failure;
    QElapsedTimer elapsed;
    elapsed.start();
    while (failure && ended->size() < m_waiting.writes.size() && ended->size() < kTurnWrites &&
           elapsed.elapsed() < kTurnMs) {
        const Waiting &waiting = m_waiting.writes[ended->size()];
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
Status WriteQueue::storeOneByOne(size_t *released, Fates *fates)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!m_waiting.writes.empty() && elapsed.elapsed() < kTurnMs) {
        const Waiting &oldest = m_waiting.writes.front();
        const Status status = attempt(oldest.write, oldest.delivery);
        if (status.isDamaged() && !oldest.write.isKept) {
            fates->emplace_back(std::move(m_waiting.takeFirst().write.told), Fate::Refused);
        } else if (status.isDamaged()) {
            warn("met damage, put aside:", oldest.write);
            m_aside.add(m_waiting.takeFirst());
        } else if (status.mayPass()) {
            return status;
        } else {
            *released += settle(m_waiting.takeFirst(), status, fates);
        }
    }
    return Status::Done;
}

/// Up to the first that still meets damage.
void WriteQueue::storeAside(size_t *released, Fates *fates)
{
    while (!m_aside.writes.empty()) {
        const Status status = attempt(m_aside.writes.front().write, Delivery::Again);
        if (status.mayPass())
            return;
        *released += settle(m_aside.takeFirst(), status, fates);
    }
}

/// How many lines of the rescue file are no longer needed.
size_t WriteQueue::settle(Waiting waiting, Status status, Fates *fates)
{
    if (!status)
        warn("not stored:", waiting.write);
    fates->emplace_back(std::exchange(waiting.write.told, {}), status ? Fate::Stored : Fate::Failed);
    const size_t released = std::exchange(waiting.isRescued, false) ? 1 : 0;
    if (status) {
        waiting.delivery = Delivery::Again;
        waiting.write.isKept = true; // nobody waits to be refused any more
        m_unseen.push_back(std::move(waiting));
    }
    return released;
}

void WriteQueue::bringBackUnseen()
{
    if (db()->isOpen() && db()->generation() == m_generation) {
        m_unseen.clear();
        return;
    }
    if (db()->isOpen())
        m_generation = db()->generation();
    moveInto(m_waiting.writes, m_waiting.writes.begin(), m_unseen);
    m_waiting.kept = 0;
}

void WriteQueue::keepAll(Fates *fates)
{
    refuseUnkept(fates);
    rescueNew({&m_aside, &m_waiting}, fates);
}

void WriteQueue::refuseUnkept(Fates *fates)
{
    auto &writes = m_waiting.writes;
    const auto isKept = [](const Waiting &waiting) { return waiting.write.isKept; };
    const auto unkept =
        std::stable_partition(writes.begin() + static_cast<std::ptrdiff_t>(m_waiting.kept), writes.end(), isKept);
    for (auto refused = unkept; refused != writes.end(); ++refused)
        fates->emplace_back(std::move(refused->write.told), Fate::Refused);
    writes.erase(unkept, writes.end());
}

void WriteQueue::rescueNew(std::initializer_list<Queue *> queues, Fates *fates)
{
    std::vector<QAny> lines;
    std::vector<Waiting *> written;
    for (Queue *queue : queues) {
        for (; queue->kept < queue->writes.size(); ++queue->kept) {
            Waiting &waiting = queue->writes[queue->kept];
            if (!std::exchange(waiting.isKept, true))
                fates->emplace_back(waiting.write.told, Fate::Kept);
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

void WriteQueue::end()
{
    for (const Queue *queue : {&m_waiting, &m_aside}) {
        for (const Waiting &waiting : queue->writes)
            warn(waiting.isRescued ? "left in the rescue file:" : "lost at the end:", waiting.write);
    }
    m_waiting = m_aside = Queue();
    m_unseen.clear();
}

void WriteQueue::warn(const char *what, const Write &write) const
{
    qWarning().noquote() << m_owner << what << (write.name ? write.name() : QString());
}

} // namespace storage
