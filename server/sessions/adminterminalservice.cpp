#include "server/sessions/adminterminalservice.h"

#include "knetrpc/rpccontroller.h"

using server::sessions::TerminalRole;

namespace {

AdminTerminalService *theService = nullptr;

const TerminalRole kAdministrationClient{
    "AdminTerminalService",
    QStringLiteral("admincheck"),
    {QStringLiteral("ftimestamp"), QStringLiteral("id"), QStringLiteral("llevel"), QStringLiteral("lgroup"),
     QStringLiteral("fmessage"), QStringLiteral("data")},
    false,
    false,
};

} // namespace

AdminTerminalService::AdminTerminalService(KNet::RpcController *controller, QObject *parent)
    : TerminalService(kAdministrationClient, controller, parent)
{
    connect(controller, &KNet::RpcController::incoming, this, &AdminTerminalService::onIncomingConnection);
    connect(controller, &KNet::RpcController::disconnected, this, &AdminTerminalService::onDisconnectedConnection);
}

QAny AdminTerminalService::login(const QString &connectionId, const QAny &params)
{
    return logIn(connectionId, params);
}

QAny AdminTerminalService::status(const QString &connectionId, const QAny &params)
{
    Q_UNUSED(params)
    return sessionStatus(connectionId);
}

void AdminTerminalService::onIncomingConnection(const QString &connectionId)
{
    addPending(connectionId);
}

void AdminTerminalService::onDisconnectedConnection(const QString &connectionId)
{
    endSession(connectionId);
}

void AdminTerminalService::tellConnected(int terminal)
{
    Q_EMIT connected(terminal);
}

void AdminTerminalService::tellDisconnected(int terminal)
{
    Q_EMIT disconnected(terminal);
}

AdminTerminalService *adminTerminalService()
{
    return theService;
}

void setAdminTerminalService(AdminTerminalService *service)
{
    theService = service;
}
