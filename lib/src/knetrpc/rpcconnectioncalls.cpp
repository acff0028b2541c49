// How a connection handles what its peer sends: turns, the order of calls, and answers that come later.

#include "knetrpc/rpcconnection.h"

#include "knetrpc/rpccontroller.h"

#include <QElapsedTimer>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace KNet {

void RpcConnection::onReadyRead()
{
    const QPointer<RpcConnection> self(this);
    const int handled = handleInput(self);
    if (!self)
        return;
    if (handled > 0)
        noteActivity();
    noteHeld();
}

qint64 RpcConnection::maxMessageBytes() const
{
    return isStranger() && m_limits.maxStrangerMessageBytes > 0
               ? std::min(m_limits.maxStrangerMessageBytes, m_limits.maxMessageBytes)
               : m_limits.maxMessageBytes;
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
    for (int count = 0;; ++count) {
        if (m_ended || count == m_limits.maxMessagesPerTurn || (count > 0 && turn.elapsed() >= m_limits.maxTurnMs))
            return count;
        if (m_closing) {
            readAll();
            return count;
        }
        if (!handleNext(self))
            return count;
    }
}

/// One call that waited, or one message. False when there is none, or the connection ends in it.
bool RpcConnection::handleNext(const QPointer<RpcConnection> &self)
{
    if (m_calls.hasWaiting() && !m_controller->mustWait(this, m_calls.front().method)) {
        const RpcCallQueue::Call call = m_calls.pop();
        return handle(self, [&] { return m_controller->dispatch(self, call.id, call.method, call.params); });
    }
    RpcInput::Incoming incoming;
    switch (m_broken      ? RpcInput::Broken
            : isResting() ? RpcInput::Exhausted
                          : m_input.next(maxMessageBytes(), &incoming)) {
    case RpcInput::Message:
        m_output.noteHeard();
        return handle(self, [&] { return m_controller->handleMessage(self, incoming.message, incoming.bytes); });
    case RpcInput::Exhausted:
        if (m_peerGone)
            endBehindCalls();
        return false;
    case RpcInput::Broken:
        closeBehindCalls();
        return false;
    }
    return false;
}

bool RpcConnection::handle(const QPointer<RpcConnection> &self, const std::function<bool()> &handling)
{
    if (m_input.hasMore() || m_calls.hasWaiting() || m_peerGone)
        scheduleTurn(); // for what is over after this turn, and for an event loop in the handler
    ++m_handling;
    const bool accepted = handling();
    if (!self)
        return false;
    --m_handling;
    if (accepted || m_closing || m_peerGone)
        return true;
    closeBehindCalls();
    return false;
}

/// The peer has gone, and there is nothing more to read. Nobody reads the answers that are still to be given, so what
/// waits does not wait for them; but what is being stored for an earlier call is stored before.
void RpcConnection::endBehindCalls()
{
    if (!m_calls.hasWaiting())
        return end();
    if (std::exchange(m_awaits, true))
        return;
    QTimer::singleShot(m_limits.closeGraceMs, this, [this] {
        m_heedless = true;
        scheduleTurn();
    });
}

/// The peer has sent what is no message. What it called before is still answered.
void RpcConnection::closeBehindCalls()
{
    m_broken = true;
    if (m_peerGone)
        endBehindCalls();
    else if (!m_calls.hasWaiting() && !m_calls.isOpen())
        closeConnection();
}

bool RpcConnection::isHeldUp() const
{
    return isResting() || m_output.isTaken(takingMs());
}

bool RpcConnection::answer(const QByteArray &message)
{
    if (!m_calls.isOpen())
        return sendText(RpcOutput::Answer, message);
    m_calls.append({message});
    return !m_ended && !m_closing;
}

RpcAnswer RpcConnection::takeAnswer(const QString &callId, const QObject *service, RpcBehind behind)
{
    return RpcAnswer(this, m_calls.take(service, behind), callId);
}

void RpcConnection::giveAnswer(quint64 number, std::vector<QByteArray> message)
{
    m_calls.give(number, std::move(message));
    sendGivenAnswers();
}

void RpcConnection::sendGivenAnswers()
{
    const QPointer<RpcConnection> self(this);
    RpcCallQueue::Message message;
    while (m_calls.next(&message)) {
        sendText(RpcOutput::Answer, message);
        if (!self || m_ended)
            return;
    }
    if (m_calls.hasWaiting() || m_broken)
        scheduleTurn();
}

} // namespace KNet
