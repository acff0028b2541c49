#pragma once

#include "server/service/qtservice.h"

#include <QCoreApplication>

#include <functional>

/// The server as a service of the operating system.
class KNetSrvService : public QtService<QCoreApplication>
{
public:
    using QtService<QCoreApplication>::QtService;

    /// Called when the stop is asked for, before it is scheduled.
    std::function<void()> onStopping = [] {};

protected:
    /// Schedules ServicesStarter::start(), in the executable's folder.
    void start() override;
    /// Schedules ServicesStarter::stop().
    void stop() override;
};
