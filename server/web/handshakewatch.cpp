#include "server/web/handshakewatch.h"

#include <QDebug>
#include <QSslSocket>
#include <QTcpServer>
#include <QWebSocketServer>

namespace server::web {

HandshakeWatch::HandshakeWatch(QWebSocketServer *server, QObject *parent) : QObject(parent)
{
    // By name: the class of the TCP server below is not public.
    const auto *tcpServer = server->findChild<QTcpServer *>();
    // clang-format off
    const bool watches = tcpServer &&
        connect(tcpServer, SIGNAL(startedEncryptionHandshake(QSslSocket*)), SLOT(watch(QSslSocket*)));
    // clang-format on
    if (!watches)
        qWarning("HandshakeWatch::HandshakeWatch this Qt does not tell of failed handshakes");
}

void HandshakeWatch::watch(QSslSocket *socket)
{
    connect(socket, &QSslSocket::encrypted, this, [this, socket] { socket->disconnect(this); });
    connect(socket, &QAbstractSocket::errorOccurred, this, [this, socket](QAbstractSocket::SocketError error) {
        socket->disconnect(this); // one fault may be told as several
        Q_EMIT failed(error, socket->errorString());
    });
}

} // namespace server::web
