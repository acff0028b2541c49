#include "server/service/servicemanager.h"

#include "server/service/systemdservicemanager.h"

std::shared_ptr<ServiceManager> createServiceManager()
{
    return std::make_shared<SystemdServiceManager>();
}
