#include "server/web/websocketserver.h"

#include "server/process/peergone.h"
#include "server/web/clientsocket.h"
#include "server/workers/readpool.h"

#include <QDebug>
#include <QTcpSocket>
#include <QWebSocket>

#include <utility>

using server::workers::ReadPool;

namespace server::web {

WebSocketServer::WebSocketServer(const QString &name, QWebSocketServer::SslMode mode, const char *linePrefix,
                                 QObject *parent)
    : QObject(parent), m_server(name, mode), m_acceptor(m_server, this), m_linePrefix(linePrefix)
{
    m_turn.setSingleShot(true);
    connect(&m_turn, &QTimer::timeout, this, [this] { takeTurn(); });
    m_heldLook.setInterval(kHeldLookMs);
    connect(&m_heldLook, &QTimer::timeout, this, [this] { lookAtHeld(); });
    m_restLook.setInterval(kRestLookMs);
    connect(&m_restLook, &QTimer::timeout, this, [this] { lookAtResting(); });
}

WebSocketServer::~WebSocketServer()
{
    Q_ASSERT(m_clients.isEmpty());
}

bool WebSocketServer::isListening() const
{
    return m_acceptor.isListening();
}

void WebSocketServer::setReadPool(ReadPool *pool)
{
    m_pool = pool;
}

quint16 WebSocketServer::serverPort() const
{
    return m_acceptor.serverPort();
}

QByteArray WebSocketServer::named(const char *text) const
{
    return m_linePrefix + text;
}

bool WebSocketServer::listen(quint16 port)
{
    return m_acceptor.open(port);
}

void WebSocketServer::shutDown()
{
    m_acceptor.shut();
    m_server.close();
    const QList<QWebSocket *> readers = m_clients.keys();
    for (QWebSocket *socket : readers)
        leave(socket);
    const QList<QWebSocket *> clients = std::exchange(m_clients, {}).keys();
    for (QWebSocket *socket : clients) {
        socket->disconnect(this);
        socket->close(QWebSocketProtocol::CloseCodeGoingAway);
        delete socket;
    }
}

void WebSocketServer::acceptPending()
{
    QWebSocket *socket = m_server.nextPendingConnection();
    if (!socket)
        return;
    const Peer peer{socket->peerAddress().toString(), socket->peerPort()};
    addClient(socket, peer);
    qDebug() << named("New Connection").constData();
    boundClient(socket, peer);
    connectClient(socket);
    const QString event = QStringLiteral("New Connection: %1 %2 peer: %3 %4 %5")
                              .arg(socket->localAddress().toString(), QString::number(socket->localPort()),
                                   socket->peerName(), peer.address, QString::number(peer.port));
    // The handshake's code is on the stack.
    QMetaObject::invokeMethod(
        this, [this, event] { tellEvent(event); }, Qt::QueuedConnection);
}

void WebSocketServer::addClient(QWebSocket *socket, const Peer &peer)
{
    Client client;
    client.peer = peer;
    client.line = m_acceptor.upgraded(*socket);
    client.socket = client.line ? &client.line->socket() : nullptr;
    if (client.line)
        client.line->readInTurns(&m_reading);
    m_clients.insert(socket, client);
    setBounds(socket, true);
    // After the web socket's own, which are queued too: what it could make a message of, it has.
    if (client.socket) {
        connect(
            client.socket, &QIODevice::readyRead, socket,
            [this, socket] {
                if (m_clients.contains(socket))
                    noteBytes(socket);
            },
            Qt::QueuedConnection);
    }
}

void WebSocketServer::noteBytes(QWebSocket *socket)
{
    const Client &client = m_clients[socket];
    if (!client.socket)
        return;
    client.line->allIsRead();
    if (!client.isGuest)
        return;
    m_acceptor.guests().setBytes(client.socket,
                                 client.line->partialBytes() + client.waiting.bytes() + client.line->unreadBytes());
    if (m_acceptor.guests().tooLarge()) // the socket's own code is on the stack
        QMetaObject::invokeMethod(
            this, [this] { dropLargestGuest(); }, Qt::QueuedConnection);
}

void WebSocketServer::dropLargestGuest()
{
    QTcpSocket *guest = m_acceptor.guests().tooLarge();
    if (!guest)
        return;
    qWarning() << "WebSocketServer::dropLargestGuest clients without a login hold too much, peer"
               << guest->peerAddress().toString() << guest->peerPort();
    m_acceptor.giveUp(guest);
}

void WebSocketServer::setBounds(QWebSocket *socket, bool isGuest)
{
    const quint64 most = isGuest ? kMaxGuestMessageBytes : kMaxMessageBytes;
    socket->setMaxAllowedIncomingFrameSize(most);
    socket->setMaxAllowedIncomingMessageSize(most);
    const Client &client = m_clients[socket];
    if (client.socket)
        client.line->setMaxUnread(isGuest ? kMaxGuestUnreadBytes : kMaxUnreadBytes);
}

/// A request may have logged the client in or out.
void WebSocketServer::noteLogin(QWebSocket *socket)
{
    Client &client = m_clients[socket];
    if (client.isGuest != m_methods.hasLoggedIn(socket))
        return;
    client.isGuest = !client.isGuest;
    setBounds(socket, client.isGuest);
    if (client.isGuest && client.socket)
        m_acceptor.guests().add(client.socket);
    else
        m_acceptor.guests().remove(client.socket);
}

void WebSocketServer::boundClient(QWebSocket *socket, const Peer &peer)
{
    connect(socket, &QWebSocket::aboutToClose, this, [socket, peer] {
        if (socket->closeCode() == QWebSocketProtocol::CloseCodeTooMuchData)
            qWarning() << "WebSocketServer::boundClient message of more than" << socket->maxAllowedIncomingMessageSize()
                       << "bytes, peer" << peer.address << peer.port;
        QTimer::singleShot(kCloseGraceMs, socket, [socket] { socket->abort(); });
    });
}

void WebSocketServer::receiveText(QWebSocket *socket, const QString &message)
{
    receive(socket, {Message::Text, message, {}});
}

void WebSocketServer::receiveBinary(QWebSocket *socket, const QByteArray &message)
{
    receive(socket, {Message::Binary, {}, message});
}

void WebSocketServer::receiveEnd(QWebSocket *socket)
{
    receive(socket, {Message::End, {}, {}});
}

void WebSocketServer::receive(QWebSocket *socket, const Message &message)
{
    const auto client = m_clients.find(socket);
    if (client == m_clients.end())
        return;
    client->waiting.add(message);
    if (client->socket)
        client->line->messageIsWhole();
    if (message.kind == Message::End) {
        leave(socket);
    } else if (client->waiting.isFull() && client->socket) {
        client->line->rest();
        m_restLook.start();
    }
    makeDue(socket);
}

void WebSocketServer::makeDue(QWebSocket *socket)
{
    Client &client = m_clients[socket];
    if (client.isDue || client.isBlocked() || client.waiting.isEmpty())
        return;
    client.isDue = true;
    m_due.enqueue(socket);
    if (!m_turn.isActive())
        m_turn.start(0);
}

void WebSocketServer::takeTurn()
{
    const QPointer<WebSocketServer> self(this);
    QElapsedTimer turn;
    turn.start();
    // Who becomes due meanwhile has to wait for the next turn.
    for (int left = m_due.size(); left > 0 && !m_due.isEmpty() && turn.nsecsElapsed() < kMaxTurnNs; --left) {
        const QPointer<QWebSocket> socket = m_due.dequeue();
        const auto client = m_clients.find(socket);
        if (!socket || client == m_clients.end())
            continue;
        client->isDue = false;
        workOff(socket, turn);
        if (!self)
            return;
        if (!socket || !m_clients.contains(socket))
            continue;
        noteBytes(socket);
        readOn(socket);
    }
    if (!m_due.isEmpty())
        m_turn.start(turn.nsecsElapsed() >= kMaxTurnNs ? kBreathMs : 0);
}

void WebSocketServer::workOff(const QPointer<QWebSocket> &socket, const QElapsedTimer &turn)
{
    const QPointer<WebSocketServer> self(this);
    for (int handled = 0; handled < kMaxMessagesPerTurn; ++handled) {
        const auto client = m_clients.find(socket);
        if (!socket || client == m_clients.end() || client->waiting.isEmpty() || client->isBlocked())
            return;
        const Message message = client->waiting.take();
        makeDue(socket); // with the rest, and for a handler that runs the event loop
        handle(socket, message);
        if (!self || turn.nsecsElapsed() >= kMaxTurnNs)
            return;
    }
}

void WebSocketServer::readOn(QWebSocket *socket)
{
    const Client &client = m_clients[socket];
    if (client.socket && client.line->isResting() && client.waiting.hasRoom())
        client.line->goOn();
}

/// Who has left is read for no longer. What it sent before, read or not, is carried out first.
void WebSocketServer::lookAtResting()
{
    bool isAnyResting = false;
    const QList<QWebSocket *> sockets = m_clients.keys();
    for (QWebSocket *socket : sockets) {
        const Client &client = m_clients[socket];
        if (!client.socket || !client.line->isResting())
            continue;
        isAnyResting = true;
        if (!client.isEnding && process::isPeerGone(client.socket->socketDescriptor()))
            leave(socket);
    }
    if (!isAnyResting)
        m_restLook.stop();
}

void WebSocketServer::handle(QWebSocket *socket, const Message &message)
{
    switch (message.kind) {
    case Message::Text:
        return answerText(socket, message.text);
    case Message::Binary:
        return echoBinary(socket, message.bytes);
    case Message::End:
        return forget(socket);
    }
}

void WebSocketServer::forget(QWebSocket *socket)
{
    if (!m_clients.contains(socket))
        return;
    const Client client = m_clients.take(socket);
    m_acceptor.guests().remove(client.socket);
    const Peer &peer = client.peer;
    m_methods.removePeer(socket);
    socket->deleteLater();
    const QByteArray ended = named("socketDisconnected:");
    const QPointer<QWebSocket> gone(socket);
    tellEvent(QStringLiteral("socketDisconnected: %1 %2").arg(peer.address, QString::number(peer.port)));
    qDebug() << ended.constData() << gone.data();
}

} // namespace server::web
