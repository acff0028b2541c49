#include "server/service/qtservicecontroller.h"

#include <utility>

using server::service::ServiceManager;

QtServiceController::QtServiceController(const QString &name)
    : QtServiceController(name, server::service::createServiceManager())
{
}

QtServiceController::QtServiceController(const QString &name, std::shared_ptr<ServiceManager> manager)
    : m_name(name), m_manager(std::move(manager))
{
}

ServiceManager::ServiceInfo QtServiceController::info() const
{
    ServiceManager::ServiceInfo missing;
    missing.startup = ServiceManager::StartupType::Manual;
    return m_manager->query(m_name).value_or(missing);
}

bool QtServiceController::isInstalled() const
{
    return m_manager->query(m_name).has_value();
}

bool QtServiceController::isRunning() const
{
    return isInstalled() && m_manager->isRunning(m_name);
}

QString QtServiceController::serviceDescription() const
{
    return info().description;
}

QString QtServiceController::serviceFilePath() const
{
    return info().executable;
}

ServiceManager::StartupType QtServiceController::startupType() const
{
    return info().startup;
}

bool QtServiceController::install(ServiceManager::Installation service)
{
    service.name = m_name;
    return m_manager->install(service);
}

bool QtServiceController::uninstall()
{
    return m_manager->uninstall(m_name);
}

bool QtServiceController::start()
{
    return m_manager->start(m_name);
}

bool QtServiceController::stop()
{
    return m_manager->stop(m_name);
}

bool QtServiceController::pause()
{
    return m_manager->pause(m_name);
}

bool QtServiceController::resume()
{
    return m_manager->resume(m_name);
}

bool QtServiceController::sendCommand(int code)
{
    return m_manager->sendCommand(m_name, code);
}
