// How a controller handles calls: those that come go to services, those of its own to peers.

#include "knetrpc/rpccontroller.h"

#include "knetrpc/idgenerator.h"
#include "knetrpc/rpccall.h"
#include "knetrpc/rpcconnection.h"
#include "knetrpc/rpcmessage.h"

#include <QDebug>
#include <QPointer>
#include <QThread>

#include <memory>

namespace KNet {

bool RpcController::sendCall(const QString &connectionId, const QString &method, const QAny &params, QObject *receiver,
                             const QString &memberName, int timeout, QString *callId)
{
    RpcConnection *connection = m_connections.value(connectionId);
    if (!connection)
        return false;
    const QString id = IdGenerator::calls().next();
    const QByteArray text = RpcText::call(id, method, params);
    const QPointer<RpcController> self(this);
    const QPointer<QObject> target(receiver);
    if (text.isEmpty() || !connection->sendText(RpcOutput::Call, text) || !self)
        return false;
    if (callId)
        *callId = id;
    m_pendingCalls.add(std::make_unique<RpcPendingCall>(connectionId, id, target, memberName,
                                                        timeout < 0 ? m_defaultTimeout : timeout, connection));
    return true;
}

RpcController::Wait RpcController::beginWait(RpcCall *call)
{
    if (m_refusesWaits)
        return Wait::Ended;
    if (m_waiting.size() >= RpcCall::kMaxNestedCalls) {
        qWarning() << "KNet::RpcController::beginWait()" << m_waiting.size() << "synchronous calls wait already";
        return Wait::Refused;
    }
    m_waiting.append(call);
    return Wait::Begun;
}

void RpcController::endWait(RpcCall *call)
{
    m_waiting.removeOne(call);
}

void RpcController::endWaitingCalls()
{
    m_refusesWaits = true;
    for (RpcCall *call : qAsConst(m_waiting))
        call->cancel();
}

void RpcController::forgetCall(const QString &callId)
{
    m_pendingCalls.forget(callId);
}

bool RpcController::handleMessage(const QPointer<RpcConnection> &connection, const QAny &message, qint64 bytes)
{
    const RpcMessage read = RpcMessage::read(message);
    switch (read.kind) {
    case RpcMessage::Broken:
        break;
    case RpcMessage::Ping:
        return connection->sendText(RpcOutput::Answer, RpcText::pong());
    case RpcMessage::Pong:
        m_pinged.remove(connection->connectionId());
        return true;
    case RpcMessage::Call:
        if (!connection->hasWaitingCalls() && !mustWait(connection, *read.method))
            return dispatch(connection, read.id, *read.method, *read.params);
        connection->addWaitingCall({read.id, *read.method, *read.params, bytes});
        return true;
    case RpcMessage::Notification:
        handleNotification(connection, *read.method, *read.params);
        return true;
    case RpcMessage::Answer:
        m_pendingCalls.answer(connection->connectionId(), read.id, read.response);
        return true;
    }
    return false;
}

bool RpcController::mustWait(const RpcConnection *connection, const QString &method) const
{
    return connection->hasOpenAnswers() && connection->mustWait(m_services.serviceOf(RpcMethodName(method)));
}

bool RpcController::dispatch(const QPointer<RpcConnection> &connection, const QString &callId, const QString &method,
                             const QAny &params)
{
    const RpcMethodName name(method);
    const auto [adaptor, refusal] = m_services.targetOf(name, connection->authorizations());
    if (!adaptor)
        return connection->answer(RpcText::answer(callId, rpcError(refusal)));
    const QString connectionId = connection->connectionId(); // the connection may end while the service runs
    const QPointer<RpcController> self(this);
    Dispatch current{adaptor->service(), connection, connectionId, callId, QThread::currentThread()->loopLevel(),
                     m_dispatch,         false};
    m_dispatch = &current;
    const QAny body = adaptor->invokeMethod(connectionId, name.name, params);
    if (!self)
        return false;
    m_dispatch = current.outer;
    if (current.isTaken)
        return true;
    return connection && !connection->isEnded() && connection->answer(RpcText::answer(callId, body));
}

RpcAnswer RpcController::takeAnswer(const QObject *service, const QString &connectionId, Behind behind)
{
    // A call further out on the stack is not meant: its slot waits in an event loop, or calls another one directly.
    Dispatch *current = m_dispatch;
    if (!current || current->isTaken || current->service != service || current->connectionId != connectionId ||
        current->loopLevel != QThread::currentThread()->loopLevel())
        return {};
    current->isTaken = true;
    if (!current->connection || current->connection->isEnded())
        return RpcAnswer(nullptr, 1, QString());
    return current->connection->takeAnswer(current->callId, service, behind);
}

void RpcController::handleNotification(const RpcConnection *connection, const QString &method, const QAny &params)
{
    const RpcMethodName name(method);
    // Deliberate: the name begins with the dot, so notifications reach no service method.
    if (RpcAdaptor *adaptor = m_services.targetOf(name, connection->authorizations()).adaptor)
        adaptor->invokeMethod(connection->connectionId(), name.dottedName, params);
}

} // namespace KNet
