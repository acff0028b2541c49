#include "echoserver.h"

#include <QDebug>
#include <QWebSocket>

EchoServer::EchoServer(quint16 port, QObject *parent)
    : WebSocketServer(QStringLiteral("Echo Server"), QWebSocketServer::NonSecureMode, "SE ", parent)
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
    connect(socket, &QWebSocket::textMessageReceived, this, &EchoServer::processTextMessage, Qt::QueuedConnection);
    connect(socket, &QWebSocket::binaryMessageReceived, this, &EchoServer::processBinaryMessage, Qt::QueuedConnection);
    connect(socket, &QWebSocket::disconnected, this, &EchoServer::socketDisconnected, Qt::QueuedConnection);
}

void EchoServer::onNewConnection()
{
    acceptPending();
}

void EchoServer::processTextMessage(const QString &message)
{
    answerText(qobject_cast<QWebSocket *>(sender()), message);
}

void EchoServer::processBinaryMessage(const QByteArray &message)
{
    echoBinary(qobject_cast<QWebSocket *>(sender()), message);
}

void EchoServer::socketDisconnected()
{
    forget(qobject_cast<QWebSocket *>(sender()));
}
