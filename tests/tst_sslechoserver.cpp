#include "files.h"
#include "server/web/sslechoserver.h"
#include "warnings.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QWebSocket>

#include <memory>
#include <vector>

/// A client that trusts everybody and speaks the given versions.
class TlsClient
{
public:
    TlsClient(quint16 port, QSsl::SslProtocol versions)
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
        configuration.setProtocol(versions);
        socket.setSslConfiguration(configuration);
        socket.open(QUrl(QStringLiteral("wss://127.0.0.1:%1").arg(port)));
    }

    QWebSocket socket;
};

/// The web server over TLS with real handshakes; what it shares with the plain one is tested there.
class TestSslEchoServer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void answersOverTls();
    void manyMessagesOverTls();
    void newerVersionsOnlyAreRefused();
    void handshakesFailWithoutFiles_data();
    void handshakesFailWithoutFiles();
    void failedHandshakesLeaveNothing();
    void portInUse();

private:
    QString m_formerFolder;
    QTemporaryDir m_folder;
};

void TestSslEchoServer::initTestCase()
{
    // A policy of this process alone that lets the old version pass; read when the library is first used.
    const QString policy = writeFile(m_folder.filePath(QStringLiteral("openssl.cnf")),
                                     "openssl_conf = all\n[all]\nssl_conf = ssl\n[ssl]\nsystem_default = ours\n"
                                     "[ours]\nMinProtocol = TLSv1\nCipherString = ALL:@SECLEVEL=0\n");
    QProcess openssl;
    openssl.setWorkingDirectory(m_folder.path());
    openssl.start(QStringLiteral("openssl"), {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=localhost",
                                              "-days", "2", "-keyout", "site.key", "-out", "site.cert"});
    QVERIFY2(openssl.waitForFinished(), "the command openssl is needed");
    QCOMPARE(openssl.exitCode(), 0);
    qputenv("OPENSSL_CONF", QFile::encodeName(policy));

    m_formerFolder = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_folder.path()));
    for (const char *copy :
         {"site.cert nokey.cert", "site.key nocert.key", "site.cert swapped.key", "site.key swapped.cert"})
        QVERIFY(QFile::copy(QString(copy).section(' ', 0, 0), QString(copy).section(' ', 1)));
}

void TestSslEchoServer::cleanupTestCase()
{
    QDir::setCurrent(m_formerFolder);
}

void TestSslEchoServer::answersOverTls()
{
    QTest::ignoreMessage(QtDebugMsg, "WebSocket 1");
    QTest::ignoreMessage(QtDebugMsg, "WebSocket 2");
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^SSL Echo Server listening on port [1-9]\\d*$"));
    SslEchoServer server(0, QStringLiteral("site"));
    QSignalSpy requests(&server, &SslEchoServer::newRequest);
    QSignalSpy events(&server, &SslEchoServer::newEvent);
    QSignalSpy answers(&server, &SslEchoServer::newAnswer);

    for (const char *line : {"^New Connection$", "^Message received: \"\\{\\}\"$", "^Answer sent:$",
                             "^Binary Message received: ", "^socketDisconnected: QWebSocket"})
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression(line));
    TlsClient client(server.serverPort(), QSsl::TlsV1_0);
    QSignalSpy connected(&client.socket, &QWebSocket::connected);
    QVERIFY(connected.wait());
    QVERIFY(!client.socket.sslConfiguration().peerCertificate().isNull());

    QSignalSpy texts(&client.socket, &QWebSocket::textMessageReceived);
    QSignalSpy binaries(&client.socket, &QWebSocket::binaryMessageReceived);
    client.socket.sendTextMessage(QStringLiteral("{}"));
    client.socket.sendBinaryMessage(QByteArray(100000, '\0'));
    QTRY_COMPARE(binaries.count(), 1);
    QCOMPARE(binaries.first().first().toByteArray(), QByteArray(100000, '\0'));
    QCOMPARE(texts.count(), 1);
    const QAny answer = QAny::fromJson(texts.first().first().toString());
    QCOMPARE(answer.lookup("data").lookup("reason").toString(), QStringLiteral("Not tag!"));
    QCOMPARE(requests.count(), 1);
    QCOMPARE(answers.count(), 1);
    client.socket.close();
    QTRY_COMPARE(events.count(), 3);
    QVERIFY(events.at(0).first().toString().startsWith(QLatin1String("New Connection: ")));
    QVERIFY(events.at(1).first().toString().startsWith(QLatin1String("ANS: {")));
    QVERIFY(events.at(2).first().toString().startsWith(QLatin1String("socketDisconnected: ")));
}

/// More than wait at once: reading rests and goes on.
void TestSslEchoServer::manyMessagesOverTls()
{
    constexpr int many = 3000;
    SslEchoServer server(0, QStringLiteral("site"));
    TlsClient client(server.serverPort(), QSsl::TlsV1_0);
    QSignalSpy connected(&client.socket, &QWebSocket::connected);
    QVERIFY(connected.wait());
    QSignalSpy echoes(&client.socket, &QWebSocket::binaryMessageReceived);
    const QByteArray content(1000, 'x');
    for (int i = 0; i < many; ++i)
        client.socket.sendBinaryMessage(QByteArray::number(i) + content);
    QTRY_COMPARE_WITH_TIMEOUT(echoes.count(), many, 20000);
    for (int i = 0; i < many; ++i)
        QVERIFY(echoes.at(i).first().toByteArray() == QByteArray::number(i) + content);
}

void TestSslEchoServer::newerVersionsOnlyAreRefused()
{
    SslEchoServer server(0, QStringLiteral("site"));
    QSignalSpy events(&server, &SslEchoServer::newEvent);
    // The reason is told once, and not for every browser that tries.
    auto warnings = std::make_unique<Warnings>();
    for (int i = 0; i < 2; ++i) {
        TlsClient client(server.serverPort(), QSsl::TlsV1_2OrLater);
        QSignalSpy ended(&client.socket, &QWebSocket::disconnected);
        QTRY_COMPARE(ended.count(), 1);
    }
    warnings.reset();
    const QString reason = "SslEchoServer::handshakeFailed either the client does not offer TLS 1.0, or";
    QCOMPARE(Warnings::lines.filter(reason).count(), 1);
    QCOMPARE(events.count(), 0);
    // A client that would take a newer version gets the old one.
    for (const QSsl::SslProtocol versions : {QSsl::TlsV1_0, QSsl::TlsV1_0OrLater}) {
        TlsClient client(server.serverPort(), versions);
        QSignalSpy connected(&client.socket, &QWebSocket::connected);
        QVERIFY(connected.wait());
        QCOMPARE(client.socket.sslConfiguration().sessionProtocol(), QSsl::TlsV1_0);
    }
}

void TestSslEchoServer::handshakesFailWithoutFiles_data()
{
    QTest::addColumn<QStringList>("warnedOf");
    QTest::newRow("missing") << QStringList{"missing.cert", "missing.key"};
    QTest::newRow("nocert") << QStringList{"nocert.cert"};
    QTest::newRow("nokey") << QStringList{"nokey.key"};
    QTest::newRow("swapped") << QStringList{"swapped.cert", "swapped.key"};
}

void TestSslEchoServer::handshakesFailWithoutFiles()
{
    QFETCH(QStringList, warnedOf);
    for (const QString &file : warnedOf)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^SslEchoServer::useTls nothing usable in \"" + file));
    SslEchoServer server(0, QString(QTest::currentDataTag()));
    QVERIFY(server.isListening());
    QSignalSpy events(&server, &SslEchoServer::newEvent);
    QSignalSpy failed(server.findChild<server::web::ClientAcceptor *>(), &server::web::ClientAcceptor::handshakeFailed);
    QTest::ignoreMessage(QtDebugMsg, "Ssl errors occurred");
    TlsClient client(server.serverPort(), QSsl::TlsV1_0);
    QSignalSpy connected(&client.socket, &QWebSocket::connected);
    QVERIFY(failed.wait());
    client.socket.abort();
    QCOMPARE(connected.count() + events.count(), 0);
    QCOMPARE(failed.count(), 1);
}

void TestSslEchoServer::failedHandshakesLeaveNothing()
{
    class ImpatientServer : public SslEchoServer
    {
    public:
        ImpatientServer() : SslEchoServer(0, QStringLiteral("site")) { server().setHandshakeTimeout(500); }
    };
    constexpr int many = 40; // more than a listening socket of Qt keeps for later
    ImpatientServer server;
    TlsClient early(server.serverPort(), QSsl::TlsV1_0);
    QSignalSpy connected(&early.socket, &QWebSocket::connected);
    QVERIFY(connected.wait());
    const auto *acceptor = server.findChild<server::web::ClientAcceptor *>();
    auto *accepted = acceptor->findChild<QSslSocket *>();
    QTRY_COMPARE(accepted->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
    QSignalSpy failed(acceptor, &server::web::ClientAcceptor::handshakeFailed);
    std::vector<std::unique_ptr<QTcpSocket>> strangers;
    for (int i = 0; i < many; ++i) {
        strangers.push_back(std::make_unique<QTcpSocket>());
        strangers.back()->connectToHost(QHostAddress::LocalHost, server.serverPort());
        if (i % 2 == 0) // the others are silent
            strangers.back()->write("GET / HTTP/1.1\r\n\r\n");
    }
    QTRY_COMPARE(failed.count(), many);
    QTRY_COMPARE(acceptor->findChildren<QSslSocket *>(), QList<QSslSocket *>{accepted}); // who was there in time stays
    QCOMPARE(early.socket.state(), QAbstractSocket::ConnectedState);
}

void TestSslEchoServer::portInUse()
{
    const SslEchoServer first(0, QStringLiteral("site"));
    const SslEchoServer second(first.serverPort(), QStringLiteral("site"));
    QVERIFY(first.isListening());
    QVERIFY(!second.isListening());
}

QTEST_GUILESS_MAIN(TestSslEchoServer)
#include "tst_sslechoserver.moc"
