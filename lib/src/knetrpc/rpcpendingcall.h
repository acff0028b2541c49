#pragma once

#include "qany.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

namespace KNet {

class RpcConnection;

/// A call that has been sent and not yet answered. Owned by the controller until one of answer, time-out and loss of
/// the connection completes it.
class RpcPendingCall
{
public:
    /// The member is the receiver's method name without signature; a time-out of 0 ms or less means none.
    RpcPendingCall(const QString &connectionId, const QString &callId, QObject *receiver, const QString &member,
                   int timeout, RpcConnection *connection = nullptr);

    const QString &connectionId() const { return m_connectionId; }
    const QString &callId() const { return m_callId; }
    bool hasTimedOut() const { return m_timeout >= 1 && m_started.hasExpired(m_timeout + m_restedMs); }
    /// Its time does not run while the connection holds the answer up by itself.
    void restIfHeldUp(qint64 sinceMs);

    /// Invokes the receiver's method directly; false, with a warning line, when that cannot be done.
    bool sendResponse(const QString &connectionId, const QAny &response);
    bool sendError(int code, const QString &message);

private:
    QString m_connectionId;
    QString m_callId;
    QPointer<QObject> m_receiver;
    QString m_member;
    int m_timeout;
    QPointer<RpcConnection> m_connection;
    qint64 m_restedMs = 0;
    QElapsedTimer m_started;
};

} // namespace KNet
