#include "server/process/systemdlaunch.h"

#include <QCoreApplication>

namespace server::process {

bool isLaunchedBySystemd()
{
    return qEnvironmentVariable("SYSTEMD_EXEC_PID") == QString::number(QCoreApplication::applicationPid());
}

} // namespace server::process
