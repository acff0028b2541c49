#include "server/sessions/abridged.h"
#include "terminalsite.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using server::sessions::TerminalService;

static const QString kAllLogs = QStringLiteral(R"(getLogs {"fromTimestamp":"0"})");

class TestSessions : public QObject
{
    Q_OBJECT
public Q_SLOTS:
    void onAnswer(QAny answer, QString connectionId) { m_answers += connectionId + ' ' + answer.toJson(); }

private Q_SLOTS:
    void init();
    void cleanup();

    void parametersInDiagnostics();
    void loginAnswers();
    void oneConnectionPerNumber();
    void catchUp();
    void liveEventHidesNoOfflineOne();
    void unfinishedCatchUpIsMadeUpFor();
    void offlineEventWithTakenRowNumber();
    void replyDeliveredAgainIsStoredOnce();
    void noListEndsTheCatchUp();
    void terminalLeavesDuringCatchUp();
    void silentTerminalsHoldUpNobody();
    void keptReplyIsStoredOnce();
    void keptReplyIsStoredAtTheEnd();
    void serviceEndsDuringCatchUp();
    void callsToTerminals();
    void disconnecting();

private:
    QAny json(const char *text) { return QAny::fromJson(QByteArray(text)); }
    void answerLogsWith(const char *logs, const char *events = "[]");

    std::unique_ptr<TerminalSite> m_site;
    QStringList m_answers;
};

void TestSessions::init()
{
    m_site = std::make_unique<TerminalSite>();
    m_answers.clear();
}

void TestSessions::cleanup()
{
    m_site.reset();
}

void TestSessions::answerLogsWith(const char *logs, const char *events)
{
    m_site->side.answer = [this, logs, events](const QString &, const QString &method, const QAny &) {
        return json(method == "getLogs" ? logs : events);
    };
}

void TestSessions::parametersInDiagnostics()
{
    using server::sessions::abridged;
    const QString text(2'000'000, 'x');
    QAny many = QAny::list({});
    for (int i = 0; i < 100000; ++i)
        many.append(text.left(700));
    for (const QAny &value : {QAny(text), many, QAny::list({many, many}), QAny{{text, text}, {text + 'y', many}},
                              QAny::list({QAny{{"a", many}}, text})}) {
        QString line;
        QDebug(&line) << abridged(value);
        QVERIFY2(line.size() > 900 && line.size() < 1500, qPrintable(QString::number(line.size())));
    }
    QVERIFY(abridged(text).size() <= 1001 && abridged(text).startsWith("xxx"));
    const QAny usual{{"id", 5}, {"list", QAny::list({1, 2.5, "a", QAny()})}};
    QCOMPARE(abridged(usual), usual);
}

void TestSessions::loginAnswers()
{
    const std::pair<QByteArray, bool> rows[] = {
        {"[5]", false},           {R"({"ID":5})", false},
        {R"({"id":"5"})", false}, {R"({"id":5.5})", false},
        {R"({"id":-1})", true},   {R"({"id":4294967301})", false}, // would be 5 when cut
        {R"({"id":0})", true},    {R"({"id":2147483647,"name":"x"})", true}};
    for (const auto &[params, accepted] : rows) {
        const QString id = m_site->connection();
        const QByteArray status = QByteArray(R"({"loggedin":)") + (accepted ? "true}" : "false}");
        for (const QByteArray service : {"mainterminal", "adminterminal"}) {
            QCOMPARE(params + m_site->ask(id, service + ".login", params),
                     params + (accepted ? "true" : R"({"error":{"code":3100,"message":"Wrong login parameters"}})"));
            QCOMPARE(m_site->ask(id, service + ".status", "null"), QString(status));
            // A refused one may try again; a second login is refused without a reason.
            QCOMPARE(m_site->ask(id, service + ".login", R"({"id":7})"), QString(accepted ? "false" : "true"));
        }
        m_site->leave(id);
    }
}

void TestSessions::oneConnectionPerNumber()
{
    QSignalSpy connected(m_site->main.get(), &MainTerminalService::connected);
    QSignalSpy disconnected(m_site->main.get(), &MainTerminalService::disconnected);
    QTest::ignoreMessage(QtDebugMsg,
                         QRegularExpression(R"(^MainTerminalService::login "\d+" QAny<Hash>\(\{"id":5\}\)$)"));
    const QString first = m_site->terminal(5);
    const QString firstOfServer = m_site->main->connectionId(5);
    const QString second = m_site->connection();
    QCOMPARE(m_site->ask(second, "mainterminal.login", R"({"id":5})"),
             QString(R"({"error":{"code":3200,"message":"Duplicated terminal 5 connection"}})"));
    QCOMPARE(m_site->main->connectionId(5), firstOfServer);
    QCOMPARE(m_site->main->terminalNumber(firstOfServer), 5);
    m_site->leave(m_site->connection());
    QCOMPARE(disconnected.size(), 0);
    const QByteArray line = "MainTerminalService::onDisconnectedConnection \"" + firstOfServer.toUtf8() + '"';
    QTest::ignoreMessage(QtDebugMsg, line.constData());
    m_site->leave(first);
    QVERIFY(!m_site->main->isConnected(5));
    QCOMPARE(m_site->main->terminalNumber(firstOfServer), -1);
    QCOMPARE(m_site->ask(second, "mainterminal.login", R"({"id":5})"), QString("true"));
    QCOMPARE(connected, (QList<QVariantList>{{5}, {5}}));
    QCOMPARE(disconnected, (QList<QVariantList>{{5}}));
}

void TestSessions::catchUp()
{
    m_site->database->insertLog(5, 1, 0, 0, 1000, "known", QAny());
    m_site->database->insertLog(6, 1, 0, 0, 9000, "another's", QAny());
    m_site->database->insert("events", {{"USER", "7"}, {"TIMESTAMP", 500}, {"TID", 5}});
    m_site->database->insert("events", {{"USER", "7"}, {"TIMESTAMP", 800}, {"TID", 6}});
    answerLogsWith(R"([{"FTIMESTAMP":"1001","ID":11,"LLEVEL":1,"LGROUP":2,"FMESSAGE":"as text","DATA":{"a":[1]}},
                       5,null,[1],
                       {"FTIMESTAMP":1002,"ID":"12","LLEVEL":"3","LGROUP":[],"FMESSAGE":6},{}])",
                   R"(["x",
                       {"USER":"7","TIMESTAMP":600,"TID":5,"TERMINAL":"vrata","ACCESS_CODE":"101:Prihod","NONE":1},
                       {"USER":"x'","TIMESTAMP":601,"TID":5},{"NONE":1},
                       {"USER":8,"TIMESTAMP":"602","TID":"5","TERMINAL":"dvor","ACCESS_CODE":"102:Odhod"}])");
    QTest::ignoreMessage(QtDebugMsg, "MainTerminalService::LogsToUpdate: 6  ID: 5");
    QTest::ignoreMessage(QtDebugMsg, "MainTerminalService::logsUpdated: 3");
    expectWarning("^MainTerminalService::catchUp terminal 5 3 unusable log lines");
    expectWarning("^MainTerminalService::catchUp terminal 5 1 unusable events");
    expectWarning("^DataBase::select\\(\\)"); // the user that is no number stands bare in the read-back
    expectWarning("^EventStore::addRow event not found, user x' time 601");
    QVERIFY(!m_site->terminal(5).isEmpty());
    QVERIFY(m_site->waitForCatchUps());

    QCOMPARE(m_site->side.requests,
             (QStringList{R"(getLogs {"fromTimestamp":"1000"})", R"(getEvents {"TID":"5","fromTimestamp":"500"})"}));
    QCOMPARE(m_site->rows("select LINE,ID,FTIMESTAMP,LLEVEL,LGROUP,FMESSAGE,DATA from logs where IDX>1 order by IDX"),
             (QStringList{R"(5|11|1001|1|2|as text|{"DATA":{"a":[1]}})", R"(5|12|1002|3|0|6|{"DATA":null})",
                          R"(5|0|0|0|0||{"DATA":null})"}));
    QCOMPARE(m_site->rows("select USER,TIMESTAMP,TID,TERMINAL,ACCESS_CODE from events where ID>2 order by ID"),
             (QStringList{"7|600|5|vrata|101:Prihod", "x'|601|5||", "8|602|5|dvor|102:Odhod"}));
    QCOMPARE(m_site->rows("select IDX,USER,TIMESTAMP,ACCESS_CODE,TYPE,TERMINAL,REMARK,TAG from allevents order by ID"),
             (QStringList{"3|7|600|101:Prihod|EV|vrata|ZUKvrata SERVER OFFLINE|",
                          "5|8|602|102:Odhod|EV|dvor|ZUKdvor SERVER OFFLINE|"}));
}

void TestSessions::liveEventHidesNoOfflineOne()
{
    m_site->side.answer = [this](const QString &id, const QString &method, const QAny &) {
        if (method == "getLogs") {
            m_site->call(id, "logger.event", json(R"({"USER":"7","TIMESTAMP":9000,"TID":5})"));
            return QAny::list();
        }
        return json(R"([{"USER":"7","TIMESTAMP":600,"TID":5}])");
    };
    m_site->terminal(5);
    QVERIFY(m_site->waitForCatchUps());
    QCOMPARE(m_site->side.requests.last(), QString(R"(getEvents {"TID":"5","fromTimestamp":"0"})"));
    QCOMPARE(m_site->rows("select TIMESTAMP,REMARK from allevents order by ID"),
             (QStringList{"9000|", "600|ZUK SERVER OFFLINE"}));
}

/// Live events of a session whose catch-up failed do not hide what the terminal still has.
void TestSessions::unfinishedCatchUpIsMadeUpFor()
{
    m_site->database->insert("events", {{"USER", "7"}, {"TIMESTAMP", 500}, {"TID", 5}});
    for (const char *logs : {"null", "[]"}) {
        answerLogsWith(logs, "null");
        const QString id = m_site->terminal(5);
        QVERIFY(m_site->waitForCatchUps());
        m_site->call(id, "logger.event", json(R"({"USER":"7","TIMESTAMP":9000,"TID":5})"));
        m_site->call(id, "logger.log", json(R"({"ID":1,"FTIMESTAMP":"8000"})"));
        m_site->leave(id);
    }
    answerLogsWith("[]", R"([{"USER":"7","TIMESTAMP":600,"TID":5}])");
    m_site->side.requests.clear();
    for (int login = 0; login < 2; ++login) {
        const QString id = m_site->terminal(5);
        QVERIFY(m_site->waitForCatchUps());
        m_site->leave(id);
    }
    QCOMPARE(m_site->side.requests,
             (QStringList{R"(getLogs {"fromTimestamp":"8000"})", R"(getEvents {"TID":"5","fromTimestamp":"500"})",
                          R"(getLogs {"fromTimestamp":"8000"})", R"(getEvents {"TID":"5","fromTimestamp":"9000"})"}));
}

void TestSessions::offlineEventWithTakenRowNumber()
{
    m_site->database->insert("events", {{"ID", 3}, {"USER", "9"}, {"TIMESTAMP", 1}, {"TID", 6}});
    answerLogsWith("[]", R"([{"ID":3,"USER":"7","TIMESTAMP":600},{"ID":8,"USER":"7","TIMESTAMP":601}])");
    expectWarning("^DataBase::insert\\(\\).*UNIQUE");
    m_site->terminal(5);
    QVERIFY(m_site->waitForCatchUps());
    QCOMPARE(m_site->rows("select ID,USER,TIMESTAMP from events order by ID"),
             (QStringList{"3|9|1", "4|7|600", "8|7|601"}));
    QCOMPARE(m_site->rows("select IDX from allevents order by ID"), (QStringList{"4", "8"}));
}

/// A terminal answers with what it also sent live, with what it brought before, and more than it was asked for.
void TestSessions::replyDeliveredAgainIsStoredOnce()
{
    const char *const logs = R"([{"FTIMESTAMP":1001,"FMESSAGE":"a"},{"FTIMESTAMP":1001,"FMESSAGE":"a"},
                                 {"FTIMESTAMP":1001,"FMESSAGE":"a","DATA":1}])";
    const char *const events = R"([{"USER":"7","TIMESTAMP":600,"TID":5,"ACCESS_CODE":"101"},
                                   {"USER":7,"TIMESTAMP":"601","TID":"5","ACCESS_CODE":"101","NAME":"of the terminal"},
                                   {"USER":"7","TIMESTAMP":602,"TID":5,"ACCESS_CODE":"101"},
                                   {"USER":"7","TIMESTAMP":602,"TID":5,"ACCESS_CODE":"101"},
                                   {"USER":"7","TIMESTAMP":602,"TID":5,"ACCESS_CODE":"102"}])";
    for (const char *reply : {"null", logs, logs}) {
        answerLogsWith(reply, events);
        const QString id = m_site->terminal(5);
        QVERIFY(m_site->waitForCatchUps());
        for (int time : {600, 601})
            m_site->call(id, "logger.event", {{"USER", "7"}, {"TIMESTAMP", time}, {"TID", 5}, {"ACCESS_CODE", "101"}});
        m_site->leave(id);
    }
    QCOMPARE(m_site->rows("select FTIMESTAMP,DATA from logs order by IDX"),
             (QStringList{R"(1001|{"DATA":null})", R"(1001|{"DATA":null})", R"(1001|{"DATA":1})"}));
    const QStringList once{"600|101", "601|101", "602|101", "602|101", "602|102"};
    QCOMPARE(m_site->rows("select TIMESTAMP,ACCESS_CODE from events order by ID"), once);
    QCOMPARE(m_site->rows("select TIMESTAMP from allevents order by ID").count(), once.count());
}

void TestSessions::noListEndsTheCatchUp()
{
    int number = 0;
    for (const char *reply : {R"({"error":{"code":1,"message":"no logs"}})", "null", R"({"FTIMESTAMP":1,"ID":1})"}) {
        answerLogsWith(reply, R"([{"USER":"7","TIMESTAMP":600}])");
        QTest::ignoreMessage(QtDebugMsg, "MainTerminalService::!res.isList()");
        m_site->terminal(++number);
        QVERIFY(m_site->waitForCatchUps());
    }
    QCOMPARE(m_site->side.requests, (QStringList{kAllLogs, kAllLogs, kAllLogs}));
    QCOMPARE(m_site->rows("select 1 from logs union all select 1 from events"), QStringList());
}

void TestSessions::terminalLeavesDuringCatchUp()
{
    // It leaves with its logs on the way, then before it was asked at all.
    m_site->side.answer = [this](const QString &id, const QString &, const QAny &) {
        m_site->client.abortConnection(id);
        return json(R"([{"FTIMESTAMP":1}])");
    };
    QTest::ignoreMessage(QtDebugMsg, "MainTerminalService::!res.isList()");
    m_site->terminal(5);
    QVERIFY(m_site->waitForCatchUps());
    QVERIFY(!m_site->main->isConnected(5));
    QCOMPARE(m_site->side.requests.size(), 1);

    QTest::ignoreMessage(QtDebugMsg, "MainTerminalService::!connectionIds.contains(id)");
    const auto watch = connect(m_site->main.get(), &MainTerminalService::connected,
                               [this](int terminal) { m_site->main->disconnectTerminal(terminal); });
    m_site->terminal(5);
    disconnect(watch);
    QVERIFY(m_site->waitForCatchUps());
    QCOMPARE(m_site->side.requests.size(), 1);
    QCOMPARE(m_site->rows("select 1 from logs"), QStringList());
}

void TestSessions::silentTerminalsHoldUpNobody()
{
    constexpr int kTerminals = 200;
    constexpr int kSilentEach = 20;
    answerLogsWith(R"([{"FTIMESTAMP":1,"FMESSAGE":"line"}])", R"([{"USER":"7","TIMESTAMP":600}])");
    QElapsedTimer elapsed;
    elapsed.start();
    std::vector<std::unique_ptr<RpcPeer>> silent;
    for (int number = 1; number <= kTerminals; ++number) {
        if (number % kSilentEach != 0) {
            QVERIFY(!m_site->terminal(number).isEmpty());
            continue;
        }
        silent.push_back(m_site->silentPeer(number));
    }
    QVERIFY(m_site->waitForCatchUps(kTerminals / kSilentEach));
    QVERIFY2(elapsed.elapsed() < TerminalService::kCallTimeoutMs, "the silent ones had their time");
    QCOMPARE(m_site->main->connections().count(), kTerminals);
    QCOMPARE(m_site->rows("select count(*),count(distinct LINE) from logs"), QStringList("190|190"));
    QCOMPARE(m_site->rows("select count(*) from allevents"), QStringList("190"));
}

void TestSessions::keptReplyIsStoredOnce()
{
    m_site->main->keptReplies().setRetryInterval(10);
    std::unique_ptr<FileLock> lock;
    m_site->side.answer = [&](const QString &, const QString &method, const QAny &params) {
        if (method == "getEvents")
            return json(R"([{"USER":"7","TIMESTAMP":600,"TID":5}])");
        if (params == json(R"({"fromTimestamp":"1002"})"))
            return QAny::list();
        lock = m_site->lock();
        return json(R"([{"FTIMESTAMP":1001},{"FTIMESTAMP":1002}])");
    };
    expectWarning("locked");
    expectWarning("^MainTerminalService::catchUp not stored, kept for another attempt: terminal 5, 2 log lines");
    const QString first = m_site->terminal(5);
    QVERIFY(waitFor([this] { return m_site->main->keptReplies().isRefused(); }));
    // What is kept is known: the next session does not fetch it again, and alone asks for the events.
    m_site->leave(first);
    m_site->terminal(5);
    QVERIFY(waitFor([this] { return m_site->side.requests.size() == 3; }));
    lock->release();
    QVERIFY(m_site->waitForCatchUps());
    QCOMPARE(m_site->side.requests, (QStringList{kAllLogs, R"(getLogs {"fromTimestamp":"1002"})",
                                                 R"(getEvents {"TID":"5","fromTimestamp":"0"})"}));
    QCOMPARE(m_site->rows("select LINE,FTIMESTAMP from logs order by IDX"), (QStringList{"5|1001", "5|1002"}));
    QCOMPARE(m_site->rows("select TIMESTAMP from allevents"), QStringList("600"));
}

void TestSessions::keptReplyIsStoredAtTheEnd()
{
    std::unique_ptr<FileLock> lock;
    m_site->side.answer = [&](const QString &, const QString &method, const QAny &) {
        if (method == "getLogs")
            return QAny::list();
        lock = m_site->lock();
        return json(R"([{"USER":"7","TIMESTAMP":600},{"USER":"8","TIMESTAMP":601}])");
    };
    m_site->terminal(5);
    QVERIFY(waitFor([this] { return m_site->main->keptReplies().isRefused(); }));
    lock->release();
    setMainTerminalService(nullptr);
    m_site->main.reset();
    QCOMPARE(m_site->rows("select TIMESTAMP from allevents order by ID"), (QStringList{"600", "601"}));
}

void TestSessions::serviceEndsDuringCatchUp()
{
    const auto silent = m_site->silentPeer(5);
    QVERIFY(m_site->waitForCatchUps(1));
    m_site->server.unregisterService("mainterminal");
    setMainTerminalService(nullptr);
    m_site->main.reset();
    expectWarning("can't invoke");
    silent->socket->abort();
    QVERIFY(waitFor([this] { return !m_site->connection().isEmpty(); }));
    settle();
}

void TestSessions::callsToTerminals()
{
    const QString notConnected = R"({"error":{"code":3300,"message":"main terminal 5 not connected"}})";
    const char *const slot = SLOT(onAnswer(QAny, QString));
    for (TerminalService *service :
         {static_cast<TerminalService *>(m_site->main.get()), static_cast<TerminalService *>(m_site->admin.get())}) {
        QCOMPARE(service->callTerminal(5, "logger.getLogs", QAny(), 1000), QAny::fromJson(notConnected));
        QCOMPARE(service->callTerminalAsync(5, "logger.getLogs", QAny(), 1000, this, slot),
                 QAny::fromJson(notConnected));
    }
    QCOMPARE(m_site->main->ulkaCsvEvent(5, json("[1]")), json(R"({"NOZUK":true})"));
    QCOMPARE(m_site->main->getPictures(5, 3, QAny()), QAny(QString()));
    QVERIFY(m_site->side.requests.isEmpty());

    m_site->terminal(5);
    QVERIFY(m_site->waitForCatchUps());
    m_site->side.requests.clear();
    m_site->side.answer = [](const QString &, const QString &method, const QAny &) { return QAny(method); };
    QCOMPARE(m_site->main->ulkaCsvEvent(5, json(R"({"USER":7})")), QAny("ulkaCsvEvent"));
    QCOMPARE(m_site->main->getPictures(5, 3, json(R"({"CTRL":{"a":1},"ID":9})")), QAny("getPictures"));
    QCOMPARE(m_site->main->getPictures(5, 4, json("[]")), QAny("getPictures"));
    QCOMPARE(m_site->main->callTerminal(5, "logger.none", QAny(), 1000),
             json(R"({"error":{"code":10110,"message":"No such method"}})"));
    QCOMPARE(m_site->main->callTerminalAsync(5, "logger.getLogs", json("{}"), 1000, this, slot), QAny(true));
    QCOMPARE(m_site->main->callTerminalAsync(5, "logger.getLogs", json("{}"), 1000), QAny(true));
    expectWarning("^MainTerminalService::callTerminalAsync receiver member should be a SLOT");
    QCOMPARE(m_site->main->callTerminalAsync(5, "logger.getLogs", json("{}"), 1000, this, "onAnswer"), QAny(false));
    QVERIFY(waitFor([this] { return m_site->side.requests.size() == 5 && !m_answers.isEmpty(); }));
    QCOMPARE(m_site->side.requests, (QStringList{R"(ulkaCsvEvent {"USER":7})", R"(getPictures {"CTRL":{"a":1},"ID":3})",
                                                 R"(getPictures {"ID":4})", "getLogs {}", "getLogs {}"}));
    QCOMPARE(m_answers, QStringList(m_site->main->connectionId(5) + R"( "getLogs")"));
}

void TestSessions::disconnecting()
{
    QSignalSpy disconnected(m_site->main.get(), &MainTerminalService::disconnected);
    for (int number : {9, 5, 7})
        m_site->terminal(number);
    const QString kept = m_site->connection();
    m_site->main->disconnectTerminal(6);
    m_site->main->disconnectTerminal(7);
    QCOMPARE(disconnected.size(), 1);
    QAny expected = QAny::list();
    for (int number : {5, 9}) {
        const QString id = m_site->main->connectionId(number);
        expected.append({{"KEY", number}, {"VAL", id}});
        QTest::ignoreMessage(QtDebugMsg, QStringLiteral("%1  :  \"%2\"").arg(number).arg(id).toLatin1().constData());
    }
    QCOMPARE(m_site->main->connections(), expected);
    m_site->main->disconnectAll();
    QCOMPARE(disconnected.size(), 3);
    QCOMPARE(m_site->main->connections().count(), 0);
    QCOMPARE(m_site->ask(kept, "mainterminal.login", R"({"id":5})"), QString("true"));
}

QTEST_GUILESS_MAIN(TestSessions)
#include "tst_sessions.moc"
