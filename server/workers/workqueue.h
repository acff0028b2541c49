#pragma once

#include "server/workers/readpool.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

namespace server::workers {

/// A work that was submitted. Its text and what it holds belong to the worker that took it.
struct Job {
    quint64 id = 0;
    ReadPool::Size size = ReadPool::Size::Small;
    WantedFile file;
    ReadPool::Work work;
    std::atomic<bool> isCancelled{false};
};
using JobHandle = std::shared_ptr<Job>;

struct FinishedJob {
    quint64 id = 0;
    Text text;
};

/// What a worker is to do next.
struct Assignment {
    enum Kind {
        Stop,
        EndState, ///< end the state that the team's reader sees
        Rest,     ///< there was nothing to do by the time that was given
        DoJob,
        JoinTeam, ///< of the job: begin the state that its reader is to see, at once
        DoShare
    };

    Kind kind = Stop;
    JobHandle job;
    int share = 0;
};

/// Everything that the pool's thread and its workers hand to each other: one mutex, standard containers. Workers are
/// numbered from 0.
///
/// A large job is done by a team: the worker that took it leads, the others join while it gathers them, and take
/// shares. Those that have joined read the state of the file that the leader's reader sees; the others only take
/// shares that need no reader.
class WorkQueue
{
public:
    /// The member's reader is null in a step that needs none.
    using Share = std::function<void(int share, int member, storage::Reader *reader)>;

    WorkQueue(int workers, int maxWaitingSmall, int maxWaitingLarge, std::function<void()> wakeReceiver);

    // The pool's thread.

    /// False when too much waits.
    bool add(const JobHandle &job);
    /// Cancels it, whether it waits or runs.
    void cancel(const JobHandle &job);
    /// Workers get nothing but Stop from here on. Cancels nothing that runs.
    void stop();
    std::vector<FinishedJob> takeFinished();

    // Workers.

    using Clock = std::chrono::steady_clock;
    static constexpr auto kNever = Clock::time_point::max();
    /// Waits for something to do, or until it is time to rest.
    Assignment next(int worker, Clock::time_point restAt);
    /// A small job, without waiting: for a leader between two shares.
    JobHandle takeSmall();
    /// Unless it was cancelled the text goes to the receiver. Ends the team of a large job.
    void finish(const JobHandle &job, Text text);

    /// What became of a worker that was to join a team: whether its reader sees a state, the team's if it is in time.
    void hasJoined(int worker, bool isReading);
    /// Runs a share that it was assigned. The reader is the one that it joined with.
    void doShare(int worker, int share, storage::Reader *reader);

    // The leader.

    /// Has the others join, while nobody writes. Those that are busy for longer than a moment do not read with the
    /// team.
    void gather();
    /// Has all members do shares and waits for the last one. The leader does its own through the call back, which
    /// returns false when the rest is to be left out.
    void runShares(int shares, bool isReading, const Share &work, const std::function<bool(int share)> &doOwn);
    void endReading();

private:
    enum class Member { Absent, Joining, Reading };
    /// The shares of one step.
    struct Step {
        const Share *work = nullptr;
        int shares = 0;
        int next = 0;
        int running = 0;
        bool isReading = false;
    };

    Assignment shareOrJob(int worker);
    bool hasShareFor(int worker) const;
    int countOf(Member state) const;

    const int m_maxWaitingSmall;
    const int m_maxWaitingLarge;
    const std::function<void()> m_wakeReceiver;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isStopping = false;
    std::deque<JobHandle> m_small;
    std::deque<JobHandle> m_large;
    std::vector<FinishedJob> m_finished;
    JobHandle m_team; ///< the large job that runs
    bool m_isGathering = false;
    std::vector<Member> m_members; ///< by worker
    std::vector<bool> m_mustEnd;   ///< by worker: its state is to end
    Step m_step;
};

} // namespace server::workers
