#include "server/host/knetsrvservice.h"

#include "server/host/servicesstarter.h"

#include <QDir>
#include <QTimer>

namespace {

/// Has a starter of its own do it in the next turn of the event loop.
void schedule(void (ServicesStarter::*act)())
{
    auto *starter = new ServicesStarter;
    QTimer::singleShot(0, starter, [starter, act] {
        (starter->*act)();
        starter->deleteLater();
    });
}

} // namespace

void KNetSrvService::start()
{
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    logMessage(QStringLiteral("Started"), MessageType::Information);
    schedule(&ServicesStarter::start);
}

void KNetSrvService::stop()
{
    logMessage(QStringLiteral("Terminated"), MessageType::Information);
    onStopping();
    schedule(&ServicesStarter::stop);
}
