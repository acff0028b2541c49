#include "configuration.h"
#include "database.h"
#include "echoserver.h"
#include "logger.h"
#include "servicesstarter.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

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
    void startsAgainAfterStop();
    void busyWebPort();

private:
    void writePort(const QString &port);
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

void TestServicesStarter::writePort(const QString &port)
{
    QFile file(QStringLiteral("ZUKSERW.INI"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[WEBS]\nPORT=" + port.toUtf8() + "\n");
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
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("port");
    QTest::addColumn<bool>("isWarned");
    QTest::newRow("no file") << QString() << 1233 << false;
    QTest::newRow("other keys only") << "[WEBS]\nHOST=x\n[OTHER]\nPORT=8081\n" << 1233 << false;
    QTest::newRow("port") << "[WEBS]\nPORT=8080\n" << 8080 << false;
    QTest::newRow("no number is passed on as 0") << "[WEBS]\nPORT=http\n" << 0 << false;
    QTest::newRow("beyond the ports") << "[WEBS]\nPORT=70000\n" << 1233 << true;
    QTest::newRow("negative") << "[WEBS]\nPORT=-1\n" << 1233 << true;
}

void TestServicesStarter::webPort()
{
    QFETCH(QString, file);
    QFETCH(bool, isWarned);
    if (!file.isNull()) {
        QFile settings(QStringLiteral("ZUKSERW.INI"));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write(file.toUtf8());
    }
    if (isWarned)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Configuration::webPort no port:"));
    QTEST(int(Configuration::webPort()), "port");
}

void TestServicesStarter::startAndStopOnce()
{
    QTcpServer probe;
    QVERIFY(probe.listen());
    const quint16 port = probe.serverPort();
    probe.close();
    writePort(QString::number(port));

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
    QCOMPARE(journal(), (QStringList{"Started", "Finished"}));
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY(!client.waitForConnected(1000));
}

void TestServicesStarter::startsAgainAfterStop()
{
    {
        DataBase database;
        QVERIFY(database.exec(QStringLiteral("create table config (KEY text primary key, VALUE text)")));
    }
    writePort(QStringLiteral("any"));
    ServicesStarter starter;
    QStringList expected;
    for (int i = 0; i < 3; ++i) {
        starter.start();
        QVERIFY(db()->isOpen());
        QVERIFY(ServicesStarter::webServer()->isListening());
        starter.stop();
        expected << QStringLiteral("Started") << QStringLiteral("Finished");
    }
    QCOMPARE(journal(), expected);
}

void TestServicesStarter::busyWebPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::Any));
    writePort(QString::number(other.serverPort()));
    ServicesStarter starter;
    starter.start();
    QVERIFY(ServicesStarter::webServer());
    QVERIFY(!ServicesStarter::webServer()->isListening());
    starter.stop();
    QCOMPARE(journal(), (QStringList{"Started", "Finished"}));
}

QTEST_GUILESS_MAIN(TestServicesStarter)
#include "tst_servicesstarter.moc"
