#pragma once

#include "qtservice.h"

#include <QCoreApplication>

/// The server as a service of the operating system.
class KNetSrvService : public QtService<QCoreApplication>
{
public:
    using QtService<QCoreApplication>::QtService;

protected:
    /// Schedules ServicesStarter::start(), in the executable's folder.
    void start() override;
    /// Schedules ServicesStarter::stop().
    void stop() override;
};
