#include "calc/calc21.h"
#include "calc/input/calcreader.h"
#include "calc/input/metaevents.h"
#include "calcsite.h"
#include "warnings.h"

using namespace calc;

namespace {

const QString kMonday = "2.3.2026";
const QString kShiftPair = "2.3. 07:00-15:00 102 8:00";

/// Name | first and last day | the request's USER | what is told.
constexpr char kFatal[] = R"(
$period = Napačen datum za obdobje obračuna!
$nobody = Ni spiska zaposlenih!
end before the start      | 3.3.2026-2.3.2026  |    | $period
no such date              | 31.2.2026-2.3.2026 |    | $period
no end                    | 2.3.2026-          |    | $period
more than a hundred years | 1.1.1950-2.3.2054  | 1  | $period
too long for so many      | 1.1.1950-1.1.2050  |    | $period
no calendar               | 2.3.2027-3.3.2027  |    | Ni koledarja za izbrano obdobje!
unknown employee          | 2.3.2026-2.3.2026  | 77 | $nobody
inactive employee         | 5.3.2026-5.3.2026  | 9  | $nobody
nobody asked for          | 2.3.2026-2.3.2026  | [] | $nobody
no events                 | 3.3.2026-3.3.2026  |    | Ni dogodkov za izbrano obdobje!
events of others only     | 5.3.2026-5.3.2026  |    | Ni dogodkov za obdobje!
)";

/// Name | settings | the first and the last event that is read | how many.
constexpr char kRead[] = R"(
the period alone  | NEAREVLEN=1              | 2.3.2026 0:00 - 2.3.2026 23:59:59  | 2
an hour beyond it | NEAREVENTS=1 NEAREVLEN=1 | 1.3.2026 23:00 - 3.3.2026 0:59:59  | 6
a day beyond it   | NEAREVENTS=1             | 1.3.2026 0:00 - 3.3.2026 23:59:59  | 10
)";

/// Name | when the night shift begins and ends | work on 3.3.
constexpr char kDayBefore[] = R"(
ends with that day's first second     | 1.3.2026 - 2.3.2026                   | 12:00
ends a second after it                | 1.3.2026 - 2.3.2026 0:00:01           | 12:00
ends a second before it               | 1.3.2026 - 1.3.2026 23:59:59          | 8:00
that day alone                        | 2.3.2026 - 2.3.2026                   | 12:00
begins with that day's last second    | 2.3.2026 23:59:59 - 2.3.2026 23:59:59 | 12:00
)";

/// Name | events | pairs | settings.
constexpr char kTimes[] = R"(
zone into the next day       | 23-23:30                      | 3.3. 00:00-00:30 102 0:30      | ISTZ=1
rounded up into the next day | 22 101; 23:59:30 102          | 2.3. 22:00-00:00 102 2:00      | ISROUND30=1
23 hours                     | 29.3.2026 0-23:59             | 29.3. 00:00-23:59 102 22:59
25 hours                     | 25.10.2026 0-23:59            | 25.10. 00:00-23:59 102 24:59
the hour that comes twice    | 25.10.2026 0:30Z 101; 1:30Z 102 | 25.10. 02:30-02:30 102 1:00
the hour that is missing     | 29.3.2026 1:30-3:30           | 29.3. 01:30-03:30 102 1:00
)";

} // namespace

/// What a calculation reads before it computes anything, and what it says when something is missing.
class TestCalcInputs : public QObject
{
    Q_OBJECT
private slots:
    void fatalErrorsLeaveOnlyTheErrors_data() { addTable(kFatal); }
    void fatalErrorsLeaveOnlyTheErrors();
    void faultsOfOneLeaveTheOthersAndTheHours();
    void employeesWithoutEventsAreReported();
    void handEnteredEventsAreMerged();
    void thePeriodIsReadToTheSecond_data() { addTable(kRead); }
    void thePeriodIsReadToTheSecond();
    void shiftsOfTheDayBeforeAreRead_data() { addTable(kDayBefore); }
    void shiftsOfTheDayBeforeAreRead();
    void timesAreWorkedOut_data() { addTable(kTimes); }
    void timesAreWorkedOut();
    void zonesAreThoseOfTheEmployees();
    void missingTablesAreDoneWithout();
    void aHandEnteredEventIsStoredAndReadBack();
    void theResultHasItsWholeLayout();
    void theRunIsTraced();
};

void TestCalcInputs::fatalErrorsLeaveOnlyTheErrors()
{
    QFETCH(TableRow, row);
    CalcSite site("7-15");
    site.employee(9, "Kos Bine", kDay, kNoRules, "ACTIVE=0");
    site.events(9, "5.3.2026 7-15");
    for (int id = 11; id <= 20; ++id)
        site.employee(id);
    QAny request = CalcSite::request(row[0].section('-', 0, 0), row[0].section('-', 1));
    if (!row[1].isEmpty())
        request["USER"] = row[1] == "[]" ? QAny::list() : QAny(row[1].toInt());
    const Outcome outcome = site.run(request);
    QCOMPARE(outcome.answer.keys(), QStringList("ERR"));
    QCOMPARE(outcome.errors("NAP"), "NAP " + row[2]);
    QCOMPARE(outcome.answer["ERR"].count(), 1);
}

void TestCalcInputs::faultsOfOneLeaveTheOthersAndTheHours()
{
    CalcSite site("5-13", kDay, "");
    site.employee(2, "Novak Ana", kDay, "{\"SALDO\":");
    site.employee(3, "Novak Ana", "");
    site.employee(4, "Novak Ana", "{IZM1}");
    site.employee(5);
    for (int id = 2; id <= 5; ++id)
        site.events(id, "5-13");
    const Outcome outcome = site.run(kMonday, kMonday);
    QCOMPARE(outcome.errors("NAP"),
             QString("NAP Ni nastavitev! 1|NAP Ni nastavitev! 2|NAP Ni urnika! 3|NAP Ni urnika! 4"));
    // The hour before the window stays: without rules, or without a schedule, nothing cuts it.
    for (int id = 1; id <= 5; ++id) {
        QCOMPARE(outcome.amounts(kMonday, "DELO", id), QString(id == 5 ? "7:00" : "8:00"));
        QCOMPARE(outcome.sums("DELO", id), QString(id == 5 ? "7:00" : "8:00"));
    }
}

void TestCalcInputs::employeesWithoutEventsAreReported()
{
    CalcRows rows("7-15");
    rows.employee(2, "Zupan Bine");
    rows.events(2, "4.3.2026 7-15");
    const CalcRun run = rows.run(kMonday, "3.3.2026");
    QCOMPARE(run.errors("SPO"), QString("SPO Ni dogodkov za izbrano obdobje! 2"));
    // A fault of one employee, not of the run: the days without work stand in the result all the same.
    QCOMPARE(run.amounts("3.3.2026", "SALDO", 2), QString("-8:00"));
}

void TestCalcInputs::handEnteredEventsAreMerged()
{
    CalcSite site("7 101; 8 102 + 7 101/ME; 8 101/MP; 9 102/roka; 10 101/EVA; 11 102/ME");
    const Outcome outcome = site.run(kMonday, kMonday);
    QCOMPARE(outcome.pairs(),
             QString("2.3. 07:00-08:00 102 1:00; 2.3. 08:00-09:00 102 1:00; 2.3. 10:00-11:00 102 1:00"));
    // Another text than those of the journal is entered by hand.
    QCOMPARE(each(outcome.row("CALC")["PAIRS"], "TYPE TYPE2"), QString("EV EV, MP ME, ME ME"));
}

void TestCalcInputs::thePeriodIsReadToTheSecond()
{
    QFETCH(TableRow, row);
    const QString edges = "28.2.2026 23:59:59 x; 1.3.2026 00:00 x; 22:59:59 x; 23:00 x; 23:59:59 x; 2.3.2026 00:00 x; "
                          "23:59:59 x; 3.3.2026 00:00 x; 00:59:59 x; 01:00 x; 23:59:59 x; 4.3.2026 00:00 x";
    CalcSite site(edges);
    site.employee(2);
    site.events(2, '+' + edges);
    const QAny request = CalcSite::request(kMonday, kMonday, row[0]);
    Calc21 calculation(site.database(), site.today);
    const rules::CalcInputs &inputs = calculation.calculate(request).inputs;
    QCOMPARE(inputs.employees.size(), size_t(2));
    for (const rules::Employee &employee : inputs.employees) {
        QCOMPARE(employee.events.size(), row[2].toUInt());
        QCOMPARE(employee.events.front().stored, instant(row[1].section(" - ", 0, 0)));
        QCOMPARE(employee.events.back().stored, instant(row[1].section(" - ", 1)));
    }
}

void TestCalcInputs::shiftsOfTheDayBeforeAreRead()
{
    QFETCH(TableRow, row);
    // The rest of the night counts where the day before had the night's window.
    CalcSite site("3.3.2026 1-5; 7-15", QString("%1|IZM2 %2").arg(kDay, kNight), kNoRules, "PRERAZDC=A");
    site.assign(row[0].section(" - ", 0, 0), row[0].section(" - ", 1), "2");
    // A day does not depend on where the period begins.
    for (const char *from : {"3.3.2026", "2.3.2026", "1.3.2026"})
        QCOMPARE(site.run(from, "3.3.2026").amounts("3.3.2026", "DELO"), row[1]);
}

void TestCalcInputs::timesAreWorkedOut()
{
    QFETCH(TableRow, row);
    const QDate day = date(dayOf(row[0]));
    CalcRows rows(row[0]);
    rows.of(1).timeZoneSeconds = 3600;
    const auto on = [&day](int later) { return day.addDays(later).toString("d.M.yyyy"); };
    const CalcRun run = rows.run(on(-1), on(1), row[2]);
    QCOMPARE(run.pairs(), row[1]);
    QCOMPARE(run.errors("ATP OPO"), QString());
    QCOMPARE(run.of().days.size(), size_t(3));
}

void TestCalcInputs::zonesAreThoseOfTheEmployees()
{
    CalcSite site("7-15", kDay, kNoRules, "TIMEZ=3600");
    site.employee(2, "Zupan Bine", kDay, kNoRules, "TIMEZ=-999999999"); // nobody's is further away than two days
    site.events(2, "4.3.2026 7-15");
    const Outcome outcome = site.run(kMonday, "4.3.2026", "ISTZ=1");
    QCOMPARE(outcome.pairs(), QString("2.3. 08:00-16:00 102 8:00"));
    QCOMPARE(outcome.pairs(2), kShiftPair);
    for (int day = 0; day < 3; ++day)
        QCOMPARE(outcome.answer["DAYS"][day].value("DATE"),
                 QAny(date(kMonday).addDays(day).startOfDay().toSecsSinceEpoch()));
}

void TestCalcInputs::missingTablesAreDoneWithout()
{
    CalcSite site("7-15");
    site.sql("drop table metalog");
    site.sql("drop table RAZPOREDC");
    QCOMPARE(site.run(kMonday, kMonday).pairs(), kShiftPair);
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
    QCOMPARE(site.run(kMonday, kMonday).pairs(), kShiftPair);

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
        QVERIFY2(outcome.answer.value(key).isList(), key);
    QCOMPARE(values(outcome.row("CALC"), "EMPLID"), QString("'E1'"));
    QVERIFY(!outcome.row("CALCorg").contains("DAYS"));
    const QAny pairs = outcome.row("CALC")["PAIRS"];
    QCOMPARE(values(pairs[1], "USER EMPLID DAYNUM AC AC2 REMARK IDX2 TAG2 PARAM2"),
             QString("1,'E1',1,'101:Ime','102:Odhod','opomba',7,3,'vrata'"));
    QVERIFY(pairs[1].value("IDP").toInteger() > pairs[0].value("IDP").toInteger());
}

void TestCalcInputs::theRunIsTraced()
{
    CalcSite site("5:30-15"); // half an hour is cut
    for (const bool daysToo : {false, true}) {
        auto lines = std::make_unique<Warnings>(true);
        site.run(kMonday, kMonday, daysToo ? "ISDEBUG=1" : "");
        lines.reset();
        const QString written = Warnings::lines.join('\n');
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
