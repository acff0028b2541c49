#pragma once

#include "qany.h"

#include <QObject>
#include <QPointer>

class QEventLoop;

namespace KNet {

class RpcController;

/// Handle to call a method of a peer. Used on the controller's thread. Failures are values: {"error": {"code",
/// "message"}} with a code of the RPC layer or of the peer.
///
/// The synchronous form runs an event loop while it waits: everything else goes on meanwhile, also calls that come in.
/// One handle serves one synchronous call at a time; separate handles nest. Handle, controller, peer and the objects
/// of the caller may end while it waits.
class RpcCall : public QObject
{
    Q_OBJECT
public:
    /// Synchronous calls that may wait at the same time: each has its loop on the stack. One more is a connection
    /// error.
    static constexpr int kMaxNestedCalls = 200;

    explicit RpcCall(RpcController *controller, QObject *parent = nullptr);
    ~RpcCall() override;

    /// The result or an error. Null when this handle waits already, or when the wait was ended without an answer
    /// because the controller, the handle or the event loop ends. Time-out in ms: 0 never, negative the controller's
    /// default.
    QAny call(const QString &connectionId, const QString &method, const QAny &params, int timeout);
    /// Returns at once. The answer goes to a slot (QString connectionId, QAny response) of the receiver, named with
    /// SLOT(); exactly once unless the receiver or the controller ends before. The handle need not live on.
    void call(const QString &connectionId, const QString &method, const QAny &params, QObject *receiver,
              const char *member, int timeout);

    bool isWaiting() const { return m_loop != nullptr; }
    /// Ends a synchronous wait, which returns Null.
    void cancel();

public Q_SLOTS:
    void onResponse(const QString &connectionId, const QAny &result);

private:
    bool wait();

    QPointer<RpcController> m_controller;
    QEventLoop *m_loop = nullptr; // on the stack of the call that waits
    QString m_callId;             // of the call that waits
    bool m_done = false;
    QAny m_response;
};

} // namespace KNet
