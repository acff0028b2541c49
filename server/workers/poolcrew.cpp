#include "server/workers/poolcrew.h"

namespace server::workers {

PoolCrew::PoolCrew(WorkQueue &queue, ReaderSource &source, ReadingConnection &reading, JobHandle job, int leader,
                   int workers, std::function<void()> betweenShares)
    : m_queue(queue), m_reading(reading), m_job(std::move(job)), m_leader(leader), m_workers(workers),
      m_betweenShares(std::move(betweenShares))
{
    gather(source);
}

PoolCrew::~PoolCrew()
{
    endReading();
}

/// The file is held still only when everybody is ready, so that nobody who writes notices.
void PoolCrew::gather(ReaderSource &source)
{
    const bool areOthersReady = m_queue.gather() > 0;
    const auto still = areOthersReady ? source.holdStill() : nullptr;
    const bool hasState = m_reading.beginState();
    m_queue.beginTogether(!still || !hasState);
}

void PoolCrew::run(int shares, const Share &work)
{
    runShares(shares, false, [&work](int share, int member, storage::Reader *) { work(share, member); });
}

void PoolCrew::read(int shares, const ReadingShare &work)
{
    runShares(shares, true, [&work](int share, int member, storage::Reader *reader) { work(share, member, *reader); });
}

void PoolCrew::runShares(int shares, bool isReading, const WorkQueue::Share &work)
{
    m_queue.runShares(shares, isReading, work, [&](int share) {
        if (!isCancelled())
            work(share, m_leader, &m_reading.reader());
        m_betweenShares();
        return !isCancelled();
    });
}

void PoolCrew::endReading()
{
    if (!m_isReading)
        return;
    m_isReading = false;
    m_reading.endState();
    m_queue.endReading();
}

} // namespace server::workers
