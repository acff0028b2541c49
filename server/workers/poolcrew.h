#pragma once

#include "calc/crew.h"
#include "server/workers/workqueue.h"

namespace server::workers {

/// The readers that one worker has open, for what it does alone and for the team. On its thread.
class WorkerReaders
{
public:
    explicit WorkerReaders(ReaderSource &source) : m_source(source) {}

    /// Opened anew where the file is another one than before.
    ReadingConnection &own(quint64 generation) { return m_own.of(generation, m_source); }
    /// The same, for the calculation that all workers share: it may see an older state than the other.
    ReadingConnection &teams(quint64 generation) { return m_teams.of(generation, m_source); }
    /// As it was opened last; null before.
    ReadingConnection *teams() { return m_teams.connection.get(); }
    storage::Reader *teamsReader() { return teams() ? &teams()->reader() : nullptr; }

private:
    struct Opened {
        std::unique_ptr<ReadingConnection> connection;
        quint64 generation = 0;

        ReadingConnection &of(quint64 wanted, ReaderSource &source)
        {
            if (!connection || generation != wanted) {
                connection.reset(); // one less is open while the next opens
                connection = source.open();
                generation = wanted;
            }
            return *connection;
        }
    };

    ReaderSource &m_source;
    Opened m_own;
    Opened m_teams;
};

/// The crew of a large job, on the thread of the worker that leads it. Gathers the others when it is made.
class PoolCrew : public calc::Crew
{
public:
    /// Nothing is owned. The leader calls back between two shares.
    PoolCrew(WorkQueue &queue, ReaderSource &source, ReadingConnection &reading, JobHandle job, int leader, int workers,
             std::function<void()> betweenShares);
    /// Ends the reading.
    ~PoolCrew() override;

    int size() const override { return m_workers; }
    storage::Reader &reader() override { return m_reading.reader(); }
    void run(int shares, const Share &work) override;
    void read(int shares, const ReadingShare &work) override;
    void endReading() override;
    bool isCancelled() const override { return m_job->isCancelled; }

private:
    void gather(ReaderSource &source);
    void runShares(int shares, bool isReading, const WorkQueue::Share &work);

    WorkQueue &m_queue;
    ReadingConnection &m_reading; ///< of the leader
    const JobHandle m_job;
    const int m_leader;
    const int m_workers;
    const std::function<void()> m_betweenShares;
    bool m_isReading = true;
};

} // namespace server::workers
