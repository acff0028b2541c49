#include "knetrpc/rpccall.h"

#include "knetrpc/rpccontroller.h"
#include "knetrpc/rpcpendingcall.h"

#include <QDebug>
#include <QEventLoop>

namespace KNet {

RpcCall::RpcCall(RpcController *controller, QObject *parent) : QObject(parent), m_controller(controller) {}

RpcCall::~RpcCall()
{
    if (m_controller) {
        m_controller->endWait(this);
        if (m_loop)
            m_controller->forgetCall(m_callId);
    }
    cancel();
}

QAny RpcCall::call(const QString &connectionId, const QString &method, const QAny &params, int timeout)
{
    if (m_loop) {
        qWarning() << "KNet:RpcCall::call(): Recursive call detected";
        return {};
    }
    m_response.clear();
    m_done = false;
    if (!m_controller)
        return rpcError(ConnectionError);
    switch (m_controller->beginWait(this)) {
    case RpcController::Wait::Refused:
        return rpcError(ConnectionError);
    case RpcController::Wait::Ended:
        return {};
    case RpcController::Wait::Begun:
        break;
    }
    const QPointer<RpcCall> self(this);
    if (!m_controller->sendCall(connectionId, method, params, this, QStringLiteral("onResponse"), timeout, &m_callId)) {
        if (self && m_controller)
            m_controller->endWait(this);
        return rpcError(ConnectionError);
    }
    const bool answered = wait();
    if (!self)
        return {};
    if (m_controller) {
        m_controller->endWait(this);
        if (!answered)
            m_controller->forgetCall(m_callId); // a late answer must not meet this handle's next call
    }
    return answered ? std::exchange(m_response, QAny()) : QAny();
}

/// False when the wait ended without an answer; this object need not exist then.
bool RpcCall::wait()
{
    const QPointer<RpcCall> self(this);
    QEventLoop loop;
    m_loop = &loop;
    int exitCode = 0;
    while (self && !m_done && exitCode == 0)
        exitCode = loop.exec(QEventLoop::ExcludeUserInputEvents);
    if (!self)
        return false;
    m_loop = nullptr;
    return m_done;
}

void RpcCall::call(const QString &connectionId, const QString &method, const QAny &params, QObject *receiver,
                   const char *member, int timeout)
{
    constexpr char kSlotCode = '0' + QSLOT_CODE;
    const QByteArray slot = QMetaObject::normalizedSignature(member ? member : "");
    if (slot.isEmpty() || slot.at(0) != kSlotCode) {
        qWarning() << "KNet::RpcCall::call() receiver member should be a SLOT";
        return;
    }
    const QString name = QString::fromLatin1(slot.mid(1, slot.indexOf('(') - 1));
    const QPointer<QObject> target(receiver); // a send that ends the connection may end the receiver
    if (m_controller && m_controller->sendCall(connectionId, method, params, receiver, name, timeout))
        return;
    RpcPendingCall(connectionId, QString(), target, name, 0).sendError(ConnectionError, rpcErrorText(ConnectionError));
}

void RpcCall::cancel()
{
    if (m_loop)
        m_loop->exit(1);
}

void RpcCall::onResponse(const QString &connectionId, const QAny &result)
{
    Q_UNUSED(connectionId)
    m_response = result;
    m_done = true;
    if (m_loop)
        m_loop->exit(0);
}

} // namespace KNet
