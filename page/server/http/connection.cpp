#include "page/server/http/connection.h"

#include <QTcpSocket>

#include <utility>

namespace page::http {

namespace {

constexpr int kRequestTimeout = 408;
constexpr int kTooManyRequests = 429;
constexpr int kMaxDiscarded = 256 * 1024;

} // namespace

Connection::Connection(QTcpSocket *socket, Host &host, Places::Place place)
    : m_socket(socket), m_host(host), m_place(std::move(place))
{
    m_socket->setParent(this);
    const Limits &limits = m_host.limits();
    m_socket->setReadBufferSize(limits.maxHeaderBytes + limits.maxBodyBytes);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { runOut(); });
    connect(m_socket, &QIODevice::readyRead, this, [this] { look(); });
    connect(m_socket, &QIODevice::bytesWritten, this, [this] { noteSent(); });
    connect(m_socket, &QAbstractSocket::disconnected, this, &QObject::deleteLater);
    enter(State::Idle, limits.receiveMs);
}

void Connection::enter(State state, int timeMs)
{
    m_state = state;
    if (timeMs > 0)
        m_timer.start(timeMs);
    else
        m_timer.stop();
}

void Connection::look()
{
    if (!m_socket || m_socket->bytesAvailable() == 0)
        return;
    switch (m_state) {
    case State::Idle:
        if (m_isFirst)
            m_state = State::Head; // its time runs since the connection began
        else
            enter(State::Head, m_host.limits().receiveMs);
        [[fallthrough]];
    case State::Head:
        readHeaderOf(m_socket->peek(m_host.limits().maxHeaderBytes + 1));
        break;
    case State::Body:
        if (m_socket->bytesAvailable() >= m_request.bodyBytes)
            handle();
        break;
    case State::Answering:
    case State::Sending:
        break; // its turn comes
    case State::Lingering:
        discard();
        break;
    }
}

void Connection::readHeaderOf(const QByteArray &bytes)
{
    const Limits &limits = m_host.limits();
    const HeaderEnd end = findHeaderEnd(bytes, limits);
    if (end.status == 0 && end.bytes == 0)
        return;
    m_request = Request();
    const int status = end.status != 0 ? end.status : readHeader(bytes.left(end.bytes), limits, &m_request);
    if (status != 0)
        return refuse(Response::ofStatus(status));
    begin(end.bytes);
}

void Connection::begin(int headerBytes)
{
    const QHostAddress peer = m_socket->peerAddress();
    m_request.client = clientAddress(peer, m_request);
    if (peer.isLoopback()) {
        m_clientPlace = m_host.places().enter(m_request.client);
        if (!m_clientPlace)
            return refuse(Response::ofStatus(kTooManyRequests));
    }
    if (m_request.wantsUpgrade())
        return considerUpgrade();
    m_socket->read(headerBytes);
    enter(State::Body, m_host.limits().receiveMs);
    if (m_socket->bytesAvailable() >= m_request.bodyBytes)
        handle();
}

void Connection::considerUpgrade()
{
    const std::optional<Response> refusal = m_host.handler().refusalOf(m_request);
    if (refusal)
        return refuse(*refusal);
    QTcpSocket *socket = std::exchange(m_socket, nullptr);
    socket->disconnect(this);
    m_timer.stop();
    m_host.upgrade(socket, m_request, m_clientPlace ? m_clientPlace : m_place);
    deleteLater();
}

void Connection::handle()
{
    m_request.body = m_socket->read(m_request.bodyBytes);
    enter(State::Answering, 0);
    const QPointer<Connection> self(this);
    m_host.handler().handle(m_request, this, [self, number = ++m_number](const Response &response) {
        if (self && self->m_state == State::Answering && self->m_number == number)
            self->send(response, !self->m_request.isLast);
    });
}

void Connection::send(const Response &response, bool keepsConnection)
{
    m_endsAfter = !keepsConnection;
    enter(State::Sending, m_host.limits().sendMs);
    QByteArray bytes = headOf(response, keepsConnection);
    if (m_request.method != "HEAD")
        bytes += response.body;
    m_socket->write(bytes);
}

void Connection::refuse(const Response &response)
{
    m_isRefused = true;
    send(response, false);
}

void Connection::noteSent()
{
    if (m_state != State::Sending)
        return;
    if (m_socket->bytesToWrite() > 0)
        m_timer.start();
    else
        endSending();
}

/// A connection that is closed with input unread takes its answer along; the peer of a refused one still sends.
void Connection::endSending()
{
    m_clientPlace.reset();
    if (m_isRefused || (m_endsAfter && m_socket->bytesAvailable() > 0)) {
        enter(State::Lingering, m_host.limits().lingerMs);
        return discard();
    }
    if (m_endsAfter) {
        enter(State::Lingering, m_host.limits().lingerMs);
        return m_socket->disconnectFromHost();
    }
    m_isFirst = false;
    enter(State::Idle, m_host.limits().idleMs);
    // The others have their turn first.
    QMetaObject::invokeMethod(
        this, [this] { look(); }, Qt::QueuedConnection);
}

void Connection::discard()
{
    m_discarded += m_socket->readAll().size();
    if (m_discarded > kMaxDiscarded)
        m_socket->abort();
}

void Connection::runOut()
{
    const bool isOwed = (m_state == State::Idle && m_isFirst) || m_state == State::Head || m_state == State::Body;
    if (isOwed)
        refuse(Response::ofStatus(kRequestTimeout));
    else if (m_state == State::Idle)
        m_socket->disconnectFromHost();
    else
        m_socket->abort();
}

} // namespace page::http
