#pragma once

#include "knetrpc/rpcpendingcall.h"
#include "knetrpc/rpcprotocol.h"
#include "qany.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>

#include <deque>
#include <map>
#include <memory>

namespace KNet {

/// The calls of a controller that have been sent and not yet answered. Completing one calls its receiver, which may end
/// the controller and with it this object.
class RpcPendingCalls
{
public:
    /// The controller owns this object.
    explicit RpcPendingCalls(QObject *controller) : m_controller(controller) { m_lastSweep.start(); }

    void add(std::unique_ptr<RpcPendingCall> call);
    void forget(const QString &callId);

    /// What the peer of the connection answered; nothing when the call is not known, or went out on another one.
    void answer(const QString &connectionId, const QString &callId, const QAny &response);
    /// The connection has gone.
    void lose(const QString &connectionId);
    /// To be called at intervals: completes those that have timed out.
    void sweep();

private:
    /// A call that has failed and whose receiver does not know yet.
    struct Completion {
        std::unique_ptr<RpcPendingCall> call;
        RpcErrorCode code;
    };
    void complete();
    template <typename Predicate> void fail(RpcErrorCode code, const Predicate &isMeant);

    QPointer<QObject> m_controller;
    std::map<QString, std::unique_ptr<RpcPendingCall>> m_calls; // by their ids
    std::deque<Completion> m_completions;
    QElapsedTimer m_lastSweep;
    bool m_sweepSkipped = false;
};

} // namespace KNet
