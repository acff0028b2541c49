#include "server/workers/poolcrew.h"

namespace server::workers {

void WorkerReaders::Opened::open(const WantedFile &wanted, ReaderSource &source)
{
    if (connection && file.isSame(wanted))
        return;
    connection.reset(); // one less is open while the next opens
    connection = source.open(wanted);
    file = wanted;
}

storage::Reader &WorkerReaders::Opened::begin(const WantedFile &wanted, ReaderSource &source)
{
    open(wanted, source);
    hasState = connection->beginState();
    if (!hasState) {
        connection.reset();
        open(wanted, source);
        hasState = connection->beginState();
    }
    return connection->reader();
}

void WorkerReaders::Opened::end()
{
    if (hasState)
        connection->endState();
    hasState = false;
}

void WorkerReaders::Opened::closeIdle()
{
    if (!hasState)
        connection.reset();
}

void WorkerReaders::Opened::closeIfOther(const WantedFile &wanted)
{
    if (!file.isSame(wanted))
        closeIdle();
}

PoolCrew::PoolCrew(WorkQueue &queue, ReaderSource &source, WorkerReaders &readers, JobHandle job, int leader,
                   int workers, std::function<void()> betweenShares)
    : m_queue(queue), m_readers(readers), m_job(std::move(job)), m_leader(leader), m_workers(workers),
      m_betweenShares(std::move(betweenShares))
{
    m_readers.openTeams(m_job->file);
    // Without a moment in which nobody writes the leader reads alone.
    const auto still = source.holdStill(m_job->file);
    if (m_readers.beginTeams(m_job->file) && still)
        m_queue.gather();
}

PoolCrew::~PoolCrew()
{
    endReading();
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
            work(share, m_leader, m_readers.teams());
        m_betweenShares();
        return !isCancelled();
    });
}

void PoolCrew::endReading()
{
    if (!m_isReading)
        return;
    m_isReading = false;
    m_readers.endTeams();
    m_queue.endReading();
}

} // namespace server::workers
