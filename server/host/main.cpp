#include "server/host/commandline.h"
#include "server/host/consolerun.h"
#include "server/host/servicerun.h"
#include "server/process/descriptorlimit.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ZUK"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("zuk.local"));
    QCoreApplication::setApplicationName(QStringLiteral("ZUK3 server"));

    raiseDescriptorLimit();
    switch (runMode(argc, argv)) {
    case RunMode::Console:
        return runConsole();
    case RunMode::Usage:
        std::fputs(usageText(argv[0]).constData(), stdout);
        return 0;
    case RunMode::Service:
        break;
    }
    return runService(argc, argv);
}
