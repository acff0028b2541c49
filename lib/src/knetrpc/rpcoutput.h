#pragma once

#include <QByteArray>
#include <QElapsedTimer>

#include <array>
#include <deque>
#include <vector>

class QTcpSocket;

namespace KNet {

/// What is to be sent on a connection. A small message goes to the socket at once; of more than that, the socket gets
/// a piece whenever it has room, so that a message of any size holds up nobody and is not copied as a whole.
class RpcOutput
{
public:
    /// What one peer can cause another's bound must not count.
    enum Kind { Answer, Call, Ping };

    /// The most that the socket gets in one piece, and what it may have left when it gets the next.
    static constexpr int kPieceBytes = 256 * 1024;

    /// The socket is not owned.
    explicit RpcOutput(QTcpSocket *socket) : m_socket(socket) {}

    /// A message, or a part of one. False when the socket refuses it; nothing is left then.
    bool append(Kind kind, const QByteArray &text);
    /// To be called when the socket has written. False as above.
    bool pump();

    /// Whether the socket has got everything.
    bool isEmpty() const { return m_pieces.empty(); }
    /// What the system has not taken yet, that of the socket included.
    qint64 queuedBytes() const;
    /// The part of it that messages of this kind make up.
    qint64 queuedBytes(Kind kind);
    /// Whether that is more.
    bool isBeyond(qint64 bytes, Kind kind) { return m_runBytes[kind] > bytes && queuedBytes(kind) > bytes; }

    /// Whether answers are under way that the socket does not take at once, and the peer has taken some of it within
    /// that time, in ms. The system may still have the last of it when everything has left, until the peer is heard
    /// again.
    bool isTaken(int withinMs) const { return (m_isLarge || m_isTail) && m_lastTaken.elapsed() < withinMs; }
    /// To be called when the system has taken something; whether it was of so much.
    bool noteTaken();
    /// To be called when a message of the peer has come.
    void noteHeard() { m_isTail = false; }

private:
    struct Run {
        Kind kind;
        qint64 bytes;
    };
    void count(Kind kind, int bytes);
    void settle();
    void add(const QByteArray &text);
    qint64 hand(const QByteArray &piece);

    QTcpSocket *m_socket;
    std::deque<QByteArray> m_pieces; // not yet with the socket
    bool m_lastIsJoined = false;
    int m_offset = 0;                          // of the first one, with the socket
    qint64 m_pieceBytes = 0;                   // in all of them, not yet with the socket
    std::deque<Run> m_runs;                    // of what has not been seen to be taken
    std::array<qint64, Ping + 1> m_runBytes{}; // in them
    bool m_isLarge = false;                    // answers are under way that the socket did not take at once
    bool m_isTail = false;                     // they have left, and the peer has not been heard since
    QElapsedTimer m_lastTaken;
};

} // namespace KNet
