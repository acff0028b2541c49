#include "calcsite.h"
#include "dayaccount.h"

// The rows: name | events, behind a + those entered by hand | pairs | faults and remarks | settings of the run, behind
// those of the group | schedule, the usual day unless told. The period is 2.3. to 4.3.

namespace {
constexpr char kEvents[] = R"(
$pair = 2.3. 07:00-15:00 102 8:00
$inside = 3.3. 07:00-15:00 102 8:00
$noArrival = ATP Ni Prihoda! 1 2.3.
$tooEarly = OPO odhod pred 8 zjutraj 1 2.3.
# order
departure first at equal times   | 7 101; 11 101; 11 102; 15 102 | 2.3. 07:00-11:00 102 4:00; 2.3. 11:00-15:00 102 4:00
the zone's seconds               | 6 101; 14 102 | $pair |  | ISTZ=1
by hand with another code        | 7-12 + 12 101; 15 102 | 2.3. 07:00-12:00 102 5:00; 2.3. 12:00-15:00 102 3:00
# rounding | ISROUND30=1
to whole minutes                 | 6:59:30 101; 15:00:29 102 | $pair
off                              | 6:59:30 101; 15:00:29 102 | 2.3. 06:59:30-15:00:29 102 8:00:59 |  | ISROUND30=0
// It changes a time, never the order.
no hours of a forgotten arrival  | 7:00:05 101; 7:00:15 102; 15 102 | \
    2.3. 07:00-07:00 102 0:00; 2.3. -15:00 102 0:00 | $noArrival
no faults of a needless exit     | 7:00:05 101; 7:00:10 102; 7:00:20 101; 15 102 | 2.3. 07:00-07:00 102 0:00; $pair
# taps of one passage | DOUBLETAP=120
off                              | 7 101; 7:01 101; 15 102 | 2.3. 07:00- 0:00; 2.3. 07:01-15:00 102 7:59 | \
    OPO Ni Izhoda! 1 2.3. | DOUBLETAP=0
chains, just within the limit    | 7 101; 7:02 101; 7:04 101; 14:56 102; 14:58 102; 15 102 | $pair
a second over the limit          | 7-15; 15:02:01 102 | $pair; 2.3. -15:02:01 102 0:00 | $noArrival
a chain ends a second over it    | 7 101; 7:02 101; 7:04:01 101; 15:00:01 102 | \
    2.3. 07:00- 0:00; 2.3. 07:04:01-15:00:01 102 7:56 | OPO Ni Izhoda! 1 2.3.
the stored time is measured      | 7-15; 15:02:01 102 | $pair; 2.3. -15:02 102 0:00 | $noArrival | ISROUND30=1
another code                     | 7-15; 15:01 102:1 | $pair; 2.3. -15:01 102:1 0:00 | $noArrival
another code between             | 7 101; 7:01 102; 7:02 101; 15 102 | \
    2.3. 07:00-07:01 102 0:01; 2.3. 07:02-15:00 102 7:58
of another kind                  | 7-15; 15:01 102/ME | $pair; 2.3. -15:01 102 0:00 | $noArrival
by hand                          | 7-15 + 15:01 102/EV | $pair; 2.3. -15:01 102 0:00 | $noArrival
by hand between                  | 7-15; 15:02 102 + 15:01 102 | $pair; 2.3. -15:01 102 0:00; 2.3. -15:02 102 0:00 | \
    $noArrival|$noArrival
doubled by hand, so not between  | 7-15; 15:01 102 + 15 102 | 2.3. 07:00-15:01 102 8:01
over midnight                    | 16 101; 23:59:30 102; 3.3.2026 0:00:30 102 | 2.3. 16:00-00:00:30 102 8:00:30
# pairs
arrival and departure, no remark | 7-15 | $pair |  | CALCREM=1
each closing code makes its own  | 7-8 102:1; 8-9 103; 9-10 104; 10-11 105; 11-12 102:8 | \
    2.3. 07:00-08:00 102:1 1:00; 2.3. 08:00-09:00 103 1:00; 2.3. 09:00-10:00 104 1:00; 2.3. 10:00-11:00 105 1:00; \
    2.3. 11:00-12:00 102:8 1:00 |  |  | $night
code texts of all forms          | 6 =101; 7 =102; 8 =101:Prihod; 9 =102:3; 10 =101:; 11 =102:12; 12-13 =102:Odhod; \
    14-15 =102:7:Od doma | 2.3. 06:00-07:00 102 1:00; 2.3. 08:00-09:00 102:3 1:00; 2.3. 10:00-11:00 102 1:00; \
    2.3. 12:00-13:00 102 1:00; 2.3. 14:00-15:00 102:7 1:00
other codes are no events        | 6 106; 7 101; 8 =Vrata; 9 =10; 15 102; 16 110; 17 = | $pair
departure without an arrival     | 15 102 | 2.3. -15:00 102 0:00 | $noArrival
arrival after an arrival         | 7 101; 8-15 | 2.3. 07:00- 0:00; 2.3. 08:00-15:00 102 7:00 | OPO Ni Izhoda! 1 2.3.
arrival as the last event        | 7-15; 3.3.2026 7 101 | $pair; 3.3. 07:00- 0:00 | OPO Zadnji dogodek ni izhod! 1 3.3.
over midnight, with remarks      | 22-6 | 2.3. 22:00-06:00 102 8:00 | OPC Dvodnevni par 1 2.3. | CALCREM=1
# generated arrival | AUTOEVENTS=1
business                         | 12 104 | 2.3. 12:00-12:00 104 0:00
off                              | 12 105 | 2.3. -12:00 105 0:00 | $noArrival | AUTOEVENTS=0
not for work                     | 12 102 | 2.3. -12:00 102 0:00 | $noArrival
not for lunch                    | 12 103 | 2.3. -12:00 103 0:00 | $noArrival
nobody came so late              | 19:30 105 | 2.3. 19:30-19:30 105 0:00 |  | EARLYEXIT=8
# hour check | EARLYEXIT=8
last minute of the 18th hour     | 18:59-21 | 2.3. 18:59-21:00 102 2:01
19:00                            | 19-21 |  | OPO prihod po 18h 1 2.3.
before the morning hour          | 5-7:59:59 |  | $tooEarly
at the morning hour              | 5-8 | 2.3. 05:00-08:00 102 3:00
another hour keeps the text      | 4-5:59:59 |  | $tooEarly | EARLYEXIT=6
the rest of the day stays        | 5-6; 7-15 | $pair | $tooEarly
late shift in its window         | 19:30-21 | 2.3. 19:30-21:00 102 1:30 |  |  | STARTB=13:00 ENDE=22:00
night in its window              | 22-6 | 2.3. 22:00-06:00 102 8:00 |  |  | $night
came before the night's window   | 20-2 |  | OPO prihod po 18h 1 2.3. |  | $night
gone after the night's window    | 22-7:30 |  | $tooEarly |  | $night
window of the day before         | 3.3.2026 3-6 | 3.3. 03:00-06:00 102 3:00 |  |  | 1-1 $night
no window the day before         | 3-6 |  | $tooEarly |  | 1-1 $night
duty of 24 hours                 | 20-6:30 | 2.3. 20:00-06:30 102 10:30 |  |  | 1-1 STARTB=7:00 ENDE=7:00
# automatic lunch
on each day              | 7-15; 3.3.2026 7-15 | 2.3. 07:00-11:00 102 4:00; 2.3. 11:30-15:00 102 3:30; \
    3.3. 07:00-11:00 102 4:00; 3.3. 11:30-15:00 102 3:30
in other presence        | 7-15 102:3 | 2.3. 07:00-11:00 102:3 4:00; 2.3. 11:30-15:00 102:3 3:30
beside one's own lunch   | 7-9; 9-9:30 103; 9:30-15 | 2.3. 07:00-09:00 102 2:00; 2.3. 09:00-09:30 103 0:30; \
    2.3. 09:30-15:00 102 5:30
in presence only         | 7-15 102:1 | 2.3. 07:00-15:00 102:1 8:00
gone by its end          | 7-11:30 | 2.3. 07:00-11:30 102 4:30
gone a second later      | 7-11:30:01 | 2.3. 07:00-11:00 102 4:00; 2.3. 11:30-11:30:01 102 0:00:01
arrived after its start  | 11:10-15 | 2.3. 11:10-15:00 102 3:50
off                      | 7-15 | $pair |  |  | $lunch ALUNCH=0
without a start          | 7-15 | $pair |  |  | $lunch ALUNCHSTART=
// A day inside the period stands in every row; its own pair has no remark. The faults of days outside are left to the
// period that they lie in.
# edges of the period | NEAREVENTS=1 CALCREM=1
over the start            | 1.3.2026 22-6; 3.3.2026 7-15 | $inside | OPC Dvodnevni par - začetek obdobja 1 1.3.
over the start, not near  | 1.3.2026 22-6; 3.3.2026 7-15 | 2.3. -06:00 102 0:00; $inside | $noArrival | NEAREVENTS=0
over the end              | 3.3.2026 7-15; 4.3.2026 22-6 | $inside; 4.3. 22:00-06:00 102 8:00 NW 6:00 | \
    OPC Dvodnevni par - konec obdobja 1 4.3.
whole before     | 1.3.2026 7-15; 3.3.2026 7-15   | $inside | OPC Celoten par pred obdobjem 1 1.3.
whole after      | 3.3.2026 7-15; 5.3.2026 7-15   | $inside | OPC Celoten par za obdobjem 1 5.3.
arrival before   | 1.3.2026 10 101; 3.3.2026 7-15 | $inside | OPC Nepopoln par pred obdobjem-samo prihod 1 1.3.
arrival after    | 3.3.2026 7-15; 5.3.2026 10 101 | $inside | OPC Nepopoln par za obdobjem-samo prihod 1 5.3.
departure before | 1.3.2026 10 102; 3.3.2026 7-15 | $inside | OPC Nepopoln par pred obdobjem-samo odhod 1 1.3.
departure after  | 3.3.2026 7-15; 5.3.2026 10 102 | $inside | OPC Nepopoln par za obdobjem-samo odhod 1 5.3.
)";
} // namespace

/// From events to pairs: their order, which of them take part, how they are joined.
class TestCalcPairing : public QObject
{
    Q_OBJECT
private slots:
    void eventsBecomePairs_data() { addTable(kEvents); }
    void eventsBecomePairs();
    void atEqualTimesTheLowerIdGoesFirst();
    void secondTapsAreNotCounted();
    void whatWasMadeIsTold();
    void anIncompletePairStaysOnItsDay();
};

void TestCalcPairing::eventsBecomePairs()
{
    QFETCH(TableRow, row);
    enum { Events, Pairs, Errors, Settings, Times };
    const char *usual = row.group == "automatic lunch" ? kLunchAt11 : kDay;
    const QString settings = row.common + ' ' + row[Settings];
    CalcRows rows(row[Events], row[Times].isEmpty() ? usual : row[Times]);
    rows.of(1).timeZoneSeconds = 3600;
    rows.doubleTapSeconds = keyValues(settings).lookup("DOUBLETAP").toInteger();
    const CalcRun run = rows.run("2.3.2026", "4.3.2026", settings, true);
    QCOMPARE(run.pairs(), row[Pairs]);
    QCOMPARE(accountFault(run), QString());
    QCOMPARE(run.errors("ATP OPO OPC"), row[Errors]);
    if (row[Pairs].isEmpty())
        QCOMPARE(run.sums("DELO PRISOTNOST SKUPAJ DELPONSOB"), QString("0:00 0:00 0:00 0:00"));
}

void TestCalcPairing::atEqualTimesTheLowerIdGoesFirst()
{
    CalcRows rows("8 101; 7 101; 7 101; 7 102"); // of the ids 1 to 4
    std::reverse(rows.of(1).events.begin(), rows.of(1).events.end());
    const CalcRun run = rows.run("2.3.2026", "2.3.2026");
    QStringList ids;
    for (const calc::rules::Event &event : run.result.inputs.employees[0].events)
        ids += QString::number(event.id);
    QCOMPARE(ids.join(' '), QString("4 2 3 1"));
}

void TestCalcPairing::secondTapsAreNotCounted()
{
    CalcRows rows("7 101; 7:01 101; 14:59 102; 15 102");
    rows.doubleTapSeconds = 120;
    const CalcRun run = rows.run("2.3.2026", "2.3.2026");
    const calc::rules::DayTotals &totals = run.day("2.3.2026").totals;
    QCOMPARE(totals.departures, 1);
    QCOMPARE(totals.firstArrival.value_or(0), instant("2.3.2026 7:00"));
    QCOMPARE(totals.lastDeparture.value_or(0), instant("2.3.2026 15:00"));
    QCOMPARE(run.result.inputs.employees[0].events.size(), size_t(4)); // they stay in the list
}

void TestCalcPairing::whatWasMadeIsTold()
{
    const auto pair = [](const CalcRun &run, int number, const QString &keys) {
        return values(run.row("CALC").value("PAIRS")[number], keys);
    };
    const CalcRows lone("12 105");
    const QString keys = "TYPE AC AC2 ERR";
    QCOMPARE(pair(lone.run("2.3.2026", "2.3.2026", "AUTOEVENTS=1 SHOWNOEV=1"), 0, keys),
             QString("'AE','105:Ime','105:Ime','AE!'"));
    QCOMPARE(pair(lone.run("2.3.2026", "2.3.2026", "AUTOEVENTS=1"), 0, keys), QString("'AE','105:Ime','105:Ime',null"));
    // On a day on which the clock has gone back.
    const CalcRun lunch = CalcRows("25.10.2026 7-15", kLunchAt11).run("25.10.2026", "25.10.2026");
    QCOMPARE(lunch.pairs(), QString("25.10. 07:00-11:00 102 4:00; 25.10. 11:30-15:00 102 3:30"));
    QCOMPARE(pair(lunch, 0, "IDP TYPE TYPE2 AC2"), QString("1,'EV','103:A-malica','102:Ime'"));
    QCOMPARE(pair(lunch, 1, "IDP TYPE AC TYPE2"), QString("2,'101:A-prihod','101:A-prihod','EV'"));
    QCOMPARE(lunch.amounts("25.10.2026", "DELO MALICA"), QString("7:30 0:00"));
    QCOMPARE(lunch.day("25.10.2026").totals.departures, 1); // nobody left for it
}

void TestCalcPairing::anIncompletePairStaysOnItsDay()
{
    const CalcRows rows("2.3.2026 6:30 101; 7-15; 16 102; 3.3.2026 7 101", kDay, "SALDO/EMPTYSALDO=1");
    const CalcRun run = rows.run("2.3.2026", "4.3.2026");
    const calc::rules::DayTotals &totals = run.day("2.3.2026").totals;
    QCOMPARE(totals.firstArrival.value_or(0), instant("2.3.2026 6:30"));
    QCOMPARE(totals.lastDeparture.value_or(0), instant("2.3.2026 16:00"));
    QCOMPARE(totals.departures, 2);
    QCOMPARE(run.values("2.3.2026"), QString("7:00-15:00 8:00"));
    // A day with half a pair is not a day without pairs.
    QCOMPARE(run.amounts("3.3.2026", "SALDO") + run.amounts("4.3.2026", "SALDO"), QString("-8:00-"));
}

QTEST_GUILESS_MAIN(TestCalcPairing)
#include "tst_calc_pairing.moc"
