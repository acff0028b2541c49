#include "knetrpc/rpcconnection.h"

#include "knetrpc/idgenerator.h"
#include "knetrpc/rpccontroller.h"

#include <QDebug>
#include <QPointer>

#include <algorithm>

namespace KNet {

namespace {

/// What the socket may hold unread. A peer that sends faster than it is served then fills its own side.
constexpr qint64 kReadBufferBytes = 256 * 1024;

/// A message from this size on is handed to the socket without a copy; shorter ones share its blocks.
constexpr int kSharedWriteBytes = 64 * 1024;

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
      m_limits(limits)
{
    setReadBufferSize(kReadBufferBytes);
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

bool RpcConnection::send(const QAny &message)
{
    const QByteArray json = message.toJsonUtf8();
    if (!json.isEmpty())
        return sendText(json);
    qWarning() << "KNet::RpcConnection::send() too long for one message";
    return false;
}

bool RpcConnection::sendText(const QByteArray &json)
{
    if (m_ended || m_closing || state() == UnconnectedState)
        return false;
    if (bytesToWrite() + m_output.size() > m_limits.maxUnreadBytes) {
        qWarning() << "KNet::RpcConnection::sendText() more than" << m_limits.maxUnreadBytes << "bytes unread, peer"
                   << peerAddress().toString() << peerPort();
        abortConnection();
        return false;
    }
    m_output += json;
    return flushOutput();
}

bool RpcConnection::flushOutput()
{
    if (m_output.isEmpty())
        return true;
    const qint64 written =
        m_output.size() >= kSharedWriteBytes ? write(m_output) : write(m_output.constData(), m_output.size());
    if (written < 0 || written == m_output.size())
        m_output = QByteArray();
    else
        m_output.remove(0, static_cast<int>(written));
    return written >= 0;
}

void RpcConnection::closeConnection()
{
    if (m_ended)
        return;
    if (state() != ConnectedState)
        return abortConnection();
    dropInput();
    const QPointer<RpcConnection> self(this);
    {
        const SocketScope scope(this);
        disconnectFromHost();
    }
    if (self && !m_ended)
        QTimer::singleShot(m_limits.closeGraceMs, this, &RpcConnection::abortConnection);
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
    flush(); // what was answered before the end
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
    Q_EMIT m_controller->error(m_connectionId, errorString());
    endBehindInput();
}

void RpcConnection::onReadyRead()
{
    const QPointer<RpcConnection> self(this);
    const int handled = handleInput(self);
    if (self && handled > 0)
        noteActivity();
}

/// What is left for the next turn of the event loop. Posted rather than timed: a timer would not serve the event loops
/// that run below its own handler.
void RpcConnection::scheduleTurn()
{
    if (m_turnDue)
        return;
    m_turnDue = true;
    QMetaObject::invokeMethod(this, &RpcConnection::takeTurn, Qt::QueuedConnection);
}

void RpcConnection::takeTurn()
{
    m_turnDue = false;
    onReadyRead();
}

/// Messages of this turn; self tells whether there still is an object.
int RpcConnection::handleInput(const QPointer<RpcConnection> &self)
{
    QElapsedTimer turn;
    turn.start();
    for (int handled = 0;; ++handled) {
        if (m_ended || handled == m_limits.maxMessagesPerTurn || (handled > 0 && turn.elapsed() >= m_limits.maxTurnMs))
            return handled;
        if (m_closing) {
            readAll();
            return handled;
        }
        QAny message;
        switch (readMessage(&message)) {
        case Input::Message:
            break;
        case Input::Exhausted:
            if (m_peerGone)
                end();
            return handled;
        case Input::Broken:
            closeConnection();
            return handled;
        }
        if (hasInput() || m_peerGone)
            scheduleTurn(); // for what is over after this turn, and for an event loop in the handler
        ++m_handling;
        const bool accepted = m_controller->handleMessage(this, message);
        if (!self)
            return handled;
        --m_handling;
        if (!accepted && !m_closing && !m_peerGone) {
            closeConnection();
            return handled;
        }
    }
}

RpcConnection::Input RpcConnection::readMessage(QAny *message)
{
    while (m_inputFed < m_input.size() || fillInput()) {
        qsizetype taken = 0;
        const Json::Parser::Feed fed =
            m_reader.feedUntilComplete(m_input.constData() + m_inputFed, m_input.size() - m_inputFed, &taken);
        m_inputFed += static_cast<int>(taken);
        m_messageBytes += taken;
        if (fed == Json::Parser::Rejected)
            return Input::Broken;
        if (m_messageBytes > m_limits.maxMessageBytes) {
            qWarning() << "KNet::RpcConnection::readMessage() message of more than" << m_limits.maxMessageBytes
                       << "bytes, peer" << peerAddress().toString() << peerPort();
            return Input::Broken;
        }
        if (m_reader.valueCount() > m_limits.maxMessageValues) {
            qWarning() << "KNet::RpcConnection::readMessage() message of more than" << m_limits.maxMessageValues
                       << "values, peer" << peerAddress().toString() << peerPort();
            return Input::Broken;
        }
        if (fed == Json::Parser::Complete) {
            m_messageBytes = 0;
            m_reader.finish();
            *message = m_reader.result();
            m_reader.reset();
            return Input::Message;
        }
    }
    return bytesAvailable() > 0 ? Input::Broken : Input::Exhausted;
}

/// Takes all that the socket has. False when there is nothing, or the read fails.
bool RpcConnection::fillInput()
{
    m_input = bytesAvailable() > 0 ? readAll() : QByteArray();
    m_inputFed = 0;
    return !m_input.isEmpty();
}

bool RpcConnection::hasInput() const
{
    return m_inputFed < m_input.size() || bytesAvailable() > 0;
}

void RpcConnection::dropInput()
{
    m_closing = true;
    m_input = QByteArray();
    m_inputFed = 0;
    m_reader.reset();
}

void RpcConnection::noteActivity()
{
    m_lastActivity.start();
    m_activityGrace = false;
}

void RpcConnection::onBytesWritten(qint64 bytes)
{
    Q_UNUSED(bytes)
    flushOutput();
}

/// Turns only note their time, so that the timer need not be set for each; it follows up here.
void RpcConnection::onActivityTimeout()
{
    const qint64 idle = m_handling > 0 ? 0 : m_lastActivity.elapsed();
    if (idle < activityTimeout())
        return m_activityTimer.start(static_cast<int>(activityTimeout() - idle));
    // Late is a timer behind a blocked event loop: what the peer has sent meanwhile waits to be read.
    const bool mayHaveInput = hasInput() || idle > activityTimeout() + kLateMs;
    if (!mayHaveInput || m_activityGrace)
        return closeConnection();
    m_activityGrace = true;
    m_activityTimer.start(kActivityGraceMs);
}

void RpcConnection::endBehindInput()
{
    if (m_ended)
        return;
    if (m_closing || !hasInput())
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
    const QPointer<RpcConnection> self(this);
    m_controller->completeLostCalls(m_connectionId);
    if (self && m_controller)
        m_controller->removeConnection(this);
}

} // namespace KNet
