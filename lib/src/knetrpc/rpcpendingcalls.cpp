#include "knetrpc/rpcpendingcalls.h"

#include "knetrpc/rpcconnection.h"
#include "knetrpc/rpccontroller.h"

#include <utility>

namespace KNet {

namespace {

/// Behind a longer pause than this between two sweeps the event loop was blocked: answers that came meanwhile wait to
/// be read, and get one more interval for it.
constexpr int kBlockedSweepMs = 10 * RpcController::kSweepIntervalMs;

} // namespace

void RpcPendingCalls::add(std::unique_ptr<RpcPendingCall> call)
{
    const QString id = call->callId();
    m_calls.emplace(id, std::move(call));
}

void RpcPendingCalls::forget(const QString &callId)
{
    m_calls.erase(callId);
}

void RpcPendingCalls::answer(const QString &connectionId, const QString &callId, const QAny &response)
{
    const auto found = m_calls.find(callId);
    if (found == m_calls.end() || found->second->connectionId() != connectionId)
        return;
    const std::unique_ptr<RpcPendingCall> call = std::move(found->second);
    m_calls.erase(found);
    call->sendResponse(call->connectionId(), response); // the connection's own id may end in the receiver
}

template <typename Predicate> void RpcPendingCalls::fail(RpcErrorCode code, const Predicate &isMeant)
{
    for (auto call = m_calls.begin(); call != m_calls.end();) {
        if (!isMeant(*call->second)) {
            ++call;
            continue;
        }
        m_completions.push_back({std::move(call->second), code});
        call = m_calls.erase(call);
    }
    complete();
}

void RpcPendingCalls::lose(const QString &connectionId)
{
    fail(ConnectionClosed, [&connectionId](const RpcPendingCall &call) { return call.connectionId() == connectionId; });
}

void RpcPendingCalls::sweep()
{
    const qint64 sinceLast = m_lastSweep.restart();
    for (const auto &call : m_calls)
        call.second->restIfHeldUp(sinceLast);
    // Once only: a loop that is blocked over and over has time-outs all the same.
    m_sweepSkipped = sinceLast > kBlockedSweepMs && !m_sweepSkipped;
    if (!m_sweepSkipped)
        fail(CallTimeout, [](const RpcPendingCall &call) { return call.hasTimedOut(); });
}

/// Tells the receivers of failed calls. One that runs the event loop does not hold up the others: the next sweep goes
/// on with them.
void RpcPendingCalls::complete()
{
    const QPointer<QObject> controller(m_controller);
    while (controller && !m_completions.empty()) {
        const Completion completion = std::move(m_completions.front());
        m_completions.pop_front();
        completion.call->sendError(completion.code, rpcErrorText(completion.code));
    }
}

} // namespace KNet
