#include "rpcpeer.h"
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
    void whoIsServed();
    void bothRowsOrNone();
    void keptEventsStayInOrder();
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
