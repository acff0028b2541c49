#include "mainthreadwork.h"

void MainThreadWork::run(const std::function<void()> &work)
{
    std::unique_lock<std::mutex> lock(m_mutex);
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
}

void MainThreadWork::end()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = true;
    m_changed.notify_all();
}

void MainThreadWork::serve()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_ended) {
        m_changed.wait(lock, [this] { return m_work || m_ended; });
        doWaiting(lock);
    }
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
