#include "server/host/servicesstarter.h"

#include "knetrpc/rpccontroller.h"
#include "server/check/admincheckservice.h"
#include "server/check/terminalcheckservice.h"
#include "server/host/configuration.h"
#include "server/host/looplateness.h"
#include "server/host/metricsfile.h"
#include "server/host/serverfigures.h"
#include "server/logger/logger.h"
#include "server/reader/ekeyeventhandler.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"
#include "server/sessions/sessionpeers.h"
#include "server/web/echoserver.h"
#include "server/workers/filereaders.h"
#include "server/workers/readpool.h"
#include "storage/database.h"
#include "storage/rescue.h"

#include <QCoreApplication>
#include <QDebug>
#include <QTimer>

#include <memory>
#include <utility>

using server::workers::ReadPool;
using server::workers::readPool;
using server::workers::setReadPool;

namespace {

EkeyEventHandler *theEkeyEventHandler = nullptr;
EchoServer *theWebServer = nullptr;
server::host::MetricsFile *theMetricsFile = nullptr; // null where nobody wants one

/// A stop waits until the callers of synchronous calls have left the stack; a start may come meanwhile.
enum class Pending { Nothing, Stop, StopAndStart };
Pending pending = Pending::Nothing;

const char *const kLoggerName = "logger";
const char *const kMainTerminalName = "mainterminal";
const char *const kAdminTerminalName = "adminterminal";
const char *const kTerminalCheckName = "terminalcheck";
const char *const kAdminCheckName = "admincheck";

/// Deletes an object whose accessor is cleared first, so that nothing reaches it while it goes.
template <typename T> void destroy(T *(*accessor)(), void (*setAccessor)(T *))
{
    T *object = accessor();
    setAccessor(nullptr);
    delete object;
}

/// Bounds on those who have not logged in, for whom a login is all there is to send.
KNet::RpcLimits rpcLimits()
{
    constexpr qint64 mebibyte = 1024 * 1024;
    KNet::RpcLimits limits;
    limits.maxStrangerMessageBytes = mebibyte;
    limits.maxStrangersBytes = 32 * mebibyte;
    return limits;
}

KNet::RpcController *createController()
{
    auto *controller = new KNet::RpcController;
    controller->setLimits(rpcLimits());
    if (!controller->listen(ServicesStarter::kRpcPort))
        qWarning() << "ServicesStarter::start can't listen on TCP port" << ServicesStarter::kRpcPort
                   << controller->errorString();
    return controller;
}

/// Its workers read what the main thread has open, and open it anew when the main thread has.
ReadPool *createReadPool()
{
    const auto wanted = [] {
        db()->look();
        return server::workers::WantedFile{db()->readersGeneration(), db()->fileState()};
    };
    auto *pool = new ReadPool(std::make_unique<server::workers::FileReaders>(db()->filePath()), wanted);
    QObject::connect(rpcController(), &KNet::RpcController::disconnected, pool, &ReadPool::cancel);
    return pool;
}

EkeyEventHandler *createEkeyEventHandler()
{
    auto *handler = new EkeyEventHandler;
    if (handler->isEnabled())
        handler->start();
    return handler;
}

/// Where the environment names one.
server::host::MetricsFile *createMetricsFile()
{
    const QString path = qEnvironmentVariable("ZUK_METRICS_FILE");
    if (path.isEmpty())
        return nullptr;
    const auto lateness = std::make_shared<server::host::LoopLateness>();
    return new server::host::MetricsFile(path,
                                         [lateness] { return server::host::serverFigures(lateness->takeWorst()); });
}

/// In the order of their registration; only those who log in reach the rest.
void registerServices(KNet::RpcController &controller)
{
    controller.registerService(kLoggerName, logger());
    controller.registerService(kMainTerminalName, mainTerminalService());
    controller.registerService(kAdminTerminalName, adminTerminalService());
    controller.registerService(kTerminalCheckName, terminalCheckService());
    controller.registerService(kAdminCheckName, adminCheckService());
    for (const char *name : {kLoggerName, kTerminalCheckName, kAdminCheckName})
        controller.addServiceRequirement(name, name);
}

void unregisterServices(KNet::RpcController &controller)
{
    for (const char *name : {kTerminalCheckName, kAdminCheckName, kAdminTerminalName, kMainTerminalName, kLoggerName})
        controller.unregisterService(name);
}

} // namespace

bool ServicesStarter::isStarted()
{
    return rpcController() != nullptr;
}

EchoServer *ServicesStarter::webServer()
{
    return theWebServer;
}

EkeyEventHandler *ServicesStarter::ekeyEventHandler()
{
    return theEkeyEventHandler;
}

void ServicesStarter::start()
{
    if (pending != Pending::Nothing)
        pending = Pending::StopAndStart;
    if (isStarted())
        return;
    setRpcController(createController());
    setDb(new DataBase);
    storage::setRescue(new storage::Rescue(db()->filePath()));
    setLogger(new Logger(server::sessions::sessionPeers()));
    setMainTerminalService(new MainTerminalService(rpcController()));
    setAdminTerminalService(new AdminTerminalService(rpcController()));
    setTerminalCheckService(new TerminalCheckService);
    setAdminCheckService(new AdminCheckService);
    theEkeyEventHandler = createEkeyEventHandler();
    storage::rescue()->setAsideUntaken();
    setReadPool(createReadPool());
    theWebServer = new EchoServer(server::host::Configuration::webPort());
    theWebServer->setReadPool(readPool());
    registerServices(*rpcController());
    logger()->log(QStringLiteral("Started"));
    theMetricsFile = createMetricsFile();
}

void ServicesStarter::stop()
{
    if (!isStarted())
        return;
    if (rpcController()->hasWaitingCalls()) {
        rpcController()->endWaitingCalls();
        if (pending == Pending::Nothing)
            QTimer::singleShot(0, qApp, resume);
        pending = Pending::Stop;
        return;
    }
    tearDown();
}

/// Goes on with a stop that had to wait.
void ServicesStarter::resume()
{
    if (isStarted() && rpcController()->hasWaitingCalls()) {
        QTimer::singleShot(0, qApp, resume);
        return;
    }
    const Pending waiting = std::exchange(pending, Pending::Nothing);
    if (isStarted())
        tearDown();
    if (waiting == Pending::StopAndStart)
        ServicesStarter().start();
}

void ServicesStarter::tearDown()
{
    delete std::exchange(theMetricsFile, nullptr);
    readPool()->stop();
    // Its last lines need the database, the logger and the sessions.
    const bool isTrackerEnded = theEkeyEventHandler->finish();
    // While who sent them can be answered: terminals send again what was not.
    logger()->keptEvents().finishTurn();
    rpcController()->flush();
    logger()->log(QStringLiteral("Finished"));
    rpcController()->close();
    mainTerminalService()->disconnectAll();
    unregisterServices(*rpcController());
    destroy(mainTerminalService, setMainTerminalService);
    destroy(adminTerminalService, setAdminTerminalService);
    destroy(adminCheckService, setAdminCheckService);
    destroy(terminalCheckService, setTerminalCheckService);
    destroy(readPool, setReadPool);
    destroy(logger, setLogger);
    destroy(storage::rescue, storage::setRescue);
    destroy(db, setDb);
    destroy(rpcController, setRpcController);
    if (isTrackerEnded)
        delete theEkeyEventHandler;
    theEkeyEventHandler = nullptr;
    delete std::exchange(theWebServer, nullptr);
}
