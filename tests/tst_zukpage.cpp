#include "toolrun.h"

#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <csignal>
#endif

/// The program: its command line, and how it begins and ends.
class TestZukPage : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void wrongUse_data();
    void wrongUse();
    void told_data();
    void told();
    void takenPort();
    void runsUntilTerminated();
};

void TestZukPage::wrongUse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no port") << QStringList{"--listen", "127.0.0.1"};
    QTest::newRow("no such port") << QStringList{"--listen", "127.0.0.1:65536"};
    QTest::newRow("no address") << QStringList{"--listen", "nowhere:8233"};
    QTest::newRow("IPv6 without brackets") << QStringList{"--listen", "::1:8233"};
    QTest::newRow("nowhere") << QStringList{"--listen", ""};
    QTest::newRow("no origin") << QStringList{"--origin", "zuk.example.com"};
    QTest::newRow("something else") << QStringList{"start"};
    QTest::newRow("unknown option") << QStringList{"--root", "/"};
}

void TestZukPage::wrongUse()
{
    QFETCH(QStringList, arguments);
    ToolRun run(ZUK_PAGE, arguments);
    QCOMPARE(run.end(), 2);
    QVERIFY(run.errors.startsWith("zukpage: ") && run.errors.count('\n') == 1);
}

void TestZukPage::told_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("help") << "--help" << QByteArray("--origin <url>");
    QTest::newRow("version") << "--version" << QByteArray("zukpage " ZUK_VERSION "\n");
}

void TestZukPage::told()
{
    QFETCH(QString, option);
    QFETCH(QByteArray, text);
    ToolRun run(ZUK_PAGE, {option});
    QCOMPARE(run.end(), 0);
    QVERIFY(run.output.contains(text));
}

void TestZukPage::takenPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    const QString place = QStringLiteral("127.0.0.1:%1").arg(other.serverPort());
    ToolRun run(ZUK_PAGE, {"--listen", place, "--database", "nothing.db"});
    QCOMPARE(run.end(), 1);
    QVERIFY(run.errors.contains("cannot listen on " + place));
}

/// Without a file, of which it makes none.
void TestZukPage::runsUntilTerminated()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("missing.db");
    ToolRun run(ZUK_PAGE, {"--listen", "127.0.0.1:0", "--database", file});
    QVERIFY(run.waitForReadyRead());
    const QByteArray line = run.readAllStandardOutput();
    const QByteArray begin = "zukpage: http://127.0.0.1:";
    QVERIFY(line.startsWith(begin));
    QTcpSocket peer;
    peer.connectToHost(QHostAddress::LocalHost, line.mid(begin.size()).split('/').first().toUShort());
    peer.write("GET / HTTP/1.1\r\nHost: zuk\r\n\r\n");
    QVERIFY(QTest::qWaitFor([&peer] { return peer.bytesAvailable() > 0; }));
    QVERIFY(peer.readAll().startsWith("HTTP/1.1 200 OK\r\n"));
#ifdef Q_OS_UNIX
    kill(pid_t(run.processId()), SIGTERM);
    QCOMPARE(run.end(), 0);
    QCOMPARE(run.errors, QString());
#endif
    QVERIFY(!QFile::exists(file));
}

QTEST_GUILESS_MAIN(TestZukPage)
#include "tst_zukpage.moc"
