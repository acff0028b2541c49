#include "server/service/managernotice.h"

#include <chrono>
#include <systemd/sd-daemon.h>

namespace server::service {

void ManagerNotice::tellReady()
{
    sd_notify(0, "READY=1");
    uint64_t patience = 0; // in µs
    if (m_watchdog || sd_watchdog_enabled(0, &patience) <= 0)
        return;
    constexpr int kFeedsPerPatience = 3;
    m_watchdog = std::make_unique<QTimer>();
    m_watchdog->callOnTimeout([] { sd_notify(0, "WATCHDOG=1"); });
    m_watchdog->start(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::microseconds(patience / kFeedsPerPatience)));
}

void ManagerNotice::tellStopping()
{
    sd_notify(0, "STOPPING=1");
}

} // namespace server::service
