#include "servicemanager.h"

#include "systemdservicemanager.h"

std::shared_ptr<ServiceManager> createServiceManager()
{
    return std::make_shared<SystemdServiceManager>();
}
