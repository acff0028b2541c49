#include "server/web/sslechoserver.h"

#include <QDebug>
#include <QFile>
#include <QMetaMethod>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QWebSocket>

#include <utility>

namespace {

QString announcedName()
{
    qDebug("WebSocket 1");
    return QStringLiteral("SSL Echo Server");
}

/// Null, with a warning line, when the file holds none.
template <typename Read> auto readPem(const QString &path, const Read &read)
{
    QFile file(path);
    const auto content = read(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    if (content.isNull())
        qWarning() << "SslEchoServer::useTls nothing usable in" << path << file.errorString();
    return content;
}

} // namespace

SslEchoServer::SslEchoServer(quint16 port, const QString &fileBaseName, QObject *parent)
    : server::web::WebSocketServer(announcedName(), QWebSocketServer::SecureMode, "", parent)
{
    qDebug("WebSocket 2");
    useTls(fileBaseName);
    if (!listen(port))
        return;
    qDebug() << "SSL Echo Server listening on port" << serverPort();
    connect(&server(), &QWebSocketServer::newConnection, this, &SslEchoServer::onNewConnection);
    connect(&server(), &QWebSocketServer::sslErrors, this, &SslEchoServer::onSslErrors);
}

SslEchoServer::~SslEchoServer()
{
    shutDown();
}

void SslEchoServer::useTls(const QString &fileBaseName)
{
    if (!QSslSocket::supportsSsl()) {
        qWarning("SslEchoServer::useTls there is no TLS library: no client can connect");
        return;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(readPem(QStringLiteral("%1.cert").arg(fileBaseName),
                                              [](const QByteArray &pem) { return QSslCertificate(pem, QSsl::Pem); }));
    configuration.setPrivateKey(readPem(QStringLiteral("%1.key").arg(fileBaseName), [](const QByteArray &pem) {
        return QSslKey(pem, QSsl::Rsa, QSsl::Pem, QSsl::PrivateKey);
    }));
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    // Deliberate: this old version and no other; the clients of this server expect it.
    configuration.setProtocol(QSsl::TlsV1_0);
    server().setSslConfiguration(configuration);
    connect(&acceptor(), &server::web::ClientAcceptor::handshakeFailed, this, &SslEchoServer::handshakeFailed);
}

/// Whether it was for the version cannot be known for sure: the reasons of TLS libraries differ.
void SslEchoServer::handshakeFailed(QAbstractSocket::SocketError error, const QString &reason)
{
    onSslErrors({});
    if (error != QAbstractSocket::SslHandshakeFailedError || std::exchange(m_toldPolicy, true))
        return;
    qWarning().noquote() << "SslEchoServer::handshakeFailed either the client does not offer TLS 1.0, or the policy of"
                         << QSslSocket::sslLibraryVersionString() << "on this machine refuses it:" << reason;
}

void SslEchoServer::connectClient(QWebSocket *socket)
{
    connect(socket, &QWebSocket::textMessageReceived, this, &SslEchoServer::processTextMessage);
    connect(socket, &QWebSocket::binaryMessageReceived, this, &SslEchoServer::processBinaryMessage);
    connect(socket, &QWebSocket::disconnected, this, &SslEchoServer::socketDisconnected);
}

bool SslEchoServer::isAnswerHeard() const
{
    return isSignalConnected(QMetaMethod::fromSignal(&SslEchoServer::newAnswer));
}

void SslEchoServer::onNewConnection()
{
    acceptPending();
}

void SslEchoServer::processTextMessage(const QString &message)
{
    receiveText(qobject_cast<QWebSocket *>(sender()), message);
}

void SslEchoServer::processBinaryMessage(const QByteArray &message)
{
    receiveBinary(qobject_cast<QWebSocket *>(sender()), message);
}

void SslEchoServer::socketDisconnected()
{
    receiveEnd(qobject_cast<QWebSocket *>(sender()));
}

void SslEchoServer::onSslErrors(const QList<QSslError> &errors)
{
    Q_UNUSED(errors)
    qDebug("Ssl errors occurred");
}
