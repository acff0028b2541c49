#include "knetrpc/rpcoutput.h"

#include <QTcpSocket>

#include <algorithm>

namespace KNet {

namespace {

/// A piece from this size on is handed to the socket without a copy; shorter ones share its blocks.
constexpr int kSharedWriteBytes = 64 * 1024;

/// Shorter ones are joined while they wait, up to the size above.
constexpr int kJoinedBytes = 4 * 1024;

} // namespace

bool RpcOutput::append(Kind kind, const QByteArray &text)
{
    count(kind, text.size());
    if (m_pieces.empty() && text.size() <= kPieceBytes && m_socket->bytesToWrite() < kPieceBytes)
        return hand(text) == text.size();
    add(text);
    if (!pump())
        return false;
    if (kind == Answer && !m_pieces.empty() && !m_isLarge) {
        m_isLarge = true;
        m_lastTaken.start();
    }
    return true;
}

/// As a piece of its own, or behind other small ones.
void RpcOutput::add(const QByteArray &text)
{
    m_pieceBytes += text.size();
    if (text.size() >= kJoinedBytes) {
        m_pieces.push_back(text);
        m_lastIsJoined = false;
        return;
    }
    if (m_pieces.empty() || !m_lastIsJoined || m_pieces.back().size() + text.size() > kSharedWriteBytes) {
        m_pieces.emplace_back();
        m_pieces.back().reserve(kSharedWriteBytes);
        m_lastIsJoined = true;
    }
    m_pieces.back() += text;
}

/// Gives the socket the first piece, from the offset on, or a part of it; what it took, negative when it refuses.
/// It buffers whatever it takes.
qint64 RpcOutput::hand(const QByteArray &piece)
{
    const int length = std::min(piece.size() - m_offset, kPieceBytes);
    if (length == piece.size() && length >= kSharedWriteBytes)
        return m_socket->write(piece);
    return m_socket->write(piece.constData() + m_offset, length);
}

bool RpcOutput::pump()
{
    while (!m_pieces.empty() && m_socket->bytesToWrite() < kPieceBytes) {
        const qint64 written = hand(m_pieces.front());
        if (written < 0) {
            m_pieces.clear();
            m_offset = 0;
            m_pieceBytes = 0;
            return false;
        }
        m_pieceBytes -= written;
        m_offset += static_cast<int>(written);
        if (m_offset == m_pieces.front().size()) {
            m_pieces.pop_front();
            m_offset = 0;
        } else if (written == 0) {
            break;
        }
    }
    return true;
}

qint64 RpcOutput::queuedBytes() const
{
    return m_pieceBytes + m_socket->bytesToWrite();
}

qint64 RpcOutput::queuedBytes(Kind kind)
{
    settle();
    return m_runBytes[kind];
}

void RpcOutput::count(Kind kind, int bytes)
{
    if (m_runs.empty() || m_runs.back().kind != kind) {
        settle();
        m_runs.push_back({kind, 0});
    }
    m_runs.back().bytes += bytes;
    m_runBytes[kind] += bytes;
}

/// Forgets what the system has taken.
void RpcOutput::settle()
{
    qint64 taken = m_runBytes[Answer] + m_runBytes[Call] + m_runBytes[Ping] - queuedBytes();
    while (taken > 0) {
        Run &run = m_runs.front();
        const qint64 bytes = std::min(run.bytes, taken);
        taken -= bytes;
        run.bytes -= bytes;
        m_runBytes[run.kind] -= bytes;
        if (run.bytes == 0)
            m_runs.pop_front();
    }
}

bool RpcOutput::noteTaken()
{
    if (!m_isLarge)
        return false;
    m_lastTaken.start();
    m_isTail = queuedBytes() == 0;
    m_isLarge = !m_isTail;
    return true;
}

} // namespace KNet
