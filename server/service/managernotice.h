#pragma once

#include <QTimer>

#include <memory>

namespace server::service {

/// Tells the service manager that started this process how far it is; nothing where none did, or it does not ask. On
/// the main thread.
class ManagerNotice
{
public:
    /// Up; from here on the event loop keeps telling that it comes round, if the manager starts anew what hangs.
    void tellReady();
    static void tellStopping();
    /// It no longer tells.
    void endWatchdog() { m_watchdog.reset(); }

private:
    std::unique_ptr<QTimer> m_watchdog;
};

} // namespace server::service
