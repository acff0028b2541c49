#include "calc/input/metaevents.h"
#include "calc/input/settingsstore.h"
#include "calcsite.h"

namespace {
const QString kShift = "07:00 101; 15:00 102";
const QString kShiftPair = "2.3. 07:00-15:00 102 8:00";
} // namespace

/// What a calculation reads before it computes anything, and what it says when something is missing.
class TestCalcInputs : public QObject
{
    Q_OBJECT
private slots:
    void fatalErrorsLeaveOnlyTheErrors_data();
    void fatalErrorsLeaveOnlyTheErrors();
    void theChosenAreCalculatedInOrder_data();
    void theChosenAreCalculatedInOrder();
    void faultsOfOneLeaveTheOthersAndTheHours_data();
    void faultsOfOneLeaveTheOthersAndTheHours();
    void employeesWithoutEventsAreReported();
    void settingsOfTheRequestReplaceTheStored();
    void handEnteredEventsAreMerged_data();
    void handEnteredEventsAreMerged();
    void daysFollowTheLocalClock_data();
    void daysFollowTheLocalClock();
    void missingTablesAreDoneWithout();
    void settingsAreStoredWhole();
    void aHandEnteredEventIsStoredAndReadBack();
    void theResultHasItsWholeLayout();
    void theRunIsTraced();
};

void TestCalcInputs::fatalErrorsLeaveOnlyTheErrors_data()
{
    columns<QString, QString, QAny, QString, QString>("from", "to", "user", "events", "text");
    const QString badPeriod = "Napačen datum za obdobje obračuna!";
    addRow("end before the start", "3.3.2026", "2.3.2026", QAny(), kShift, badPeriod);
    addRow("no such date", "31.2.2026", "2.3.2026", QAny(), kShift, badPeriod);
    addRow("no end", "2.3.2026", "", QAny(), kShift, badPeriod);
    addRow("more than a hundred years", "1.1.1950", "2.3.2054", QAny(), kShift, badPeriod);
    addRow("no calendar", "2.3.2027", "3.3.2027", QAny(), kShift, "Ni koledarja za izbrano obdobje!");
    addRow("unknown employee", "2.3.2026", "2.3.2026", QAny(77), kShift, "Ni spiska zaposlenih!");
    addRow("inactive employee", "2.3.2026", "2.3.2026", QAny(9), kShift, "Ni spiska zaposlenih!");
    addRow("no events", "3.3.2026", "3.3.2026", QAny(), kShift, "Ni dogodkov za izbrano obdobje!");
    addRow("events of others only", "2.3.2026", "2.3.2026", QAny(), "", "Ni dogodkov za obdobje!");
}

void TestCalcInputs::fatalErrorsLeaveOnlyTheErrors()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QAny, user);
    QFETCH(QString, events);
    QFETCH(QString, text);
    CalcSite site(events);
    site.employee(9, "Kos Bine", kDay, kNoRules, "ACTIVE=0");
    site.events(9, kShift);
    QAny request = CalcSite::request(from, to);
    if (!user.isNull())
        request["USER"] = user;
    const Outcome outcome = site.run(request);
    QCOMPARE(outcome.result.keys(), QStringList("ERR"));
    QCOMPARE(outcome.result.value("ERR").count(), 1);
    QCOMPARE(outcome.errors({"NAP"}), QStringList("NAP " + text));
}

void TestCalcInputs::theChosenAreCalculatedInOrder_data()
{
    columns<QAny, QList<qint64>>("wanted", "calculated"); // wanted: what the request holds beside the period
    using Ids = QList<qint64>;
    const auto users = [](const QAny &user) { return QAny{{"USER", user}}; };
    const Ids byLastName{3, 2, 4, 1};
    addRow("all, by last name, equal names by id", QAny(QAny::Hash), byLastName);
    addRow("one as a number", users(2), Ids{2});
    addRow("one as a text", users("2"), Ids{2});
    addRow("a list of both", users(QAny::list({1, "3"})), Ids{3, 1});
    addRow("an inactive one among them", users(QAny::list({1, 9})), Ids{1});
    QAny everybody = QAny::list();
    for (int id = 1; id <= 3000; ++id)
        everybody.append(id);
    addRow("a whole company", users(everybody), byLastName);
    addRow("a condition is no id", users(QAny::list({2, "0 or 1=1"})), Ids{2});
    addRow("by first name", QAny{{"NAMEFIRST", true}}, Ids{1, 3, 2, 4});
    addRow("0 is ascending", QAny{{"SORT", 0}}, byLastName);
    addRow("another text is ascending", QAny{{"SORT", "asc"}}, byLastName);
    for (const QAny &sort : {QAny(1), QAny(true), QAny("desc"), QAny("DESC")}) {
        const QByteArray name = "descending by " + sort.toJsonUtf8();
        addRow(name.constData(), QAny{{"SORT", sort}}, Ids{1, 2, 4, 3});
    }
    addRow("descending by first name", QAny{{"NAMEFIRST", true}, {"SORT", "desc"}}, Ids{2, 4, 3, 1});
}

void TestCalcInputs::theChosenAreCalculatedInOrder()
{
    QFETCH(QAny, wanted);
    QFETCH(QList<qint64>, calculated);
    CalcSite site;
    site.employee(4, "Novak Cene");
    site.employee(1, "Zupan Ana");
    site.employee(2, "Novak Cene");
    site.employee(3, "Kos Bine");
    site.employee(9, "Hribar Dane", kDay, kNoRules, "ACTIVE=0");
    for (const qint64 id : {1, 2, 3, 4, 9})
        site.events(id, kShift);
    QAny request = CalcSite::request("2.3.2026", "3.3.2026");
    for (const QString &key : wanted.keys())
        request[key] = wanted.value(key);
    const Outcome outcome = site.run(request);
    QCOMPARE(outcome.users(), calculated);
    QCOMPARE(outcome.users("CALCsum"), calculated);
    QCOMPARE(outcome.result.value("DAYS").count(), 2 * calculated.count());
    for (const qint64 id : calculated)
        QCOMPARE(outcome.pairTexts(id), kShiftPair);
    const qint64 first = calculated.first();
    QString name = QStringList{"Zupan Ana", "Novak Cene", "Kos Bine"}.at(int(first) - 1);
    if (wanted.contains("NAMEFIRST"))
        name = name.section(' ', 1) + ' ' + name.section(' ', 0, 0);
    for (const QAny &row : {outcome.row("CALC", first), outcome.sum(first), outcome.pairs(first)[0]})
        QCOMPARE(row.value("NAME"), QAny(name));
}

void TestCalcInputs::faultsOfOneLeaveTheOthersAndTheHours_data()
{
    columns<QString, QString, QString>("schedule", "settings", "text");
    addRow("no settings", kDay, "", "Ni nastavitev!");
    addRow("settings that are no JSON", kDay, "{\"SALDO\":", "Ni nastavitev!");
    addRow("no schedule", "", kNoRules, "Ni urnika!");
    addRow("a schedule that is no JSON", "{IZM1}", kNoRules, "Ni urnika!");
}

void TestCalcInputs::faultsOfOneLeaveTheOthersAndTheHours()
{
    QFETCH(QString, schedule);
    QFETCH(QString, settings);
    QFETCH(QString, text);
    CalcSite site("05:00 101; 13:00 102", schedule, settings);
    site.employee(2, "Zupan Bine");
    site.events(2, kShift);
    const Outcome outcome = site.run("2.3.2026", "2.3.2026");
    QCOMPARE(outcome.errors({"NAP"}), QStringList("NAP " + text + " 1"));
    // The hour before the window stays: without rules, or without a schedule, nothing cuts it.
    QCOMPARE(durations(outcome.day(1, "2.3.2026"), "DELO"), QString("8:00"));
    QCOMPARE(durations(outcome.sum(1), "DELO"), QString("8:00"));
    QCOMPARE(durations(outcome.sum(2), "DELO"), QString("8:00"));
}

void TestCalcInputs::employeesWithoutEventsAreReported()
{
    CalcSite site(kShift);
    site.employee(2, "Zupan Bine");
    site.events(2, "4.3.2026 07:00 101; 15:00 102");
    const Outcome outcome = site.run("2.3.2026", "3.3.2026");
    QCOMPARE(outcome.errors({"SPO"}), QStringList("SPO Ni dogodkov za izbrano obdobje! 2"));
    // A fault of one employee, not of the run: the days without work stand in the result all the same.
    QCOMPARE(durations(outcome.day(2, "3.3.2026"), "SALDO"), QString("-8:00"));
}

void TestCalcInputs::settingsOfTheRequestReplaceTheStored()
{
    CalcSite site("07:00:40 101; 15:00 102");
    QAny request{{"STARTDATE", "2.3.2026"}, {"ENDDATE", "2.3.2026"}};
    site.storeConfig("CALCWTIMES", "{\"ISROUND30\":true}");
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:01-15:00 102 7:59"));
    request["SETT"] = QAny(QAny::Hash);
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:00:40-15:00 102 7:59:20"));
    request.remove("SETT");
    site.storeConfig("CALCWTIMES", "{ISROUND30");
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:00:40-15:00 102 7:59:20"));
}

void TestCalcInputs::handEnteredEventsAreMerged_data()
{
    columns<QString, QString, QString, QString>("events", "handEntered", "pairs", "types");
    addRow("completes a pair", "07:00 101", "15:00 102/MP", kShiftPair, "EV,MP");
    addRow("already there", kShift, "07:00 101/ME; 15:00 102/MP", kShiftPair, "EV,EV");
    addRow("same time, another code", "07:00 101; 12:00 102", "12:00 101/ME; 15:00 102/ME",
           "2.3. 07:00-12:00 102 5:00; 2.3. 12:00-15:00 102 3:00", "EV,EV ME,ME");
    addRow("outside the period", kShift, "1.3.2026 07:00 101/ME; 15:00 102/ME", kShiftPair, "EV,EV");
}

void TestCalcInputs::handEnteredEventsAreMerged()
{
    QFETCH(QString, events);
    QFETCH(QString, handEntered);
    QFETCH(QString, pairs);
    QFETCH(QString, types);
    CalcSite site(events);
    site.employee(2, "Zupan Bine");
    site.events(2, kShift);
    site.events(1, handEntered, "metalog");
    const Outcome outcome = site.run("2.3.2026", "2.3.2026");
    QCOMPARE(outcome.pairTexts(1), pairs);
    QCOMPARE(outcome.pairTexts(2), kShiftPair);
    QStringList found;
    for (int i = 0; i < outcome.pairs(1).count(); ++i)
        found += values(outcome.pairs(1)[i], "TYPE TYPE2");
    QCOMPARE(found.join(' ').remove('\''), types);
}

void TestCalcInputs::daysFollowTheLocalClock_data()
{
    columns<QString, QString, QString, QString, QString>("from", "to", "events", "pairs", "settings");
    const auto row = [](const char *name, const QString &from, const QString &to, const QString &events,
                        const QString &pairs,
                        const QString &settings = {}) { addRow(name, from, to, events, pairs, settings); };
    const QString monday = "2.3.2026", tuesday = "3.3.2026";
    row("the zone is ignored", monday, tuesday, kShift, kShiftPair);
    row("by the employee's zone", monday, tuesday, kShift, "2.3. 08:00-16:00 102 8:00", "ISTZ=1");
    row("into the next day", monday, tuesday, "23:00 101; 23:30 102", "3.3. 00:00-00:30 102 0:30", "ISTZ=1");
    const QString odd = "07:00:29 101; 15:00:30 102";
    row("seconds are kept", monday, tuesday, odd, "2.3. 07:00:29-15:00:30 102 8:00:01");
    row("29 seconds down, 30 up", monday, tuesday, odd, "2.3. 07:00-15:01 102 8:01", "ISROUND30=1");
    row("up into the next day", monday, tuesday, "22:00 101; 23:59:30 102", "2.3. 22:00-00:00 102 2:00", "ISROUND30=1");
    row("one day from its first to its last second", monday, monday,
        "1.3.2026 23:59:59 101; 2.3.2026 00:00 101; 23:59:59 102; 3.3.2026 00:00 102",
        "2.3. 00:00-23:59:59 102 23:59:59");
    row("23 hours", "28.3.2026", "30.3.2026", "29.3.2026 00:00 101; 23:59 102", "29.3. 00:00-23:59 102 22:59");
    row("25 hours", "24.10.2026", "26.10.2026", "25.10.2026 00:00 101; 23:59 102", "25.10. 00:00-23:59 102 24:59");
    row("the hour that comes twice", "25.10.2026", "25.10.2026", "25.10.2026 00:30Z 101; 01:30Z 102",
        "25.10. 02:30-02:30 102 1:00");
    row("the hour that is missing", "29.3.2026", "29.3.2026", "29.3.2026 01:30 101; 03:30 102",
        "29.3. 01:30-03:30 102 1:00");
}

void TestCalcInputs::daysFollowTheLocalClock()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, events);
    QFETCH(QString, pairs);
    QFETCH(QString, settings);
    CalcSite site(events, kDay, kNoRules, "TIMEZ=3600");
    const Outcome outcome = site.run(from, to, settings);
    QCOMPARE(outcome.pairTexts(1), pairs);
    QCOMPARE(outcome.errors({"ATP", "OPO"}), QStringList());
    QCOMPARE(outcome.result.value("DAYS").count(), int(date(from).daysTo(date(to))) + 1);
    for (int i = 0; i < outcome.result.value("DAYS").count(); ++i)
        QCOMPARE(outcome.result["DAYS"][i].value("DATE"), QAny(date(from).addDays(i).startOfDay().toSecsSinceEpoch()));
}

void TestCalcInputs::missingTablesAreDoneWithout()
{
    CalcSite site(kShift);
    site.sql("drop table metalog");
    site.sql("drop table RAZPOREDC");
    QCOMPARE(site.run("2.3.2026", "2.3.2026").pairTexts(1), kShiftPair);
}

void TestCalcInputs::settingsAreStoredWhole()
{
    const QStringList keys = QString("ISROUND30 NEAREVENTS AUTOEVENTS STARTOFF ENDOFF NEAREVLEN ISSEC ISSETT CALCREM "
                                     "SHOWNOEV ISTREE ISDEBUG ISSUMSUM ISAUTOCALC EARLYEXIT ISACS ISCODES ISZUKEV "
                                     "ISSRVCALC TIPRERAZ NOMETASETT ISTEST ISTZ")
                                 .split(' ');
    const QStringList numbers{"STARTOFF", "ENDOFF", "NEAREVLEN", "CALCREM", "SHOWNOEV", "EARLYEXIT"};
    CalcSite site;
    QAny written = calc::input::settingsHash({});
    QCOMPARE(written.keys(), keys);
    for (const QString &key : keys) { // each on its own, so that no two can be mixed up
        QAny one = written.deepCopy();
        one[key] = numbers.contains(key) ? QAny(7) : QAny(true);
        one["OWN"] = "kept";
        calc::input::saveSettings(site.database(), one);
        QCOMPARE(QAny::fromJson(site.database().configValue("CALCWTIMES")), one);
        one.remove("OWN");
        QCOMPARE(calc::input::settingsHash(calc::input::loadSettings(site.database())), one);
    }
    QCOMPARE(calc::input::settingsHash(calc::input::settingsFromHash(QAny::list())), written);
}

void TestCalcInputs::aHandEnteredEventIsStoredAndReadBack()
{
    CalcSite site("07:00 101");
    MetaEvent departure;
    departure.author = 5;
    departure.user = 1;
    departure.timestamp = midnight("2.3.2026") + seconds("15:00");
    departure.accessCode = "102:Odhod";
    departure.type = "ME";
    departure.remark = "pozabil";
    QAny events;
    QVERIFY(InsertMeta(site.database(), departure, &events));
    QCOMPARE(events.count(), 1);
    QCOMPARE(values(events[0], "TABLE USER REMARK"), QString("'allevents',1,'pozabil'"));
    QVERIFY(events[0].value("IDX").toInteger() > 0);
    QCOMPARE(values(site.database().select("select IDLOG from metalog")[0], "IDLOG"), QString("5"));
    QCOMPARE(site.run("2.3.2026", "2.3.2026").pairTexts(1), kShiftPair);

    site.sql("drop table metalog");
    QVERIFY(!InsertMeta(site.database(), departure));
}

void TestCalcInputs::theResultHasItsWholeLayout()
{
    CalcSite site("07:00 101; 12:00 102:1; 12:00 101");
    site.insert("allevents", {{"USER", 1},
                              {"TIMESTAMP", midnight("2.3.2026") + seconds("15:00")},
                              {"ACCESS_CODE", "102:Odhod"},
                              {"TYPE", "EV"},
                              {"IDX", 7},
                              {"TAG", 3},
                              {"PARAM", "vrata"}});
    const Outcome outcome = site.run("2.3.2026", "2.3.2026", "ISACS=1");
    for (const char *key : {"CALC", "CALCsum", "DAYS", "CALCorg", "DAYSorg", "ACSLIST", "ERR"})
        QVERIFY2(outcome.result.value(key).isList(), key);
    QCOMPARE(values(outcome.row("CALC", 1), "EMPLID"), QString("'E1'"));
    QVERIFY(!outcome.row("CALCorg", 1).contains("DAYS"));
    const QAny pair = outcome.pairs(1)[1];
    QCOMPARE(values(pair, "USER EMPLID DAYNUM AC AC2 REMARK IDX2 TAG2 PARAM2"),
             QString("1,'E1',1,'101:Ime','102:Odhod','opomba',7,3,'vrata'"));
    QVERIFY(pair.value("IDP").toInteger() > outcome.pairs(1)[0].value("IDP").toInteger());
    QStringList codes;
    for (int i = 0; i < outcome.result.value("ACSLIST").count(); ++i)
        codes += values(outcome.result["ACSLIST"][i], "AC");
    codes.sort();
    QCOMPARE(codes.join(' '), QString("'101' '102' '102:1'"));
    QCOMPARE(site.run("2.3.2026", "2.3.2026").result.value("ACSLIST").count(), 0);
}

void TestCalcInputs::theRunIsTraced()
{
    static QString written;
    CalcSite site("05:30 101; 15:00 102"); // half an hour is cut
    for (const bool daysToo : {false, true}) {
        written.clear();
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &line) { written += line + '\n'; });
        site.run("2.3.2026", "2.3.2026", daysToo ? "ISDEBUG=1" : "");
        qInstallMessageHandler(before);
        for (const char *line :
             {"Calc21::calcAll readAllEvents IN", "READEMPLO:", "void Calc21::readAllEvents(errToDb) OUT",
              "void Calc21::checkEvents() IN", "Calc21::calcAll readAllEvents OUT", "Calc21::calcAll CalcParse21 IN",
              "Calc21::parsePairs() IN", "Calc21::parsePairs() OUT", "Calc21::calcAll CalcParse21 OUT",
              "Calc21 ERRORS"})
            QVERIFY2(written.contains(line), line);
        QCOMPARE(written.contains("DČ-=1800"), daysToo);
    }
}

QTEST_GUILESS_MAIN(TestCalcInputs)
#include "tst_calc_inputs.moc"
