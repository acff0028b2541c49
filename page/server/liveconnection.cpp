#include "page/server/liveconnection.h"

#include "server/web/clientsocket.h"

#include <QDebug>
#include <QWebSocket>

#include <utility>

namespace page {

namespace {

void boundMessages(QWebSocket *socket, const LiveLimits &limits)
{
    socket->setMaxAllowedIncomingFrameSize(limits.maxMessageBytes);
    socket->setMaxAllowedIncomingMessageSize(limits.maxMessageBytes);
}

void tellAndClose(QWebSocket *socket, const LiveLimits &limits)
{
    socket->sendTextMessage(QStringLiteral(R"({"push":"signedOut"})"));
    socket->close(QWebSocketProtocol::CloseCode(LiveConnection::kCloseSignedOut));
    QTimer::singleShot(limits.closeGraceMs, socket, [socket] { socket->abort(); });
}

} // namespace

LiveConnection::LiveConnection(const http::Upgraded &upgraded, const Services &services, Sessions::Key session,
                               const LiveLimits &limits, QObject *parent)
    : QObject(parent), m_socket(upgraded.socket), m_line(upgraded.line), m_tcpSocket(&upgraded.line->socket()),
      m_session(std::move(session)), m_limits(limits),
      m_asks(services, m_session,
             {[this](const QByteArray &text) { send(text); }, [this] { emit unknown(); }, [this] { emit written(); }})
{
    m_socket->setParent(this);
    boundSocket();
    connect(m_socket, &QWebSocket::textMessageReceived, this, [this](const QString &text) {
        m_hasAnswered = true;
        if (!m_isOver)
            m_asks.take(text);
    });
    connect(m_socket, &QWebSocket::binaryMessageReceived, this,
            [this] { m_socket->close(QWebSocketProtocol::CloseCodeDatatypeNotSupported); });
    connect(m_socket, &QWebSocket::pong, this, [this] { m_hasAnswered = true; });
    connect(m_socket, &QWebSocket::disconnected, this, &LiveConnection::gone);
    connect(&m_ping, &QTimer::timeout, this, [this] { ping(); });
    m_ping.start(m_limits.pingMs);
}

LiveConnection::~LiveConnection()
{
    m_socket->disconnect(this);
    if (m_socket->isValid())
        m_socket->close(QWebSocketProtocol::CloseCodeGoingAway);
}

void LiveConnection::boundSocket()
{
    boundMessages(m_socket, m_limits);
    m_line->setMaxUnread(m_limits.maxUnreadBytes);
    connect(m_socket, &QWebSocket::aboutToClose, this,
            [this] { QTimer::singleShot(m_limits.closeGraceMs, m_socket, [this] { m_socket->abort(); }); });
}

void LiveConnection::send(const QByteArray &text)
{
    if (m_isOver || !m_tcpSocket)
        return;
    if (m_line->unreadBytes() > m_limits.maxUnreadBytes) {
        m_isOver = true;
        qWarning() << "LiveConnection::send more than" << m_limits.maxUnreadBytes << "bytes unread, peer"
                   << m_socket->peerAddress().toString();
        m_socket->abort();
        return;
    }
    m_socket->sendTextMessage(QString::fromUtf8(text));
}

void LiveConnection::signOut()
{
    if (std::exchange(m_isOver, true))
        return;
    tellAndClose(m_socket, m_limits);
}

void LiveConnection::turnAway(QWebSocket *socket, const LiveLimits &limits)
{
    connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
    boundMessages(socket, limits);
    tellAndClose(socket, limits);
}

void LiveConnection::ping()
{
    if (!std::exchange(m_hasAnswered, false))
        m_socket->abort();
    else
        m_socket->ping();
}

} // namespace page
