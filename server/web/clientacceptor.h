#pragma once

#include <QHash>
#include <QTcpServer>

class QSslSocket;
class QWebSocket;
class QWebSocketServer;

namespace server::web {

/// Listens in a web socket server's place, so that each client gets a socket of ours, and hands it over: a plain
/// connection at once, an encrypted one (where the server is in secure mode, and with its configuration) when its TLS
/// handshake is through. A client that is no web socket yet when the server's time for that is over is dropped.
/// Lives on the server's thread.
class ClientAcceptor : public QTcpServer
{
    Q_OBJECT
public:
    /// The server does not listen itself, is not owned and must outlive this object.
    explicit ClientAcceptor(QWebSocketServer &server, QObject *parent = nullptr);

    /// To be told of each of the server's new web sockets, whose time then runs no longer. The socket below it, which
    /// lives as long as its connection; null when that has gone.
    QTcpSocket *upgraded(const QWebSocket &webSocket);

Q_SIGNALS:
    /// Once for each connection that ended, or will end, without having been encrypted.
    void handshakeFailed(QAbstractSocket::SocketError error, const QString &reason);

protected:
    void incomingConnection(qintptr handle) override;

private:
    bool take(QTcpSocket *socket, qintptr handle);
    void acceptPlain(qintptr handle);
    void acceptEncrypted(qintptr handle);
    void encrypt(QSslSocket *socket);

    QWebSocketServer &m_server;
    QMultiHash<quint16, QTcpSocket *> m_connecting; ///< no web sockets yet, by the peer's port
};

} // namespace server::web
