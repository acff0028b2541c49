#include "server/host/consolerun.h"

#include "server/host/servicesstarter.h"
#include "server/process/terminationwatch.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace server::host {

int runConsole()
{
    // Stays empty; where it cannot be made the run goes on without it.
    QFile marker(QStringLiteral("debug.txt"));
    marker.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text);

    QDir::setCurrent(QCoreApplication::applicationDirPath());
    // Before the start, so that no early signal leaves a started server without its stop.
    const server::process::TerminationWatch watch;
    ServicesStarter starter;
    starter.start();
    const int result = QCoreApplication::exec();
    starter.stop();
    // What is only scheduled for deletion must not stay behind after the last turn of the loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return result;
}

} // namespace server::host
