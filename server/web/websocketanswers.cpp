// How the web server answers a message.

#include "calc/crew.h"
#include "server/web/clientsocket.h"
#include "server/web/webanswer.h"
#include "server/web/websocketserver.h"
#include "server/workers/readpool.h"

#include <QDebug>
#include <QTcpSocket>
#include <QWebSocket>

#include <utility>

using server::workers::ReadPool;

namespace server::web {

namespace {

/// Of a client's message in the diagnostics.
constexpr int kMaxShown = 1000;

/// In UTF-8; measured only where it may matter.
qint64 sizeOf(const QString &text)
{
    constexpr int kMaxBytesPerUnit = 3;
    const qint64 most = qint64(text.size()) * kMaxBytesPerUnit;
    return most > WebSocketServer::kMaxAnswerBytes ? text.toUtf8().size() : most;
}

QAny tooLong(qint64 size)
{
    qWarning() << "WebSocketServer::tooLong answer of" << size << "bytes not given";
    return refused(startOfAnswer(), "Too long!");
}

} // namespace

/// Whether the client reads its answers; one that does not is dropped.
bool WebSocketServer::hasRoomFor(QWebSocket *socket) const
{
    const Client client = m_clients.value(socket);
    // An answer to one that has left would have its system throw away what is still to be read from it.
    if (client.isEnding || socket->state() != QAbstractSocket::ConnectedState)
        return false;
    const qint64 most = client.isGuest ? kMaxGuestUnreadBytes : kMaxUnreadBytes;
    if ((client.socket ? client.line->unreadBytes() : socket->bytesToWrite()) <= most)
        return true;
    qWarning() << "WebSocketServer::hasRoomFor more than" << most << "bytes unread, peer" << client.peer.address
               << client.peer.port;
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

    qDebug() << named("Message received:").constData() << message.left(kMaxShown);
    QAny request = QAny::fromJson(message);
    if (!request.isList()) { // an array has no place for them and is answered as it is
        const Peer peer = m_clients.value(socket).peer;
        request[QStringLiteral("peer")] = peer.address;
        request[QStringLiteral("port")] = peer.port;
    }
    tellRequest(request);
    if (isInProgress())
        answerRequest(socket, request);
}

void WebSocketServer::answerRequest(QWebSocket *socket, const QAny &request)
{
    webMetods::Outcome outcome = m_methods.begin(request, socket);
    if (outcome.held) {
        Client &client = m_clients[socket];
        if (client.isEnding)
            return;
        client.held = outcome.held;
        m_held.enqueue(socket);
        m_heldLook.start();
        return;
    }
    noteLogin(socket);
    if (!outcome.reading)
        return giveAnswer(socket, outcome.answer);
    if (!m_pool)
        return giveAnswer(socket, m_methods.request(request, socket));
    if (!readLater(socket, std::move(outcome.reading)))
        giveAnswer(socket, outcome.answer);
}

/// In the order in which they came, so that each gets its turn.
void WebSocketServer::lookAtHeld()
{
    const QPointer<WebSocketServer> self(this);
    for (int left = m_held.size(); left > 0 && !m_held.isEmpty(); --left) {
        const QPointer<QWebSocket> socket = m_held.dequeue();
        const auto client = m_clients.find(socket);
        if (!socket || client == m_clients.end() || !client->held)
            continue;
        const QAny request = *std::exchange(client->held, std::nullopt);
        answerRequest(socket, request);
        if (!self)
            return;
        if (socket && m_clients.contains(socket))
            makeDue(socket);
    }
    if (m_held.isEmpty())
        m_heldLook.stop();
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
    makeDue(socket);
    qint64 size = 0;
    for (const QByteArray &piece : pieces)
        size += piece.size();
    if (size > kMaxAnswerBytes)
        return giveAnswer(socket, tooLong(size));
    QByteArray text;
    text.reserve(int(size));
    for (const QByteArray &piece : pieces)
        text += piece;
    const QPointer<WebSocketServer> self(this);
    const QPointer<QWebSocket> client(socket);
    if (isAnswerHeard())
        tellAnswer(QAny::fromJson(text));
    if (self && client && m_clients.contains(client))
        giveText(client, QString::fromUtf8(text));
}

/// There is nobody left to answer: what takes long is given up, and the rest goes on.
void WebSocketServer::leave(QWebSocket *socket)
{
    Client &client = m_clients[socket];
    client.isEnding = true;
    client.held.reset();
    if (client.isReading && m_pool)
        m_pool->cancel(ReadPool::ownerOf(socket));
    client.isReading = false;
    makeDue(socket);
}

void WebSocketServer::giveAnswer(QWebSocket *socket, const QAny &answer)
{
    const QPointer<WebSocketServer> self(this);
    const QPointer<QWebSocket> client(socket);
    tellAnswer(answer);
    if (!self || !client || !m_clients.contains(client))
        return;
    const QString text = answer.toJson();
    const qint64 size = sizeOf(text);
    giveText(socket, size > kMaxAnswerBytes ? tooLong(size).toJson() : text);
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
    qDebug() << "Binary Message received:" << message.left(kMaxShown);
    if (hasRoomFor(socket))
        socket->sendBinaryMessage(message);
}

} // namespace server::web
