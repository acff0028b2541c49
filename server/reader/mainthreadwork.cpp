#include "server/reader/mainthreadwork.h"

namespace server::reader {

bool MainThreadWork::run(const std::function<void()> &work)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_givenUp)
        return false;
    m_work = &work;
    m_changed.notify_all();
    QMetaObject::invokeMethod(
        this,
        [this] {
            std::unique_lock<std::mutex> mainLock(m_mutex);
            doWaiting(mainLock);
        },
        Qt::QueuedConnection);
    m_changed.wait(lock, [this] { return !m_work; });
    return true;
}

void MainThreadWork::end()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = true;
    m_changed.notify_all();
}

bool MainThreadWork::serve(std::chrono::milliseconds patience)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_ended && !m_givenUp) {
        m_givenUp = !m_changed.wait_for(lock, patience, [this] { return m_work || m_ended; });
        doWaiting(lock);
    }
    return m_ended;
}

void MainThreadWork::doWaiting(std::unique_lock<std::mutex> &lock)
{
    if (!m_work)
        return;
    const std::function<void()> &work = *m_work;
    lock.unlock();
    work();
    lock.lock();
    m_work = nullptr;
    m_changed.notify_all();
}

} // namespace server::reader
