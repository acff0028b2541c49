#include "page/server/http/httpserver.h"

#include "net/acceptor.h"
#include "server/web/clientsocket.h"

#include <QDebug>
#include <QTimer>
#include <QWebSocket>

#include <utility>

namespace page::http {

namespace {

/// Of the process's descriptors: the database's files, its journals, a pipe or two.
constexpr int kDescriptorsLeft = 64;
/// A frame is only read when it is all there, so that this must be more than the largest that the handler takes.
constexpr int kWebSocketReadBuffer = 256 * 1024;
constexpr int kTooManyRequests = 429;

} // namespace

HttpServer::HttpServer(Handler &handler, const Limits &limits, QObject *parent)
    : QTcpServer(parent), m_handler(handler), m_limits(limits), m_places(limits.maxOfAddress),
      m_webSockets(QString(), QWebSocketServer::NonSecureMode)
{
    connect(&m_webSockets, &QWebSocketServer::newConnection, this, [this] { acceptUpgraded(); });
}

HttpServer::~HttpServer()
{
    delete std::exchange(m_acceptor, nullptr);
    close();
    // By their meta-object: there are other children.
    qDeleteAll(findChildren<Connection *>(QString(), Qt::FindDirectChildrenOnly));
}

bool HttpServer::open(const QHostAddress &address, quint16 port)
{
    if (!listen(address, port))
        return false;
    m_acceptor = new Net::Acceptor(this, kDescriptorsLeft, [this](qintptr handle) { incomingConnection(handle); });
    return true;
}

void HttpServer::incomingConnection(qintptr handle)
{
    auto *socket = new server::web::ClientSocket(this);
    if (!static_cast<QTcpSocket *>(socket)->setSocketDescriptor(handle)) {
        qWarning() << "HttpServer::incomingConnection" << socket->errorString();
        delete socket;
        return;
    }
    const Places::Place place = m_open < m_limits.maxConnections ? m_places.enter(socket->peerAddress()) : nullptr;
    if (!place)
        return turnAway(socket);
    ++m_open;
    connect(socket, &QObject::destroyed, this, [this] { --m_open; });
    (new Connection(socket, *this, place))->setParent(this);
}

/// Without reading a byte of it.
void HttpServer::turnAway(QTcpSocket *socket)
{
    const Response response = Response::ofStatus(kTooManyRequests);
    connect(socket, &QAbstractSocket::disconnected, socket, &QObject::deleteLater);
    QTimer::singleShot(m_limits.lingerMs, socket, [socket] { socket->abort(); });
    socket->setReadBufferSize(1);
    socket->write(headOf(response, false) + response.body);
    socket->disconnectFromHost();
}

void HttpServer::upgrade(QTcpSocket *socket, const Request &request, const Places::Place &place)
{
    socket->setParent(this);
    socket->setReadBufferSize(kWebSocketReadBuffer);
    const quint16 port = socket->peerPort();
    m_upgrading.insert(port, {socket, static_cast<server::web::ClientSocket *>(socket), request});
    connect(socket, &QObject::destroyed, this, [this, port, socket, held = place] {
        for (auto one = m_upgrading.find(port); one != m_upgrading.end() && one.key() == port; ++one) {
            if (one->socket == socket) {
                m_upgrading.erase(one);
                return;
            }
        }
    });
    // The socket's own code is on the stack.
    QMetaObject::invokeMethod(
        socket,
        [this, socket] {
            if (socket->state() == QAbstractSocket::ConnectedState)
                m_webSockets.handleConnection(socket);
            else
                socket->deleteLater();
        },
        Qt::QueuedConnection);
}

/// By the addresses: a web socket does not show the socket below it.
void HttpServer::acceptUpgraded()
{
    QWebSocket *socket = m_webSockets.nextPendingConnection();
    if (!socket)
        return;
    for (auto one = m_upgrading.find(socket->peerPort()); one != m_upgrading.end(); ++one) {
        if (one.key() != socket->peerPort())
            break;
        if (one->socket->peerAddress() != socket->peerAddress())
            continue;
        const Upgrading upgrading = *one;
        m_upgrading.erase(one);
        return m_handler.upgraded({socket, upgrading.line, upgrading.request});
    }
    socket->abort();
    socket->deleteLater();
}

} // namespace page::http
