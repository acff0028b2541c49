#include "gatedreaders.h"
#include "server/web/echoserver.h"
#include "server/workers/readpool.h"
#include "storage/database.h"
#include "webclient.h"

#include <QTemporaryDir>
#include <QTest>

using server::workers::ReadPool;

namespace {

const QString kPresence = QStringLiteral(R"({"type":"getPresence","tag":"t"})");
const QString kWorkTime =
    QStringLiteral(R"({"type":"getWTime","tag":"t","data":{"STARTDATE":"1.3.2025","ENDDATE":"2.3.2025","USER":5}})");
const QString kQuick = QStringLiteral(R"({"type":"unknown","tag":"t"})");
const QString kQuickAnswer = QStringLiteral(R"({"data":{"result":"false"}})");
const QString kPresent =
    QStringLiteral(R"({"data":{"result":true,"presence":[{"NAME":"Kos Ana","CODE":"102:Odhod","REMARK":""}]}})");

} // namespace

/// The web server with answers that come later.
class TestWebReading : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { setDb(nullptr); }
    void init();
    void cleanup();

    void orderOfAnswers();
    void busyClientRests();
    void restingClientGoes();
    void clientGoes();
    void serverGoes_data();
    void serverGoes();
    void noRoom();

private:
    using Texts = QList<QList<QVariant>>;

    void storeDepartures(const char *code);

    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
    std::unique_ptr<GatedReaders::Gate> m_gate;
    std::unique_ptr<ReadPool> m_pool;
    std::unique_ptr<EchoServer> m_server;
};

void TestWebReading::initTestCase()
{
    m_database = std::make_unique<DataBase>(m_folder.filePath(QStringLiteral("web.db")));
    setDb(m_database.get());
    QVERIFY(addWebUser(*m_database));
    QVERIFY(m_database->insert("employees", {{"ID", 6}, {"ACTIVE", 1}}));
    QVERIFY(m_database->exec("create table allevents (USER integer, TIMESTAMP integer, ACCESS_CODE text, TYPE text, "
                             "REMARK text)"));
}

/// Of two, of whom the last one is not looked at.
void TestWebReading::storeDepartures(const char *code)
{
    const qint64 time = QDateTime::currentSecsSinceEpoch();
    QVERIFY(m_database->exec("delete from allevents"));
    for (const int user : {5, 6})
        QVERIFY(m_database->insert(
            "allevents",
            {{"USER", user}, {"TIMESTAMP", time + user}, {"ACCESS_CODE", code}, {"TYPE", "EV"}, {"REMARK", ""}}));
}

void TestWebReading::init()
{
    storeDepartures("102:Odhod");
    m_gate = std::make_unique<GatedReaders::Gate>();
    ReadPool::Options options;
    options.threads = 2;
    options.maxWaitingSmall = 1;
    m_pool =
        std::make_unique<ReadPool>(std::make_unique<GatedReaders>(m_database->filePath(), *m_gate), nullptr, options);
    m_server = std::make_unique<EchoServer>(0);
    m_server->setReadPool(m_pool.get());
}

void TestWebReading::cleanup()
{
    m_gate->open();
    m_server.reset();
    m_pool.reset();
}

void TestWebReading::orderOfAnswers()
{
    WebClient client(m_server->serverPort());
    WebClient other(m_server->serverPort());
    QVERIFY(client.logIn() && other.logIn());
    QSignalSpy answers(&client.socket, &QWebSocket::textMessageReceived);
    QSignalSpy events(m_server.get(), &EchoServer::newEvent);
    for (const QString &request : {kPresence, kQuick, kPresence})
        client.socket.sendTextMessage(request);
    QTRY_COMPARE(m_gate->waiting.load(), 1);
    QCOMPARE(other.ask(kQuick).toJson(), kQuickAnswer); // who waits holds nobody up
    QCOMPARE(answers.count(), 0);
    QCOMPARE(events.count(), 1);

    // Heard or not, the same text goes out.
    m_gate->open();
    QSignalSpy told(m_server.get(), &EchoServer::newAnswer);
    QTest::ignoreMessage(QtDebugMsg, "SE Answer sent:");
    QTRY_COMPARE(answers.count(), 3);
    QCOMPARE(told.count(), 3);
    QCOMPARE(told.first().first().value<QAny>(), QAny::fromJson(kPresent));
    QCOMPARE(answers, (Texts{{kPresent}, {kQuickAnswer}, {kPresent}}));
    for (int i = 0; i < 3; ++i)
        QCOMPARE(events.at(i + 1).first().toString(), "ANS: " + answers.at(i).first().toString());
    disconnect(m_server.get(), &EchoServer::newAnswer, nullptr, nullptr);
    QCOMPARE(client.ask(kPresence).toJson(), kPresent);
    // What was stored before a request is in its answer.
    storeDepartures("103:Malica");
    QVERIFY(client.ask(kPresence).toJson().contains("103:Malica"));
}

void TestWebReading::busyClientRests()
{
    constexpr int many = 3000;
    const QByteArray content(16 * 1024, 'x');
    WebClient client(m_server->serverPort());
    WebClient other(m_server->serverPort());
    QVERIFY(client.logIn() && other.logIn());
    QSignalSpy answers(&client.socket, &QWebSocket::textMessageReceived);
    QSignalSpy echoes(&client.socket, &QWebSocket::binaryMessageReceived);
    client.socket.sendTextMessage(kPresence);
    QTRY_COMPARE(m_gate->waiting.load(), 1);
    for (int i = 0; i < many; ++i)
        client.socket.sendBinaryMessage(QByteArray::number(i) + content);
    // 256 messages are taken, and what the system holds of the others: a few MiB of 48.
    QTest::qWait(500);
    QVERIFY(client.socket.bytesToWrite() > 24 * 1024 * 1024);
    QCOMPARE(other.ask(kQuick).toJson(), kQuickAnswer);
    QCOMPARE(echoes.count(), 0);

    m_gate->open();
    QTRY_COMPARE_WITH_TIMEOUT(echoes.count(), many, 20000);
    QCOMPARE(answers.count(), 1);
    for (int i = 0; i < many; ++i)
        QVERIFY(echoes.at(i).first().toByteArray() == QByteArray::number(i) + content);
}

void TestWebReading::restingClientGoes()
{
    QSignalSpy events(m_server.get(), &EchoServer::newEvent);
    WebClient client(m_server->serverPort());
    QVERIFY(client.logIn());
    client.socket.sendTextMessage(kPresence);
    QTRY_COMPARE(m_gate->waiting.load(), 1);
    events.clear();
    for (int i = 0; i < 1000; ++i)
        client.socket.sendTextMessage(kQuick);
    QTRY_COMPARE(client.socket.bytesToWrite(), 0);
    QTest::qWait(100); // more than it takes are with the system
    QCOMPARE(events.count(), 0);
    client.socket.abort();
    // What it sent is carried out, read or not, while its reading still goes on.
    QTRY_COMPARE(events.count(), 1001);
    QVERIFY(events.last().first().toString().startsWith(QLatin1String("socketDisconnected: ")));
}

void TestWebReading::clientGoes()
{
    QSignalSpy events(m_server.get(), &EchoServer::newEvent);
    WebClient other(m_server->serverPort());
    {
        WebClient client(m_server->serverPort());
        QVERIFY(client.logIn() && other.logIn());
        events.clear();
        for (const QString &request : {kPresence, kQuick, kPresence})
            client.socket.sendTextMessage(request);
        QTRY_COMPARE(m_gate->waiting.load(), 1);
    }
    // While its reading still goes on: what it sent is carried out, and nobody else waits for it.
    QTRY_COMPARE(events.count(), 2);
    QCOMPARE(events.at(0).first().toString(), "ANS: " + kQuickAnswer);
    QVERIFY(events.at(1).first().toString().startsWith(QLatin1String("socketDisconnected: ")));
    QSignalSpy answers(&other.socket, &QWebSocket::textMessageReceived);
    other.socket.sendTextMessage(kPresence);
    QTRY_COMPARE(m_gate->waiting.load(), 2);
    m_gate->open();
    QTRY_COMPARE(answers.count(), 1);
    QCOMPARE(events.count(), 3);
}

void TestWebReading::serverGoes_data()
{
    QTest::addColumn<QString>("signal");
    for (const char *signal : {"", "newAnswer", "newEvent"})
        QTest::newRow(*signal ? signal : "while it reads") << signal;
}

void TestWebReading::serverGoes()
{
    QFETCH(QString, signal);
    WebClient client(m_server->serverPort());
    QVERIFY(client.logIn());
    QSignalSpy answers(&client.socket, &QWebSocket::textMessageReceived);
    QSignalSpy ended(&client.socket, &QWebSocket::disconnected);
    client.socket.sendTextMessage(kPresence);
    QTRY_COMPARE(m_gate->waiting.load(), 1);
    if (signal == QLatin1String("newAnswer"))
        connect(m_server.get(), &EchoServer::newAnswer, m_server.get(), [this] { m_server.reset(); });
    else if (signal == QLatin1String("newEvent"))
        connect(m_server.get(), &EchoServer::newEvent, m_server.get(), [this] { m_server.reset(); });
    else
        m_server.reset();
    m_gate->open();
    QTRY_COMPARE(ended.count(), 1);
    QVERIFY(!m_server);
    QCOMPARE(answers.count(), signal == QLatin1String("newEvent") ? 1 : 0);
}

void TestWebReading::noRoom()
{
    std::vector<std::unique_ptr<WebClient>> clients;
    for (int i = 0; i < 4; ++i) {
        clients.push_back(std::make_unique<WebClient>(m_server->serverPort()));
        QVERIFY(clients.back()->logIn());
    }
    // Two are read for, one waits.
    QSignalSpy requests(m_server.get(), &EchoServer::newRequest);
    for (int i = 0; i < 3; ++i) {
        clients.at(size_t(i))->socket.sendTextMessage(kPresence);
        QTRY_COMPARE(requests.count(), i + 1);
        QTRY_COMPARE(m_gate->waiting.load(), qMin(i + 1, 2));
    }
    QCOMPARE(clients.at(3)->ask(kPresence).toJson(), QStringLiteral(R"({"data":{"reason":"Busy!","result":"false"}})"));
    QCOMPARE(clients.at(3)->ask(kWorkTime).toJson(),
             QStringLiteral(R"({"data":{"reason":"Busy!","result":"false"},"type":"getWTime"})"));
    m_gate->open();
    QTRY_COMPARE(clients.at(3)->ask(kPresence).toJson(), kPresent);
}

QTEST_GUILESS_MAIN(TestWebReading)
#include "tst_webreading.moc"
