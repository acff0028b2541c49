#pragma once

#include <QSslSocket>
#include <QTcpSocket>

namespace server::web {

/// A web client's socket at the server. What is written goes out at once: a frame's head and its content are written
/// apart, and without this the content would wait until the client has acknowledged the head, which clients put off.
template <typename Socket> class LowDelaySocket : public Socket
{
public:
    using Socket::Socket;

    bool setSocketDescriptor(qintptr handle, QAbstractSocket::SocketState state, QIODevice::OpenMode mode) override
    {
        if (!Socket::setSocketDescriptor(handle, state, mode))
            return false;
        this->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        return true;
    }
};

using ClientSocket = LowDelaySocket<QTcpSocket>;
using TlsClientSocket = LowDelaySocket<QSslSocket>;

} // namespace server::web
