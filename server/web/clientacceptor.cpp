#include "server/web/clientacceptor.h"

#include "net/acceptor.h"
#include "server/process/descriptorreserve.h"
#include "server/web/clientsocket.h"

#include <QDebug>
#include <QTimer>
#include <QWebSocket>
#include <QWebSocketServer>

#include <algorithm>
#include <utility>

namespace server::web {

/// After so long without a shortage of descriptors another one is told of.
constexpr int kQuietMs = 60000;

ClientAcceptor::ClientAcceptor(QWebSocketServer &server, QObject *parent) : QTcpServer(parent), m_server(server) {}

bool ClientAcceptor::open(quint16 port)
{
    if (!listen(QHostAddress::Any, port))
        return false;
    m_acceptor = new Net::Acceptor(this, 0, [this](qintptr handle) { incomingConnection(handle); });
    return true;
}

void ClientAcceptor::shut()
{
    delete std::exchange(m_acceptor, nullptr);
    close();
}

void ClientAcceptor::incomingConnection(qintptr handle)
{
    if (process::isInReserve(handle))
        handle = outOfReserve(handle);
    if (handle < 0)
        return;
    if (m_server.secureMode() == QWebSocketServer::NonSecureMode)
        acceptPlain(handle);
    else
        acceptEncrypted(handle);
}

/// The last descriptors are the terminals': somebody makes room below them. -1 when nobody does.
qintptr ClientAcceptor::outOfReserve(qintptr handle)
{
    if (!m_crowded.isValid() || m_crowded.hasExpired(kQuietMs))
        qWarning()
            << "ClientAcceptor::outOfReserve few descriptors are left: web connections without a login have to go";
    m_crowded.start();
    if (QTcpSocket *longest = m_guests.longest())
        giveUp(longest);
    handle = process::movedDown(handle);
    if (!process::isInReserve(handle))
        return handle;
    process::closeSocket(handle);
    return -1;
}

void ClientAcceptor::giveUp(QTcpSocket *socket)
{
    m_guests.remove(socket);
    const bool isConnecting = std::any_of(m_connecting.cbegin(), m_connecting.cend(),
                                          [socket](ClientLine *line) { return &line->socket() == socket; });
    socket->abort();
    if (isConnecting) // no web socket owns it
        socket->deleteLater();
}

/// False when the connection is no more; the socket then goes.
template <typename Line> bool ClientAcceptor::take(Line *line, qintptr handle)
{
    QTcpSocket *socket = line;
    if (!socket->setSocketDescriptor(handle)) {
        qWarning() << "ClientAcceptor::take" << socket->errorString();
        delete socket;
        return false;
    }
    const quint16 port = socket->peerPort();
    m_connecting.insert(port, line);
    m_guests.add(socket);
    connect(socket, &QObject::destroyed, this, [this, port, line, socket] {
        m_connecting.remove(port, line);
        m_guests.remove(socket);
    });
    const int timeout = m_server.handshakeTimeoutMS();
    if (timeout >= 0) {
        QTimer::singleShot(timeout, socket, [this, port, line, socket] {
            if (m_connecting.contains(port, line))
                socket->close();
        });
    }
    return true;
}

/// By the addresses: a web socket does not show the socket below it.
ClientLine *ClientAcceptor::upgraded(const QWebSocket &webSocket)
{
    const QList<ClientLine *> lines = m_connecting.values(webSocket.peerPort());
    for (ClientLine *line : lines) {
        const QTcpSocket &socket = line->socket();
        if (socket.peerAddress() != webSocket.peerAddress() || socket.localAddress() != webSocket.localAddress())
            continue;
        m_connecting.remove(webSocket.peerPort(), line);
        return line;
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
