#include "server/process/systemdlaunch.h"

#include <QCoreApplication>

bool isLaunchedBySystemd()
{
    return qEnvironmentVariable("SYSTEMD_EXEC_PID") == QString::number(QCoreApplication::applicationPid());
}
