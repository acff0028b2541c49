#include "knetrpc/rpcoutput.h"

#include <QTcpSocket>

#include <algorithm>

namespace KNet {

namespace {

/// A piece from this size on is handed to the socket without a copy; shorter ones share its blocks.
constexpr int kSharedWriteBytes = 64 * 1024;

} // namespace

bool RpcOutput::append(Kind kind, const QByteArray &text)
{
    settle();
    if (m_runs.empty() || m_runs.back().kind != kind)
        m_runs.push_back({kind, 0});
    m_runs.back().bytes += text.size();
    m_runBytes[kind] += text.size();
    m_pieces.push_back(text);
    m_pieceBytes += text.size();
    if (!pump())
        return false;
    if (!m_pieces.empty() && !m_isLarge) {
        m_isLarge = true;
        m_lastTaken.start();
    }
    return true;
}

bool RpcOutput::pump()
{
    while (!m_pieces.empty() && m_socket->bytesToWrite() < kPieceBytes) {
        const QByteArray &piece = m_pieces.front();
        const int length = std::min(piece.size() - m_offset, kPieceBytes);
        const qint64 written = length == piece.size() && length >= kSharedWriteBytes
                                   ? m_socket->write(piece)
                                   : m_socket->write(piece.constData() + m_offset, length);
        if (written < 0) {
            m_pieces.clear();
            m_offset = 0;
            m_pieceBytes = 0;
            return false;
        }
        m_pieceBytes -= written;
        m_offset += static_cast<int>(written);
        if (m_offset < piece.size() && written < length)
            break;
        if (m_offset == piece.size()) {
            m_pieces.pop_front();
            m_offset = 0;
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
    m_isLarge = queuedBytes() > 0;
    return true;
}

} // namespace KNet
