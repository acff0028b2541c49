#include "calc/input/calcreader.h"
#include "calc/input/metaevents.h"
#include "calcsite.h"

using namespace calc;

namespace {

const QString kMonday = "2.3.2026";
const QString kShift = "07:00 101; 15:00 102";
const QString kShiftPair = "2.3. 07:00-15:00 102 8:00";

} // namespace

/// What a calculation reads before it computes anything, and what it says when something is missing. The rows of a
/// function share one file.
class TestCalcInputs : public QObject
{
    Q_OBJECT
private slots:
    void fatalErrorsLeaveOnlyTheErrors_data();
    void fatalErrorsLeaveOnlyTheErrors();
    void faultsOfOneLeaveTheOthersAndTheHours_data();
    void faultsOfOneLeaveTheOthersAndTheHours();
    void employeesWithoutEventsAreReported();
    void handEnteredEventsAreMerged_data();
    void handEnteredEventsAreMerged();
    void thePeriodIsReadToTheSecond_data();
    void thePeriodIsReadToTheSecond();
    void shiftsOfTheDayBeforeAreRead_data();
    void shiftsOfTheDayBeforeAreRead();
    void timesAreWorkedOut_data();
    void timesAreWorkedOut();
    void zonesAreThoseOfTheEmployees();
    void missingTablesAreDoneWithout();
    void aHandEnteredEventIsStoredAndReadBack();
    void theResultHasItsWholeLayout();
    void theRunIsTraced();

private:
    std::unique_ptr<CalcSite> m_site; ///< made with the rows of a function
};

void TestCalcInputs::fatalErrorsLeaveOnlyTheErrors_data()
{
    m_site = std::make_unique<CalcSite>(kShift);
    m_site->employee(9, "Kos Bine", kDay, kNoRules, "ACTIVE=0");
    m_site->events(9, "5.3.2026 " + kShift);
    for (int id = 11; id <= 20; ++id)
        m_site->employee(id);
    columns<QString, QString, QAny, QString>("from", "to", "user", "text");
    const QString badPeriod = "Napačen datum za obdobje obračuna!";
    const QString noEmployees = "Ni spiska zaposlenih!";
    addRow("end before the start", "3.3.2026", kMonday, QAny(), badPeriod);
    addRow("no such date", "31.2.2026", kMonday, QAny(), badPeriod);
    addRow("no end", kMonday, "", QAny(), badPeriod);
    addRow("more than a hundred years", "1.1.1950", "2.3.2054", QAny(1), badPeriod);
    addRow("too long for so many", "1.1.1950", "1.1.2050", QAny(), badPeriod);
    addRow("no calendar", "2.3.2027", "3.3.2027", QAny(), "Ni koledarja za izbrano obdobje!");
    addRow("unknown employee", kMonday, kMonday, QAny(77), noEmployees);
    addRow("inactive employee", "5.3.2026", "5.3.2026", QAny(9), noEmployees);
    addRow("nobody asked for", kMonday, kMonday, QAny::list(), noEmployees);
    addRow("no events", "3.3.2026", "3.3.2026", QAny(), "Ni dogodkov za izbrano obdobje!");
    addRow("events of others only", "5.3.2026", "5.3.2026", QAny(), "Ni dogodkov za obdobje!");
}

void TestCalcInputs::fatalErrorsLeaveOnlyTheErrors()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QAny, user);
    QFETCH(QString, text);
    QAny request = CalcSite::request(from, to);
    if (!user.isNull())
        request["USER"] = user;
    const Outcome outcome = m_site->run(request);
    QCOMPARE(outcome.result.keys(), QStringList("ERR"));
    const QStringList faults = outcome.errors({"NAP"});
    QCOMPARE(faults, QStringList("NAP " + text));
    QCOMPARE(outcome.result.value("ERR").count(), 1);
}

void TestCalcInputs::faultsOfOneLeaveTheOthersAndTheHours_data()
{
    m_site = std::make_unique<CalcSite>();
    columns<qint64, QString>("user", "text");
    qint64 id = 0;
    const auto row = [&](const char *name, const QString &schedule, const QString &settings, const QString &text) {
        m_site->employee(++id, "Novak Ana", schedule, settings);
        m_site->events(id, "05:00 101; 13:00 102");
        addRow(name, id, text);
    };
    row("no settings", kDay, "", "NAP Ni nastavitev! %1");
    row("settings that are no JSON", kDay, "{\"SALDO\":", "NAP Ni nastavitev! %1");
    row("no schedule", "", kNoRules, "NAP Ni urnika! %1");
    row("a schedule that is no JSON", "{IZM1}", kNoRules, "NAP Ni urnika! %1");
    row("neither fault", kDay, kNoRules, "");
}

void TestCalcInputs::faultsOfOneLeaveTheOthersAndTheHours()
{
    QFETCH(qint64, user);
    QFETCH(QString, text);
    const Outcome outcome = m_site->run(kMonday, kMonday);
    QCOMPARE(outcome.errors({"NAP"}).count(), 4);
    // The hour before the window stays: without rules, or without a schedule, nothing cuts it.
    QCOMPARE(durations(outcome.day(user, kMonday), "DELO"), QString(text.isEmpty() ? "7:00" : "8:00"));
    QCOMPARE(durations(outcome.sum(user), "DELO"), QString(text.isEmpty() ? "7:00" : "8:00"));
    if (!text.isEmpty())
        QVERIFY2(outcome.errors({"NAP"}).contains(text.arg(user)), qPrintable(outcome.errors({"NAP"}).join('|')));
}

void TestCalcInputs::employeesWithoutEventsAreReported()
{
    CalcRows rows(kShift);
    rows.employee(2, "Zupan Bine");
    rows.events(2, "4.3.2026 07:00 101; 15:00 102");
    const CalcRun run = rows.run(kMonday, "3.3.2026");
    QCOMPARE(run.errors("SPO"), QString("SPO Ni dogodkov za izbrano obdobje! 2"));
    // A fault of one employee, not of the run: the days without work stand in the result all the same.
    QCOMPARE(run.amounts("3.3.2026", "SALDO", 2), QString("-8:00"));
}

void TestCalcInputs::handEnteredEventsAreMerged_data()
{
    m_site = std::make_unique<CalcSite>();
    columns<qint64, QString, QString>("user", "pairs", "types");
    qint64 id = 0;
    const auto row = [&](const char *name, const QString &events, const QString &handEntered, const QString &pairs,
                         const QString &types) {
        m_site->employee(++id);
        m_site->events(id, events);
        m_site->events(id, handEntered, "metalog");
        addRow(name, id, pairs, types);
    };
    row("completes a pair", "07:00 101", "15:00 102/MP", kShiftPair, "EV,MP");
    row("already there", kShift, "07:00 101/ME; 15:00 102/MP", kShiftPair, "EV,EV");
    row("same time, another code", "07:00 101; 12:00 102", "12:00 101/ME; 15:00 102/ME",
        "2.3. 07:00-12:00 102 5:00; 2.3. 12:00-15:00 102 3:00", "EV,EV ME,ME");
    row("another text is entered by hand", "", "07:00 101/roka; 15:00 102/EVA", kShiftPair, "ME,ME");
    row("nothing to merge", kShift, "", kShiftPair, "EV,EV");
}

void TestCalcInputs::handEnteredEventsAreMerged()
{
    QFETCH(qint64, user);
    QFETCH(QString, pairs);
    QFETCH(QString, types);
    const Outcome outcome = m_site->run(kMonday, kMonday);
    QCOMPARE(outcome.pairTexts(user), pairs);
    QStringList found;
    for (int i = 0; i < outcome.pairs(user).count(); ++i)
        found += values(outcome.pairs(user)[i], "TYPE TYPE2");
    QCOMPARE(found.join(' ').remove('\''), types);
}

void TestCalcInputs::thePeriodIsReadToTheSecond_data()
{
    const QString edges = "28.2.2026 23:59:59 x; 1.3.2026 00:00 x; 22:59:59 x; 23:00 x; 23:59:59 x; 2.3.2026 00:00 x; "
                          "23:59:59 x; 3.3.2026 00:00 x; 00:59:59 x; 01:00 x; 23:59:59 x; 4.3.2026 00:00 x";
    m_site = std::make_unique<CalcSite>(edges);
    m_site->employee(2);
    m_site->events(2, edges, "metalog");
    columns<QString, QString, QString, size_t>("settings", "first", "last", "count");
    const auto row = [](const char *name, const QString &settings, const QString &first, const QString &last,
                        size_t count) { addRow(name, settings, first, last, count); };
    row("the period alone", "NEAREVLEN=1", "2.3.2026 00:00", "2.3.2026 23:59:59", 2);
    row("an hour beyond it", "NEAREVENTS=1 NEAREVLEN=1", "1.3.2026 23:00", "3.3.2026 00:59:59", 6);
    row("a day beyond it", "NEAREVENTS=1", "1.3.2026", "3.3.2026 23:59:59", 10);
}

void TestCalcInputs::thePeriodIsReadToTheSecond()
{
    QFETCH(QString, settings);
    QFETCH(QString, first);
    QFETCH(QString, last);
    QFETCH(size_t, count);
    const QAny request = CalcSite::request(kMonday, kMonday, settings);
    const input::CalcRead read = input::readInputs(m_site->database(), request, m_site->today, false);
    QCOMPARE(read.inputs.employees.size(), size_t(2));
    for (const rules::Employee &employee : read.inputs.employees) {
        QCOMPARE(employee.events.size(), count);
        QCOMPARE(employee.events.front().stored, instant(first));
        QCOMPARE(employee.events.back().stored, instant(last));
    }
}

void TestCalcInputs::shiftsOfTheDayBeforeAreRead_data()
{
    m_site = std::make_unique<CalcSite>();
    columns<qint64, QString>("user", "work");
    qint64 id = 0;
    const auto row = [&](const char *name, const QString &firstDay, const QString &lastDay, const QString &work) {
        const QString group = QString("RGROUP=G%1").arg(++id);
        m_site->employee(id, "Novak Ana", QString("%1|IZM2 %2").arg(kDay, kNight), kNoRules,
                         "PRERAZDC=G" + QString::number(id));
        m_site->events(id, "3.3.2026 01:00 101; 05:00 102; " + kShift);
        m_site->assign(firstDay, lastDay, "2", group);
        addRow(name, id, work);
    };
    // The rest of the night counts where the day before had the night's window.
    row("ends with that day's first second", "1.3.2026", "2.3.2026", "12:00");
    row("ends a second after it", "1.3.2026", "2.3.2026 00:00:01", "12:00");
    row("ends a second before it", "1.3.2026", "1.3.2026 23:59:59", "8:00");
    row("that day alone", kMonday, kMonday, "12:00");
    row("begins with that day's last second", "2.3.2026 23:59:59", "2.3.2026 23:59:59", "12:00");
}

void TestCalcInputs::shiftsOfTheDayBeforeAreRead()
{
    QFETCH(qint64, user);
    QFETCH(QString, work);
    // A day does not depend on where the period begins.
    for (const char *from : {"3.3.2026", "2.3.2026", "1.3.2026"})
        QCOMPARE(durations(m_site->run(from, "3.3.2026").day(user, "3.3.2026"), "DELO"), work);
}

void TestCalcInputs::timesAreWorkedOut_data()
{
    columns<QString, QString, QString, QString, QString>("from", "to", "events", "pairs", "settings");
    const auto row = [](const char *name, const QString &from, const QString &to, const QString &events,
                        const QString &pairs,
                        const QString &settings = {}) { addRow(name, from, to, events, pairs, settings); };
    const QString tuesday = "3.3.2026";
    row("the zone is ignored", kMonday, tuesday, kShift, kShiftPair);
    row("by the employee's zone", kMonday, tuesday, kShift, "2.3. 08:00-16:00 102 8:00", "ISTZ=1");
    row("into the next day", kMonday, tuesday, "23:00 101; 23:30 102", "3.3. 00:00-00:30 102 0:30", "ISTZ=1");
    const QString odd = "07:00:29 101; 15:00:30 102";
    row("seconds are kept", kMonday, tuesday, odd, "2.3. 07:00:29-15:00:30 102 8:00:01");
    row("29 seconds down, 30 up", kMonday, tuesday, odd, "2.3. 07:00-15:01 102 8:01", "ISROUND30=1");
    row("up into the next day", kMonday, tuesday, "22:00 101; 23:59:30 102", "2.3. 22:00-00:00 102 2:00",
        "ISROUND30=1");
    row("23 hours", "28.3.2026", "30.3.2026", "29.3.2026 00:00 101; 23:59 102", "29.3. 00:00-23:59 102 22:59");
    row("25 hours", "24.10.2026", "26.10.2026", "25.10.2026 00:00 101; 23:59 102", "25.10. 00:00-23:59 102 24:59");
    row("the hour that comes twice", "25.10.2026", "25.10.2026", "25.10.2026 00:30Z 101; 01:30Z 102",
        "25.10. 02:30-02:30 102 1:00");
    row("the hour that is missing", "29.3.2026", "29.3.2026", "29.3.2026 01:30 101; 03:30 102",
        "29.3. 01:30-03:30 102 1:00");
}

void TestCalcInputs::timesAreWorkedOut()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, events);
    QFETCH(QString, pairs);
    QFETCH(QString, settings);
    CalcRows rows(events);
    rows.of(1).timeZoneSeconds = 3600;
    const CalcRun run = rows.run(from, to, settings);
    QCOMPARE(run.pairs(), pairs);
    QCOMPARE(run.errors("ATP OPO"), QString());
    QCOMPARE(run.of().days.size(), static_cast<size_t>(date(from).daysTo(date(to))) + 1);
}

void TestCalcInputs::zonesAreThoseOfTheEmployees()
{
    CalcSite site(kShift, kDay, kNoRules, "TIMEZ=3600");
    site.employee(2, "Zupan Bine", kDay, kNoRules, "TIMEZ=-999999999"); // nobody's is further away than two days
    site.events(2, "4.3.2026 " + kShift);
    const Outcome outcome = site.run(kMonday, "4.3.2026", "ISTZ=1");
    QCOMPARE(outcome.pairTexts(1), QString("2.3. 08:00-16:00 102 8:00"));
    QCOMPARE(outcome.pairTexts(2), kShiftPair);
    for (int day = 0; day < 3; ++day)
        QCOMPARE(outcome.result["DAYS"][day].value("DATE"),
                 QAny(date(kMonday).addDays(day).startOfDay().toSecsSinceEpoch()));
}

void TestCalcInputs::missingTablesAreDoneWithout()
{
    CalcSite site(kShift);
    site.sql("drop table metalog");
    site.sql("drop table RAZPOREDC");
    QCOMPARE(site.run(kMonday, kMonday).pairTexts(1), kShiftPair);
}

void TestCalcInputs::aHandEnteredEventIsStoredAndReadBack()
{
    CalcSite site("07:00 101");
    MetaEvent departure;
    departure.author = 5;
    departure.user = 1;
    departure.timestamp = instant("2.3.2026 15:00");
    departure.accessCode = "102:Odhod";
    departure.type = "ME";
    departure.remark = "pozabil";
    QAny events;
    QVERIFY(InsertMeta(site.database(), departure, &events));
    QCOMPARE(events.count(), 1);
    QCOMPARE(values(events[0], "TABLE USER REMARK"), QString("'allevents',1,'pozabil'"));
    QVERIFY(events[0].value("IDX").toInteger() > 0);
    QCOMPARE(values(site.database().select("select IDLOG from metalog")[0], "IDLOG"), QString("5"));
    QCOMPARE(site.run(kMonday, kMonday).pairTexts(1), kShiftPair);

    site.sql("drop table metalog");
    QVERIFY(!InsertMeta(site.database(), departure));
}

void TestCalcInputs::theResultHasItsWholeLayout()
{
    CalcSite site("07:00 101; 12:00 102:1; 12:00 101");
    site.insert("allevents", {{"USER", 1},
                              {"TIMESTAMP", instant("2.3.2026 15:00")},
                              {"ACCESS_CODE", "102:Odhod"},
                              {"TYPE", "EV"},
                              {"IDX", 7},
                              {"TAG", 3},
                              {"PARAM", "vrata"}});
    const Outcome outcome = site.run(kMonday, kMonday);
    for (const char *key : {"CALC", "CALCsum", "DAYS", "CALCorg", "DAYSorg", "ACSLIST", "ERR"})
        QVERIFY2(outcome.result.value(key).isList(), key);
    QCOMPARE(values(outcome.row("CALC", 1), "EMPLID"), QString("'E1'"));
    QVERIFY(!outcome.row("CALCorg", 1).contains("DAYS"));
    const QAny pair = outcome.pairs(1)[1];
    QCOMPARE(values(pair, "USER EMPLID DAYNUM AC AC2 REMARK IDX2 TAG2 PARAM2"),
             QString("1,'E1',1,'101:Ime','102:Odhod','opomba',7,3,'vrata'"));
    QVERIFY(pair.value("IDP").toInteger() > outcome.pairs(1)[0].value("IDP").toInteger());
}

void TestCalcInputs::theRunIsTraced()
{
    static QString written;
    CalcSite site("05:30 101; 15:00 102"); // half an hour is cut
    for (const bool daysToo : {false, true}) {
        written.clear();
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &line) { written += line + '\n'; });
        site.run(kMonday, kMonday, daysToo ? "ISDEBUG=1" : "");
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
