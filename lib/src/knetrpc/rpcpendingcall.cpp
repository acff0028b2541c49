#include "knetrpc/rpcpendingcall.h"

#include "knetrpc/rpcconnection.h"
#include "knetrpc/rpcprotocol.h"

#include <QDebug>
#include <QMetaObject>

namespace KNet {

RpcPendingCall::RpcPendingCall(const QString &connectionId, const QString &callId, QObject *receiver,
                               const QString &member, int timeout, RpcConnection *connection)
    : m_connectionId(connectionId), m_callId(callId), m_receiver(receiver), m_member(member), m_timeout(timeout),
      m_connection(connection)
{
    m_started.start();
}

void RpcPendingCall::restIfHeldUp(qint64 sinceMs)
{
    if (m_connection && m_connection->isHeldUp())
        m_restedMs += sinceMs;
}

bool RpcPendingCall::sendResponse(const QString &connectionId, const QAny &response)
{
    if (m_receiver && QMetaObject::invokeMethod(m_receiver, m_member.toLatin1().constData(), Qt::DirectConnection,
                                                Q_ARG(QString, connectionId), Q_ARG(QAny, response)))
        return true;
    qWarning() << "KNet::RpcPendingCall::sendResponse()"
               << "can't invoke" << m_member << "on" << m_receiver.data();
    return false;
}

bool RpcPendingCall::sendError(int code, const QString &message)
{
    return sendResponse(m_connectionId, rpcError(code, message));
}

} // namespace KNet
