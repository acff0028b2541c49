#pragma once

#include <QObject>

#include <condition_variable>
#include <functional>
#include <mutex>

/// Where another thread has work done on the main thread, to which the database and the sessions belong. One thread
/// hands over, one piece at a time. Made on the main thread, and destroyed there after the other thread has ended.
///
/// The main thread does the work from its event loop; or in serve(), when it waits for the other thread to end. So
/// neither ever waits for the other in vain.
class MainThreadWork : public QObject
{
public:
    using QObject::QObject;

    /// Called by the other thread: returns when the main thread has done the work. Nothing may throw there.
    void run(const std::function<void()> &work);
    /// The other thread hands nothing over any more.
    void end();
    /// Called by the main thread: does what is handed over, until end().
    void serve();

private:
    void doWaiting(std::unique_lock<std::mutex> &lock);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    const std::function<void()> *m_work = nullptr; // handed over and not done
    bool m_ended = false;
};
