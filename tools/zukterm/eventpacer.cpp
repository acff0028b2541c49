#include "tools/zukterm/eventpacer.h"

#include <utility>

namespace tools::zukterm {

EventPacer::EventPacer(double ratePerS, qint64 count, std::function<bool()> mayRun, std::function<void()> action,
                       QObject *parent)
    : QObject(parent), m_ratePerS(ratePerS), m_count(count), m_mayRun(std::move(mayRun)), m_action(std::move(action))
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(kTickMs);
    connect(&m_timer, &QTimer::timeout, this, &EventPacer::tick);
}

void EventPacer::start()
{
    m_sinceTick.start();
    m_timer.start();
    tick();
}

void EventPacer::tick()
{
    m_due += m_ratePerS * 1e-9 * static_cast<double>(m_sinceTick.nsecsElapsed());
    m_sinceTick.restart();
    while (m_due >= 1) {
        if (!m_mayRun()) {
            m_due = 1;
            return;
        }
        m_due -= 1;
        m_action();
        if (++m_done == m_count) {
            stop();
            return;
        }
    }
}

} // namespace tools::zukterm
