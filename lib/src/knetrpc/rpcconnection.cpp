#include "knetrpc/rpcconnection.h"

#include "knetrpc/idgenerator.h"
#include "knetrpc/rpccontroller.h"

#include <QDebug>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace KNet {

namespace {

/// What the socket may hold unread. A peer that sends faster than it is served then fills its own side.
constexpr qint64 kReadBufferBytes = 256 * 1024;

/// The same for strangers where they are bounded: all of them may send at the same moment.
constexpr qint64 kStrangerBufferBytes = 16 * 1024;

/// How long a peer may take nothing of a large message and count as taking it.
constexpr int kTakingMs = 30000;

/// A timer that is this much late was held up by the event loop, and how long input then has to be read, both in ms.
constexpr int kLateMs = 100;
constexpr int kActivityGraceMs = 1000;

} // namespace

/// While one is open, functions of QTcpSocket may be below us on the stack, so the object must not be deleted.
class RpcConnection::SocketScope
{
public:
    explicit SocketScope(RpcConnection *connection) : m_connection(connection) { ++connection->m_socketScopes; }
    ~SocketScope()
    {
        if (--m_connection->m_socketScopes == 0 && m_connection->m_retired)
            m_connection->deleteLater();
    }

private:
    Q_DISABLE_COPY(SocketScope)
    RpcConnection *m_connection;
};

RpcConnection::RpcConnection(RpcController *controller, bool incoming, const RpcLimits &limits)
    : m_controller(controller), m_incoming(incoming), m_connectionId(IdGenerator::connections().next()),
      m_input(this, limits), m_output(this), m_limits(limits)
{
    setReadBufferSize(isStranger() && limits.maxStrangersBytes > 0 ? kStrangerBufferBytes : kReadBufferBytes);
    connect(this, &QTcpSocket::readyRead, this, &RpcConnection::onReadyRead, Qt::QueuedConnection);
    connect(this, &QTcpSocket::connected, this, &RpcConnection::onConnected, Qt::QueuedConnection);
    connect(this, &QTcpSocket::bytesWritten, this, &RpcConnection::onBytesWritten);
    connect(this, &QTcpSocket::disconnected, this, &RpcConnection::onDisconnected);
    connect(this, &QTcpSocket::errorOccurred, this, &RpcConnection::onError);
    connect(&m_activityTimer, &QTimer::timeout, this, &RpcConnection::onActivityTimeout);
    m_activityTimer.setSingleShot(true);
    m_activityTimer.setTimerType(Qt::PreciseTimer);
    noteActivity();
    if (activityTimeout() > 0)
        m_activityTimer.start(activityTimeout());
}

RpcConnection::~RpcConnection()
{
    // The base class still closes the socket.
    disconnect(this, nullptr, this, nullptr);
}

void RpcConnection::addAuthorization(const QString &token)
{
    m_authorizations.insert(token);
    setReadBufferSize(kReadBufferBytes);
    noteHeld();
}

/// To be called when it may have changed. May end this connection.
void RpcConnection::noteHeld()
{
    if (!m_ended && m_limits.maxStrangersBytes > 0)
        tellHeld(isStranger() ? m_input.heldBytes() + m_output.queuedBytes() : 0);
}

void RpcConnection::tellHeld(qint64 bytes)
{
    if (bytes != m_held)
        m_controller->noteStranger(this, std::exchange(m_held, bytes), bytes);
}

bool RpcConnection::sendText(RpcOutput::Kind kind, const QByteArray &text)
{
    return mayQueue(kind) && m_output.append(kind, text);
}

bool RpcConnection::sendText(RpcOutput::Kind kind, const std::vector<QByteArray> &pieces)
{
    return mayQueue(kind) && std::all_of(pieces.cbegin(), pieces.cend(), [this, kind](const QByteArray &piece) {
               return m_output.append(kind, piece);
           });
}

/// Nobody is cut off for what others cause: each kind counts against itself.
bool RpcConnection::mayQueue(RpcOutput::Kind kind)
{
    if (m_ended || m_closing || state() == UnconnectedState)
        return false;
    if (kind == RpcOutput::Ping || !m_output.isBeyond(m_limits.maxUnreadBytes, kind))
        return true;
    qWarning() << "KNet::RpcConnection::sendText() more than" << m_limits.maxUnreadBytes << "bytes unread, peer"
               << peerAddress().toString() << peerPort();
    abortConnection();
    return false;
}

void RpcConnection::closeConnection()
{
    if (m_ended)
        return;
    if (state() != ConnectedState)
        return abortConnection();
    if (m_closing)
        return;
    dropInput();
    m_grace.start();
    const QPointer<RpcConnection> self(this);
    disconnectBehindOutput();
    if (self && !m_ended)
        QTimer::singleShot(m_limits.closeGraceMs, this, &RpcConnection::endGrace);
}

void RpcConnection::disconnectBehindOutput()
{
    if (!m_output.isEmpty())
        return;
    const SocketScope scope(this);
    disconnectFromHost(); // behind what the socket has
}

/// A peer that still takes what was answered before gets the time for it.
void RpcConnection::endGrace()
{
    const qint64 left = m_limits.closeGraceMs - m_grace.elapsed();
    if (left <= 0)
        return abortConnection();
    QTimer::singleShot(static_cast<int>(left), this, &RpcConnection::endGrace);
}

void RpcConnection::flushOutput()
{
    if (m_ended)
        return;
    const SocketScope scope(this);
    flush();
}

void RpcConnection::abortConnection()
{
    if (m_ended)
        return;
    dropInput();
    const SocketScope scope(this);
    abort(); // tells only a socket that was connected
    end();
}

bool RpcConnection::detach()
{
    m_controller = nullptr;
    m_ended = true;
    disconnect(this, nullptr, this, nullptr);
    m_activityTimer.stop();
    m_retired = true;
    if (m_socketScopes > 0)
        return false;
    do { // what was answered before the end
        m_output.pump();
    } while (flush() && !m_output.isEmpty());
    return true;
}

/// Not below the socket's own functions: even a scheduled deletion may come too early for them, in an event loop that a
/// receiver runs.
void RpcConnection::retire()
{
    m_retired = true;
    if (m_socketScopes == 0)
        deleteLater();
}

void RpcConnection::onConnected()
{
    if (m_ended)
        return;
    setSocketOption(LowDelayOption, 1);
    Q_EMIT m_controller->connected(m_connectionId);
}

void RpcConnection::onDisconnected()
{
    const SocketScope scope(this);
    endBehindInput();
}

void RpcConnection::onError(QAbstractSocket::SocketError socketError)
{
    Q_UNUSED(socketError)
    if (m_ended)
        return;
    const SocketScope scope(this);
    if (!m_closing)
        m_input.keep(); // before the socket forgets it
    Q_EMIT m_controller->error(m_connectionId, errorString());
    endBehindInput();
}

void RpcConnection::dropInput()
{
    m_closing = true;
    m_input.drop();
    m_calls.dropWaiting();
}

void RpcConnection::noteActivity()
{
    m_lastActivity.start();
    m_activityGrace = false;
}

void RpcConnection::onBytesWritten(qint64 bytes)
{
    Q_UNUSED(bytes)
    const SocketScope scope(this);
    if (m_output.noteTaken())
        noteActivity(); // the peer has no time for messages
    m_output.pump();
    noteHeld();
    if (!m_closing || m_ended)
        return;
    m_grace.start();
    if (state() == ConnectedState)
        disconnectBehindOutput();
}

/// How long a peer that has not taken anything counts as taking a large message: the system takes it in large steps.
int RpcConnection::takingMs() const
{
    return activityTimeout() > 0 ? std::min(activityTimeout(), kTakingMs) : kTakingMs;
}

/// Turns only note their time, so that the timer need not be set for each; it follows up here.
void RpcConnection::onActivityTimeout()
{
    const bool isOurs = m_handling > 0 || (isResting() && !m_broken);
    const qint64 idle = isOurs ? 0 : m_lastActivity.elapsed();
    if (idle < activityTimeout())
        return m_activityTimer.start(static_cast<int>(activityTimeout() - idle));
    // Late is a timer behind a blocked event loop: what the peer has sent meanwhile waits to be read.
    const bool mayHaveInput = m_input.hasMore() || idle > activityTimeout() + kLateMs;
    if (!mayHaveInput || m_activityGrace)
        return closeConnection();
    m_activityGrace = true;
    m_activityTimer.start(kActivityGraceMs);
}

void RpcConnection::endBehindInput()
{
    if (m_ended)
        return;
    if (m_closing || (!m_input.hasMore() && !m_calls.hasWaiting()))
        return end();
    m_peerGone = true;
    scheduleTurn();
}

void RpcConnection::end()
{
    if (m_ended)
        return;
    m_ended = true;
    m_activityTimer.stop();
    dropInput();
    m_calls.clear();
    tellHeld(0);
    const QPointer<RpcConnection> self(this);
    m_controller->completeLostCalls(m_connectionId);
    if (self && m_controller)
        m_controller->removeConnection(this);
}

} // namespace KNet
