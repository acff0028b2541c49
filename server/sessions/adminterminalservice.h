#pragma once

#include "server/sessions/terminalservice.h"

/// Sessions of the administration clients; the service "adminterminal".
class AdminTerminalService : public server::sessions::TerminalService
{
    Q_OBJECT
public:
    explicit AdminTerminalService(KNet::RpcController *controller, QObject *parent = nullptr);

Q_SIGNALS:
    void connected(int terminal);
    void disconnected(int terminal);

public Q_SLOTS:
    QAny login(const QString &connectionId, const QAny &params);
    QAny status(const QString &connectionId, const QAny &params);
    void onIncomingConnection(const QString &connectionId);
    void onDisconnectedConnection(const QString &connectionId);

protected:
    void tellConnected(int terminal) override;
    void tellDisconnected(int terminal) override;
};

/// The process's service; null before start and after stop. Only ServicesStarter (or a test) sets it.
AdminTerminalService *adminTerminalService();
void setAdminTerminalService(AdminTerminalService *service);
