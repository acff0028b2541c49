#include "attendancefile.h"
#include "rows.h"
#include "server/web/echoserver.h"
#include "terminalsite.h"
#include "toolrun.h"

#include <QRegularExpression>
#include <QTcpServer>
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
    void refusedLogin();
    void presence();
    void saldoAsJson();
    void addMeta();
    void workTime();

private:
    /// The exit code and all that the client tells; the server answers meanwhile.
    QString told(const QStringList &arguments, const QByteArray &password = "geslo")
    {
        return ToolRun(ZUK_WEB_CLIENT, arguments, password + '\n').outcome();
    }
    QStringList at(quint16 port) const { return {"--user", "ana", "--url", QString("ws://127.0.0.1:%1").arg(port)}; }
    QStringList server() const { return at(m_server->serverPort()); }

    std::unique_ptr<TerminalSite> m_site;
    std::unique_ptr<EchoServer> m_server;
};

void TestZukWeb::initTestCase()
{
    m_site = std::make_unique<TerminalSite>();
    QVERIFY(run(*m_site->database, threeEmployees()));
    m_server = std::make_unique<EchoServer>(0);
}

void TestZukWeb::cleanupTestCase()
{
    m_server.reset();
    m_site.reset();
}

void TestZukWeb::wrongUse_data()
{
    const auto add = columns<QStringList, QString>({"arguments", "reason"});
    const auto row = [add](const char *name, const QStringList &arguments, const char *reason) {
        add(name, QStringList{"--user", "ana"} + arguments, reason);
    };
    row("no command", {}, "command");
    row("unknown command", {"time"}, "unknown command: time");
    add("no user", {"presence"}, "--user is needed");
    add("empty user", {"presence", "--user", ""}, "--user is empty");
    row("unknown option", {"presence", "--fast"}, "fast");
    row("other protocol", {"presence", "--url", "http://x"}, "--url \"http://x\" is not");
    row("no host", {"presence", "--url", "ws://"}, "--url");
    row("no date", {"wtime", "--from", "31.2.2025"}, "--from \"31.2.2025\" is not a date");
    row("period ends early", {"wtime", "--from", "2.3.2025", "--to", "2025-03-01"}, "before it begins");
    row("no code", {"add-meta"}, "--code");
    row("no employee", {"saldo", "--employee", "ana"}, "--employee");
}

void TestZukWeb::wrongUse()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    const QString text = told(arguments);
    QVERIFY2(text.startsWith("2 zukweb: ") && text.contains(reason), qPrintable(text));
}

void TestZukWeb::noServer()
{
    QVERIFY(told({"--help"}).contains("Examples:"));
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    const QStringList presence = at(silent.serverPort()) + QStringList{"presence", "--timeout", "1"};
    QVERIFY(told(presence).contains(QRegularExpression("^3 .*no answer within 1 s")));
    silent.close();
    QVERIFY(told(presence).contains(QRegularExpression("^3 .*ws://127.0.0.1:\\d+: Connection refused")));
}

void TestZukWeb::refusedLogin()
{
    QCOMPARE(told(server() + QStringList{"presence"}, "narobe"), "1 zukweb: User unknown!\n");
}

void TestZukWeb::presence()
{
    QCOMPARE(told(server() + QStringList{"presence"}), "0 Nobody is listed.\n");
    const QString event = QStringLiteral("insert into allevents (USER,TIMESTAMP,ACCESS_CODE,TYPE,REMARK) "
                                         "values (%1,strftime('%s','now'),'102:Odhod','EV','\u009b2Jtest')");
    QVERIFY(run(*m_site->database, {event.arg(5), event.arg(6)}));
    QCOMPARE(told(server() + QStringList{"presence"}), "0 Name       Event      Remark\n"
                                                       "---------  ---------  -------\n"
                                                       "Žagar Ana  102:Odhod   2Jtest\n");
    QVERIFY(m_site->database->exec("delete from allevents"));
}

void TestZukWeb::saldoAsJson()
{
    QVERIFY(m_site->database->insert("freehour", QAny{{"ID", 1}, {"IDU", 6}, {"STATUS", 2}, {"HDTOT", 21}}));
    const QStringList saldo = server() + QStringList{"saldo"};
    QCOMPARE(told(saldo), "0 No balance is stored.\n");
    const QAny data = QAny::fromJson(told(saldo + QStringList{"--employee", "6", "--json"}).mid(2));
    QCOMPARE(data.lookup("saldo").value(0).lookup("HDTOT").toInt(), 21);
    QVERIFY(told(saldo + QStringList{"--employee", "6"}).contains("Status                    2:Tekoče stanje\n"));
}

void TestZukWeb::addMeta()
{
    const QStringList meta = server() + QStringList{"add-meta", "--code", "102:1:Dopust"};
    QCOMPARE(told(meta + QStringList{"--type", "MP", "--remark", "dopust", "--employee", "6"}),
             "0 The event is stored.\n");
    QVERIFY(told(meta + QStringList{"--remark", "o'"}).startsWith("1 zukweb: "));
    QCOMPARE(m_site->rows("select USER,ACCESS_CODE,TYPE,REMARK from metalog"), QStringList{"6|102:1:Dopust|MP|dopust"});
    QVERIFY(m_site->database->exec("delete from metalog"));
}

void TestZukWeb::workTime()
{
    QVERIFY(run(*m_site->database, twoDays()));
    const QStringList period = server() + QStringList{"wtime", "--from", "3.3.2025", "--to", "2025-03-04"};
    const QString text = told(period);
    const auto line = [&text](const QString &part) { return text.split('\n').filter(part).value(0).simplified(); };
    QVERIFY2(line("03.03.2025").contains("08:00 16:01 08:01"), qPrintable(text));
    QVERIFY2(line("04.03.2025").contains("08:30 00:00"), qPrintable(text));
    QVERIFY2(line("SKUPAJ").startsWith("SKUPAJ 08:01"), qPrintable(text));
    QVERIFY2(text.contains("Zadnji dogodek ni izhod!") && !text.contains("\nPairs\n"), qPrintable(text));

    const QString pairs = told(period + QStringList{"--pairs"});
    QVERIFY2(pairs.section("\nPairs\n", 1).contains("08:00    16:01      08:01"), qPrintable(pairs));
    QCOMPARE(told(period + QStringList{"--employee", "99"}), "1 zukweb: WTime Error!\n");
}

QTEST_GUILESS_MAIN(TestZukWeb)
#include "tst_zukweb.moc"
