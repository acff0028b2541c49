#include "storage/rescue.h"
#include "terminalsite.h"

#include <QTest>

class TestLogger : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void lineIsLastOctetOfSiteAddress();
    void rowsOfTheServer();
    void withoutDatabaseNothingHappens();

    void eventAndJournalRow();
    void eventSurvivesMissingJournal();
    void deliveredTwiceIsStoredOnce();
    void manyShareOneTransaction();
    void whoIsServed();
    void bothRowsOrNone();
    void keptEventsStayInOrder();
    void rescuedEventsAreStoredOnce();
    void keptEventsAreStoredAtTheEnd();
};

static QList<QHostAddress> addresses(const QStringList &texts)
{
    QList<QHostAddress> list;
    for (const QString &text : texts)
        list.append(QHostAddress(text));
    return list;
}

void TestLogger::lineIsLastOctetOfSiteAddress()
{
    const auto line = [](const QStringList &machine) { return Logger::lineNumber(addresses(machine)); };
    QCOMPARE(line({"10.0.0.5", "192.168.4.77"}), 77);
    QCOMPARE(line({"192.168.9.200", "192.168.4.77"}), 200); // the first of two
    QCOMPARE(line({"192.167.4.1", "192.169.4.2", "193.168.4.3"}), 0);
    QCOMPARE(line({"::1", "fe80::c0a8:4d"}), 0);
    QCOMPARE(line({}), 0);
}

void TestLogger::rowsOfTheServer()
{
    TerminalSite site;
    QStringList machine{QStringLiteral("10.0.0.5")};
    qint64 now = 1792044060001;
    Logger log(
        {}, [&machine] { return addresses(machine); }, [&now] { return now++; });
    log.log(QStringLiteral("no network yet"));
    machine = QStringList{"192.168.4.77"};
    log.log(3, 7, QStringLiteral("network is up"), QAny{{QStringLiteral("a"), 1}});
    machine = QStringList{"192.168.4.99"};
    log.log(QStringLiteral("line is kept"));
    QCOMPARE(site.rows("select LINE,ID,LLEVEL,LGROUP,FMESSAGE,DATA,FTIMESTAMP from logs order by IDX"),
             (QStringList{R"(0|0|0|0|no network yet|{"DATA":null}|1792044060001)",
                          R"(77|0|3|7|network is up|{"DATA":{"a":1}}|1792044060002)",
                          R"(77|0|0|0|line is kept|{"DATA":null}|1792044060003)"}));
}

void TestLogger::withoutDatabaseNothingHappens()
{
    Logger log;
    log.log(QStringLiteral("dropped"));
    QVERIFY(!db());
    QCOMPARE(log.event("1", QAny()), QAny(false));
    QCOMPARE(log.log("1", QAny()), QAny(false));
}

void TestLogger::eventAndJournalRow()
{
    TerminalSite site;
    const QString id = site.terminal(5);
    QCOMPARE(site.ask(id, "logger.event",
                      R"({"USER":"7","FINGER":2,"TERMINAL":"vrata","TIMESTAMP":1792044060,"DESCRIPTION":"d",
                          "ACCESS_CODE":"101:Prihod","ID_TYPE":"FING","UID":7,"TID":5,"NAME":"Ana","NONE":1,
                          "ALLEVREMARK":"opomba"})"),
             QString("true"));
    QCOMPARE(site.ask(id, "logger.event", R"({"USER":"a b","TIMESTAMP":1})"), QString("true"));
    QCOMPARE(site.rows("select USER,FINGER,TERMINAL,TIMESTAMP,DESCRIPTION,ACCESS_CODE,ID_TYPE,UID,TID,NAME from events "
                       "order by ID"),
             (QStringList{"7|2|vrata|1792044060|d|101:Prihod|FING|7|5|Ana", "a b|||1||||0|0|"}));
    QCOMPARE(site.rows("select IDX,USER,TIMESTAMP,ACCESS_CODE,TYPE,REMARK,TAG,TERMINAL from allevents order by ID"),
             (QStringList{"1|7|1792044060|101:Prihod|EV|opomba|0|", "2|a b|1||EV||0|"}));
    // Of two at the same time, the first one that is found.
    site.call(id, "logger.event", {{"USER", "7"}, {"TIMESTAMP", 1792044060}, {"ACCESS_CODE", "102"}});
    QCOMPARE(site.rows("select IDX,ACCESS_CODE from allevents").last(), QString("1|101:Prihod"));
    QCOMPARE(site.rows("select typeof(REMARK),typeof(TAG) from allevents where IDX=2"), QStringList("text|integer"));
}

void TestLogger::eventSurvivesMissingJournal()
{
    TerminalSite site;
    const QString id = site.terminal(5);
    site.database->exec("drop table allevents");
    expectWarning("^EventStore::addRow no row written for user 7 time 60");
    QCOMPARE(site.ask(id, "logger.event", R"({"USER":"7","TIMESTAMP":60})"), QString("true"));
    QCOMPARE(site.rows("select USER from events"), QStringList("7"));
    // What is no event at all has no row, and the same answer.
    expectWarning("^DataBase::select");
    expectWarning("^EventStore::addRow event not found");
    QCOMPARE(site.ask(id, "logger.event", "[1]"), QString("true"));
    QCOMPARE(site.rows("select USER from events"), QStringList("7"));
    QCOMPARE(site.journal->keptEvents().count(), 0);
}

/// A terminal sends again what it got no answer for.
void TestLogger::deliveredTwiceIsStoredOnce()
{
    const QByteArray first = R"("USER":"7","TIMESTAMP":60,"ACCESS_CODE":"101:Prihod","TID":5)";
    const struct {
        QByteArray former;
        QByteArray latter;
        int stored;
    } rows[] = {
        {first, first, 1},
        {first, R"("TID":"5","USER":7,"ACCESS_CODE":"101:Prihod","TIMESTAMP":"60","NONE":1,"ALLEVREMARK":"x")", 1},
        {first + R"(,"FINGER":2,"NAME":"Ana")", first, 1}, // what it does not bring cannot differ
        {first, first + R"(,"NAME":"Ana")", 2},
        {first, R"("USER":"7","TIMESTAMP":60,"ACCESS_CODE":"102:Odhod","TID":5)", 2},
        {first, R"("USER":"7","TIMESTAMP":60,"ACCESS_CODE":"101:Prihod","TID":6)", 2},
        {first, R"("USER":"7","TIMESTAMP":60,"TID":5)", 2}, // says too little
        {first + R"(,"ID":3)", first + R"(,"ID":3)", 1},
        {first + R"(,"ID":3)", first + R"(,"ID":4)", 2},
        {first + R"(,"ID":1)", first + R"(,"ID":1)", 1},       // taken by another before
        {first + R"(,"ID":null)", first + R"(,"ID":null)", 1}, // no number of a row
        {first + R"(,"ID":"x")", first + R"(,"ID":"x")", 1},
    };
    TerminalSite site;
    const QString id = site.terminal(5);
    for (const auto &[former, latter, stored] : rows) {
        site.database->exec("delete from events");
        site.database->exec("delete from allevents");
        site.database->exec("insert into events (ID,USER,TIMESTAMP) values (1,'9',1)");
        QCOMPARE(site.ask(id, "logger.event", '{' + former + '}'), QString("true"));
        QCOMPARE(site.ask(id, "logger.event", '{' + latter + '}'), QString("true"));
        const QString expected = latter + ' ' + QString::number(stored);
        QCOMPARE(latter + ' ' + site.rows("select count(*) from events where USER='7'").first(), expected);
        QCOMPARE(latter + ' ' + site.rows("select count(*) from allevents").first(), expected);
    }
}

/// Each as if it stood alone, in the order in which they came.
void TestLogger::manyShareOneTransaction()
{
    TerminalSite site;
    std::vector<std::unique_ptr<RpcPeer>> peers;
    for (int number : {5, 6})
        peers.push_back(site.silentPeer(number));
    site.database->exec("create trigger refuse before insert on logs when new.LGROUP=9 "
                        "begin select raise(abort,'refused'); end");
    const auto event = [](int time, const QByteArray &id) {
        const QByteArray rest = R"("USER":"7","TID":5,"ACCESS_CODE":"101"})";
        return callText("logger.event", R"({"TIMESTAMP":)" + QByteArray::number(time) + ',' + rest, id);
    };
    const auto line = [](int group, const QByteArray &id) {
        return callText("logger.log", R"({"ID":1,"FTIMESTAMP":5,"LGROUP":)" + QByteArray::number(group) + '}', id);
    };
    expectWarning("refused");
    expectWarning("^Logger::event not stored: log line of 5 time 5");
    const QByteArray calls[] = {event(60, R"("1")"), line(1, R"("2")"),
                                line(9, R"("3")"),   event(61, R"("4")"),
                                event(60, R"("5")"), callText("mainterminal.status", "1", R"("6")"),
                                event(62, R"("7")")};
    const char *const results[] = {"true", "true", "false", "true", "true", R"({"loggedin":true})", "true"};
    for (const QByteArray &call : calls)
        peers[0]->socket->write(call);
    peers[1]->socket->write(event(63, R"("8")"));
    for (int i = 0; i < 7; ++i)
        QCOMPARE(peers[0]->next(), resultText(results[i], '"' + QByteArray::number(i + 1) + '"'));
    QCOMPARE(peers[1]->next(), resultText("true", R"("8")"));
    QCOMPARE(site.rows("select TIMESTAMP from events order by TIMESTAMP"), (QStringList{"60", "61", "62", "63"}));
    QCOMPARE(site.rows("select LGROUP from logs"), QStringList("1"));
}

void TestLogger::whoIsServed()
{
    TerminalSite site;
    const QString terminal = site.terminal(5);
    const QString client = site.terminal(6, "adminterminal");
    const char *const line = R"({"ID":11,"FTIMESTAMP":"1001","DATA":{"a":1},"FMESSAGE":"x","LGROUP":2,"LLEVEL":"3"})";
    const char *const clientLine = R"({"ID":"200","FTIMESTAMP":1002,"FMESSAGE":"y"})";
    QCOMPARE(site.ask(terminal, "logger.log", line), QString("true"));
    QCOMPARE(site.ask(client, "logger.log", clientLine), QString("true"));
    // The entry id tells which of the two the caller must be.
    QCOMPARE(site.ask(client, "logger.log", line), QString("false"));
    QCOMPARE(site.ask(terminal, "logger.log", clientLine), QString("false"));
    QCOMPARE(site.ask(terminal, "logger.log", "[1]"), QString("false"));
    const QStringList rows{R"(5|11|1001|3|2|x|{"DATA":{"a":1}})", R"(6|200|1002|0|0|y|{"DATA":null})"};
    QCOMPARE(site.rows("select LINE,ID,FTIMESTAMP,LLEVEL,LGROUP,FMESSAGE,DATA from logs order by IDX"), rows);
    QCOMPARE(site.ask(client, "logger.event", R"({"USER":"7","TIMESTAMP":60})"), QString("false"));
    QCOMPARE(site.rows("select 1 from events union all select 1 from allevents"), QStringList());
    site.database->exec("drop table logs");
    expectWarning("no such table");
    QCOMPARE(site.ask(terminal, "logger.log", line), QString("false"));
}

/// The disk is full between the two rows.
void TestLogger::bothRowsOrNone()
{
    TerminalSite site;
    site.journal->keptEvents().setRetryInterval(1);
    const QString id = site.terminal(5);
    const QString room = QStringLiteral("PRAGMA max_page_count=%1");
    site.database->exec(room.arg(site.rows("PRAGMA page_count").first().toInt() + 2));
    const QAny event{{"USER", "7"}, {"TIMESTAMP", 60}, {"ALLEVREMARK", QString(100000, 'x')}};
    expectWarning("^DataBase::insert\\(\\).*full");
    expectWarning("rolled the transaction back");
    expectWarning("^Logger::event not stored, kept for another attempt: user 7 time 60");
    QCOMPARE(site.call(id, "logger.event", event), QAny(true));
    QCOMPARE(site.rows("select 1 from events union all select 1 from allevents"), QStringList());
    site.database->exec(room.arg(1000000));
    QVERIFY(waitFor([&site] { return site.journal->keptEvents().count() == 0; }));
    QCOMPARE(site.rows("select IDX,TIMESTAMP,length(REMARK) from allevents"), QStringList("1|60|100000"));
    QCOMPARE(site.rows("select USER from events"), QStringList("7"));
}

void TestLogger::keptEventsStayInOrder()
{
    TerminalSite site;
    const QString id = site.terminal(5);
    QVERIFY(site.waitForCatchUps());
    const auto send = [&site](const QString &connection, int time) {
        return site.call(connection, "logger.event", {{"USER", "7"}, {"TIMESTAMP", time}, {"TID", 5}});
    };
    const auto lock = site.lock();
    expectWarning("locked");
    expectWarning("^Logger::event not stored, kept for another attempt: user 7 time 61");
    QCOMPARE(send(id, 61), QAny(true));
    lock->release();
    // What is kept goes first, and the terminal need not send it again after another login.
    QCOMPARE(send(id, 60), QAny(true));
    QCOMPARE(site.rows("select 1 from events"), QStringList());
    site.leave(id);
    const QString again = site.terminal(5);
    QVERIFY(site.waitForCatchUps());
    QCOMPARE(site.side.requests.last(), QString(R"(getEvents {"TID":"5","fromTimestamp":"61"})"));
    site.journal->keptEvents().flush();
    QCOMPARE(send(again, 62), QAny(true));
    QCOMPARE(site.rows("select TIMESTAMP from events order by ID"), (QStringList{"61", "60", "62"}));
    QCOMPARE(site.rows("select TIMESTAMP from allevents order by ID"), (QStringList{"61", "60", "62"}));
}

/// A crash between the commit and the emptying of the rescue file leaves events in both.
void TestLogger::rescuedEventsAreStoredOnce()
{
    TerminalSite site;
    const QString events[] = {R"({"USER":"7","TIMESTAMP":60,"ACCESS_CODE":"101","TID":5})",
                              R"({"USER":"8","TIMESTAMP":60})"};
    {
        storage::Rescue rescue(site.database->filePath());
        std::vector<QAny> lines;
        for (const QString &event : events)
            lines.push_back(QAny::fromJson(event));
        QVERIFY(rescue.add("Logger::event", lines));
    }
    site.call(site.terminal(5), "logger.event", QAny::fromJson(events[1])); // was stored before the crash
    expectWarning("^Rescue::Rescue 2 writes of the former run");
    storage::Rescue rescue(site.database->filePath());
    storage::setRescue(&rescue);
    {
        Logger restarted;
        QCOMPARE(restarted.keptEvents().count(), 2);
    }
    storage::setRescue(nullptr);
    QCOMPARE(site.rows("select USER from events order by ID"), (QStringList{"8", "7"}));
    QCOMPARE(site.rows("select USER from allevents order by ID"), (QStringList{"8", "7"}));
}

void TestLogger::keptEventsAreStoredAtTheEnd()
{
    TerminalSite site;
    const QString id = site.terminal(5);
    const auto lock = site.lock();
    for (int time : {60, 61})
        site.call(id, "logger.event", {{"USER", "7"}, {"TIMESTAMP", time}});
    lock->release();
    site.journal.reset();
    QCOMPARE(site.rows("select TIMESTAMP from allevents order by ID"), (QStringList{"60", "61"}));
}

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
