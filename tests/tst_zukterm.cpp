#include "checksite.h"
#include "files.h"
#include "rpcpeer.h"
#include "server/sessions/sessionpeers.h"
#include "toolrun.h"
#include "tools/zukterm/latencystats.h"

#include <QRegularExpression>
#include <QTest>

#include <functional>
#include <memory>

using tools::zukterm::LatencyStats;

/// Takes the place of the site's logger and does with an event what the test says.
class OtherLogger : public Logger
{
    Q_OBJECT
public:
    explicit OtherLogger(KNet::RpcController &server) : Logger(server::sessions::sessionPeers())
    {
        server.unregisterService("logger");
        server.registerService("logger", this);
    }
    std::function<QAny(const QString &connectionId, const QAny &event)> deed;

public Q_SLOTS:
    QAny event(const QString &connectionId, const QAny &params) { return deed(connectionId, params); }
};

/// The real program against a server in this process.
class TestZukTerm : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_site = std::make_unique<CheckSite>(); }
    void cleanup();
    void wrongUse();
    void severalSend();
    void offlineRowsNewerThanTheServers();
    void manyOfflineRows();
    void administrationClient();
    void nothingLostWhenCut_data();
    void nothingLostWhenCut();
    void duplicatedTerminalTriesAgain();
    void refusalsAreToldByTheExitCode();
    void serverCallsTerminals();
    void silentTerminals();
    void signalEndsWithTheSummary();
    void percentiles();

private:
    void start(const QStringList &arguments)
    {
        const QStringList usual{"--port", QString::number(m_site->server.serverPort()), "--reconnect", "0.05"};
        m_program = std::make_unique<ToolRun>(ZUK_TERM, usual + arguments);
    }
    int run(const QStringList &arguments)
    {
        start(arguments);
        return m_program->end();
    }
    QString write(const QString &name, const QByteArray &text)
    {
        return writeFile(m_site->folder.filePath(name), text);
    }
    bool says(const QString &text) const
    {
        if (m_program->text().contains(text))
            return true;
        qWarning().noquote() << m_program->text() << m_program->errors;
        return false;
    }

    std::unique_ptr<CheckSite> m_site;
    std::unique_ptr<ToolRun> m_program;
};

void TestZukTerm::cleanup()
{
    m_program.reset();
    m_site.reset();
}

void TestZukTerm::wrongUse()
{
    const QByteArray event = R"({"USER":7,"TIMESTAMP":1000,"ACCESS_CODE":"101:Prihod"})";
    const struct {
        QStringList arguments;
        QByteArray file; // sent behind the arguments
        const char *reason;
    } rows[] = {{{"--port", "70000"}, {}, "--port \"70000\""},
                {{"--event", "7,101,yesterday"}, {}, "\"yesterday\""},
                {{"--users", "9-3"}, {}, "--users \"9-3\""},
                {{"--call", "terminalcheck.ping", "{1"}, {}, "not JSON"},
                {{"--admin", "--event", "7"}, {}, "have no events"},
                {{"--once", "--rate", "5"}, {}, "--count or --duration"},
                {{"--logs", "missing.json"}, {}, "missing.json"},
                {{"--send"}, event + "\n\n{\"USER\":\n" + event, "line 3"},
                {{"--send"}, event + " " + event, "line 1"},
                {{"--send"}, "[\n" + event + ",\n{\n,}]", "line 4"},
                {{"--send"}, "[\n" + event + "\n", "line 3: the array does not end"},
                {{"--send"}, event + "\n{\"USER\":7,\"ACCESS_CODE\":\"101\"}", "line 2: TIMESTAMP"},
                {{"--send"}, QByteArray(event).replace("}", ",\"TID\":2}"), "line 1: TID 2"}};
    for (const auto &row : rows) {
        const QStringList file = row.file.isEmpty() ? QStringList() : QStringList(write("wrong.json", row.file));
        QCOMPARE(run(row.arguments + file), 2);
        QVERIFY2(m_program->errors.contains(row.reason), qPrintable(m_program->errors));
        QCOMPARE(m_program->errors.count('\n'), 1);
    }
}

void TestZukTerm::severalSend()
{
    const QString file =
        write("send.json", R"([{"USER":"40","TIMESTAMP":1100,"ACCESS_CODE":"102:Odhod","TID":7,"DESCRIPTION":"own"},
                               {"USER":"41","TIMESTAMP":1200,"ACCESS_CODE":"101:Prihod"}])");
    QCOMPARE(
        run({"--number", "5", "--terminals", "3", "--event", "12,102:1:Dopust,2026-03-31 16:00,malo, prej", "--event",
             "13", "--send", file, "--log", u8"čas teče", "--call", "terminalcheck.ping", "{}", "--once"}),
        0);
    // In turn, but for the one that names its terminal. 16:00 in summer time is 14:00 UTC.
    const QStringList stored{"12|5|5|102:1:Dopust|1774965600|zukterm|malo, prej", "13|6|6|101:Prihod|now|zukterm|",
                             "40|7|7|102:Odhod|1100|own|", "41|7|7|101:Prihod|1200|zukterm|"};
    QCOMPARE(m_site->rows("select E.USER,TID,E.TERMINAL,E.ACCESS_CODE,case E.USER when '13' then 'now' else "
                          "E.TIMESTAMP end,substr(DESCRIPTION,1,7),REMARK from events E join allevents A on IDX=E.ID "
                          "order by E.USER"),
             stored);
    const QStringList logLines{u8"5|1|čas teče", u8"6|1|čas teče", u8"7|1|čas teče"};
    QCOMPARE(m_site->rows("select LINE,ID,FMESSAGE from logs order by LINE"), logLines);
    QCOMPARE(m_program->output.count(R"(terminalcheck.ping answers {"PING":"OK"})"), 3);
    QVERIFY(says("terminals: 3, logged in 3, logins refused 0, connections lost 0"));
    QVERIFY(says("events: 4, acknowledged 4, found stored 0, refused 0, unanswered 0"));
    QVERIFY(says("log lines: 3, stored 3"));
    QVERIFY(says("calls: 3, answered 3"));
}

void TestZukTerm::offlineRowsNewerThanTheServers()
{
    QVERIFY(m_site->database->exec("insert into events (USER,TIMESTAMP,TID) values ('9',200,8)"));
    QVERIFY(m_site->database->insertLog(8, 1, 0, 0, 5000, "known", QAny()));
    const QString events = write("events.json", "\xEF\xBB\xBF"
                                                R"({"USER":"3","TIMESTAMP":300,"ACCESS_CODE":"101:Prihod"}
                                                   {"USER":"1","TIMESTAMP":100,"ACCESS_CODE":"101:Prihod"}

                                                   {"USER":"2","TIMESTAMP":200,"ACCESS_CODE":"101:Prihod"}
                                                   {"USER":"4","TIMESTAMP":"201","ACCESS_CODE":"101:Prihod"})");
    const QString logs =
        write("logs.json", R"([{"FTIMESTAMP":5000,"FMESSAGE":"a"},{"FTIMESTAMP":5001,"FMESSAGE":"b"}])");
    QCOMPARE(run({"--number", "8", "--events", events, "--logs", logs, "--once"}), 0);
    QVERIFY(m_site->waitForCatchUps());
    QCOMPARE(m_site->rows("select USER,TIMESTAMP,TID from events order by ID"),
             (QStringList{"9|200|8", "4|201|8", "3|300|8"}));
    QCOMPARE(m_site->rows("select FTIMESTAMP,FMESSAGE from logs order by FTIMESTAMP"),
             (QStringList{"5000|known", "5001|b"}));
    QVERIFY(says("events: 0,")); // none is sent as a live one
    QVERIFY(says("offline events: asked 1, rows 2, not newer 2"));
}

void TestZukTerm::manyOfflineRows()
{
    QCOMPARE(run({"--offline-events", "20000", "--offline-logs", "20000", "--users", "1-3,9", "--offline-hours", "2",
                  "--once", "--quiet"}),
             0);
    QVERIFY(!m_program->output.contains("server asks"));
    QVERIFY(m_site->waitForCatchUps());
    QCOMPARE(m_site->rows("select count(*) from logs"), QStringList{"20000"});
    QCOMPARE(m_site->rows("select count(*),round((max(TIMESTAMP)-min(TIMESTAMP))/60.0),"
                          "strftime('%s','now')-max(TIMESTAMP) between 0 and 120 from events"),
             QStringList{"20000|120|1"});
    QCOMPARE(m_site->rows("select USER,ACCESS_CODE from events where ID in (4,5)"),
             (QStringList{"9|101:Prihod", "1|102:Odhod"}));
}

void TestZukTerm::administrationClient()
{
    QCOMPARE(run({"--admin", "--number", "9", "--offline-logs", "2", "--log", "here", "--once"}), 0);
    QVERIFY(m_site->waitForCatchUps());
    // The names of the columns are in lower case; the number 200 tells the server who logs.
    QCOMPARE(m_site->rows("select LINE,ID,FTIMESTAMP>0,FMESSAGE from logs order by ID"),
             (QStringList{"9|1|1|Offline log line 1", "9|2|1|Offline log line 2", "9|200|1|here"}));
    QVERIFY(says("offline events: asked 0"));
}

void TestZukTerm::nothingLostWhenCut_data()
{
    QTest::addColumn<bool>("isStored");
    QTest::newRow("the answer is lost") << true;
    QTest::newRow("the event is lost") << false;
}

void TestZukTerm::nothingLostWhenCut()
{
    QFETCH(bool, isStored);
    int seen = 0;
    OtherLogger logger(m_site->server);
    logger.deed = [&](const QString &connectionId, const QAny &event) {
        const bool isCut = ++seen % 7 == 0 && seen < 40;
        if (!isCut || isStored)
            logger.Logger::event(connectionId, event);
        if (isCut)
            m_site->server.abortConnection(connectionId);
        return QAny(true);
    };
    QCOMPARE(run({"--rate", "2000", "--count", "100", "--in-flight", "4", "--users", "1-10", "--once"}), 0);
    // None lost, none doubled.
    QCOMPARE(m_site->rows("select count(distinct DESCRIPTION),count(*) from events"), QStringList{"100|100"});
    QVERIFY(says("connections lost 5"));
    QVERIFY(says("refused 0, unanswered 0"));
    QVERIFY(m_program->output.count(isStored ? ": found stored" : ": sent again") >= 5);
}

void TestZukTerm::duplicatedTerminalTriesAgain()
{
    const QString other = m_site->terminal(5);
    start({"--number", "5", "--event", "7", "--once"});
    QVERIFY(waitFor([this] { return m_program->bytesAvailable() > 0; }));
    m_site->leave(other);
    QCOMPARE(m_program->end(), 0);
    QVERIFY(says("3200 Duplicated terminal 5 connection"));
    const QRegularExpression summary("logged in 1, logins refused [1-9]\\d*, connections lost 0");
    QVERIFY2(m_program->text().contains(summary), m_program->output);
    QCOMPARE(m_site->rows("select USER from events"), QStringList{"7"});
}

void TestZukTerm::refusalsAreToldByTheExitCode()
{
    QVERIFY(!m_site->terminal(5).isEmpty());
    OtherLogger logger(m_site->server);
    logger.deed = [](const QString &, const QAny &) { return false; };
    const std::pair<QStringList, QString> rows[] = {{{"--event", "7"}, "refused 1"},
                                                    {{"--number", "5", "--reconnect", "0"}, "logged in 0"},
                                                    {{"--call", "nobody.there"}, "10100 No such service"},
                                                    {{"--port", "1", "--event", "7"}, "unanswered 1"}};
    for (const auto &[arguments, text] : rows) {
        QCOMPARE(run(QStringList{"--once", "--timeout", "1"} + arguments), 1);
        QVERIFY(says(text));
    }
}

void TestZukTerm::serverCallsTerminals()
{
    write("17.jpg", "\xFF\xD8");
    start({"--number", "6", "--pictures", m_site->folder.path()});
    QVERIFY(waitFor([this] { return m_site->main->isConnected(6); }));
    QCOMPARE(m_site->main->getPictures(6, 17, QAny()), (QAny{{"ID", 17}, {"TYPE", "jpg"}, {"PICT", "/9g="}}));
    m_site->main->ulkaCsvEvent(6, {{"EID", 4}, {"FID", 2}});
    const QAny answer = m_site->main->callTerminal(6, "logger.zukCmd", {{"ZUKID", 6}, {"CMD", "OPEN"}}, 5000);
    QCOMPARE(answer.lookup("PARAMS").lookup("CMD").toString(), QString("OPEN"));
    m_program->terminate();
    QCOMPARE(m_program->end(), 0);
    QVERIFY(says(R"(ulkaCsvEvent {"EID":4,"FID":2})"));
    QVERIFY(says("asked: pictures 1, reader events 1, commands 1"));
}

void TestZukTerm::silentTerminals()
{
    connect(m_site->main.get(), &MainTerminalService::connected, this, [this](int terminal) {
        if (terminal >= 3)
            m_site->server.pingRemoteConnections();
    });
    QCOMPARE(run({"--terminals", "4", "--silent", "2", "--event", "7", "--event", "8", "--event", "9", "--once"}), 0);
    QCOMPARE(m_site->rows("select TID from events order by USER"), (QStringList{"1", "2", "1"}));
    QVERIFY(says("terminals: 4, logged in 4, logins refused 0, connections lost 0"));
    QVERIFY(says("offline events: asked 2"));
}

void TestZukTerm::signalEndsWithTheSummary()
{
    int stored = 0;
    OtherLogger logger(m_site->server);
    logger.deed = [&](const QString &, const QAny &) {
        if (++stored == 20)
            m_program->terminate();
        return true;
    };
    QCOMPARE(run({"--terminals", "2", "--rate", "500", "--quiet"}), 0);
    QVERIFY(stored >= 20);
    QVERIFY(says(QStringLiteral("events: %1, acknowledged %1,").arg(stored)));
    QVERIFY(m_program->output.startsWith("terminals: "));
}

void TestZukTerm::percentiles()
{
    LatencyStats stats;
    QCOMPARE(stats.percentile(0.5), 0);
    for (int i = 1; i <= 100000; ++i)
        stats.add(i);
    for (const double share : {0.0005, 0.5, 0.99}) {
        const double exact = share * 100000;
        const auto found = static_cast<double>(stats.percentile(share));
        QVERIFY2(found >= exact && found <= exact * (1 + 1.0 / 64), qPrintable(QString::number(found)));
    }
    QCOMPARE(stats.percentile(1), 100000);
    QCOMPARE(stats.max(), 100000);
}

QTEST_GUILESS_MAIN(TestZukTerm)
#include "tst_zukterm.moc"
