#pragma once

#include "server/service/servicemanager.h"

/// A service as seen from outside it, through the service manager. Main thread; may block for as long as the manager's
/// time-outs. The operations return whether they succeeded.
class QtServiceController
{
public:
    /// With the platform's service manager.
    explicit QtServiceController(const QString &name);
    QtServiceController(const QString &name, std::shared_ptr<server::service::ServiceManager> manager);

    QString serviceName() const { return m_name; }
    bool isInstalled() const;
    bool isRunning() const;
    /// These are empty (Manual) when it is not installed.
    QString serviceDescription() const;
    QString serviceFilePath() const;
    server::service::ServiceManager::StartupType startupType() const;

    bool install(server::service::ServiceManager::Installation service);
    bool uninstall();
    bool start();
    bool stop();
    bool pause();
    bool resume();
    bool sendCommand(int code);

private:
    server::service::ServiceManager::ServiceInfo info() const;

    QString m_name;
    std::shared_ptr<server::service::ServiceManager> m_manager;
};
