#include "knetrpc/rpcanswer.h"

#include "knetrpc/rpcconnection.h"
#include "knetrpc/rpcmessage.h"

#include <utility>

namespace KNet {

RpcAnswer::RpcAnswer() noexcept = default;

RpcAnswer::RpcAnswer(RpcConnection *connection, quint64 number, const QString &callId)
    : m_connection(connection), m_number(number), m_callId(callId)
{
}

RpcAnswer::RpcAnswer(RpcAnswer &&other) noexcept
    : m_connection(std::exchange(other.m_connection, nullptr)), m_number(std::exchange(other.m_number, 0)),
      m_callId(std::move(other.m_callId))
{
}

RpcAnswer &RpcAnswer::operator=(RpcAnswer &&other) noexcept
{
    if (this == &other)
        return *this;
    const RpcAnswer former(std::move(*this)); // its end may bring much about, so it comes last
    m_connection = std::exchange(other.m_connection, nullptr);
    m_number = std::exchange(other.m_number, 0);
    m_callId = std::move(other.m_callId);
    return *this;
}

RpcAnswer::~RpcAnswer()
{
    if (*this)
        giveError(InvokeError);
}

void RpcAnswer::give(const QAny &result)
{
    if (const Taken taken = take())
        taken.connection->giveAnswer(taken.number, {RpcText::result(m_callId, result)});
}

void RpcAnswer::giveText(std::vector<QByteArray> pieces)
{
    if (const Taken taken = take())
        taken.connection->giveAnswer(taken.number, RpcText::result(m_callId, std::move(pieces)));
}

void RpcAnswer::giveError(int code, const QString &message)
{
    if (const Taken taken = take())
        taken.connection->giveAnswer(taken.number, {RpcText::answer(m_callId, rpcError(code, message))});
}

void RpcAnswer::giveError(RpcErrorCode code)
{
    giveError(code, rpcErrorText(code));
}

/// Empties this object. No connection when nobody waits for the answer any more.
RpcAnswer::Taken RpcAnswer::take()
{
    RpcConnection *connection = m_number != 0 ? m_connection.data() : nullptr;
    const Taken taken{connection && !connection->isEnded() ? connection : nullptr, m_number};
    m_number = 0;
    return taken;
}

} // namespace KNet
