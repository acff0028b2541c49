#pragma once

#include "server/web/readingturn.h"

#include <QDebug>
#include <QHostAddress>
#include <QMetaObject>
#include <QPointer>
#include <QSslSocket>
#include <QTcpSocket>

#include <limits>
#include <type_traits>
#include <utility>

namespace server::web {

/// What the server asks of a client's socket beside what a web socket shows of it. On the socket's thread.
class ClientLine
{
public:
    virtual ~ClientLine() = default;

    /// Nothing is read from the client until goOn(): what it sends stays with it, but for what the system holds. Its
    /// end is not noticed meanwhile, see server::process::isPeerGone().
    virtual void rest() = 0;
    virtual void goOn() = 0;
    virtual bool isResting() const = 0;
    /// From here on its frames are read in turns; null: at once, as they come. Not owned.
    virtual void readInTurns(ReadingTurn *turns) = 0;
    /// It has waited for a turn, which comes now.
    virtual void turnComes() = 0;
    /// Bytes that were received since the last whole message. To be told of each message, and when what may be read of
    /// what came is read.
    virtual qint64 partialBytes() const = 0;
    virtual void messageIsWhole() = 0;
    virtual void allIsRead() = 0;
    /// Bytes that are still to be sent, encrypted ones included.
    virtual qint64 unreadBytes() const = 0;
    /// Who leaves more than this unread when a pong is due is disconnected; answers are the server's business.
    virtual void setMaxUnread(qint64 bytes) = 0;
    virtual QTcpSocket &socket() = 0;
};

/// A web client's socket at the server. What is written goes out at once: a frame's head and its content are written
/// apart, and without this the content would wait until the client has acknowledged the head, which clients put off.
template <typename Socket> class ServedSocket : public Socket, public ClientLine
{
public:
    /// What the system takes from a client that is not read, and so what comes at once when it is.
    static constexpr int kReceiveBuffer = 256 * 1024;

    using Socket::Socket;

    bool setSocketDescriptor(qintptr handle, QAbstractSocket::SocketState state, QIODevice::OpenMode mode) override
    {
        if (!Socket::setSocketDescriptor(handle, state, mode))
            return false;
        this->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        this->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, kReceiveBuffer);
        // Before a web socket reads: it does not tell how much it keeps.
        this->connect(this, &QIODevice::readyRead, this, [this] {
            m_partial += qMax<qint64>(0, Socket::bytesAvailable() - m_left);
            m_left = Socket::bytesAvailable();
        });
        return true;
    }

    /// None while it rests or waits for a turn, which is what ends a web socket's reading.
    qint64 bytesAvailable() const override
    {
        if (m_isResting || m_isWaiting)
            return 0;
        const qint64 bytes = Socket::bytesAvailable();
        if (bytes == 0 || !m_turns || !m_turns->isOver())
            return bytes;
        // A question that is asked before each frame, and the only place to end a reading that is under way.
        const_cast<ServedSocket *>(this)->waitForTurn(bytes);
        return 0;
    }

    void rest() override
    {
        m_isResting = true;
        this->setReadBufferSize(kNoMore);
    }
    void goOn() override
    {
        m_isResting = false;
        readOn();
    }
    bool isResting() const override { return m_isResting; }
    void readInTurns(ReadingTurn *turns) override { m_turns = turns; }
    void turnComes() override
    {
        m_isWaiting = false;
        readOn();
    }
    qint64 partialBytes() const override { return m_partial; }
    void messageIsWhole() override { m_partial = Socket::bytesAvailable(); }
    void allIsRead() override { m_left = Socket::bytesAvailable(); }
    qint64 unreadBytes() const override { return this->bytesToWrite() + encryptedBytes(); }
    void setMaxUnread(qint64 bytes) override { m_maxUnread = bytes; }
    QTcpSocket &socket() override { return *this; }

protected:
    /// A web socket answers pings by itself, without end; a pong's head is written by itself.
    qint64 writeData(const char *data, qint64 size) override
    {
        constexpr uchar kPong = 0x8a;
        if (size == kPongHead && uchar(data[0]) == kPong)
            notePong(uchar(data[1]));
        return m_isDropped ? size : Socket::writeData(data, size);
    }

private:
    static constexpr qint64 kNoMore = 1; ///< buffer size with which nothing is taken from the system
    static constexpr qint64 kPongHead = 2;
    static constexpr qint64 kPingHead = 6; ///< as a client writes it: masked

    /// The ping that it answers was no part of a message.
    void notePong(qint64 payload)
    {
        m_partial = qMax<qint64>(0, m_partial - kPingHead - payload);
        if (unreadBytes() <= m_maxUnread || m_isDropped)
            return;
        m_isDropped = true;
        qWarning() << "ServedSocket::notePong more than" << m_maxUnread << "bytes unread, peer"
                   << this->peerAddress().toString() << this->peerPort();
        QMetaObject::invokeMethod(
            this, [this] { this->abort(); }, Qt::QueuedConnection);
    }

    void waitForTurn(qint64 bytes)
    {
        m_isWaiting = true;
        this->setReadBufferSize(kNoMore);
        m_turns->wait(this, bytes != std::exchange(m_waitedWith, bytes));
    }

    /// First what is buffered, which nobody else announces: the client's end, once read, takes along what is not. A
    /// web socket reads behind the signal, in the order of connecting.
    void readOn()
    {
        if (m_isResting || m_isWaiting)
            return;
        Q_EMIT this->readyRead();
        QMetaObject::invokeMethod(
            this, [this] { takeMore(); }, Qt::QueuedConnection);
    }

    void takeMore()
    {
        if (m_isResting || m_isWaiting)
            return;
        this->setReadBufferSize(0);
        this->flush(); // has an encrypted socket look at what it has received
    }

    qint64 encryptedBytes() const
    {
        if constexpr (std::is_same_v<Socket, QSslSocket>)
            return this->encryptedBytesToWrite();
        return 0;
    }

    qint64 m_maxUnread = std::numeric_limits<qint64>::max();
    qint64 m_partial = 0;
    qint64 m_left = 0;       // after the last reading
    qint64 m_waitedWith = 0; // bytes, when it began to wait the last time
    QPointer<ReadingTurn> m_turns;
    bool m_isResting = false; ///< until goOn()
    bool m_isWaiting = false; ///< until turnComes()
    bool m_isDropped = false;
};

using ClientSocket = ServedSocket<QTcpSocket>;
using TlsClientSocket = ServedSocket<QSslSocket>;

} // namespace server::web
