#include "server/sessions/mainterminalservice.h"

#include "knetrpc/rpccontroller.h"

using server::sessions::TerminalRole;

namespace {

MainTerminalService *theService = nullptr;

const TerminalRole kAttendanceTerminal{
    "MainTerminalService",
    QStringLiteral("terminalcheck"),
    {QStringLiteral("FTIMESTAMP"), QStringLiteral("ID"), QStringLiteral("LLEVEL"), QStringLiteral("LGROUP"),
     QStringLiteral("FMESSAGE"), QStringLiteral("DATA")},
    true,
    true,
};

const QString kUlkaCsvEvent = QStringLiteral("logger.ulkaCsvEvent");

} // namespace

MainTerminalService::MainTerminalService(KNet::RpcController *controller, QObject *parent)
    : TerminalService(kAttendanceTerminal, controller, parent)
{
    connect(controller, &KNet::RpcController::incoming, this, &MainTerminalService::onIncomingConnection);
    connect(controller, &KNet::RpcController::disconnected, this, &MainTerminalService::onDisconnectedConnection);
}

QAny MainTerminalService::ulkaCsvEvent(int terminal, const QAny &params)
{
    if (!isConnected(terminal))
        return {{QStringLiteral("NOZUK"), true}};
    return callTerminal(terminal, kUlkaCsvEvent, params, kCallTimeoutMs);
}

bool MainTerminalService::offerUlkaCsvEvent(int terminal, const QAny &params)
{
    if (!isConnected(terminal))
        return false;
    callTerminalAsync(terminal, kUlkaCsvEvent, params, kCallTimeoutMs);
    return true;
}

QAny MainTerminalService::getPictures(int terminal, int pictureId, const QAny &options)
{
    if (!isConnected(terminal))
        return QString();
    const QString control = QStringLiteral("CTRL");
    QAny params{{QStringLiteral("ID"), pictureId}};
    if (options.isHash() && options.contains(control))
        params.insert(control, options.lookup(control));
    return callTerminal(terminal, QStringLiteral("logger.getPictures"), params, kCallTimeoutMs);
}

QAny MainTerminalService::login(const QString &connectionId, const QAny &params)
{
    return logIn(connectionId, params);
}

QAny MainTerminalService::status(const QString &connectionId, const QAny &params)
{
    Q_UNUSED(params)
    return sessionStatus(connectionId);
}

void MainTerminalService::onIncomingConnection(const QString &connectionId)
{
    addPending(connectionId);
}

void MainTerminalService::onDisconnectedConnection(const QString &connectionId)
{
    endSession(connectionId);
}

void MainTerminalService::tellConnected(int terminal)
{
    Q_EMIT connected(terminal);
}

void MainTerminalService::tellDisconnected(int terminal)
{
    Q_EMIT disconnected(terminal);
}

MainTerminalService *mainTerminalService()
{
    return theService;
}

void setMainTerminalService(MainTerminalService *service)
{
    theService = service;
}
