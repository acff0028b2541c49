#include "websocketserver.h"

#include <QDebug>
#include <QPointer>
#include <QTimer>
#include <QWebSocket>

/// The time in which a socket or the listening server is on the stack and so must not be deleted. Knows whether this
/// server and the socket are still there.
class WebSocketServer::Turn
{
public:
    explicit Turn(WebSocketServer *owner, QWebSocket *socket = nullptr) : m_owner(owner), m_socket(socket)
    {
        ++owner->m_turns;
    }
    ~Turn()
    {
        if (m_owner)
            --m_owner->m_turns;
    }
    bool goesOn() const { return m_owner && m_owner->m_clients.contains(m_socket); }

private:
    Q_DISABLE_COPY(Turn)
    QPointer<WebSocketServer> m_owner;
    QWebSocket *m_socket;
};

WebSocketServer::WebSocketServer(const QString &name, QWebSocketServer::SslMode mode, const char *linePrefix,
                                 QObject *parent)
    : QObject(parent), m_server(new QWebSocketServer(name, mode)), m_linePrefix(linePrefix)
{
}

WebSocketServer::~WebSocketServer()
{
    Q_ASSERT(m_clients.isEmpty());
    if (m_turns > 0)
        m_server->deleteLater();
    else
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
        if (m_turns > 0)
            socket->deleteLater();
        else
            delete socket;
    }
}

void WebSocketServer::acceptPending()
{
    QWebSocket *socket = m_server->nextPendingConnection();
    if (!socket)
        return;
    const Turn turn(this, socket);
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
    const Turn turn(this, socket);
    if (!turn.goesOn())
        return;
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
    const Turn turn(this, socket);
    if (!turn.goesOn())
        return;
    qDebug() << "Binary Message received:" << message;
    socket->sendBinaryMessage(message);
}

void WebSocketServer::forget(QWebSocket *socket)
{
    const Turn turn(this, socket);
    if (!turn.goesOn())
        return;
    const QByteArray ended = named("socketDisconnected:");
    const QPointer<QWebSocket> gone(socket);
    m_clients.removeOne(socket);
    m_methods.removePeer(socket);
    socket->deleteLater();
    tellEvent(QStringLiteral("socketDisconnected: %1 %2")
                  .arg(socket->peerAddress().toString(), QString::number(socket->peerPort())));
    qDebug() << ended.constData() << gone.data();
}
