#include "server/workers/workqueue.h"

#include <algorithm>

namespace server::workers {

namespace {

/// Who writes has to wait so long for workers to begin to join, and for those that have begun, at most; an idle one
/// joins in a fraction of it.
constexpr std::chrono::milliseconds kGatherPatience(20);
constexpr std::chrono::milliseconds kJoinPatience(100);

JobHandle takeFirst(std::deque<JobHandle> &jobs)
{
    JobHandle job = std::move(jobs.front());
    jobs.pop_front();
    return job;
}

} // namespace

WorkQueue::WorkQueue(int workers, int maxWaitingSmall, int maxWaitingLarge, std::function<void()> wakeReceiver)
    : m_maxWaitingSmall(maxWaitingSmall), m_maxWaitingLarge(maxWaitingLarge), m_wakeReceiver(std::move(wakeReceiver)),
      m_members(static_cast<size_t>(workers), Member::Absent), m_mustEnd(static_cast<size_t>(workers), false)
{
}

bool WorkQueue::add(const JobHandle &job)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool isSmall = job->size == ReadPool::Size::Small;
    std::deque<JobHandle> &jobs = isSmall ? m_small : m_large;
    if (m_isStopping || static_cast<int>(jobs.size()) >= (isSmall ? m_maxWaitingSmall : m_maxWaitingLarge))
        return false;
    jobs.push_back(job);
    m_changed.notify_all();
    return true;
}

void WorkQueue::cancel(const JobHandle &job)
{
    JobHandle waiting; // is released without the lock: what a work holds may be much
    const std::lock_guard<std::mutex> lock(m_mutex);
    job->isCancelled = true;
    std::deque<JobHandle> &jobs = job->size == ReadPool::Size::Small ? m_small : m_large;
    const auto found = std::find(jobs.begin(), jobs.end(), job);
    if (found == jobs.end())
        return;
    waiting = std::move(*found);
    jobs.erase(found);
}

void WorkQueue::stop()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isStopping = true;
    m_changed.notify_all();
}

std::vector<FinishedJob> WorkQueue::takeFinished()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_finished, {});
}

Assignment WorkQueue::next(int worker, Clock::time_point restAt)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        if (m_mustEnd[static_cast<size_t>(worker)]) {
            m_mustEnd[static_cast<size_t>(worker)] = false;
            return {Assignment::EndState, nullptr, 0};
        }
        if (m_isStopping)
            return {};
        const Assignment found = shareOrJob(worker);
        if (found.kind != Assignment::Stop)
            return found;
        if (restAt == kNever)
            m_changed.wait(lock); // some would add this time to another
        else if (Clock::now() >= restAt)
            return {Assignment::Rest, nullptr, 0};
        else
            m_changed.wait_until(lock, restAt);
    }
}

Assignment WorkQueue::shareOrJob(int worker)
{
    if (!m_small.empty())
        return {Assignment::DoJob, takeFirst(m_small), 0};
    Member &member = m_members[static_cast<size_t>(worker)];
    if (m_isGathering && member == Member::Absent) {
        member = Member::Joining;
        return {Assignment::JoinTeam, m_team, 0};
    }
    if (hasShareFor(worker)) {
        ++m_step.running;
        return {Assignment::DoShare, nullptr, m_step.next++};
    }
    if (m_team || m_large.empty())
        return {};
    m_team = takeFirst(m_large);
    return {Assignment::DoJob, m_team, 0};
}

JobHandle WorkQueue::takeSmall()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_small.empty() || m_isStopping ? nullptr : takeFirst(m_small);
}

void WorkQueue::finish(const JobHandle &job, Text text)
{
    bool isFirst = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_team == job) {
            m_team = nullptr;
            m_changed.notify_all();
        }
        if (job->isCancelled)
            return;
        isFirst = m_finished.empty();
        m_finished.push_back({job->id, std::move(text)});
    }
    if (isFirst)
        m_wakeReceiver();
}

void WorkQueue::hasJoined(int worker, bool isReading)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Member &member = m_members[static_cast<size_t>(worker)];
    if (member == Member::Joining)
        member = isReading ? Member::Reading : Member::Absent;
    else
        m_mustEnd[static_cast<size_t>(worker)] = isReading; // too late: it may see what was written meanwhile
    m_changed.notify_all();
}

void WorkQueue::doShare(int worker, int share, storage::Reader *reader)
{
    (*m_step.work)(share, worker, reader); // the step stays as it is while a share runs
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (--m_step.running == 0)
        m_changed.notify_all();
}

void WorkQueue::gather()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_isGathering = true;
    m_changed.notify_all();
    const int others = static_cast<int>(m_members.size()) - 1;
    m_changed.wait_for(lock, kGatherPatience, [&] { return m_isStopping || countOf(Member::Reading) == others; });
    m_isGathering = false;
    m_changed.wait_for(lock, kJoinPatience, [this] { return countOf(Member::Joining) == 0; });
    std::replace(m_members.begin(), m_members.end(), Member::Joining, Member::Absent);
}

void WorkQueue::runShares(int shares, bool isReading, const Share &work, const std::function<bool(int share)> &doOwn)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_step = {&work, shares, 0, 0, isReading};
    m_changed.notify_all();
    while (m_step.next < shares) {
        const int share = m_step.next++;
        lock.unlock();
        const bool goesOn = doOwn(share);
        lock.lock();
        if (!goesOn)
            m_step.next = shares;
    }
    m_changed.wait(lock, [this] { return m_step.running == 0; });
    m_step = {};
}

void WorkQueue::endReading()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (size_t worker = 0; worker < m_members.size(); ++worker) {
        if (m_members[worker] == Member::Reading)
            m_mustEnd[worker] = true;
        m_members[worker] = Member::Absent;
    }
    m_changed.notify_all();
}

bool WorkQueue::hasShareFor(int worker) const
{
    return m_step.next < m_step.shares &&
           (!m_step.isReading || m_members[static_cast<size_t>(worker)] == Member::Reading);
}

int WorkQueue::countOf(Member state) const
{
    return static_cast<int>(std::count(m_members.begin(), m_members.end(), state));
}

} // namespace server::workers
