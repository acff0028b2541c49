#pragma once

#include "server/web/websocketserver.h"

#include <QList>
#include <QSslError>

/// The web server over TLS, for a program that wants one; start-up does not create it. Listens on all addresses, IPv4
/// and IPv6. When listening fails the object stays and answers nothing. Its signals tell what happens.
///
/// It speaks TLS 1.0 exactly, which its clients expect. Many machines' TLS libraries refuse this version by
/// their policy, and so do browsers: then no client connects, and one warning line tells why. operation.md says more.
class SslEchoServer : public server::web::WebSocketServer
{
    Q_OBJECT
public:
    /// Port 0 lets the system choose. The certificate is read from "<base name>.cert" and its RSA key, without
    /// passphrase, from "<base name>.key", both PEM and relative to the working directory. Without them every handshake
    /// fails.
    SslEchoServer(quint16 port, const QString &fileBaseName, QObject *parent = nullptr);
    ~SslEchoServer() override;

Q_SIGNALS:
    void newRequest(QAny qa);
    void newEvent(QString ev);
    void newAnswer(QAny qa);

private Q_SLOTS:
    void onNewConnection();
    void processTextMessage(const QString &message);
    void processBinaryMessage(const QByteArray &message);
    void socketDisconnected();
    void onSslErrors(const QList<QSslError> &errors);

private:
    void connectClient(QWebSocket *socket) override;
    void tellRequest(const QAny &request) override { Q_EMIT newRequest(request); }
    void tellEvent(const QString &event) override { Q_EMIT newEvent(event); }
    void tellAnswer(const QAny &answer) override { Q_EMIT newAnswer(answer); }
    bool isAnswerHeard() const override;

    void useTls(const QString &fileBaseName);
    void handshakeFailed(QAbstractSocket::SocketError error, const QString &reason);

    bool m_toldPolicy = false;
};
