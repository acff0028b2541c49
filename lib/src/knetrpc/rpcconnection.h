#pragma once

#include "knetrpc/rpcanswer.h"
#include "knetrpc/rpccallqueue.h"
#include "knetrpc/rpcinput.h"
#include "knetrpc/rpcoutput.h"
#include "knetrpc/rpcprotocol.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QTcpSocket>
#include <QTimer>

#include <functional>
#include <utility>
#include <vector>

namespace KNet {

class RpcController;

/// One TCP connection of the RPC protocol, accepted or opened by us. Owned by its controller; lives on the
/// controller's thread; ends exactly once, through the disconnect handling.
///
/// A handler of its messages may run the event loop, in which further messages of the same connection are handled and
/// the connection itself may end and be deleted.
class RpcConnection : public QTcpSocket
{
    Q_OBJECT
public:
    RpcConnection(RpcController *controller, bool incoming, const RpcLimits &limits);
    ~RpcConnection() override;

    /// Accepted by us, not opened.
    bool isIncoming() const { return m_incoming; }
    /// Unique within the process.
    const QString &connectionId() const { return m_connectionId; }
    /// Set by services; empty at first.
    const QString &name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    /// Tokens granted to the peer.
    const QSet<QString> &authorizations() const { return m_authorizations; }
    void addAuthorization(const QString &token);
    void removeAuthorization(const QString &token) { m_authorizations.remove(token); }
    /// Whether the peer came to us and holds no token.
    bool isStranger() const { return m_incoming && m_authorizations.isEmpty(); }
    /// In ms; 0 for none.
    int activityTimeout() const { return m_limits.activityTimeoutMs; }

    /// What the system has not taken yet.
    qint64 queuedBytes() const { return m_output.queuedBytes(); }
    /// What has come of a message that is not complete.
    qint64 bytesOfMessageInProgress() const { return m_input.bytesOfMessage(); }

    /// The disconnect handling has begun.
    bool isEnded() const { return m_ended; }

    /// Whether a call of the service has to wait behind answers that are still to be given.
    bool mustWait(const QObject *service) const { return !m_heedless && m_calls.holds(service, m_peerGone); }
    /// Whether any call has.
    bool hasOpenAnswers() const { return m_calls.isOpen(); }
    bool hasWaitingCalls() const { return m_calls.hasWaiting(); }
    void addWaitingCall(RpcCallQueue::Call call) { m_calls.push(std::move(call)); }

    /// Whether an answer of the peer to a call of ours may be there and not be read, because what it called before
    /// waits, or not be made, because it is still reading what we sent before.
    bool isHeldUp() const;

    /// Answers a call at once, behind the answers that were taken before; false when the socket refuses it.
    bool answer(const QByteArray &message);
    RpcAnswer takeAnswer(const QString &callId, const QObject *service, RpcBehind behind);
    /// For RpcAnswer.
    void giveAnswer(quint64 number, std::vector<QByteArray> message);

    /// Queues the message, given in pieces; false when the socket refuses it. Never blocks. A peer that has too many
    /// answers unread when another one comes is disconnected, and so it is for calls.
    bool sendText(RpcOutput::Kind kind, const std::vector<QByteArray> &pieces);
    bool sendText(RpcOutput::Kind kind, const QByteArray &text);

    /// Ends a connected socket gracefully, any other at once. What the peer has sent and we have not handled is
    /// dropped.
    void closeConnection();
    /// Hands over what the system takes at once. May end the connection.
    void flushOutput();
    /// Ends at once; what was not yet written is lost.
    void abortConnection();

    /// The controller ends, and so does the connection, without telling. True when it may be deleted at once;
    /// otherwise one of the socket's own functions is on the stack, and it deletes itself later.
    bool detach();
    /// Deletes itself as soon as none of the socket's own functions is on the stack.
    void retire();

private Q_SLOTS:
    void onConnected();
    void onDisconnected();
    void onError(QAbstractSocket::SocketError socketError);
    void onReadyRead();
    void onBytesWritten(qint64 bytes);
    void onActivityTimeout();

private:
    class SocketScope;

    int handleInput(const QPointer<RpcConnection> &self);
    bool handleNext(const QPointer<RpcConnection> &self);
    bool handle(const QPointer<RpcConnection> &self, const std::function<bool()> &handling);
    /// Nothing is read until waiting calls have been dispatched.
    bool isResting() const { return m_calls.waitingBytes() > m_limits.maxWaitingBytes; }
    qint64 maxMessageBytes() const;
    void noteHeld();
    void tellHeld(qint64 bytes);
    int takingMs() const;
    void endBehindCalls();
    void closeBehindCalls();
    void sendGivenAnswers();
    void scheduleTurn();
    void takeTurn();
    void dropInput();
    void noteActivity();
    bool mayQueue(RpcOutput::Kind kind);
    void disconnectBehindOutput();
    void endGrace();
    /// Runs the disconnect handling, behind the messages that the peer sent before it went and the calls that wait.
    void endBehindInput();
    void end();

    RpcController *m_controller;
    bool m_incoming;
    QString m_connectionId;
    QString m_name;
    QSet<QString> m_authorizations;
    RpcInput m_input;
    RpcOutput m_output;
    RpcLimits m_limits;
    qint64 m_held = 0; // what the controller knows that a stranger holds
    QTimer m_activityTimer;

    QElapsedTimer m_lastActivity;
    QElapsedTimer m_grace;        // since the close, or since the peer took something behind it
    bool m_activityGrace = false; // has been given since
    int m_handling = 0;           // messages being handled, one within the other
    bool m_turnDue = false;       // takeTurn() is posted
    int m_socketScopes = 0;       // functions of the socket that are on the stack
    RpcCallQueue m_calls;
    bool m_closing = false;  // by us: further input is dropped
    bool m_broken = false;   // the peer sent nonsense: the close follows the last call before it
    bool m_peerGone = false; // the disconnect handling follows the last message
    bool m_heedless = false; // of answers to be given: waiting calls go on
    bool m_awaits = false;   // the end of what was taken Together, before the peer's last calls
    bool m_ended = false;    // the disconnect handling has begun
    bool m_retired = false;  // deletes itself when the last socket scope ends
};

} // namespace KNet
