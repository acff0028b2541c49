#include "files.h"
#include "rows.h"
#include "rpcpeer.h"
#include "server/host/configuration.h"
#include "server/host/servicesstarter.h"
#include "server/logger/logger.h"
#include "server/reader/ekeyeventhandler.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"
#include "server/web/echoserver.h"
#include "storage/database.h"

#include <QDir>
#include <QElapsedTimer>
#include <QPointer>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

/// Start and stop of the whole server within one process. The database lies beside this executable, in a folder of
/// its own.
class TestServicesStarter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void webPort_data();
    void webPort();
    void startAndStopOnce();
    void busyWebPort();
    void busyRpcPort();
    void rpcServices();
    void readersFile_data();
    void readersFile();
    void stopsBehindWaitingCalls_data();
    void stopsBehindWaitingCalls();

private:
    static void writePort(const QByteArray &port) { writeFile("ZUKSERW.INI", "[WEBS]\nPORT=" + port + '\n'); }
    static QStringList journal();

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestServicesStarter::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir::setCurrent(m_folder->path()));
    for (const char *suffix : {"", "-wal", "-shm"})
        QFile::remove(QCoreApplication::applicationDirPath() + QStringLiteral("/zuknetserver.db") + suffix);
}

void TestServicesStarter::cleanup()
{
    ServicesStarter().stop();
    QDir::setCurrent(QCoreApplication::applicationDirPath());
}

QStringList TestServicesStarter::journal()
{
    QStringList messages;
    DataBase database;
    const QAny rows = database.select(QStringLiteral("select FMESSAGE as M from logs order by IDX"));
    for (int i = 0; i < rows.count(); ++i)
        messages.append(rows.at(i).lookup(QStringLiteral("M")).toString());
    return messages;
}

void TestServicesStarter::webPort_data()
{
    const auto row = columns<QByteArray, int, bool>({"file", "port", "isWarned"});
    row("no file", {}, 1233, false);
    row("other keys only", "[WEBS]\nHOST=x\n[OTHER]\nPORT=8081\n", 1233, false);
    row("port", "[WEBS]\nPORT=8080\n", 8080, false);
    row("no number is passed on as 0", "[WEBS]\nPORT=http\n", 0, false);
    row("beyond the ports", "[WEBS]\nPORT=70000\n", 1233, true);
    row("negative", "[WEBS]\nPORT=-1\n", 1233, true);
}

/// Each file in a folder of its own: what was read of a path is kept while its file seems to be the same.
void TestServicesStarter::webPort()
{
    QFETCH(QByteArray, file);
    QFETCH(bool, isWarned);
    if (!file.isNull())
        writeFile(QStringLiteral("ZUKSERW.INI"), file);
    if (isWarned)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Configuration::webPort no port:"));
    QTEST(int(server::host::Configuration::webPort()), "port");
}

void TestServicesStarter::startAndStopOnce()
{
    QTcpServer probe;
    QVERIFY(probe.listen());
    const quint16 port = probe.serverPort();
    probe.close();
    writePort(QByteArray::number(port));

    ServicesStarter first;
    ServicesStarter second;
    QVERIFY(QMetaObject::invokeMethod(&first, "start"));
    DataBase *const database = db();
    EchoServer *const web = ServicesStarter::webServer();
    QVERIFY(ServicesStarter::isStarted());
    QVERIFY(database && logger() && web);
    QCOMPARE(web->serverPort(), port);
    second.start();
    QCOMPARE(db(), database);
    QCOMPARE(ServicesStarter::webServer(), web);

    QVERIFY(QMetaObject::invokeMethod(&second, "stop"));
    first.stop();
    QVERIFY(!ServicesStarter::isStarted());
    QVERIFY(!db() && !logger() && !ServicesStarter::webServer());
    QVERIFY(!rpcController() && !mainTerminalService() && !adminTerminalService());
    QCOMPARE(journal(), (QStringList{"Started", "Finished"}));
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY(!client.waitForConnected(1000));
}

void TestServicesStarter::busyWebPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::Any));
    writePort(QByteArray::number(other.serverPort()));
    ServicesStarter starter;
    starter.start();
    QVERIFY(ServicesStarter::webServer());
    QVERIFY(!ServicesStarter::webServer()->isListening());
    starter.stop();
    QCOMPARE(journal(), (QStringList{"Started", "Finished"}));
}

void TestServicesStarter::busyRpcPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::Any, ServicesStarter::kRpcPort));
    writePort("any");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^ServicesStarter::start can't listen on TCP port 3501 "));
    ServicesStarter starter;
    starter.start();
    QVERIFY(ServicesStarter::webServer()->isListening());
    QVERIFY(!rpcController()->isListening());
    starter.stop();
    QCOMPARE(journal(), (QStringList{"Started", "Finished"}));
}

/// Each start serves on the fixed port anew, and requires a login for what is behind it.
void TestServicesStarter::rpcServices()
{
    QVERIFY(DataBase().exec(QStringLiteral("create table config (KEY text primary key, VALUE text)")));
    writePort("any");
    ServicesStarter starter;
    for (int run = 0; run < 2; ++run) {
        starter.start();
        QVERIFY(db()->isOpen() && ServicesStarter::webServer()->isListening());
        RpcPeer terminal(3501);
        terminal.onCall = [](const QAny &) {};
        const QByteArray event = callText("logger.event", R"({"USER":"7","TIMESTAMP":1792044060,"TID":5})");
        const QByteArray refused = errorText(10200, "Not authorized");
        QCOMPARE(terminal.ask(event), refused);
        QCOMPARE(terminal.ask(callText("adminterminal.status", "null")), resultText(R"({"loggedin":false})"));
        QCOMPARE(terminal.ask(callText("mainterminal.login", R"({"id":5})")), resultText("true"));
        QCOMPARE(terminal.ask(event), resultText("true"));
        QCOMPARE(terminal.ask(callText("terminalcheck.ping", "{}")), resultText(R"({"PING":"OK"})"));
        QCOMPARE(terminal.ask(callText("admincheck.version", "{}")), refused);
        RpcPeer stranger(3501);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("message of more than 1048576 bytes"));
        stranger.write("[\"" + QByteArray(1024 * 1024, 'x'));
        QVERIFY(stranger.waitClosed());
        starter.stop();
        QVERIFY(terminal.waitClosed());
    }
    QCOMPARE(DataBase().select(QStringLiteral("select ID from events")).count(), 2);
    QCOMPARE(journal(), (QStringList{"Started", "Finished", "Started", "Finished"}));
}

void TestServicesStarter::readersFile_data()
{
    const auto row = columns<QByteArray, bool>({"settings", "isFollowed"});
    row("usual", "", false);
    row("switched on", "[CSVFILE]\nON=1\n", true);
}

void TestServicesStarter::readersFile()
{
    QFETCH(QByteArray, settings);
    QFETCH(bool, isFollowed);
    writePort("any");
    writeFile("UlkaCsv.ini", settings);
    ServicesStarter starter;
    starter.start();
    QCOMPARE(ServicesStarter::ekeyEventHandler()->isRunning(), isFollowed);
    const auto isMissed = [] {
        return db()->select(QStringLiteral("select 1 from logs where FMESSAGE like '%Missing CVS file'")).count() > 0;
    };
    QTRY_COMPARE(isMissed(), isFollowed);
    starter.stop();
    QVERIFY(!ServicesStarter::ekeyEventHandler());
    QStringList expected{"Started", "Finished"};
    if (isFollowed)
        expected.insert(1, "Logger::EKEY_CSV_TRACKER Missing CVS file");
    QCOMPARE(journal(), expected);
    DataBase database;
    QCOMPARE(database.select(QStringLiteral("select UID from ULKAIDS")).count(), 0);
    QVERIFY(database.exec(QStringLiteral("insert into ULKAIDS (UID,ULKAID) values (1,'a')")));
    QCOMPARE(database.select(QStringLiteral("select UID from ULKAIDS")).count(), 1);
}

void TestServicesStarter::stopsBehindWaitingCalls_data()
{
    const auto row = columns<QStringList, bool>({"requests", "isStartedAfter"});
    row("stop", {"stop"}, false);
    row("stop twice", {"stop", "stop"}, false);
    row("a start behind the stop", {"stop", "start"}, true);
    row("taken back again", {"stop", "start", "stop"}, false);
}

/// Two callers, one within the other, wait for a silent terminal when the server is asked to stop.
void TestServicesStarter::stopsBehindWaitingCalls()
{
    QFETCH(QStringList, requests);
    writePort("any");
    ServicesStarter starter;
    starter.start();
    const QPointer<KNet::RpcController> firstController(rpcController());
    RpcPeer terminal(3501);
    terminal.onCall = [](const QAny &) {};
    QCOMPARE(terminal.ask(callText("mainterminal.login", R"({"id":5})")), resultText("true"));

    const auto call = [] { return mainTerminalService()->callTerminal(5, QStringLiteral("logger.x"), {}, 60000); };
    QAny inner(true);
    bool wasStarted = false;
    QTimer::singleShot(0, this, [&] {
        QTimer::singleShot(0, this, [&] {
            for (const QString &request : requests)
                QMetaObject::invokeMethod(&starter, request.toLatin1().constData());
            wasStarted = ServicesStarter::isStarted();
        });
        inner = call();
    });
    QElapsedTimer elapsed;
    elapsed.start();
    const QAny outer = call();
    QVERIFY(inner.isNull() && outer.isNull());
    QVERIFY(elapsed.elapsed() < 30000);
    QVERIFY(wasStarted);
    QTRY_VERIFY(!firstController);
    QVERIFY(terminal.waitClosed());
    QFETCH(bool, isStartedAfter);
    QCOMPARE(ServicesStarter::isStarted(), isStartedAfter);
    QVERIFY(!isStartedAfter || (rpcController()->isListening() && db()->isOpen()));
}

QTEST_GUILESS_MAIN(TestServicesStarter)
#include "tst_servicesstarter.moc"
