#include "server/service/servicemanager.h"

#include "server/service/systemdservicemanager.h"

namespace server::service {

std::shared_ptr<ServiceManager> createServiceManager()
{
    return std::make_shared<SystemdServiceManager>();
}

} // namespace server::service
