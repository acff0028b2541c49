#include "rows.h"
#include "server/web/echoserver.h"
#include "server/web/sslechoserver.h"
#include "storage/database.h"
#include "webclient.h"

#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace {

const char *const kHandshake = "GET / HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                               "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

} // namespace

/// The plain web server with real sockets.
class TestEchoServer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void signalsAndSlotsInOrder();
    void binaryComesBack();
    void busyClientKeepsNobodyWaiting();
    void requestCarriesPeer();
    void loginEndsWithTheSocket();
    void messageBound_data();
    void messageBound();
    void unreadPongs();
    void pingsAreReadInTurns();
    void guestsHoldLittle();
    void guessingIsSlow();
    void guestsLeaveTheReserve();
    void requestBeforeCloseIsCarriedOut();
    void clientVanishesWhileAnswered();
    void serverDeletedInSignal_data();
    void serverDeletedInSignal();
    void destructionClosesClients();

private:
    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
};

void TestEchoServer::initTestCase()
{
    m_database = std::make_unique<DataBase>(m_folder.filePath(QStringLiteral("web.db")));
    setDb(m_database.get());
    QVERIFY(addWebUser(*m_database));
}

void TestEchoServer::cleanupTestCase()
{
    setDb(nullptr);
}

void TestEchoServer::signalsAndSlotsInOrder()
{
    const QByteArray shared = "newRequest(QAny) newEvent(QString) newAnswer(QAny) onNewConnection() "
                              "processTextMessage(QString) processBinaryMessage(QByteArray) socketDisconnected() ";
    QCOMPARE(methodsOf(EchoServer::staticMetaObject), "closed() " + shared);
    QCOMPARE(methodsOf(SslEchoServer::staticMetaObject), shared + "onSslErrors(QList<QSslError>) ");
}

void TestEchoServer::binaryComesBack()
{
    EchoServer server(0);
    WebClient client(server.serverPort());
    QSignalSpy echoed(&client.socket, &QWebSocket::binaryMessageReceived);
    // The last is longer than the 16 bits of a frame's header tell.
    for (const QByteArray &bytes : {QByteArray::fromHex("0000ff80007f0a"), QByteArray(), QByteArray(70000, '\x80')}) {
        client.socket.sendBinaryMessage(bytes);
        QVERIFY(echoed.wait());
        QCOMPARE(echoed.takeFirst().first().toByteArray(), bytes);
    }
}

void TestEchoServer::busyClientKeepsNobodyWaiting()
{
    constexpr int many = 3000;
    EchoServer server(0);
    WebClient busy(server.serverPort());
    WebClient other(server.serverPort());
    QVector<QAny> ports;
    connect(&server, &EchoServer::newRequest, this, [&](const QAny &request) { ports.append(request.value("port")); });
    QSignalSpy answered(&busy.socket, &QWebSocket::textMessageReceived);
    for (int i = 0; i < many; ++i)
        busy.socket.sendTextMessage(QStringLiteral("{}"));
    other.socket.sendTextMessage(QStringLiteral("{}"));
    QTRY_COMPARE(answered.count(), many);
    const int place = ports.indexOf(QAny(other.socket.localPort()));
    QVERIFY2(place >= 0 && place < many / 2, qPrintable(QString::number(place)));
}

void TestEchoServer::requestCarriesPeer()
{
    const std::pair<const char *, bool> rows[] = {// whether the request has a peer
                                                  {R"({"type":"x","peer":"forged","port":1})", true},
                                                  {"hello", true},
                                                  {" ", true},
                                                  {R"(["peer"])", false}};
    EchoServer server(0);
    WebClient client(server.serverPort());
    auto *accepted = server.findChild<server::web::ClientAcceptor *>()->findChild<QTcpSocket *>();
    QCOMPARE(accepted->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
    QSignalSpy requests(&server, &EchoServer::newRequest);
    QSignalSpy answers(&server, &EchoServer::newAnswer);
    for (const auto &[message, hasPeer] : rows) {
        QCOMPARE(client.ask(message).lookup("data").lookup("reason").toString(), QStringLiteral("Not tag!"));
        QVERIFY2(answers.count() == 1 && requests.count() == 1, message);
        answers.clear();
        const QAny request = requests.takeFirst().first().value<QAny>();
        QCOMPARE(request.type(), hasPeer ? QAny::Hash : QAny::List);
        QVERIFY2(!hasPeer || request.lookup("peer").toString().endsWith(QLatin1String("127.0.0.1")), message);
        QVERIFY2(!hasPeer || request.lookup("port").toInt() == int(client.socket.localPort()), message);
    }
}

void TestEchoServer::loginEndsWithTheSocket()
{
    EchoServer server(0);
    QSignalSpy events(&server, &EchoServer::newEvent);
    const QString presence = QStringLiteral(R"({"type":"getPresence","tag":"t"})");
    const QString refused = QStringLiteral(R"({"data":{"reason":"Not logged in!","result":"false"}})");
    quint16 port = 0;
    {
        WebClient first(server.serverPort());
        port = first.socket.localPort();
        QVERIFY(first.logIn());
        QVERIFY(first.ask(presence).toJson() != refused);
    }
    const auto last = [&] { return events.last().first().toString(); };
    QTRY_VERIFY(last().startsWith(QLatin1String("socketDisconnected: ")));
    QVERIFY2(last().endsWith(QStringLiteral("127.0.0.1 %1").arg(port)), qPrintable(last()));

    WebClient second(server.serverPort());
    const QRegularExpression connection(QStringLiteral("^New Connection: \\S*127.0.0.1 %1 peer: \\S* \\S*127.0.0.1 %2$")
                                            .arg(server.serverPort())
                                            .arg(second.socket.localPort()));
    QTRY_VERIFY2(connection.match(last()).hasMatch(), qPrintable(last()));
    QCOMPARE(second.ask(presence).toJson(), refused);
    QVERIFY(second.logIn());
    QVERIFY(second.ask(presence).toJson() != refused);
}

void TestEchoServer::messageBound_data()
{
    const auto row = columns<bool, int, int>({"isGuest", "frameBytes", "bytes"});
    const int whole = 32 * 1024 * 1024;
    row("at the bound", false, whole, 16 * 1024 * 1024);
    row("one byte more", false, whole, 16 * 1024 * 1024 + 1);
    row("one byte more, in small frames", false, 65536, 16 * 1024 * 1024 + 1);
    row("before the login", true, whole, 1024 * 1024);
    row("before the login, one byte more", true, whole, 1024 * 1024 + 1);
    row("before the login, in small frames", true, 65536, 1024 * 1024 + 1);
}

void TestEchoServer::messageBound()
{
    QFETCH(int, frameBytes);
    QFETCH(bool, isGuest);
    QFETCH(int, bytes);
    const bool isAnswered = bytes % 2 == 0;
    EchoServer server(0);
    WebClient client(server.serverPort());
    QVERIFY(isGuest || client.logIn());
    client.socket.setOutgoingFrameSize(quint64(frameBytes));
    QSignalSpy answered(&client.socket, &QWebSocket::textMessageReceived);
    QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
    if (!isAnswered)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^WebSocketServer::boundClient message of more than"));
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false")); // they would show the message
    client.socket.sendTextMessage(QString(bytes, QLatin1Char(' ')));
    QTRY_VERIFY_WITH_TIMEOUT(answered.count() + closed.count() > 0, 20000);
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(answered.count(), isAnswered ? 1 : 0);

    // The server goes on.
    WebClient next(server.serverPort());
    QVERIFY(next.logIn());
}

/// A web socket answers pings by itself.
void TestEchoServer::unreadPongs()
{
    EchoServer server(0);
    QSignalSpy events(&server, &EchoServer::newEvent);
    QTcpSocket client;
    client.setReadBufferSize(1);
    client.connectToHost(QHostAddress::LocalHost, server.serverPort());
    client.write(kHandshake);
    QTRY_COMPARE(events.count(), 1);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("more than 16777216 bytes unread"));
    const QByteArray ping = QByteArray::fromHex("89fd00000000") + QByteArray(125, 'x');
    for (int i = 0; i < 20 && client.state() == QAbstractSocket::ConnectedState; ++i) {
        client.write(ping.repeated(20000));
        QTest::qWait(20);
    }
    QTRY_COMPARE_WITH_TIMEOUT(events.count(), 2, 60000);
    QVERIFY(events.last().first().toString().startsWith(QLatin1String("socketDisconnected: ")));
}

/// What has come is not read in one piece: others have their turns between.
void TestEchoServer::pingsAreReadInTurns()
{
    constexpr int kPings = 50000;
    constexpr int kPongBytes = 2;
    constexpr int kMostOfHead = 1000;
    EchoServer server(0);
    QSignalSpy events(&server, &EchoServer::newEvent);
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, server.serverPort());
    client.write(kHandshake);
    QTRY_COMPARE(events.count(), 1);
    QTRY_VERIFY(client.peek(kMostOfHead).endsWith("\r\n\r\n"));
    client.readAll();
    WebClient other(server.serverPort());
    client.write(QByteArray::fromHex("898000000000").repeated(kPings));
    int answered = 0;
    for (; client.bytesAvailable() < kPings * kPongBytes; ++answered)
        QVERIFY(other.ask("{}").isHash());
    QVERIFY2(answered >= 10, QByteArray::number(answered));
}

void TestEchoServer::guestsHoldLittle()
{
    EchoServer server(0);
    WebClient client(server.serverPort());
    QSignalSpy events(&server, &EchoServer::newEvent);
    std::vector<std::unique_ptr<QTcpSocket>> guests;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^WebSocketServer::dropLargestGuest"));
    int gone = 0;
    for (int i = 0; i < 40; ++i) {
        guests.push_back(std::make_unique<QTcpSocket>());
        QTcpSocket &guest = *guests.back();
        connect(&guest, &QTcpSocket::disconnected, this, [&gone] { ++gone; });
        guest.connectToHost(QHostAddress::LocalHost, server.serverPort());
        guest.write(kHandshake);
        QTRY_COMPARE(events.count(), i + 1 + gone);
        // All but the end of a message of 1000000 bytes.
        guest.write(QByteArray::fromHex("81ff00000000000f424000000000") + QByteArray(999000, 'x'));
        QTRY_COMPARE(guest.bytesToWrite(), 0);
        if (i < 32)
            QTRY_COMPARE(gone, 0);
    }
    QTRY_COMPARE(gone, 40 - 33);
    QVERIFY(client.logIn());
}

void TestEchoServer::guessingIsSlow()
{
    const QString guess = QStringLiteral(R"({"type":"getUser","tag":"t","data":{"user":"bor","pass":"x"}})");
    EchoServer server(0);
    WebClient client(server.serverPort());
    WebClient second(server.serverPort());
    WebClient other(server.serverPort());
    for (int i = 0; i < 10; ++i)
        QVERIFY(client.ask(guess).isHash());
    QSignalSpy answers(&client.socket, &QWebSocket::textMessageReceived);
    QSignalSpy answersOfSecond(&second.socket, &QWebSocket::textMessageReceived);
    QElapsedTimer time;
    time.start();
    client.socket.sendTextMessage(guess);
    client.socket.sendTextMessage(QStringLiteral("{}")); // waits for its turn
    second.socket.sendTextMessage(guess);
    QVERIFY(other.logIn());
    QCOMPARE(answers.count() + answersOfSecond.count(), 0);
    QTRY_COMPARE(answers.count(), 2);
    QVERIFY(time.elapsed() > 900);
    QCOMPARE(answers.last().first().toString(), QStringLiteral(R"({"data":{"reason":"Not tag!","result":"false"}})"));
    QCOMPARE(answersOfSecond.count(), 0);
    QTRY_COMPARE(answersOfSecond.count(), 1);
    QVERIFY(time.elapsed() > 1900);
}

void TestEchoServer::guestsLeaveTheReserve()
{
#ifdef Q_OS_UNIX
    struct rlimit former = {};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &former), 0);
    EchoServer server(0);
    WebClient member(server.serverPort());
    WebClient oldest(server.serverPort());
    WebClient guest(server.serverPort());
    QVERIFY(member.logIn());
    QSignalSpy gone(&oldest.socket, &QWebSocket::disconnected);

    // The client's own end is the last but the reserve, the server's the first in it.
    const int lowest = dup(0);
    close(lowest);
    struct rlimit low = former;
    for (low.rlim_cur = 1; low.rlim_cur - low.rlim_cur / 4 < rlim_t(lowest) + 1;)
        ++low.rlim_cur;
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &low), 0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^ClientAcceptor::outOfReserve few descriptors are left"));
    WebClient next(server.serverPort());
    setrlimit(RLIMIT_NOFILE, &former);
    QTRY_COMPARE(gone.count(), 1);
    for (WebClient *client : {&member, &guest, &next})
        QVERIFY(client->ask("{}").isHash());
#else
    QSKIP("the system has no limit of descriptors");
#endif
}

void TestEchoServer::requestBeforeCloseIsCarriedOut()
{
    EchoServer server(0);
    QSignalSpy events(&server, &EchoServer::newEvent);
    WebClient client(server.serverPort());
    client.socket.sendTextMessage(QStringLiteral(R"({"type":"logOut","tag":"t"})"));
    client.socket.close();
    QTRY_COMPARE(events.count(), 3);
    QVERIFY(events.at(1).first().toString().startsWith(QLatin1String("ANS: ")));
    QVERIFY(events.at(2).first().toString().startsWith(QLatin1String("socketDisconnected: ")));
}

void TestEchoServer::clientVanishesWhileAnswered()
{
    EchoServer server(0);
    QSignalSpy answers(&server, &EchoServer::newAnswer);
    QSignalSpy events(&server, &EchoServer::newEvent);
    WebClient client(server.serverPort());
    const auto isGone = [&] {
        return events.last().first().toString().startsWith(QLatin1String("socketDisconnected"));
    };
    bool wasGone = false;
    connect(&server, &EchoServer::newRequest, this, [&] {
        client.socket.abort();
        wasGone = QTest::qWaitFor(isGone);
    });
    client.socket.sendTextMessage(R"({"type":"getUser","tag":"t","data":{"user":"ana","pass":"geslo"}})");
    QTRY_VERIFY(wasGone);
    QCoreApplication::processEvents();
    QCOMPARE(answers.count(), 0); // and so nobody was logged in under the freed socket
}

void TestEchoServer::serverDeletedInSignal_data()
{
    QTest::addColumn<QString>("signal");
    for (const char *signal : {"New Connection", "newRequest", "newAnswer", "ANS", "socketDisconnected"})
        QTest::newRow(signal) << signal;
}

void TestEchoServer::serverDeletedInSignal()
{
    QFETCH(QString, signal);
    const QPointer<EchoServer> server(new EchoServer(0));
    const auto deleteAt = [&](const QString &name) {
        if (!name.startsWith(signal))
            return;
        delete server.data();
        QCoreApplication::processEvents();
    };
    connect(server, &EchoServer::newRequest, this, [&] { deleteAt("newRequest"); });
    connect(server, &EchoServer::newAnswer, this, [&] { deleteAt("newAnswer"); });
    connect(server, &EchoServer::newEvent, this, deleteAt);

    QWebSocket bystander;
    QWebSocket client;
    connect(&client, &QWebSocket::connected, &client, [&] {
        client.sendTextMessage(QStringLiteral(R"({"type":"logOut","tag":"t"})"));
        if (signal == QLatin1String("socketDisconnected"))
            client.close();
    });
    const QUrl url(QStringLiteral("ws://127.0.0.1:%1").arg(server->serverPort()));
    for (QWebSocket *socket : {&bystander, &client})
        socket->open(url);
    QTRY_VERIFY(!server);
    for (const QWebSocket *socket : {&bystander, &client})
        QTRY_COMPARE(socket->state(), QAbstractSocket::UnconnectedState);
}

void TestEchoServer::destructionClosesClients()
{
    auto server = std::make_unique<EchoServer>(0);
    WebClient client(server->serverPort());
    QVERIFY(client.logIn());
    QSignalSpy ended(&client.socket, &QWebSocket::disconnected);
    server.reset();
    QVERIFY(ended.wait());
    QCOMPARE(client.socket.closeCode(), QWebSocketProtocol::CloseCodeGoingAway);
}

QTEST_GUILESS_MAIN(TestEchoServer)
#include "tst_echoserver.moc"
