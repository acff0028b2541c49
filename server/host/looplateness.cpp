#include "server/host/looplateness.h"

#include <utility>

namespace server::host {

LoopLateness::LoopLateness(QObject *parent) : QObject(parent)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { look(); });
    m_timer.start(kIntervalMs);
    m_since.start();
}

double LoopLateness::takeWorst()
{
    constexpr double kNsPerSecond = 1e9;
    look();
    return static_cast<double>(std::exchange(m_worstNs, 0)) / kNsPerSecond;
}

void LoopLateness::look()
{
    constexpr qint64 kIntervalNs = kIntervalMs * 1000000LL;
    m_worstNs = qMax(m_worstNs, m_since.nsecsElapsed() - kIntervalNs);
    m_since.start();
}

} // namespace server::host
