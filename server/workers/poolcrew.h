#pragma once

#include "calc/crew.h"
#include "server/workers/workqueue.h"

namespace server::workers {

/// The readers that one worker has open, for what it does alone and for the team. On its thread.
class WorkerReaders
{
public:
    explicit WorkerReaders(ReaderSource &source) : m_source(source) {}

    /// Its reader sees the state that is there now, until the end. Opened anew where the file is another one.
    storage::Reader &beginOwn(const WantedFile &wanted) { return m_own.begin(wanted, m_source); }
    void endOwn() { m_own.end(); }
    /// The same, for the calculation that all workers share, which goes on while the worker reads for another work.
    /// False when each statement sees a state of its own.
    bool beginTeams(const WantedFile &wanted)
    {
        m_teams.begin(wanted, m_source);
        return m_teams.hasState;
    }
    void endTeams() { m_teams.end(); }
    /// Opens what beginTeams() is to begin.
    void openTeams(const WantedFile &wanted) { m_teams.open(wanted, m_source); }
    /// Closes what sees no state; not while the worker leads. A file that was moved away and comes back changed is not
    /// opened by the main thread while anybody has it open.
    void closeIdle()
    {
        m_own.closeIdle();
        m_teams.closeIdle();
    }
    /// The same, of other files alone.
    void closeOthers(const WantedFile &wanted)
    {
        m_own.closeIfOther(wanted);
        m_teams.closeIfOther(wanted);
    }
    /// As it was begun last; null before.
    storage::Reader *teams() { return m_teams.connection ? &m_teams.connection->reader() : nullptr; }

private:
    struct Opened {
        std::unique_ptr<ReadingConnection> connection;
        WantedFile file;
        bool hasState = false;

        void open(const WantedFile &wanted, ReaderSource &source);
        storage::Reader &begin(const WantedFile &wanted, ReaderSource &source);
        void end();
        void closeIdle();
        void closeIfOther(const WantedFile &wanted);
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
    PoolCrew(WorkQueue &queue, ReaderSource &source, WorkerReaders &readers, JobHandle job, int leader, int workers,
             std::function<void()> betweenShares);
    /// Ends the reading.
    ~PoolCrew() override;

    int size() const override { return m_workers; }
    storage::Reader &reader() override { return *m_readers.teams(); }
    void run(int shares, const Share &work) override;
    void read(int shares, const ReadingShare &work) override;
    void endReading() override;
    bool isCancelled() const override { return m_job->isCancelled; }

private:
    void runShares(int shares, bool isReading, const WorkQueue::Share &work);

    WorkQueue &m_queue;
    WorkerReaders &m_readers; ///< of the leader
    const JobHandle m_job;
    const int m_leader;
    const int m_workers;
    const std::function<void()> m_betweenShares;
    bool m_isReading = true;
};

} // namespace server::workers
