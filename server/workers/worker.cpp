#include "server/workers/worker.h"

#include "server/process/freememory.h"
#include "server/process/threadpriority.h"

#include <algorithm>

namespace server::workers {

namespace {

/// The text of a large job goes away when its receiver has got it, which may be slow: nobody tells when. So memory is
/// given back as often, and for so long.
constexpr std::chrono::seconds kTrimInterval(4);
constexpr int kTrims = 150;

/// The crew of a small job.
class WorkerAlone : public calc::CrewOfOne
{
public:
    WorkerAlone(storage::Reader &reader, const Job &job) : CrewOfOne(reader), m_job(job) {}

    bool isCancelled() const override { return m_job.isCancelled; }

private:
    const Job &m_job;
};

} // namespace

void Worker::run()
{
    process::lowerThreadPriority();
    for (;;) {
        const Assignment assignment = m_queue.next(m_number, std::min(m_closeAt, m_trimAt));
        if (assignment.kind == Assignment::Stop)
            return;
        carryOut(assignment);
        if (assignment.kind != Assignment::Rest && m_closeAt == WorkQueue::kNever)
            m_closeAt = Clock::now() + m_restAfter;
    }
}

void Worker::carryOut(const Assignment &assignment)
{
    if (assignment.job)
        m_readers.closeOthers(assignment.job->file);
    switch (assignment.kind) {
    case Assignment::Stop:
        break;
    case Assignment::EndState:
        m_readers.endTeams();
        break;
    case Assignment::Rest:
        rest();
        break;
    case Assignment::DoJob:
        doJob(assignment.job);
        break;
    case Assignment::JoinTeam:
        join(assignment.job);
        break;
    case Assignment::DoShare:
        m_queue.doShare(m_number, assignment.share, m_readers.teams());
        break;
    }
}

void Worker::doJob(const JobHandle &job)
{
    if (job->size == ReadPool::Size::Small)
        doSmall(job);
    else
        doLarge(job);
}

void Worker::doSmall(const JobHandle &job)
{
    Text text;
    if (!job->isCancelled) {
        const ReadPool::Work work = std::move(job->work); // ends here, with all that it holds
        WorkerAlone crew(m_readers.beginOwn(job->file), *job);
        text = work(crew);
        m_readers.endOwn();
    }
    m_queue.finish(job, std::move(text));
}

void Worker::doLarge(const JobHandle &job)
{
    Text text;
    if (!job->isCancelled) {
        const ReadPool::Work work = std::move(job->work);
        const auto doSmallOnes = [this] {
            while (const JobHandle small = m_queue.takeSmall())
                doSmall(small);
        };
        PoolCrew crew(m_queue, m_source, m_readers, job, m_number, m_workers, doSmallOnes);
        text = work(crew);
    }
    m_queue.finish(job, std::move(text));
    process::returnFreeMemory(); // more than a gigabyte where a company's year was calculated
    m_trims = kTrims;
    m_trimAt = Clock::now() + kTrimInterval;
}

void Worker::join(const JobHandle &job)
{
    m_queue.hasJoined(m_number, m_readers.beginTeams(job->file));
}

void Worker::rest()
{
    const Clock::time_point now = Clock::now();
    if (now >= m_closeAt) {
        m_readers.closeIdle();
        m_closeAt = WorkQueue::kNever;
    }
    if (now < m_trimAt)
        return;
    process::returnFreeMemory();
    m_trimAt = --m_trims > 0 ? now + kTrimInterval : WorkQueue::kNever;
}

} // namespace server::workers
