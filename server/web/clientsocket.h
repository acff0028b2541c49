#pragma once

#include <QDebug>
#include <QHostAddress>
#include <QMetaObject>
#include <QPointer>
#include <QSslSocket>
#include <QTcpSocket>

#include <limits>
#include <type_traits>

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
    /// Bytes that were received since the last whole message. To be told of each message, and when what came is read.
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

    /// None while it rests, which is what ends a web socket's reading.
    qint64 bytesAvailable() const override { return m_isResting ? 0 : Socket::bytesAvailable(); }

    void rest() override
    {
        m_isResting = true;
        this->setReadBufferSize(1);
    }
    void goOn() override
    {
        m_isResting = false;
        QMetaObject::invokeMethod(
            this, [this] { readOn(); }, Qt::QueuedConnection);
    }
    bool isResting() const override { return m_isResting; }
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
        if (size == 2 && uchar(data[0]) == kPong && unreadBytes() > m_maxUnread && !m_isDropped) {
            m_isDropped = true;
            qWarning() << "ServedSocket::writeData more than" << m_maxUnread << "bytes unread, peer"
                       << this->peerAddress().toString() << this->peerPort();
            QMetaObject::invokeMethod(
                this, [this] { this->abort(); }, Qt::QueuedConnection);
        }
        return m_isDropped ? size : Socket::writeData(data, size);
    }

private:
    /// First what is buffered, which nobody else announces: the client's end, once read, takes along what is not.
    void readOn()
    {
        if (m_isResting)
            return;
        const QPointer<QObject> self(this);
        Q_EMIT this->readyRead();
        if (!self || m_isResting)
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
    qint64 m_left = 0; // after the last reading
    bool m_isResting = false;
    bool m_isDropped = false;
};

using ClientSocket = ServedSocket<QTcpSocket>;
using TlsClientSocket = ServedSocket<QSslSocket>;

} // namespace server::web
