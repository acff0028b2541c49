#include "knetrpc/rpccallqueue.h"

#include <utility>

namespace KNet {

quint64 RpcCallQueue::take(const QObject *service, RpcBehind behind)
{
    // One service at a time: another one can only come in between in an event loop of a slot.
    if (behind == RpcBehind::Together && (!m_service || m_service == service)) {
        m_service = service;
        ++m_togethers;
    } else {
        behind = RpcBehind::Wait;
        ++m_waits;
    }
    m_answers.push_back({behind, false, {}});
    return m_first + m_answers.size() - 1;
}

void RpcCallQueue::give(quint64 number, Message message)
{
    const quint64 index = number - m_first;
    if (index >= m_answers.size() || m_answers[index].given)
        return;
    m_answers[index].message = std::move(message);
    close(&m_answers[index]);
}

void RpcCallQueue::close(Answer *answer)
{
    answer->given = true;
    if (answer->behind == RpcBehind::Wait)
        --m_waits;
    else if (--m_togethers == 0)
        m_service = nullptr;
}

void RpcCallQueue::append(Message message)
{
    m_answers.push_back({RpcBehind::Wait, true, std::move(message)});
}

bool RpcCallQueue::next(Message *message)
{
    if (m_answers.empty() || !m_answers.front().given)
        return false;
    *message = std::move(m_answers.front().message);
    m_answers.pop_front();
    ++m_first;
    return true;
}

bool RpcCallQueue::holds(const QObject *service, bool ignoresWaits) const
{
    return (m_waits > 0 && !ignoresWaits) || (m_togethers > 0 && service != m_service);
}

void RpcCallQueue::push(Call call)
{
    m_waitingBytes += call.bytes;
    m_calls.push_back(std::move(call));
}

RpcCallQueue::Call RpcCallQueue::pop()
{
    Call call = std::move(m_calls.front());
    m_calls.pop_front();
    m_waitingBytes -= call.bytes;
    return call;
}

void RpcCallQueue::dropWaiting()
{
    m_calls.clear();
    m_waitingBytes = 0;
}

void RpcCallQueue::clear()
{
    m_first += m_answers.size();
    m_answers.clear();
    m_waits = 0;
    m_togethers = 0;
    m_service = nullptr;
    dropWaiting();
}

} // namespace KNet
