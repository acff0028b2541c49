#pragma once

#include <QAbstractSocket>
#include <QObject>

class QSslSocket;
class QWebSocketServer;

namespace server::web {

/// Tells which TLS handshakes of a web socket server fail, and why: the server itself keeps that for itself and knows
/// only errors in certificates. Lives on the server's thread.
class HandshakeWatch : public QObject
{
    Q_OBJECT
public:
    /// The server is one in secure mode, is not owned and must live as long as this object.
    HandshakeWatch(QWebSocketServer *server, QObject *parent);

Q_SIGNALS:
    /// Once for each connection that ended, or will end, without having been encrypted.
    void failed(QAbstractSocket::SocketError error, const QString &reason);

private Q_SLOTS:
    void watch(QSslSocket *socket);
};

} // namespace server::web
