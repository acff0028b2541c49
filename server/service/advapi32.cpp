#include "server/service/advapi32.h"

#include <QDebug>
#include <QLibrary>

namespace server::service {

namespace {

template <typename Function> void resolve(QLibrary &library, const char *name, Function &function)
{
    function = reinterpret_cast<Function>(library.resolve(name));
    if (!function)
        qWarning() << "Advapi32::load" << library.fileName() << "lacks" << name;
}

} // namespace

Advapi32::Functions Advapi32::load(const QString &library)
{
    Functions functions;
    QLibrary file(library);
    if (!file.load()) {
        qWarning().noquote() << "Advapi32::load" << file.errorString();
        return functions;
    }
    resolve(file, "OpenSCManagerW", functions.openManager);
    resolve(file, "CloseServiceHandle", functions.closeHandle);
    resolve(file, "CreateServiceW", functions.createService);
    resolve(file, "DeleteService", functions.deleteService);
    resolve(file, "OpenServiceW", functions.openService);
    resolve(file, "QueryServiceStatus", functions.queryStatus);
    resolve(file, "StartServiceW", functions.startService);
    resolve(file, "ControlService", functions.controlService);
    resolve(file, "QueryServiceConfigW", functions.queryConfig);
    resolve(file, "QueryServiceConfig2W", functions.queryConfig2);
    resolve(file, "ChangeServiceConfig2W", functions.changeConfig2);
    resolve(file, "StartServiceCtrlDispatcherW", functions.startDispatcher);
    resolve(file, "RegisterServiceCtrlHandlerW", functions.registerHandler);
    resolve(file, "SetServiceStatus", functions.setStatus);
    resolve(file, "RegisterEventSourceW", functions.registerEventSource);
    resolve(file, "DeregisterEventSource", functions.deregisterEventSource);
    resolve(file, "ReportEventW", functions.reportEvent);
    return functions;
}

} // namespace server::service
