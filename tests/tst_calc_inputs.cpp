#include "calcsettings.h"
#include "calcsite.h"
#include "metaevents.h"

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
    void oneDayIsReadFromItsFirstToItsLastSecond();
    void onlyTheChosenAreCalculated_data();
    void onlyTheChosenAreCalculated();
    void employeesAreSorted_data();
    void employeesAreSorted();
    void faultsOfOneLeaveTheOthersAndTheHours_data();
    void faultsOfOneLeaveTheOthersAndTheHours();
    void employeesWithoutEventsAreReported();
    void settingsOfTheRequestReplaceTheStored();
    void scheduleTimesAreRead_data();
    void scheduleTimesAreRead();
    void handEnteredEventsAreMerged_data();
    void handEnteredEventsAreMerged();
    void eventTimesAreMoved_data();
    void eventTimesAreMoved();
    void daysFollowTheLocalClock_data();
    void daysFollowTheLocalClock();
    void missingTablesAreDoneWithout();
    void settingsAreStoredWhole();
    void aHandEnteredEventIsStoredAndReadBack();
    void aQuoteInAHandEnteredTextStoresNothing();
    void theResultHasItsWholeLayout();
    void theRunIsTraced_data();
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
    CalcSite site;
    site.employee(1);
    site.employee(9, "Kos Bine", kDay, kNoRules, "ACTIVE=0");
    site.events(1, events);
    site.events(9, kShift);
    QAny request = CalcSite::request(from, to);
    if (!user.isNull())
        request["USER"] = user;
    const Outcome outcome = site.run(request);
    QCOMPARE(outcome.result.keys(), QStringList("ERR"));
    QCOMPARE(outcome.result.value("ERR").count(), 1);
    QCOMPARE(outcome.result["ERR"][0].value("CODE").toString(), QString("NAP"));
    QVERIFY2(outcome.result["ERR"][0].value("NAPAKA").toString().startsWith(text), qPrintable(outcome.result.toJson()));
}

void TestCalcInputs::oneDayIsReadFromItsFirstToItsLastSecond()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "1.3.2026 23:59:59 101; 2.3.2026 00:00 101; 23:59:59 102; 3.3.2026 00:00 102");
    const Outcome outcome = site.run("2.3.2026", "2.3.2026");
    QCOMPARE(outcome.pairTexts(1), QString("2.3. 00:00-23:59:59 102 23:59:59"));
    QCOMPARE(outcome.errors({"ATP", "OPO"}), QStringList());
    QCOMPARE(outcome.result.value("DAYS").count(), 1);
}

void TestCalcInputs::onlyTheChosenAreCalculated_data()
{
    columns<QAny, QList<qint64>>("user", "calculated");
    using Ids = QList<qint64>;
    addRow("all", QAny(), Ids{3, 2, 1});
    addRow("one as a number", QAny(2), Ids{2});
    addRow("one as a text", QAny("2"), Ids{2});
    addRow("a list of both", QAny::list({1, "3"}), Ids{3, 1});
    addRow("an inactive one among them", QAny::list({1, 9}), Ids{1});
    QAny everybody = QAny::list();
    for (int id = 1; id <= 3000; ++id)
        everybody.append(id);
    addRow("a whole company", everybody, Ids{3, 2, 1});
    addRow("a condition is no id", QAny::list({2, "0 or 1=1"}), Ids{2});
}

void TestCalcInputs::onlyTheChosenAreCalculated()
{
    QFETCH(QAny, user);
    QFETCH(QList<qint64>, calculated);
    CalcSite site;
    site.employee(1, "Zupan Ana");
    site.employee(2, "Novak Cene");
    site.employee(3, "Kos Bine");
    site.employee(9, "Hribar Dane", kDay, kNoRules, "ACTIVE=0");
    for (const qint64 id : {1, 2, 3, 9})
        site.events(id, kShift);
    QAny request = CalcSite::request("2.3.2026", "3.3.2026");
    if (!user.isNull())
        request["USER"] = user;
    const Outcome outcome = site.run(request);
    QCOMPARE(outcome.users(), calculated);
    QCOMPARE(outcome.users("CALCsum"), calculated);
    QCOMPARE(outcome.result.value("DAYS").count(), 2 * calculated.count());
    for (const qint64 id : calculated)
        QCOMPARE(outcome.pairTexts(id), kShiftPair);
}

void TestCalcInputs::employeesAreSorted_data()
{
    columns<bool, QAny, QList<qint64>>("firstNameFirst", "sort", "order");
    using Ids = QList<qint64>;
    const Ids byLastName{3, 2, 4, 1};
    const Ids byFirstName{1, 3, 2, 4};
    addRow("by last name, equal names by id", false, QAny(), byLastName);
    addRow("by first name", true, QAny(), byFirstName);
    addRow("0 is ascending", false, QAny(0), byLastName);
    addRow("another text is ascending", false, QAny("asc"), byLastName);
    for (const QAny &sort : {QAny(1), QAny(true), QAny("desc"), QAny("DESC")}) {
        const QByteArray name = "descending by " + sort.toJsonUtf8();
        addRow(name.constData(), false, sort, Ids{1, 2, 4, 3});
    }
    addRow("descending by first name", true, QAny("desc"), Ids{2, 4, 3, 1});
}

void TestCalcInputs::employeesAreSorted()
{
    QFETCH(bool, firstNameFirst);
    QFETCH(QAny, sort);
    QFETCH(QList<qint64>, order);
    CalcSite site;
    site.employee(4, "Novak Cene");
    site.employee(1, "Zupan Ana");
    site.employee(2, "Novak Cene");
    site.employee(3, "Kos Bine");
    site.events(1, kShift);
    QAny request = CalcSite::request("2.3.2026", "2.3.2026");
    request["NAMEFIRST"] = firstNameFirst;
    if (!sort.isNull())
        request["SORT"] = sort;
    const Outcome outcome = site.run(request);
    // Which of two equal names stands first in a descending list is of no consequence.
    QList<qint64> users = outcome.users();
    if (sort.toBool() || sort.toString().toLower() == "desc")
        if (const int at = users.indexOf(4); at >= 0 && users.value(at + 1) == 2)
            users.swapItemsAt(at, at + 1);
    QCOMPARE(users, order);
    const QString name = firstNameFirst ? "Ana Zupan" : "Zupan Ana";
    QCOMPARE(outcome.row("CALC", 1).value("NAME").toString(), name);
    QCOMPARE(outcome.sum(1).value("NAME").toString(), name);
    QCOMPARE(outcome.pairs(1)[0].value("NAME").toString(), name);
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
    CalcSite site;
    site.employee(1, "Novak Ana", schedule, settings);
    site.employee(2, "Zupan Bine");
    site.events(1, "05:00 101; 13:00 102");
    site.events(2, kShift);
    const Outcome outcome = site.run("2.3.2026", "2.3.2026");
    QVERIFY2(outcome.hasError("NAP", text, 1), qPrintable(outcome.result.value("ERR").toJson()));
    QVERIFY(!outcome.hasError("NAP", text, 2));
    // The hour before the window stays: without rules, or without a schedule, nothing cuts it.
    QCOMPARE(outcome.ruled(1, "2.3.2026").value("DC").toInteger(), seconds("8:00"));
    QCOMPARE(outcome.sum(1).value("DELO").toInteger(), seconds("8:00"));
    QCOMPARE(outcome.sum(2).value("DELO").toInteger(), seconds("8:00"));
}

void TestCalcInputs::employeesWithoutEventsAreReported()
{
    CalcSite site;
    site.employee(1);
    site.employee(2, "Zupan Bine");
    site.events(1, kShift);
    site.events(2, "4.3.2026 07:00 101; 15:00 102");
    const Outcome outcome = site.run("2.3.2026", "3.3.2026");
    QVERIFY(outcome.hasError("SPO", "Ni dogodkov za izbrano obdobje!", 2));
    QVERIFY(!outcome.hasError("SPO", "Ni dogodkov za izbrano obdobje!", 1));
    // A fault of one employee, not of the run: the days without work stand in the result all the same.
    QCOMPARE(outcome.day(2, "3.3.2026").value("SALDO").toInteger(), seconds("-8:00"));
}

void TestCalcInputs::settingsOfTheRequestReplaceTheStored()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "07:00:40 101; 15:00 102");
    QAny request{{"STARTDATE", "2.3.2026"}, {"ENDDATE", "2.3.2026"}};
    site.storeConfig("CALCWTIMES", "{\"ISROUND30\":true}");
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:01-15:00 102 7:59"));
    request["SETT"] = QAny(QAny::Hash);
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:00:40-15:00 102 7:59:20"));
    request.remove("SETT");
    site.storeConfig("CALCWTIMES", "{ISROUND30");
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:00:40-15:00 102 7:59:20"));
}

void TestCalcInputs::scheduleTimesAreRead_data()
{
    columns<QString, qint64>("minHours", "value");
    addRow("hours and minutes", "7:30", qint64(27000));
    addRow("minutes", "45", qint64(2700));
    addRow("below zero", "-0:30", qint64(-1800));
}

void TestCalcInputs::scheduleTimesAreRead()
{
    QFETCH(QString, minHours);
    QFETCH(qint64, value);
    CalcSite site;
    site.employee(1, "Novak Ana", "STARTB=6:00 ENDE=16:00 MINHOURS=" + minHours);
    site.events(1, "07:00 101; 08:00 102");
    QCOMPARE(site.run("2.3.2026", "2.3.2026").day(1, "2.3.2026").value("SALDO").toInteger(), 3600 - value);
}

void TestCalcInputs::handEnteredEventsAreMerged_data()
{
    columns<QString, QString, QString, QString>("events", "handEntered", "pairs", "types");
    addRow("completes a pair", "07:00 101", "15:00 102/MP", kShiftPair, "EV MP");
    addRow("already there", kShift, "07:00 101/ME; 15:00 102/MP", kShiftPair, "EV EV");
    addRow("same time, another code", "07:00 101; 12:00 102", "12:00 101/ME; 15:00 102/ME",
           "2.3. 07:00-12:00 102 5:00; 2.3. 12:00-15:00 102 3:00", "EV EV ME ME");
    addRow("outside the period", kShift, "1.3.2026 07:00 101/ME; 15:00 102/ME", kShiftPair, "EV EV");
}

void TestCalcInputs::handEnteredEventsAreMerged()
{
    QFETCH(QString, events);
    QFETCH(QString, handEntered);
    QFETCH(QString, pairs);
    QFETCH(QString, types);
    CalcSite site;
    site.employee(1);
    site.employee(2, "Zupan Bine");
    site.events(1, events);
    site.events(2, kShift);
    site.events(1, handEntered, "metalog");
    const Outcome outcome = site.run("2.3.2026", "2.3.2026");
    QCOMPARE(outcome.pairTexts(1), pairs);
    QCOMPARE(outcome.pairTexts(2), kShiftPair);
    QStringList found;
    const QList<QAny> all = outcome.pairs(1).toList();
    for (const QAny &pair : all)
        found << pair.value("TYPE").toString() << pair.value("TYPE2").toString();
    QCOMPARE(found.join(' '), types);
}

void TestCalcInputs::eventTimesAreMoved_data()
{
    columns<QString, QString, QString>("settings", "events", "pairs");
    addRow("the zone is ignored", "", kShift, kShiftPair);
    addRow("by the employee's zone", "ISTZ=1", kShift, "2.3. 08:00-16:00 102 8:00");
    addRow("into the next day", "ISTZ=1", "23:00 101; 23:30 102", "3.3. 00:00-00:30 102 0:30");
    addRow("seconds are kept", "", "07:00:29 101; 15:00:30 102", "2.3. 07:00:29-15:00:30 102 8:00:01");
    addRow("29 seconds down, 30 up", "ISROUND30=1", "07:00:29 101; 15:00:30 102", "2.3. 07:00-15:01 102 8:01");
    addRow("up into the next day", "ISROUND30=1", "22:00 101; 23:59:30 102", "2.3. 22:00-00:00 102 2:00");
}

void TestCalcInputs::eventTimesAreMoved()
{
    QFETCH(QString, settings);
    QFETCH(QString, events);
    QFETCH(QString, pairs);
    CalcSite site;
    site.employee(1, "Novak Ana", kDay, kNoRules, "TIMEZ=3600");
    site.events(1, events);
    QCOMPARE(site.run("2.3.2026", "3.3.2026", settings).pairTexts(1), pairs);
}

void TestCalcInputs::daysFollowTheLocalClock_data()
{
    columns<QStringList, QString, QString>("days", "events", "pairs");
    addRow("23 hours", QStringList{"28.3.2026", "29.3.2026", "30.3.2026"}, "29.3.2026 00:00 101; 23:59 102",
           "29.3. 00:00-23:59 102 22:59");
    addRow("25 hours", QStringList{"24.10.2026", "25.10.2026", "26.10.2026"}, "25.10.2026 00:00 101; 23:59 102",
           "25.10. 00:00-23:59 102 24:59");
    addRow("the hour that comes twice", QStringList{"25.10.2026"}, "25.10.2026 00:30Z 101; 01:30Z 102",
           "25.10. 02:30-02:30 102 1:00");
    addRow("the hour that is missing", QStringList{"29.3.2026"}, "29.3.2026 01:30 101; 03:30 102",
           "29.3. 01:30-03:30 102 1:00");
}

void TestCalcInputs::daysFollowTheLocalClock()
{
    QFETCH(QStringList, days);
    QFETCH(QString, events);
    QFETCH(QString, pairs);
    CalcSite site;
    site.employee(1);
    site.events(1, events);
    const Outcome outcome = site.run(days.first(), days.last());
    QCOMPARE(outcome.pairTexts(1), pairs);
    QCOMPARE(outcome.result.value("DAYS").count(), days.count());
    for (int i = 0; i < days.count(); ++i)
        QCOMPARE(outcome.result["DAYS"][i].value("DATE").toInteger(), midnight(days.at(i)));
}

void TestCalcInputs::missingTablesAreDoneWithout()
{
    CalcSite site;
    site.employee(1);
    site.events(1, kShift);
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
    QAny written = CalcSettings().toHash();
    QCOMPARE(written.keys(), keys);
    for (const QString &key : keys) { // each on its own, so that no two can be mixed up
        QAny one = written.deepCopy();
        one[key] = numbers.contains(key) ? QAny(7) : QAny(true);
        one["OWN"] = "kept";
        CalcSettings::save(site.database(), one);
        QCOMPARE(QAny::fromJson(site.database().configValue("CALCWTIMES")), one);
        one.remove("OWN");
        QCOMPARE(CalcSettings::load(site.database()).toHash(), one);
    }
    QCOMPARE(CalcSettings::fromHash(QAny::list()).toHash(), written);
}

void TestCalcInputs::aHandEnteredEventIsStoredAndReadBack()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "07:00 101");
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
    QCOMPARE(events[0].value("TABLE").toString(), QString("allevents"));
    QCOMPARE(events[0].value("USER").toInteger(), 1);
    QCOMPARE(events[0].value("REMARK").toString(), QString("pozabil"));
    QVERIFY(events[0].value("IDX").toInteger() > 0);
    QCOMPARE(site.database().select("select IDLOG from metalog")[0].value("IDLOG").toInteger(), 5);
    QCOMPARE(site.run("2.3.2026", "2.3.2026").pairTexts(1), kShiftPair);

    site.sql("drop table metalog");
    QVERIFY(!InsertMeta(site.database(), departure));
}

void TestCalcInputs::aQuoteInAHandEnteredTextStoresNothing()
{
    CalcSite site;
    MetaEvent event;
    event.user = 1;
    event.timestamp = midnight("2.3.2026");
    event.accessCode = "101:Prihod";
    event.remark = "D'Arc";
    QAny events;
    QVERIFY(!InsertMeta(site.database(), event, &events));
    QCOMPARE(events.count(), 0);
    QCOMPARE(site.database().select("select * from metalog").count(), 0);
}

void TestCalcInputs::theResultHasItsWholeLayout()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "07:00 101; 12:00 102:1; 12:00 101");
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
    QCOMPARE(outcome.row("CALC", 1).value("EMPLID").toString(), QString("E1"));
    QVERIFY(!outcome.row("CALCorg", 1).contains("DAYS"));
    const QAny pair = outcome.pairs(1)[1];
    QCOMPARE(pair.value("USER").toInteger(), 1);
    QCOMPARE(pair.value("EMPLID").toString(), QString("E1"));
    QCOMPARE(pair.value("DAYNUM").toInteger(), 1);
    QCOMPARE(pair.value("AC").toString(), QString("101:Ime"));
    QCOMPARE(pair.value("AC2").toString(), QString("102:Odhod"));
    QCOMPARE(pair.value("REMARK").toString(), QString("opomba"));
    QCOMPARE(pair.value("IDX2").toInteger(), 7);
    QCOMPARE(pair.value("TAG2").toInteger(), 3);
    QCOMPARE(pair.value("PARAM2").toString(), QString("vrata"));
    QVERIFY(pair.value("IDP").toInteger() > outcome.pairs(1)[0].value("IDP").toInteger());
    QStringList codes;
    for (int i = 0; i < outcome.result.value("ACSLIST").count(); ++i)
        codes += outcome.result["ACSLIST"][i].value("AC").toString();
    codes.sort();
    QCOMPARE(codes, QStringList({"101", "102", "102:1"}));
    QCOMPARE(site.run("2.3.2026", "2.3.2026").result.value("ACSLIST").count(), 0);
}

void TestCalcInputs::theRunIsTraced_data()
{
    columns<QString, QStringList, bool>("settings", "lines", "daysToo");
    const QStringList run{"Calc21::calcAll readAllEvents IN",
                          "READEMPLO:",
                          "void Calc21::readAllEvents(errToDb) OUT",
                          "void Calc21::checkEvents() IN",
                          "Calc21::calcAll readAllEvents OUT",
                          "Calc21::calcAll CalcParse21 IN",
                          "Calc21::parsePairs() IN",
                          "Calc21::parsePairs() OUT",
                          "Calc21::calcAll CalcParse21 OUT",
                          "Calc21 ERRORS"};
    addRow("run", "", run, false);
    addRow("run and days", "ISDEBUG=1", run, true);
}

void TestCalcInputs::theRunIsTraced()
{
    QFETCH(QString, settings);
    QFETCH(QStringList, lines);
    QFETCH(bool, daysToo);
    static QStringList written;
    CalcSite site;
    site.employee(1);
    site.events(1, "05:30 101; 15:00 102"); // half an hour is cut
    written.clear();
    const QtMessageHandler before =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &line) { written += line; });
    site.run("2.3.2026", "2.3.2026", settings);
    qInstallMessageHandler(before);
    const QString all = written.join('\n');
    for (const QString &line : lines)
        QVERIFY2(all.contains(line), qPrintable(line));
    QCOMPARE(all.contains("DČ-=1800"), daysToo);
}

QTEST_GUILESS_MAIN(TestCalcInputs)
#include "tst_calc_inputs.moc"
