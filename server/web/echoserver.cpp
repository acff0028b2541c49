#include "server/web/echoserver.h"

#include <QDebug>
#include <QMetaMethod>
#include <QWebSocket>

EchoServer::EchoServer(quint16 port, QObject *parent)
    : server::web::WebSocketServer(QStringLiteral("Echo Server"), QWebSocketServer::NonSecureMode, "SE ", parent)
{
    if (!listen(port))
        return;
    qDebug() << "Echoserver listening on port" << serverPort();
    connect(&server(), &QWebSocketServer::newConnection, this, &EchoServer::onNewConnection);
    connect(&server(), &QWebSocketServer::closed, this, &EchoServer::closed);
}

EchoServer::~EchoServer()
{
    shutDown();
}

void EchoServer::connectClient(QWebSocket *socket)
{
    connect(socket, &QWebSocket::textMessageReceived, this, &EchoServer::processTextMessage);
    connect(socket, &QWebSocket::binaryMessageReceived, this, &EchoServer::processBinaryMessage);
    connect(socket, &QWebSocket::disconnected, this, &EchoServer::socketDisconnected);
}

bool EchoServer::isAnswerHeard() const
{
    return isSignalConnected(QMetaMethod::fromSignal(&EchoServer::newAnswer));
}

void EchoServer::onNewConnection()
{
    acceptPending();
}

void EchoServer::processTextMessage(const QString &message)
{
    receiveText(qobject_cast<QWebSocket *>(sender()), message);
}

void EchoServer::processBinaryMessage(const QByteArray &message)
{
    receiveBinary(qobject_cast<QWebSocket *>(sender()), message);
}

void EchoServer::socketDisconnected()
{
    receiveEnd(qobject_cast<QWebSocket *>(sender()));
}
