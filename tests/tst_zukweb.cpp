#include "attendancefile.h"
#include "echoserver.h"

#include <QEventLoop>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// The real command-line client against a server in this process.
class TestZukWeb : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void wrongUse_data();
    void wrongUse();
    void noServer();
    void silentServer();
    void refusedLogin();
    void presence();
    void saldoAsJson();
    void addMeta();
    void workTime();

private:
    /// Runs the client to its end; the server answers meanwhile.
    int call(const QStringList &arguments, const QString &password = QStringLiteral("geslo"));
    QStringList at(quint16 port) const
    {
        return {"--user", "ana", "--url", QStringLiteral("ws://127.0.0.1:%1").arg(port)};
    }
    QStringList server() const { return at(m_server->serverPort()); }

    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
    std::unique_ptr<EchoServer> m_server;
    QString m_output;
    QString m_errors;
};

void TestZukWeb::initTestCase()
{
    m_database = std::make_unique<DataBase>(m_folder.filePath(QStringLiteral("web.db")));
    setDb(m_database.get());
    QVERIFY(fillAttendance(*m_database, threeEmployees()));
    m_server = std::make_unique<EchoServer>(0);
}

void TestZukWeb::cleanupTestCase()
{
    m_server.reset();
    setDb(nullptr);
}

int TestZukWeb::call(const QStringList &arguments, const QString &password)
{
    QProcess client;
    QEventLoop loop;
    connect(&client, &QProcess::stateChanged, &loop, [&loop](QProcess::ProcessState state) {
        if (state == QProcess::NotRunning)
            loop.quit();
    });
    client.start(QStringLiteral(ZUK_WEB_CLIENT), arguments);
    client.write(password.toUtf8() + '\n');
    client.closeWriteChannel();
    loop.exec();
    if (client.exitStatus() != QProcess::NormalExit)
        return -1;
    m_output = QString::fromUtf8(client.readAllStandardOutput());
    m_errors = QString::fromUtf8(client.readAllStandardError());
    return client.exitCode();
}

void TestZukWeb::wrongUse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no command") << QStringList{"--user", "ana"} << "command";
    QTest::newRow("unknown command") << QStringList{"--user", "ana", "time"} << "unknown command: time";
    QTest::newRow("no user") << QStringList{"presence"} << "--user";
    QTest::newRow("unknown option") << QStringList{"--user", "ana", "presence", "--fast"} << "fast";
    QTest::newRow("other protocol") << QStringList{"--user", "ana", "presence", "--url", "http://x"} << "--url";
    QTest::newRow("no date") << QStringList{"--user", "ana", "wtime", "--from", "31.2.2025"} << "date";
    QTest::newRow("period ends early") << QStringList{"--user",   "ana",  "wtime",     "--from",
                                                      "2.3.2025", "--to", "2025-03-01"}
                                       << "before it begins";
    QTest::newRow("no code") << QStringList{"--user", "ana", "add-meta"} << "--code";
    QTest::newRow("no employee") << QStringList{"--user", "ana", "saldo", "--employee", "ana"} << "--employee";
}

void TestZukWeb::wrongUse()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    QCOMPARE(call(arguments), 2);
    QVERIFY2(m_errors.contains(reason), qPrintable(m_errors));
    QCOMPARE(m_output, QString());
}

void TestZukWeb::noServer()
{
    QCOMPARE(call({"--help"}), 0); // needs none
    QVERIFY(m_output.contains(QStringLiteral("Examples:")));
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost));
    const quint16 port = probe.serverPort();
    probe.close();
    QCOMPARE(call(at(port) + QStringList{"presence"}), 3);
    QVERIFY2(m_errors.contains(QStringLiteral("ws://127.0.0.1:%1: Connection refused").arg(port)),
             qPrintable(m_errors));
}

void TestZukWeb::silentServer()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    QCOMPARE(call(at(silent.serverPort()) + QStringList{"presence", "--timeout", "1"}), 3);
    QVERIFY2(m_errors.contains(QStringLiteral("no answer within 1 s")), qPrintable(m_errors));
}

void TestZukWeb::refusedLogin()
{
    QCOMPARE(call(server() + QStringList{"presence"}, QStringLiteral("narobe")), 1);
    QCOMPARE(m_errors, QStringLiteral("zukweb: User unknown!\n"));
    QCOMPARE(m_output, QString());
}

void TestZukWeb::presence()
{
    QCOMPARE(call(server() + QStringList{"presence"}), 0);
    QCOMPARE(m_output, QStringLiteral("Nobody is listed.\n"));
    const QString event = QStringLiteral("insert into allevents (USER,TIMESTAMP,ACCESS_CODE,TYPE,REMARK) "
                                         "values (%1,strftime('%s','now'),'102:Odhod','EV','\u009b2Jtest')");
    QVERIFY(run(*m_database, {event.arg(5), event.arg(6)}));
    QCOMPARE(call(server() + QStringList{"presence"}), 0);
    QCOMPARE(m_output, QStringLiteral("Name       Event      Remark\n"
                                      "---------  ---------  -------\n"
                                      "Žagar Ana  102:Odhod   2Jtest\n"));
    QVERIFY(m_database->exec("delete from allevents"));
}

void TestZukWeb::saldoAsJson()
{
    QVERIFY(m_database->insert("freehour", QAny{{"ID", 1}, {"IDU", 6}, {"STATUS", 2}, {"HDTOT", 21}}));
    const QStringList saldo = server() + QStringList{"saldo"};
    QCOMPARE(call(saldo), 0);
    QCOMPARE(m_output, QStringLiteral("No balance is stored.\n"));
    QCOMPARE(call(saldo + QStringList{"--employee", "6", "--json"}), 0);
    const QAny data = QAny::fromJson(m_output.toUtf8());
    QCOMPARE(data.lookup("saldo").value(0).lookup("HDTOT").toInt(), 21);
    QCOMPARE(call(saldo + QStringList{"--employee", "6"}), 0);
    QVERIFY(m_output.contains(QStringLiteral("Status                    2:Tekoče stanje\n")));
}

void TestZukWeb::addMeta()
{
    const QStringList meta = server() + QStringList{"add-meta", "--code", "102:1:Dopust"};
    QCOMPARE(call(meta + QStringList{"--type", "MP", "--remark", "dopust", "--employee", "6"}), 0);
    const QAny event =
        m_database->select("select USER as U,ACCESS_CODE as C,TYPE as T,REMARK as R from metalog").value(0);
    QCOMPARE(event, (QAny{{"U", 6}, {"C", "102:1:Dopust"}, {"T", "MP"}, {"R", "dopust"}}));
    QCOMPARE(call(meta + QStringList{"--remark", "o'"}), 1);
    QVERIFY(m_database->exec("delete from metalog"));
}

void TestZukWeb::workTime()
{
    QVERIFY(run(*m_database, twoDays()));
    const QStringList period = server() + QStringList{"wtime", "--from", "3.3.2025", "--to", "2025-03-04"};
    QCOMPARE(call(period), 0);
    const QStringList lines = m_output.split(QLatin1Char('\n'));
    const auto line = [&lines](const QString &text) { return lines.filter(text).value(0).simplified(); };
    QVERIFY2(line(QStringLiteral("03.03.2025")).contains(QStringLiteral("08:00 16:01 08:01")), qPrintable(m_output));
    QVERIFY2(line(QStringLiteral("04.03.2025")).contains(QStringLiteral("08:30 00:00")), qPrintable(m_output));
    QVERIFY2(line(QStringLiteral("SKUPAJ")).startsWith(QStringLiteral("SKUPAJ 08:01")), qPrintable(m_output));
    QVERIFY2(m_output.contains(QStringLiteral("Zadnji dogodek ni izhod!")), qPrintable(m_output));
    QVERIFY(!m_output.contains(QStringLiteral("\nPairs\n")));

    QCOMPARE(call(period + QStringList{"--pairs"}), 0);
    QVERIFY2(m_output.contains(QStringLiteral("\nPairs\n")), qPrintable(m_output));
    QVERIFY(m_output.contains(QStringLiteral("08:00    16:01      08:01")));
    QCOMPARE(call(period + QStringList{"--employee", "99"}), 1);
    QCOMPARE(m_errors, QStringLiteral("zukweb: WTime Error!\n"));
}

QTEST_GUILESS_MAIN(TestZukWeb)
#include "tst_zukweb.moc"
