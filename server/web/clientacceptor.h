#pragma once

#include "server/web/guests.h"

#include <QElapsedTimer>
#include <QHash>
#include <QTcpServer>

class QSslSocket;
class QWebSocket;
class QWebSocketServer;

namespace Net {
class Acceptor;
}

namespace server::web {

class ClientLine;

/// Listens in a web socket server's place, so that each client gets a socket of ours, and hands it over: a plain
/// connection at once, an encrypted one (where the server is in secure mode, and with its configuration) when its TLS
/// handshake is through. A client that is no web socket yet when the server's time for that is over is dropped.
/// When web connections come near the end of the process's descriptors, the one goes that has been longest without a
/// login, be it the new one. Lives on the server's thread.
class ClientAcceptor : public QTcpServer
{
    Q_OBJECT
public:
    /// The server does not listen itself, is not owned and must outlive this object.
    explicit ClientAcceptor(QWebSocketServer &server, QObject *parent = nullptr);

    /// On all addresses. Port 0 lets the system choose.
    bool open(quint16 port);
    void shut();

    /// The connections without a login; who knows of logins keeps it so.
    Guests &guests() { return m_guests; }

    /// Cuts a connection that was accepted here.
    void giveUp(QTcpSocket *socket);

    /// To be told of each of the server's new web sockets, whose time then runs no longer. The socket below it, which
    /// lives as long as its connection; null when that has gone.
    ClientLine *upgraded(const QWebSocket &webSocket);

Q_SIGNALS:
    /// Once for each connection that ended, or will end, without having been encrypted.
    void handshakeFailed(QAbstractSocket::SocketError error, const QString &reason);

protected:
    void incomingConnection(qintptr handle) override;

private:
    template <typename Line> bool take(Line *line, qintptr handle);
    qintptr outOfReserve(qintptr handle);
    void acceptPlain(qintptr handle);
    void acceptEncrypted(qintptr handle);
    void encrypt(QSslSocket *socket);

    QWebSocketServer &m_server;
    Net::Acceptor *m_acceptor = nullptr;            // while it listens
    QMultiHash<quint16, ClientLine *> m_connecting; // no web sockets yet, by the peer's port
    Guests m_guests;
    QElapsedTimer m_crowded; // since a connection had to go the last time
};

} // namespace server::web
