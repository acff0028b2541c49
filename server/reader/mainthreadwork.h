#pragma once

#include <QObject>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace server::reader {

/// Where another thread has work done on the main thread, to which the database and the sessions belong. One thread
/// hands over, one piece at a time. Made on the main thread, and destroyed there after the other thread has ended.
///
/// The main thread does the work from its event loop; or in serve(), when it waits for the other thread to end. So
/// neither ever waits for the other in vain. A thread that hangs elsewhere is given up: from then on none of its work
/// is done.
class MainThreadWork : public QObject
{
public:
    using QObject::QObject;

    /// Called by the other thread: returns when the main thread has done the work; false when it never will. Nothing
    /// may throw there.
    bool run(const std::function<void()> &work);
    /// The other thread hands nothing over any more.
    void end();
    /// Called by the main thread: does what is handed over, until end(). False when nothing comes for so long: then the
    /// other thread has been given up.
    bool serve(std::chrono::milliseconds patience);

private:
    void doWaiting(std::unique_lock<std::mutex> &lock);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    const std::function<void()> *m_work = nullptr; // handed over and not done
    bool m_ended = false;
    bool m_givenUp = false;
};

} // namespace server::reader
