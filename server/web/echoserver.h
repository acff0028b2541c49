#pragma once

#include "server/web/websocketserver.h"

/// The plain web server that start-up creates. Listens on all addresses, IPv4 and IPv6. When listening fails the
/// object stays and answers nothing. Its signals tell what happens; nothing in the server needs them.
class EchoServer : public server::web::WebSocketServer
{
    Q_OBJECT
public:
    /// Port 0 lets the system choose.
    explicit EchoServer(quint16 port, QObject *parent = nullptr);
    ~EchoServer() override;

Q_SIGNALS:
    void closed();
    void newRequest(QAny qa);
    void newEvent(QString ev);
    void newAnswer(QAny qa);

private Q_SLOTS:
    void onNewConnection();
    void processTextMessage(const QString &message);
    void processBinaryMessage(const QByteArray &message);
    void socketDisconnected();

private:
    void connectClient(QWebSocket *socket) override;
    void tellRequest(const QAny &request) override { Q_EMIT newRequest(request); }
    void tellEvent(const QString &event) override { Q_EMIT newEvent(event); }
    void tellAnswer(const QAny &answer) override { Q_EMIT newAnswer(answer); }
    bool isAnswerHeard() const override;
};
