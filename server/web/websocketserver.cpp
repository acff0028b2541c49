#include "server/web/websocketserver.h"

#include "calc/crew.h"
#include "server/workers/readpool.h"

#include <QDebug>
#include <QPointer>
#include <QTimer>
#include <QWebSocket>

#include <utility>

using server::workers::ReadPool;

namespace server::web {

WebSocketServer::WebSocketServer(const QString &name, QWebSocketServer::SslMode mode, const char *linePrefix,
                                 QObject *parent)
    : QObject(parent), m_server(name, mode), m_acceptor(m_server, this), m_linePrefix(linePrefix)
{
    m_turn.setSingleShot(true);
    m_turn.setInterval(0);
    connect(&m_turn, &QTimer::timeout, this, [this] { takeTurn(); });
    connect(&m_acceptor, &QTcpServer::acceptError, this, [this](QAbstractSocket::SocketError error) {
        // The server stops accepting for good after such an error.
        qWarning() << "WebSocketServer::WebSocketServer can't accept:" << error;
        QTimer::singleShot(kAcceptPauseMs, this, [this] { m_acceptor.resumeAccepting(); });
    });
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
    return m_acceptor.listen(QHostAddress::Any, port);
}

void WebSocketServer::shutDown()
{
    m_acceptor.close();
    m_server.close();
    const QList<QWebSocket *> readers = m_clients.keys();
    for (QWebSocket *socket : readers)
        giveReadingUp(socket);
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
    m_acceptor.upgraded(*socket);
    const Peer peer{socket->peerAddress().toString(), socket->peerPort()};
    m_clients.insert(socket, {peer, {}});
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

void WebSocketServer::boundClient(QWebSocket *socket, const Peer &peer)
{
    socket->setMaxAllowedIncomingFrameSize(kMaxMessageBytes);
    socket->setMaxAllowedIncomingMessageSize(kMaxMessageBytes);
    connect(socket, &QWebSocket::aboutToClose, this, [socket, peer] {
        if (socket->closeCode() == QWebSocketProtocol::CloseCodeTooMuchData)
            qWarning() << "WebSocketServer::boundClient message of more than" << kMaxMessageBytes << "bytes, peer"
                       << peer.address << peer.port;
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
    client->waiting.enqueue(message);
    if (message.kind == Message::End) {
        client->isEnding = true;
        giveReadingUp(socket);
    }
    m_turn.start();
}

void WebSocketServer::takeTurn()
{
    const QPointer<WebSocketServer> self(this);
    QList<QPointer<QWebSocket>> sockets;
    for (auto client = m_clients.cbegin(); client != m_clients.cend(); ++client) {
        if (!client->waiting.isEmpty() && !client->isReading)
            sockets.append(client.key());
    }
    if (sockets.isEmpty())
        return;
    m_turn.start(); // for what is left over, and for a handler that runs the event loop
    for (const QPointer<QWebSocket> &socket : qAsConst(sockets)) {
        for (int handled = 0; handled < kMaxMessagesPerTurn; ++handled) {
            const auto client = m_clients.find(socket);
            if (!socket || client == m_clients.end() || client->waiting.isEmpty() || client->isReading)
                break;
            const Message message = client->waiting.dequeue();
            handle(socket, message);
            if (!self)
                return;
        }
    }
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

/// Whether the client reads its answers; one that does not is dropped.
bool WebSocketServer::hasRoomFor(QWebSocket *socket) const
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return false;
    if (socket->bytesToWrite() <= kMaxUnreadBytes)
        return true;
    const Peer peer = m_clients.value(socket).peer;
    qWarning() << "WebSocketServer::hasRoomFor more than" << kMaxUnreadBytes << "bytes unread, peer" << peer.address
               << peer.port;
    socket->abort();
    return false;
}

void WebSocketServer::answerText(QWebSocket *socket, const QString &message)
{
    if (!m_clients.contains(socket))
        return;
    const QPointer<WebSocketServer> self(this);
    // Not by address: that of a socket which has gone may be the next client's.
    const QPointer<QWebSocket> client(socket);
    const auto isInProgress = [&] { return self && client && m_clients.contains(client); };

    qDebug() << named("Message received:").constData() << message;
    QAny request = QAny::fromJson(message);
    if (!request.isList()) { // an array has no place for them and is answered as it is
        const Peer peer = m_clients.value(socket).peer;
        request[QStringLiteral("peer")] = peer.address;
        request[QStringLiteral("port")] = peer.port;
    }
    tellRequest(request);
    if (!isInProgress())
        return;
    if (!m_pool)
        return giveAnswer(socket, m_methods.request(request, socket));
    webMetods::Outcome outcome = m_methods.begin(request, socket);
    if (!outcome.reading || !readLater(socket, std::move(outcome.reading)))
        giveAnswer(socket, outcome.answer);
}

/// False when the pool has no room for it.
bool WebSocketServer::readLater(QWebSocket *socket, webMetods::Reading reading)
{
    Client &client = m_clients[socket];
    if (client.isEnding)
        return true; // there is nobody left to read for
    client.isReading = m_pool->submit(
        ReadPool::Size::Small, ReadPool::ownerOf(socket),
        [read = std::move(reading)](calc::Crew &crew) { return workers::Text{read(crew.reader()).toJsonUtf8()}; },
        [this, socket](const workers::Text &text) { giveReading(socket, text); });
    return client.isReading;
}

/// The socket is there: its end would have given the reading up.
void WebSocketServer::giveReading(QWebSocket *socket, const std::vector<QByteArray> &pieces)
{
    m_clients[socket].isReading = false;
    m_turn.start();
    QByteArray text;
    for (const QByteArray &piece : pieces)
        text += piece;
    const QPointer<WebSocketServer> self(this);
    const QPointer<QWebSocket> client(socket);
    if (isAnswerHeard())
        tellAnswer(QAny::fromJson(text));
    if (self && client && m_clients.contains(client))
        giveText(client, QString::fromUtf8(text));
}

void WebSocketServer::giveReadingUp(QWebSocket *socket)
{
    Client &client = m_clients[socket];
    if (client.isReading && m_pool)
        m_pool->cancel(ReadPool::ownerOf(socket));
    client.isReading = false;
}

void WebSocketServer::giveAnswer(QWebSocket *socket, const QAny &answer)
{
    const QPointer<WebSocketServer> self(this);
    const QPointer<QWebSocket> client(socket);
    tellAnswer(answer);
    if (self && client && m_clients.contains(client))
        giveText(socket, answer.toJson());
}

void WebSocketServer::giveText(QWebSocket *socket, const QString &text)
{
    if (hasRoomFor(socket))
        socket->sendTextMessage(text);
    const QByteArray sent = named("Answer sent:");
    tellEvent(QStringLiteral("ANS: ") + text);
    qDebug() << sent.constData();
}

void WebSocketServer::echoBinary(QWebSocket *socket, const QByteArray &message)
{
    if (!m_clients.contains(socket))
        return;
    qDebug() << "Binary Message received:" << message;
    if (hasRoomFor(socket))
        socket->sendBinaryMessage(message);
}

void WebSocketServer::forget(QWebSocket *socket)
{
    if (!m_clients.contains(socket))
        return;
    const Peer peer = m_clients.take(socket).peer;
    m_methods.removePeer(socket);
    socket->deleteLater();
    const QByteArray ended = named("socketDisconnected:");
    const QPointer<QWebSocket> client(socket);
    tellEvent(QStringLiteral("socketDisconnected: %1 %2").arg(peer.address, QString::number(peer.port)));
    qDebug() << ended.constData() << client.data();
}

} // namespace server::web
