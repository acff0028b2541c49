#include "calcsite.h"

namespace {
// In the order in which the rows below name them.
const QStringList kColumns = QString("DELO PRISOTNOST DELPONSOB DOPUST BOLNIŠKA TEREN SALDOURE IZRDOPUST ODDOMA DRUGO "
                                     "MALICA SLUŽBENO ZASEBNO SKUPAJ")
                                 .split(' ');
const QString kEight = " 07:00 101; 15:00 102";
} // namespace

/// Day rows, sums of the period and shifts.
class TestCalcSummaries : public QObject
{
    Q_OBJECT
private slots:
    void timeCountsUnderItsCategory_data();
    void timeCountsUnderItsCategory();
    void kindsOfDays_data();
    void kindsOfDays();
    void holidaysOfACalendarWithNotesOnly();
    void daysToComeHaveNoBalance();
    void thePeriodIsTheSumOfItsDays();
    void shiftsFollowTheAssignments_data();
    void shiftsFollowTheAssignments();
    void nightWork_data();
    void nightWork();
};

void TestCalcSummaries::timeCountsUnderItsCategory_data()
{
    columns<QString>("counted");
    addRow("102", "DELO PRISOTNOST DELPONSOB SKUPAJ");
    addRow("102:1", "DOPUST SKUPAJ");
    addRow("102:2", "BOLNIŠKA SKUPAJ");
    addRow("102:3", "DELO PRISOTNOST DELPONSOB SKUPAJ");
    addRow("102:4", "TEREN SKUPAJ");
    addRow("102:5", "SALDOURE");
    addRow("102:6", "IZRDOPUST SKUPAJ");
    addRow("102:7", "ODDOMA SKUPAJ");
    addRow("102:8", "DRUGO");
    addRow("102:9", "");
    addRow("103", "MALICA");
    addRow("104", "SLUŽBENO");
    addRow("105", "ZASEBNO");
}

void TestCalcSummaries::timeCountsUnderItsCategory()
{
    QFETCH(QString, counted);
    CalcSite site(QString("10:00 101; 11:00 ") + QTest::currentDataTag(),
                  "STARTB=6:00 STARTE=8:00 ENDB=14:00 ENDE=16:00"); // no lunch that would be paid
    const Outcome outcome = site.run("2.3.2026", "3.3.2026");
    for (const QAny &row : {outcome.day(1, "2.3.2026"), outcome.sum(1)}) {
        QStringList found;
        for (const QString &column : kColumns)
            if (row.value(column).toInteger() != 0)
                found += column + (row.value(column) == QAny(3600) ? "" : "?");
        QCOMPARE(found.join(' '), counted);
    }
}

void TestCalcSummaries::kindsOfDays_data()
{
    columns<QString, QAny, QString, QString, QString, QString>("day", "holiday", "events", "expected", "settings",
                                                               "schedule");
    // Expected: DAYTYPE DELDAN and in hours DELPONSOB DELSOB DELNED DELPRA PRAZNIK SKUPAJ PLUSMINUS SALDO
    const auto row = [](const char *name, const QString &day, const QAny &holiday, const QString &events,
                        const QString &expected, const QString &settings = kNoRules, const QString &schedule = kDay) {
        addRow(name, day, holiday, events, expected, settings, schedule);
    };
    const QString monday = "2.3.2026", saturday = "7.3.2026", sunday = "8.3.2026";
    row("Monday, work", monday, {}, kEight, "0 1 8 0 0 0 0 8 0 0");
    row("Monday, nothing", monday, {}, "", "0 1 0 0 0 0 0 0 -8 -8");
    row("Monday, leave", monday, {}, "07:00 101; 15:00 102:1", "0 1 0 0 0 0 0 8 0 0");
    row("Monday, more than asked for", monday, {}, "06:00 101; 16:00 102", "0 1 10 0 0 0 0 10 2 2");
    row("Saturday, work", saturday, {}, kEight, "2 0 8 8 0 0 0 8 8 -");
    row("Saturday, nothing", saturday, {}, "", "2 0 0 0 0 0 0 0 0 -");
    row("Saturday that counts in the balance", saturday, {}, "07:00 101; 17:00 102", "2 0 10 10 0 0 0 10 10 2",
        "SALDO/FORFREE=1");
    row("Saturday that counts in the balance, nothing", saturday, {}, "", "2 0 0 0 0 0 0 0 0 -", "SALDO/FORFREE=1");
    row("Sunday, work", sunday, {}, kEight, "2 0 0 0 8 0 0 8 8 -");
    row("named holiday, work", monday, "Dan upora", kEight, "3 1 8 0 0 8 8 16 8 8");
    row("named holiday, nothing", monday, "Dan upora", "", "3 1 0 0 0 0 8 8 0 0");
    row("free holiday, work", monday, "1", kEight, "3 1 8 0 0 8 8 16 8 -");
    row("free holiday, nothing", monday, "1", "", "3 1 0 0 0 0 8 8 0 -");
    row("holiday as a number", monday, 1, "", "3 1 0 0 0 0 8 8 0 -");
    row("holiday on a Sunday, work", sunday, "Velika noč", kEight, "3 0 0 0 8 8 8 16 8 -");
    row("holiday of 0", monday, 0, kEight, "0 1 8 0 0 0 0 8 0 0");
    row("holiday of a text 0", monday, "0", kEight, "0 1 8 0 0 0 0 8 0 0");
    row("no schedule on that day", monday, {}, kEight, "1 1 8 0 0 0 0 8 * *", kNoRules, QString("2-5 ") + kDay);
    row("Saturday without a schedule", saturday, {}, kEight, "2 0 8 8 0 0 0 8 8 -", kNoRules, QString("1-5 ") + kDay);
    row("corrected work counts by the kind of the day", monday, {}, "05:00 101; 14:00 102", "0 1 8 0 0 0 0 8 0 0");
    row("empty balance of an empty day", monday, {}, "", "0 1 0 0 0 0 0 0 -8 -", "SALDO/EMPTYSALDO=1");
    row("balance of a day with leave", monday, {}, "07:00 101; 08:00 102:1", "0 1 0 0 0 0 0 1 -7 -7",
        "SALDO/EMPTYSALDO=1");
    row("Saturday that skips the rules", saturday, {}, "07:00 101/MP; 15:00 102/MP", "2 0 8 8 0 0 0 8 8 -",
        "TYPE=METAPERTYPE");
}

void TestCalcSummaries::kindsOfDays()
{
    QFETCH(QString, day);
    QFETCH(QAny, holiday);
    QFETCH(QString, events);
    QFETCH(QString, expected);
    QFETCH(QString, settings);
    QFETCH(QString, schedule);
    CalcSite site(day + ' ' + events, schedule, settings);
    site.employee(2, "Zupan Bine");
    site.events(2, day + kEight);
    if (!holiday.isNull())
        site.holiday(day, holiday);
    const QAny row = site.run(day, day).day(1, day);
    QString found = values(row, "DAYTYPE DELDAN").replace(',', ' ') + ' ' +
                    durations(row, "DELPONSOB DELSOB DELNED DELPRA PRAZNIK SKUPAJ PLUSMINUS SALDO").remove(":00");
    if (expected.endsWith('*')) // not settled without a schedule
        found = found.section(' ', 0, -3) + " * *";
    QCOMPARE(found, expected);
}

void TestCalcSummaries::holidaysOfACalendarWithNotesOnly()
{
    CalcSite site("2.3.2026" + kEight);
    site.sql("drop table calendar");
    site.sql("create table calendar (DATE INTEGER, DATESTAMP TEXT, NOTE TEXT, TIMEZ INTEGER)");
    site.insert("calendar", {{"DATE", midnight("2.3.2026")}, {"NOTE", "Dan upora"}});
    const Outcome outcome = site.run("2.3.2026", "3.3.2026");
    QCOMPARE(outcome.day(1, "2.3.2026").value("PRAZNIK").toInteger(), seconds("8:00"));
    // A day that the calendar lacks is an ordinary one.
    QCOMPARE(outcome.day(1, "3.3.2026").value("DAYTYPE").toInteger(), 0);
}

void TestCalcSummaries::daysToComeHaveNoBalance()
{
    CalcSite site("2.3.2026 07:00 101; 16:00 102; 4.3.2026 07:00 101; 15:00 102:1", kDay, "HOURS/SHOWEMPTYDAYS=1");
    site.today = date("3.3.2026");
    const Outcome outcome = site.run("2.3.2026", "6.3.2026");
    QCOMPARE(outcome.result.value("DAYS").count(), 5);
    QCOMPARE(durations(outcome.day(1, "3.3.2026"), "SALDO"), QString("-8:00"));
    QCOMPARE(outcome.remarks(1, "3.3.2026"), QString("Ni delovnih ur!"));
    for (const char *day : {"4.3.2026", "5.3.2026", "6.3.2026"}) {
        QCOMPARE(durations(outcome.day(1, day), "SALDO PLUSMINUS"), QString("- 0:00"));
        QCOMPARE(outcome.remarks(1, day), QString());
    }
    QCOMPARE(outcome.day(1, "4.3.2026").value("DOPUST").toInteger(), seconds("8:00"));
    QCOMPARE(durations(outcome.sum(1), "SALDO PLUSMINUS"), QString("-7:00 -7:00"));
}

void TestCalcSummaries::thePeriodIsTheSumOfItsDays()
{
    CalcSite site("2.3.2026 06:00 101; 16:00 102; 3.3.2026 07:00 101; 15:00 102:2; 7.3.2026 07:00 101; 12:00 102");
    site.employee(2, "Zupan Bine");
    site.events(2, "8.3.2026 07:00 101; 10:00 102; 11:00 101; 12:00 105");
    site.holiday("6.3.2026", "Dan upora");
    const Outcome outcome = site.run("2.3.2026", "8.3.2026");
    QCOMPARE(durations(outcome.sum(1), "DELO BOLNIŠKA PRAZNIK SKUPAJ DELPONSOB DELSOB PRISOTNOST"),
             QString("15:00 8:00 8:00 31:00 15:00 5:00 15:00"));
    // +2, 0, -8, -8 and 0 of the week; Saturday's and Sunday's balances are empty, but Saturday's work is over.
    QCOMPARE(durations(outcome.sum(1), "SALDO PLUSMINUS"), QString("-14:00 -9:00"));
    QCOMPARE(values(outcome.sum(1), "DELDAN IZM1 IZM2"), QString("5,2,0"));
    QCOMPARE(durations(outcome.sum(2), "DELO ZASEBNO DELNED SKUPAJ"), QString("3:00 1:00 3:00 11:00"));
}

void TestCalcSummaries::shiftsFollowTheAssignments_data()
{
    columns<QStringList, QString, QString>("assigned", "shift", "assignment");
    const auto row = [](const char *name, const QStringList &assigned, const char *shift, const char *assignment) {
        addRow(name, assigned, shift, assignment);
    };
    const QString month = "1.3.2026>31.3.2026>";
    row("none", {}, "IZM1", "");
    row("inside the period", {"3.3.2026>5.3.2026>2"}, "IZM2", "2");
    row("over the period's start", {"1.1.2026>4.3.2026>2"}, "IZM2", "2");
    row("over the period's end", {"4.3.2026>1.6.2026>2"}, "IZM2", "2");
    row("covering the period", {"1.1.2026>31.12.2026>3"}, "IZM3", "3");
    row("from noon of the day", {"4.3.2026 12:00>31.3.2026>2"}, "IZM2", "2");
    row("to midnight of the day", {"3.3.2026>4.3.2026>2"}, "IZM2", "2");
    row("to the last second of the day before", {"1.3.2026>3.3.2026 23:59:59>2"}, "IZM1", "");
    row("from the next day", {"5.3.2026>31.3.2026>2"}, "IZM1", "");
    row("another group", {month + "2>RGROUP=B"}, "IZM1", "");
    row("another employee of the group", {month + "2>RGROUP=A EMPLID=E2"}, "IZM1", "");
    row("one that names the employee wins", {month + "3>RGROUP=A EMPLID=E1", "4.3.2026>31.3.2026>2"}, "IZM3", "3");
    row("the latest start wins", {"3.3.2026>31.3.2026>3", month + "2"}, "IZM3", "3");
    row("the highest number wins", {month + "2>RGROUP=A ID=9", month + "3>RGROUP=A ID=8"}, "IZM2", "2");
    row("day off", {month + "0"}, "", "0");
    row("no such shift", {month + "7"}, "IZM1", "7");
}

void TestCalcSummaries::shiftsFollowTheAssignments()
{
    QFETCH(QStringList, assigned);
    QFETCH(QString, shift);
    QFETCH(QString, assignment);
    CalcSite site("4.3.2026" + kEight, QString(kDay) + "|IZM2 STARTB=6:00 ENDE=22:00 MINHOURS=7:00", kNoRules,
                  "PRERAZDC=A");
    // The third shift has no schedule of its own and takes the first one's.
    for (const QString &one : assigned) {
        const QStringList parts = one.split('>');
        site.assign(parts.at(0), parts.at(1), parts.at(2), parts.value(3, "RGROUP=A"));
    }
    const Outcome outcome = site.run("4.3.2026", "4.3.2026");
    const QAny row = outcome.day(1, "4.3.2026");
    QCOMPARE(row.value("IZMENA").toString(), shift);
    QCOMPARE(row.value("PRERAZ").toString(), assignment);
    if (shift.isEmpty())
        QCOMPARE(row.value("DAYTYPE").toInteger(), 1);
    else
        QCOMPARE(durations(row, "DAYTYPE SALDO"), QString(shift == "IZM2" ? "0:00 1:00" : "0:00 0:00"));
    QCOMPARE(outcome.sum(1).value("PRERAZ").toInteger(), assignment.isEmpty() ? 0 : 1);
    for (const char *column : {"IZM1", "IZM2", "IZM3"})
        QCOMPARE(outcome.sum(1).value(column).toInteger(), shift == column ? 1 : 0);
}

void TestCalcSummaries::nightWork_data()
{
    columns<QString, QString, QString>("day", "events", "night");
    addRow("whole night", "2.3.2026", "22:00 101; 3.3.2026 06:00 102", "7:00");
    addRow("to its edges", "2.3.2026", "06:00 101; 23:00 102", "0:00");
    addRow("a second inside each edge", "2.3.2026", "05:59:59 101; 23:00:01 102", "0:00:02");
    addRow("both ends of one day", "2.3.2026", "02:00 101; 23:30 102", "4:30");
    addRow("field presence counts as work", "2.3.2026", "04:00 101; 05:00 102:3", "1:00");
    addRow("leave does not", "2.3.2026", "04:00 101; 05:00 102:1", "0:00");
    addRow("night of 9 hours", "24.10.2026", "22:00 101; 25.10.2026 06:00 102", "8:00");
    addRow("night of 7 hours", "28.3.2026", "22:00 101; 29.3.2026 06:00 102", "6:00");
    addRow("after the clock went back", "25.10.2026", "05:00 101; 07:00 102", "1:00");
}

void TestCalcSummaries::nightWork()
{
    QFETCH(QString, day);
    QFETCH(QString, events);
    QFETCH(QString, night);
    CalcSite site(day + ' ' + events, "");
    const Outcome outcome = site.run(day, date(day).addDays(1).toString("d.M.yyyy"));
    QCOMPARE(durations(outcome.day(1, day), "NOČNO"), night);
    QCOMPARE(durations(outcome.sum(1), "NOČNO"), night);
}

QTEST_GUILESS_MAIN(TestCalcSummaries)
#include "tst_calc_summaries.moc"
