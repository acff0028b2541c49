#include "server/host/servicerun.h"

#include "server/host/knetsrvservice.h"
#include "server/host/servicesstarter.h"

#include <QTimer>

namespace server::host {

namespace {

/// After which the server starts even if the service shell's start did not come.
constexpr int kFallbackStartMs = 5000;

} // namespace

int runService(int &argc, char **argv)
{
    ServicesStarter starter;
    QTimer fallback;
    fallback.setSingleShot(true);
    QObject::connect(&fallback, &QTimer::timeout, &starter, &ServicesStarter::start);
    fallback.start(kFallbackStartMs);
    // However the event loop ends, the server has ended before the manager is told.
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &starter, &ServicesStarter::stop);

    KNetSrvService service(argc, argv, QStringLiteral("zuk3srv"));
    // A stop that takes its time must not end in another start.
    service.onStopping = [&fallback] { fallback.stop(); };
    service.setServiceDescription(QStringLiteral("ZUK3 server"));
    // Day names are in the site's language.
    // Debug lines hold the passwords of logins, and the system's journal keeps them.
    service.setServiceEnvironment(
        {QStringLiteral("LC_TIME=sl_SI.UTF-8"), QStringLiteral("QT_LOGGING_RULES=*.debug=false")});
    return service.exec();
}

} // namespace server::host
