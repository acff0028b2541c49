#include "server/web/clientacceptor.h"

#include "server/web/clientsocket.h"

#include <QDebug>
#include <QTimer>
#include <QWebSocket>
#include <QWebSocketServer>

namespace server::web {

ClientAcceptor::ClientAcceptor(QWebSocketServer &server, QObject *parent) : QTcpServer(parent), m_server(server) {}

void ClientAcceptor::incomingConnection(qintptr handle)
{
    if (m_server.secureMode() == QWebSocketServer::NonSecureMode)
        acceptPlain(handle);
    else
        acceptEncrypted(handle);
}

/// False when the connection is no more; the socket then goes.
bool ClientAcceptor::take(QTcpSocket *socket, qintptr handle)
{
    if (!socket->setSocketDescriptor(handle)) {
        qWarning() << "ClientAcceptor::take" << socket->errorString();
        delete socket;
        return false;
    }
    const quint16 port = socket->peerPort();
    m_connecting.insert(port, socket);
    connect(socket, &QObject::destroyed, this, [this, port, socket] { m_connecting.remove(port, socket); });
    const int timeout = m_server.handshakeTimeoutMS();
    if (timeout >= 0) {
        QTimer::singleShot(timeout, socket, [this, port, socket] {
            if (m_connecting.contains(port, socket))
                socket->close();
        });
    }
    return true;
}

/// By the addresses: a web socket does not show the socket below it.
QTcpSocket *ClientAcceptor::upgraded(const QWebSocket &webSocket)
{
    const QList<QTcpSocket *> sockets = m_connecting.values(webSocket.peerPort());
    for (QTcpSocket *socket : sockets) {
        if (socket->peerAddress() != webSocket.peerAddress() || socket->localAddress() != webSocket.localAddress())
            continue;
        m_connecting.remove(webSocket.peerPort(), socket);
        return socket;
    }
    return nullptr;
}

void ClientAcceptor::acceptPlain(qintptr handle)
{
    auto *socket = new ClientSocket(this);
    if (take(socket, handle))
        m_server.handleConnection(socket);
}

void ClientAcceptor::acceptEncrypted(qintptr handle)
{
    auto *socket = new TlsClientSocket(this);
    socket->setSslConfiguration(m_server.sslConfiguration());
    if (take(socket, handle))
        encrypt(socket);
}

void ClientAcceptor::encrypt(QSslSocket *socket)
{
    connect(socket, QOverload<const QList<QSslError> &>::of(&QSslSocket::sslErrors), &m_server,
            &QWebSocketServer::sslErrors);
    auto *handshake = new QObject(socket); // what is connected to it ends with the handshake
    connect(socket, &QSslSocket::encrypted, handshake, [this, socket, handshake] {
        socket->disconnect(handshake);
        m_server.handleConnection(socket);
    });
    connect(socket, &QAbstractSocket::errorOccurred, handshake,
            [this, socket, handshake](QAbstractSocket::SocketError error) {
                socket->disconnect(handshake); // one fault may be told as several
                socket->deleteLater();
                Q_EMIT handshakeFailed(error, socket->errorString());
            });
    // Ended by the time-out, which is no error of the socket's.
    connect(socket, &QAbstractSocket::disconnected, handshake, [this, socket, handshake] {
        socket->disconnect(handshake);
        socket->deleteLater();
        Q_EMIT handshakeFailed(QAbstractSocket::SocketTimeoutError, QStringLiteral("no TLS handshake"));
    });
    socket->startServerEncryption();
}

} // namespace server::web
