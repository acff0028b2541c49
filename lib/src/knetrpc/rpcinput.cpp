#include "knetrpc/rpcinput.h"

#include <QDebug>
#include <QHostAddress>
#include <QTcpSocket>

#include <algorithm>

namespace KNet {

namespace {

/// What a value takes at least.
constexpr qint64 kBytesPerValue = 32;

} // namespace

RpcInput::Read RpcInput::next(qint64 maxBytes, Incoming *incoming)
{
    while (m_fed < m_bytes.size() || fill()) {
        qsizetype taken = 0;
        const Json::Parser::Feed fed =
            m_reader.feedUntilComplete(m_bytes.constData() + m_fed, m_bytes.size() - m_fed, &taken);
        m_fed += static_cast<int>(taken);
        m_messageBytes += taken;
        if (fed == Json::Parser::Rejected)
            return Broken;
        if (m_messageBytes > maxBytes)
            return tooLong(maxBytes, "bytes,");
        if (m_reader.valueCount() > m_maxValues)
            return tooLong(m_maxValues, "values,");
        if (fed != Json::Parser::Complete)
            continue;
        incoming->bytes = readBytes();
        m_messageBytes = 0;
        m_reader.finish();
        incoming->message = m_reader.result();
        m_reader.reset();
        return Message;
    }
    return m_socket->bytesAvailable() > 0 ? Broken : Exhausted;
}

RpcInput::Read RpcInput::tooLong(qint64 bound, const char *what) const
{
    qWarning() << "KNet::RpcConnection::readMessage() message of more than" << bound << what << "peer"
               << m_socket->peerAddress().toString() << m_socket->peerPort();
    return Broken;
}

/// Takes all that the socket has. False when there is nothing, or the read fails.
bool RpcInput::fill()
{
    m_bytes = m_socket->bytesAvailable() > 0 ? m_socket->readAll() : QByteArray();
    m_fed = 0;
    return !m_bytes.isEmpty();
}

bool RpcInput::hasMore() const
{
    return m_fed < m_bytes.size() || m_socket->bytesAvailable() > 0;
}

/// Of memory, for the message in progress.
qint64 RpcInput::readBytes() const
{
    return std::max(m_messageBytes, m_reader.valueCount() * kBytesPerValue);
}

qint64 RpcInput::heldBytes() const
{
    return readBytes() + (m_bytes.size() - m_fed) + m_socket->bytesAvailable();
}

void RpcInput::keep()
{
    if (m_socket->bytesAvailable() == 0)
        return;
    m_bytes = m_bytes.mid(m_fed) + m_socket->readAll();
    m_fed = 0;
}

void RpcInput::drop()
{
    m_bytes = QByteArray();
    m_fed = 0;
    m_messageBytes = 0;
    m_reader.reset();
}

} // namespace KNet
