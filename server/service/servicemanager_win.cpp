#include "server/service/servicemanager.h"

#include "server/service/advapi32.h"
#include "server/service/windowsservicemanager.h"

#include <cstddef>
#include <windows.h>

namespace server::service {

// The declarations that serve every platform are those of the system.
static_assert(sizeof(Advapi32::Dword) == sizeof(DWORD) && sizeof(Advapi32::Handle) == sizeof(SC_HANDLE));
static_assert(sizeof(char16_t) == sizeof(wchar_t));
static_assert(sizeof(Advapi32::ServiceStatus) == sizeof(SERVICE_STATUS));
static_assert(offsetof(Advapi32::ServiceStatus, waitHint) == offsetof(SERVICE_STATUS, dwWaitHint));
static_assert(sizeof(Advapi32::ServiceConfig) == sizeof(QUERY_SERVICE_CONFIGW));
static_assert(offsetof(Advapi32::ServiceConfig, binaryPath) == offsetof(QUERY_SERVICE_CONFIGW, lpBinaryPathName));
static_assert(offsetof(Advapi32::ServiceConfig, displayName) == offsetof(QUERY_SERVICE_CONFIGW, lpDisplayName));
static_assert(sizeof(Advapi32::FailureActions) == sizeof(SERVICE_FAILURE_ACTIONSW));
static_assert(offsetof(Advapi32::FailureActions, actions) == offsetof(SERVICE_FAILURE_ACTIONSW, lpsaActions));
static_assert(sizeof(Advapi32::ServiceTableEntry) == sizeof(SERVICE_TABLE_ENTRYW));

std::shared_ptr<ServiceManager> createServiceManager()
{
    return std::make_shared<WindowsServiceManager>(QStringLiteral("advapi32"));
}

} // namespace server::service
