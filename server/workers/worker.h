#pragma once

#include "server/workers/poolcrew.h"

namespace server::workers {

/// What one thread of the pool does, from its beginning to its end.
class Worker
{
public:
    /// Nothing is owned. Numbered from 0.
    Worker(WorkQueue &queue, ReaderSource &source, int number, int workers, std::chrono::milliseconds restAfter)
        : m_queue(queue), m_source(source), m_readers(source), m_number(number), m_workers(workers),
          m_restAfter(restAfter)
    {
    }

    /// Returns when the queue has stopped.
    void run();

private:
    using Clock = WorkQueue::Clock;

    void carryOut(const Assignment &assignment);
    void doJob(const JobHandle &job);
    void doSmall(const JobHandle &job);
    void doLarge(const JobHandle &job);
    void join(const JobHandle &job);
    void rest();

    WorkQueue &m_queue;
    ReaderSource &m_source;
    WorkerReaders m_readers;
    const int m_number;
    const int m_workers;
    const std::chrono::milliseconds m_restAfter;
    Clock::time_point m_closeAt = WorkQueue::kNever; ///< the idle connections
    Clock::time_point m_trimAt = WorkQueue::kNever;  ///< the memory of the last large job
    int m_trims = 0;
};

} // namespace server::workers
