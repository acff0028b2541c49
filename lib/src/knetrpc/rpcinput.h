#pragma once

#include "jsonparser.h"
#include "knetrpc/rpcprotocol.h"
#include "qany.h"

#include <QByteArray>

class QTcpSocket;

namespace KNet {

/// Cuts what a socket receives into messages. It takes no more from the socket than the next message needs, give or
/// take what the socket has at once.
class RpcInput
{
public:
    enum Read { Message, Exhausted, Broken };
    struct Incoming {
        QAny message;
        qint64 bytes; ///< of memory, as the bound on waiting calls counts them
    };

    /// The socket is not owned.
    RpcInput(QTcpSocket *socket, const RpcLimits &limits) : m_socket(socket), m_maxValues(limits.maxMessageValues) {}

    /// Broken, for good, at what is no JSON, and with a warning line at what is longer than it may be.
    Read next(qint64 maxBytes, Incoming *incoming);
    bool hasMore() const;
    /// Of a message that is not complete.
    qint64 bytesOfMessage() const { return m_messageBytes; }
    /// Of all that is not yet a message: what has not reached the reader as well.
    qint64 heldBytes() const;

    /// Takes what the socket has, which forgets it.
    void keep();
    void drop();

private:
    qint64 readBytes() const;
    bool fill();
    Read tooLong(qint64 bound, const char *what) const;

    QTcpSocket *m_socket;
    qint64 m_maxValues;
    // Peers write as we do.
    Json::Parser m_reader{Json::Parser::Controls::AsWritten};
    QByteArray m_bytes;        // read from the socket, not yet fed
    int m_fed = 0;             // of them, to the reader
    qint64 m_messageBytes = 0; // that the reader has of the message in progress
};

} // namespace KNet
