#include "server/host/commandline.h"
#include "server/host/consolerun.h"
#include "server/host/servicerun.h"
#include "server/process/descriptorlimit.h"
#include "server/process/diagnostics.h"
#include "server/process/localtime.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    server::process::guardDiagnostics();
    server::process::keepTimeZone();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ZUK"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("zuk.local"));
    QCoreApplication::setApplicationName(QStringLiteral("ZUK3 server"));

    server::process::raiseDescriptorLimit();
    switch (server::host::runMode(argc, argv)) {
    case server::host::RunMode::Console:
        return server::host::runConsole();
    case server::host::RunMode::Usage:
        std::fputs(server::host::usageText(argv[0]).constData(), stdout);
        return 0;
    case server::host::RunMode::Service:
        break;
    }
    return server::host::runService(argc, argv);
}
