#include "calcsite.h"

using calc::rules::DayResult;

namespace {
/// Code | the columns that count an hour closed by it.
constexpr char kCategories[] = R"(
102   | DELO PRISOTNOST DELPONSOB SKUPAJ
102:1 | DOPUST SKUPAJ
102:2 | BOLNIŠKA SKUPAJ
102:3 | DELO PRISOTNOST DELPONSOB SKUPAJ
102:4 | TEREN SKUPAJ
102:5 | SALDOURE
102:6 | IZRDOPUST SKUPAJ
102:7 | ODDOMA SKUPAJ
102:8 | DRUGO
102:9 | nothing
103   | MALICA
104   | SLUŽBENO
105   | ZASEBNO
)";

/// Name | day and events | DAYTYPE DELDAN and in hours DELPONSOB DELSOB DELNED DELPRA PRAZNIK SKUPAJ PLUSMINUS SALDO |
/// holiday | settings | schedule.
constexpr char kKinds[] = R"(
Monday, nothing                | 2.3.2026            | 0 1 0 0 0 0 0 0 -8 -8
Monday, leave                  | 2.3.2026 7-15 102:1 | 0 1 0 0 0 0 0 8 0 0
Monday, more than asked for    | 2.3.2026 6-16       | 0 1 10 0 0 0 0 10 2 2
Monday, corrected work counts  | 2.3.2026 5-14       | 0 1 8 0 0 0 0 8 0 0
Monday without a schedule      | 2.3.2026 7-15       | 1 1 8 0 0 0 0 8     |           |  | 2-5 $day
named holiday, work            | 2.3.2026 7-15       | 3 1 8 0 0 8 8 16 8 8 | Dan upora
named holiday, nothing         | 2.3.2026            | 3 1 0 0 0 0 8 8 0 0 | Dan upora
free holiday, nothing          | 2.3.2026            | 3 1 0 0 0 0 8 8 0 - | 1
EMPTYSALDO: empty day          | 2.3.2026            | 0 1 0 0 0 0 0 0 -8 - |         | SALDO/EMPTYSALDO=1
EMPTYSALDO: day with leave     | 2.3.2026 7-8 102:1  | 0 1 0 0 0 0 0 1 -7 -7 |        | SALDO/EMPTYSALDO=1
Saturday, work                 | 7.3.2026 7-15       | 2 0 8 8 0 0 0 8 8 -
Saturday that counts           | 7.3.2026 7-17       | 2 0 10 10 0 0 0 10 10 2 |      | SALDO/FORFREE=1
Saturday that counts, nothing  | 7.3.2026            | 2 0 0 0 0 0 0 0 0 - |          | SALDO/FORFREE=1
Saturday that skips the rules  | 7.3.2026 7-15 102/MP | 2 0 8 8 0 0 0 8 8 - |         | TYPE=METAPERTYPE
Sunday, work                   | 8.3.2026 7-15       | 2 0 0 0 8 0 0 8 8 -
holiday on a Sunday, work      | 8.3.2026 7-15       | 3 0 0 0 8 8 8 16 8 - | Velika noč
)";

/// Name | shift on 4.3., 0 on a day off | its assignment | the assignments: from>to>shift>columns.
constexpr char kAssignments[] = R"(
none                             | 1
to the day before and from the next | 1 |  | 1.3.2026>3.3.2026>2; 5.3.2026>31.3.2026>2
beyond what is read              | 3 | 3 | 1.1.2026>31.12.2026>3
another group                    | 1 |  | 1.3.2026>31.3.2026>2>RGROUP=B
another employee of the group    | 1 |  | 1.3.2026>31.3.2026>2>EMPLID=E2
one that names the employee wins | 3 | 3 | 1.3.2026>31.3.2026>3>EMPLID=E1; 4.3.2026>31.3.2026>2
the latest start wins            | 3 | 3 | 3.3.2026>31.3.2026>3; 1.3.2026>31.3.2026>2
the highest number wins          | 2 | 2 | 1.3.2026>31.3.2026>2>ID=9; 1.3.2026>31.3.2026>3>ID=8
day off                          | 0 | 0 | 1.3.2026>31.3.2026>0
no such shift                    | 1 | 7 | 1.3.2026>31.3.2026>7
)";

constexpr char kNights[] = R"(
whole night                   | 2.3.2026 22-6             | 7:00
a second inside each edge     | 2.3.2026 5:59:59-23:00:01 | 0:00:02
both ends of one day          | 2.3.2026 2-23:30          | 4:30
field presence counts as work | 2.3.2026 4-5 102:3        | 1:00
leave does not                | 2.3.2026 4-5 102:1        | 0:00
night of 9 hours              | 24.10.2026 22-6           | 8:00
night of 7 hours              | 28.3.2026 22-6            | 6:00
after the clock went back     | 25.10.2026 5-7            | 1:00
)";
} // namespace

/// Day rows, sums of the period and shifts.
class TestCalcSummaries : public QObject
{
    Q_OBJECT
private slots:
    void timeCountsUnderItsCategory_data() { addTable(kCategories); }
    void timeCountsUnderItsCategory();
    void kindsOfDays_data() { addTable(kKinds); }
    void kindsOfDays();
    void holidaysOfTheCalendar();
    void daysToComeHaveNoBalance();
    void thePeriodIsTheSumOfItsDays();
    void shiftsFollowTheAssignments_data() { addTable(kAssignments); }
    void shiftsFollowTheAssignments();
    void nightWork_data() { addTable(kNights); }
    void nightWork();
    void codesHaveTheFirstNameThatAnyEventGives();
    void rulesLeaveTheOriginalsAlone();
};

void TestCalcSummaries::timeCountsUnderItsCategory()
{
    QFETCH(TableRow, row);
    // Without a lunch that would be paid.
    const CalcRun run = CalcRows("10-11 " + row.name, "STARTB=6:00 ENDE=16:00").run("2.3.2026", "3.3.2026");
    const QString columns = "DELO PRISOTNOST DELPONSOB DOPUST BOLNIŠKA TEREN SALDOURE IZRDOPUST ODDOMA DRUGO MALICA "
                            "SLUŽBENO ZASEBNO SKUPAJ";
    QStringList expected;
    for (const QString &column : columns.split(' '))
        expected += row[0].split(' ').contains(column) ? "1:00" : "0:00";
    QCOMPARE(run.amounts("2.3.2026", columns), expected.join(' '));
    QCOMPARE(run.sums(columns), expected.join(' '));
}

void TestCalcSummaries::kindsOfDays()
{
    QFETCH(TableRow, row);
    const QString day = dayOf(row[0]);
    CalcRows rows(row[0], row[4].isEmpty() ? kDay : row[4], "X=0 " + row[3]);
    rows.holiday(day, row[2]);
    const CalcRun run = rows.run(day, day);
    const DayResult &result = run.day(day);
    QStringList found{QString::number(result.facts.dayType), QString::number(result.amountsAfter().workdays)};
    found += run.amounts(day, "DELPONSOB DELSOB DELNED DELPRA PRAZNIK SKUPAJ PLUSMINUS SALDO").remove(":00").split(' ');
    // The balance of a day without a schedule is not settled.
    QCOMPARE(QStringList(found.mid(0, row[1].split(' ').size())).join(' '), row[1]);
}

void TestCalcSummaries::holidaysOfTheCalendar()
{
    CalcSite site("2.3.2026 7-15");
    const auto kinds = [&site] { return each(site.run("2.3.2026", "6.3.2026").answer["DAYS"], "DAYTYPE"); };
    site.holiday("2.3.2026", 0);
    site.holiday("3.3.2026", "0");
    site.holiday("4.3.2026", 1);
    site.holiday("5.3.2026", "Dan upora");
    QCOMPARE(kinds(), QString("0, 0, 3, 3, 0"));
    // An older calendar has notes alone; a day that it lacks is an ordinary one.
    site.sql("drop table calendar");
    site.sql("create table calendar (DATE INTEGER, DATESTAMP TEXT, NOTE TEXT, TIMEZ INTEGER)");
    site.insert("calendar", {{"DATE", midnight("3.3.2026")}, {"NOTE", "Dan upora"}});
    QCOMPARE(kinds(), QString("0, 3, 0, 0, 0"));
}

void TestCalcSummaries::daysToComeHaveNoBalance()
{
    CalcRows rows("2.3.2026 7-16; 4.3.2026 7-12; 12-13 102:1", kDay,
                  "HOURS/SHOWEMPTYDAYS=1 HOURS/LOWSALDO=1 HOURS/TOOMANYHOURS=1 HOURS/MAXHOURS=4");
    rows.today = date("3.3.2026");
    const CalcRun run = rows.run("2.3.2026", "6.3.2026");
    QCOMPARE(run.of().days.size(), size_t(5));
    QCOMPARE(run.amounts("3.3.2026", "SALDO"), QString("-8:00"));
    QCOMPARE(run.remarks("3.3.2026"), QString("Ni delovnih ur!; Premalo delovnih ur!"));
    for (const char *day : {"4.3.2026", "5.3.2026", "6.3.2026"})
        QCOMPARE(run.amounts(day, "SALDO PLUSMINUS") + run.remarks(day), QString("- 0:00"));
    QCOMPARE(run.amounts("4.3.2026", "DELO DOPUST"), QString("5:00 1:00"));
    QCOMPARE(run.sums("SALDO PLUSMINUS"), QString("-7:00 -7:00"));
}

void TestCalcSummaries::thePeriodIsTheSumOfItsDays()
{
    CalcRows rows("2.3.2026 6-16; 3.3.2026 7-15 102:2; 7.3.2026 7-12");
    rows.employee(2, "Zupan Bine");
    rows.events(2, "8.3.2026 7-10; 11-12 105");
    rows.holiday("6.3.2026", "Dan upora");
    const CalcRun run = rows.run("2.3.2026", "8.3.2026");
    QCOMPARE(run.sums("DELO BOLNIŠKA PRAZNIK SKUPAJ DELPONSOB DELSOB PRISOTNOST"),
             QString("15:00 8:00 8:00 31:00 15:00 5:00 15:00"));
    // +2, 0, -8, -8 and 0 of the week; Saturday's and Sunday's balances are empty, but Saturday's work is over.
    QCOMPARE(run.sums("SALDO PLUSMINUS"), QString("-14:00 -9:00"));
    QCOMPARE(run.of().sums.workdays, 5);
    QVERIFY((run.of().daysInShift == std::array<int, 3>{2, 0, 0}));
    QCOMPARE(run.sums("DELO ZASEBNO DELNED SKUPAJ", 2), QString("3:00 1:00 3:00 11:00"));
}

void TestCalcSummaries::shiftsFollowTheAssignments()
{
    QFETCH(TableRow, row);
    const int shift = row[0].toInt();
    // The third shift has no schedule of its own and takes the first one's.
    CalcRows rows("4.3.2026 7-15", QString(kDay) + "|IZM2 STARTB=6:00 ENDE=22:00 MINHOURS=7:00");
    for (const QString &one : row[2].split(';', Qt::SkipEmptyParts))
        rows.assign(one.section('>', 0, 0).trimmed(), one.section('>', 1, 1), one.section('>', 2, 2),
                    one.section('>', 3));
    const CalcRun run = rows.run("4.3.2026", "4.3.2026");
    const DayResult &day = run.day("4.3.2026");
    const auto stored = std::get_if<QString>(&run.result.inputs.employees[0].shift(day.day).preraz);
    QCOMPARE(stored ? *stored : QString(), row[1]);
    QCOMPARE(day.facts.isOff ? 0 : day.facts.shift, shift);
    QCOMPARE(day.facts.dayType, shift == 0 ? 1 : 0);
    QCOMPARE(day.facts.minHours(), seconds(shift == 0 ? "0" : shift == 2 ? "7" : "8"));
    QCOMPARE(run.of().assignedDays, row[1].isEmpty() ? 0 : 1);
    for (int i = 1; i <= 3; ++i)
        QCOMPARE(run.of().daysInShift[static_cast<size_t>(i - 1)], i == shift ? 1 : 0);
}

void TestCalcSummaries::nightWork()
{
    QFETCH(TableRow, row);
    const QString day = dayOf(row[0]);
    const CalcRun run = CalcRows(row[0], "").run(day, date(day).addDays(1).toString("d.M.yyyy"));
    QCOMPARE(run.amounts(day, "NOČNO"), row[1]);
    QCOMPARE(run.sums("NOČNO"), row[1]);
}

void TestCalcSummaries::codesHaveTheFirstNameThatAnyEventGives()
{
    CalcRows rows("1.3.2026 10 =104:Prej; 2.3.2026 7 =101; 12 =102:; 13 =101:Vhod; 15 =102:1");
    rows.employee(2, "Zupan Bine");
    rows.events(2, "2.3.2026 7 =101:Prihod; 15 =102:1:Dopust; 16 =102:Odhod; 17 =Vrata");
    using Names = calc::rules::CodeNames;
    const CalcRun run = rows.run("2.3.2026", "2.3.2026", "ISACS=1 NEAREVENTS=1");
    QVERIFY((run.of(1).codes == Names{{"101", "Vhod"}, {"102", ""}, {"102:1", ""}}));
    QVERIFY((run.result.codes == Names{{"101", "Vhod"}, {"102", "Odhod"}, {"102:1", "Dopust"}}));
    QVERIFY(rows.run("2.3.2026", "2.3.2026").result.codes.empty());
}

void TestCalcSummaries::rulesLeaveTheOriginalsAlone()
{
    const CalcRun run = CalcRows("5:30-15").run("2.3.2026", "2.3.2026");
    QCOMPARE(run.amounts("2.3.2026", "DELO IN"), QString("9:00 6:00"));
    QCOMPARE(durations(run.row("DAYSorg"), "DELO IN"), QString("9:30 5:30"));
    QCOMPARE(run.row("DAYS").value("INORG").toInteger(), instant("2.3.2026 5:30"));
    // What no rule touches is one record in both lists.
    QVERIFY(run.row("CALC").value("PAIRS")[0].sharesRecordWith(run.row("CALCorg").value("PAIRS")[0]));
}

QTEST_GUILESS_MAIN(TestCalcSummaries)
#include "tst_calc_summaries.moc"
