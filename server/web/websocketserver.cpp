#include "websocketserver.h"

#include <QDebug>
#include <QPointer>
#include <QTimer>
#include <QWebSocket>

#include <algorithm>
#include <utility>

/// The time in which a socket or the listening server has one of its signals on the stack and so must not be deleted,
/// not even by an event loop that a handler runs. When it ends, an object that nobody owns any more is deleted.
class WebSocketServer::Turn
{
public:
    Turn(WebSocketServer *owner, QObject *object)
        : m_owner(owner), m_object(object), m_isOutermost(!owner->m_busy.contains(object))
    {
        if (m_isOutermost)
            owner->m_busy.append(object);
    }
    ~Turn()
    {
        if (!m_isOutermost)
            return;
        if (m_owner)
            m_owner->m_busy.removeOne(m_object);
        if (!m_owner || !m_owner->owns(m_object))
            m_object->deleteLater();
    }
    bool goesOn() const { return m_owner && m_owner->owns(m_object); }

private:
    Q_DISABLE_COPY(Turn)
    QPointer<WebSocketServer> m_owner;
    QObject *m_object;
    bool m_isOutermost;
};

WebSocketServer::WebSocketServer(const QString &name, QWebSocketServer::SslMode mode, const char *linePrefix,
                                 QObject *parent)
    : QObject(parent), m_server(new QWebSocketServer(name, mode)), m_linePrefix(linePrefix)
{
}

WebSocketServer::~WebSocketServer()
{
    Q_ASSERT(m_clients.isEmpty());
    if (!m_busy.contains(m_server))
        delete m_server;
}

bool WebSocketServer::isListening() const
{
    return m_server->isListening();
}

quint16 WebSocketServer::serverPort() const
{
    return m_server->serverPort();
}

bool WebSocketServer::owns(const QObject *object) const
{
    const auto isObject = [object](const QWebSocket *socket) { return socket == object; };
    return object == m_server || std::any_of(m_clients.cbegin(), m_clients.cend(), isObject);
}

QByteArray WebSocketServer::named(const char *text) const
{
    return m_linePrefix + text;
}

bool WebSocketServer::listen(quint16 port)
{
    return m_server->listen(QHostAddress::Any, port);
}

void WebSocketServer::shutDown()
{
    m_server->close();
    const QList<QWebSocket *> clients = std::exchange(m_clients, {});
    for (QWebSocket *socket : clients) {
        socket->disconnect(this);
        socket->close(QWebSocketProtocol::CloseCodeGoingAway);
        if (!m_busy.contains(socket))
            delete socket;
    }
}

void WebSocketServer::acceptPending()
{
    QWebSocket *socket = m_server->nextPendingConnection();
    if (!socket)
        return;
    // The connection's handshake is on the stack as well.
    const Turn serverTurn(this, m_server);
    const Turn socketTurn(this, socket);
    m_clients.append(socket);
    qDebug() << named("New Connection").constData();
    boundClient(socket);
    connectClient(socket);
    tellEvent(QStringLiteral("New Connection: %1 %2 peer: %3 %4 %5")
                  .arg(socket->localAddress().toString(), QString::number(socket->localPort()), socket->peerName(),
                       socket->peerAddress().toString(), QString::number(socket->peerPort())));
}

void WebSocketServer::boundClient(QWebSocket *socket)
{
    socket->setMaxAllowedIncomingFrameSize(kMaxMessageBytes);
    socket->setMaxAllowedIncomingMessageSize(kMaxMessageBytes);
    connect(socket, &QWebSocket::aboutToClose, this, [this, socket] { boundClosing(socket); });
}

void WebSocketServer::boundClosing(QWebSocket *socket)
{
    if (socket->closeCode() == QWebSocketProtocol::CloseCodeTooMuchData) {
        qWarning() << "WebSocketServer::boundClosing message of more than" << kMaxMessageBytes << "bytes, peer"
                   << socket->peerAddress().toString() << socket->peerPort();
    }
    QTimer::singleShot(kCloseGraceMs, socket, [socket] { socket->abort(); });
}

void WebSocketServer::answerText(QWebSocket *socket, const QString &message)
{
    if (!owns(socket))
        return;
    const Turn turn(this, socket);
    qDebug() << named("Message received:").constData() << message;
    QAny request = QAny::fromJson(message);
    if (!request.isList()) { // an array has no place for them and is answered as it is
        request[QStringLiteral("peer")] = socket->peerAddress().toString();
        request[QStringLiteral("port")] = socket->peerPort();
    }
    tellRequest(request);
    // A socket that went away meanwhile must not be logged in: its address may be the next client's.
    if (!turn.goesOn())
        return;
    const QAny answer = m_methods.request(request, socket);
    tellAnswer(answer);
    if (!turn.goesOn())
        return;
    const QString text = answer.toJson();
    socket->sendTextMessage(text);
    const QByteArray sent = named("Answer sent:");
    tellEvent(QStringLiteral("ANS: ") + text);
    qDebug() << sent.constData();
}

void WebSocketServer::echoBinary(QWebSocket *socket, const QByteArray &message)
{
    if (!owns(socket))
        return;
    const Turn turn(this, socket);
    qDebug() << "Binary Message received:" << message;
    socket->sendBinaryMessage(message);
}

void WebSocketServer::forget(QWebSocket *socket)
{
    if (!owns(socket))
        return;
    const Turn turn(this, socket);
    const QByteArray ended = named("socketDisconnected:");
    m_clients.removeOne(socket);
    m_methods.removePeer(socket);
    tellEvent(QStringLiteral("socketDisconnected: %1 %2")
                  .arg(socket->peerAddress().toString(), QString::number(socket->peerPort())));
    qDebug() << ended.constData() << socket;
}
