#pragma once

#include "server/sessions/terminalservice.h"

/// Sessions of the attendance terminals; the service "mainterminal".
class MainTerminalService : public server::sessions::TerminalService
{
    Q_OBJECT
public:
    explicit MainTerminalService(KNet::RpcController *controller, QObject *parent = nullptr);

    /// Tells the terminal of a row of the fingerprint reader's; {"NOZUK": true} when it is not connected.
    QAny ulkaCsvEvent(int terminal, const QAny &params);
    /// The same without waiting for the answer; false when it is not connected.
    bool offerUlkaCsvEvent(int terminal, const QAny &params);
    /// Fetches a picture; the empty String when the terminal is not connected. Of the options only "CTRL" is passed on.
    QAny getPictures(int terminal, int pictureId, const QAny &options);

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
MainTerminalService *mainTerminalService();
void setMainTerminalService(MainTerminalService *service);
