#include "calcsite.h"

namespace {
const QString kPlain = "07:00 101; 15:00 102";
const QString kPlainPair = "2.3. 07:00-15:00 102 8:00";
const QString kOver = "2.3.2026 22:00 101; 3.3.2026 06:00 102";
const QString kOverPair = "2.3. 22:00-06:00 102 8:00";
const QString kLunchAt11 = QString(kDay) + " ALUNCH=1 ALUNCHSTART=11:00";
} // namespace

/// From events to pairs.
class TestCalcPairing : public QObject
{
    Q_OBJECT
private slots:
    void eventsBecomePairs_data();
    void eventsBecomePairs();
    void periodEdges_data();
    void periodEdges() { eventsBecomePairs(); }
    void aShiftAtTheEdgeCountsOnceOverTwoPeriods_data();
    void aShiftAtTheEdgeCountsOnceOverTwoPeriods();
    void generatedArrivalsAreMarked();
    void automaticLunchKeepsTheCategory();
    void anIncompletePairStaysOnItsDay();
};

void TestCalcPairing::eventsBecomePairs_data()
{
    columns<QString, QString, QString, QString, QString>("events", "pairs", "errors", "settings", "schedule");
    const auto row = [](const char *name, const QString &events, const QString &pairs, const QString &error = {},
                        const QString &settings = {},
                        const QString &schedule = kDay) { addRow(name, events, pairs, error, settings, schedule); };
    row("arrival and departure, no remark", kPlain, kPlainPair, "", "CALCREM=1");
    row("read in the order of time", "15:00 102; 07:00 101", kPlainPair);
    row("each closing code makes its own pair",
        "07:00 101; 08:00 102:1; 08:00 101; 09:00 103; 09:00 101; 10:00 104; 10:00 101; 11:00 105; 11:00 101; 12:00 "
        "102:8",
        "2.3. 07:00-08:00 102:1 1:00; 2.3. 08:00-09:00 103 1:00; 2.3. 09:00-10:00 104 1:00; "
        "2.3. 10:00-11:00 105 1:00; 2.3. 11:00-12:00 102:8 1:00",
        "", "", kNight);
    row("code texts of all forms",
        "06:00 =101; 07:00 =102; 08:00 =101:Prihod; 09:00 =102:3; 10:00 =101:; 11:00 =102:12; 12:00 =101; "
        "13:00 =102:Odhod; 14:00 =101; 15:00 =102:7:Od doma",
        "2.3. 06:00-07:00 102 1:00; 2.3. 08:00-09:00 102:3 1:00; 2.3. 10:00-11:00 102 1:00; "
        "2.3. 12:00-13:00 102 1:00; 2.3. 14:00-15:00 102:7 1:00");
    row("other codes are no events",
        "06:00 106; 07:00 101; 08:00 =Vrata; 09:00 =10; 15:00 102; 16:00 110; 17:00 =", kPlainPair);
    row("departure first at equal times", "07:00 101; 11:00 101; 11:00 102; 15:00 102",
        "2.3. 07:00-11:00 102 4:00; 2.3. 11:00-15:00 102 4:00");
    row("departure without an arrival", "15:00 102", "2.3. -15:00 102 0:00", "ATP Ni Prihoda! 1 2.3.");
    row("second departure", "07:00 101; 15:00 102; 16:00 102", kPlainPair + "; 2.3. -16:00 102 0:00",
        "ATP Ni Prihoda! 1 2.3.");
    row("arrival after an arrival", "07:00 101; 08:00 101; 15:00 102", "2.3. 07:00- 0:00; 2.3. 08:00-15:00 102 7:00",
        "OPO Ni Izhoda! 1 2.3.");
    row("arrival as the last event", "2.3.2026 07:00 101; 15:00 102; 3.3.2026 07:00 101",
        kPlainPair + "; 3.3. 07:00- 0:00", "OPO Zadnji dogodek ni izhod! 1 3.3.");
    row("over midnight", kOver, kOverPair);
    row("over midnight, with remarks", kOver, kOverPair, "OPC Dvodnevni par 1 2.3.", "CALCREM=1");

    row("generated arrival, private", "12:00 105", "2.3. 12:00-12:00 105 0:00", "", "AUTOEVENTS=1");
    row("generated arrival, business", "12:00 104", "2.3. 12:00-12:00 104 0:00", "", "AUTOEVENTS=1");
    row("no arrival is generated when that is off", "12:00 105", "2.3. -12:00 105 0:00", "ATP Ni Prihoda! 1 2.3.");
    row("no arrival is generated for work", "12:00 102", "2.3. -12:00 102 0:00", "ATP Ni Prihoda! 1 2.3.",
        "AUTOEVENTS=1");
    row("no arrival is generated for lunch", "12:00 103", "2.3. -12:00 103 0:00", "ATP Ni Prihoda! 1 2.3.",
        "AUTOEVENTS=1");

    const QString late = "OPO prihod po 18h 1 2.3.";
    const QString early = "OPO odhod pred 8 zjutraj 1 2.3.";
    row("hour check: last minute of the 18th hour", "18:59 101; 21:00 102", "2.3. 18:59-21:00 102 2:01", "",
        "EARLYEXIT=8");
    row("hour check: 19:00", "19:00 101; 21:00 102", "", late, "EARLYEXIT=8");
    row("hour check off: 19:00", "19:00 101; 21:00 102", "2.3. 19:00-21:00 102 2:00");
    row("hour check: before the morning hour", "05:00 101; 07:59:59 102", "", early, "EARLYEXIT=8");
    row("hour check: at the morning hour", "05:00 101; 08:00 102", "2.3. 05:00-08:00 102 3:00", "", "EARLYEXIT=8");
    row("hour check: another morning hour keeps the text", "04:00 101; 05:59:59 102", "", early, "EARLYEXIT=6");
    row("hour check: at another morning hour", "04:00 101; 06:00 102", "2.3. 04:00-06:00 102 2:00", "", "EARLYEXIT=6");
    row("hour check: the rest of the day stays", "05:00 101; 06:00 102; " + kPlain, kPlainPair, early, "EARLYEXIT=8");
    row("hour check: late shift inside its window", "19:30 101; 21:00 102", "2.3. 19:30-21:00 102 1:30", "",
        "EARLYEXIT=8", "STARTB=13:00 STARTE=15:00 ENDB=20:00 ENDE=22:00");
    row("hour check: night shift inside its window", kOver, kOverPair, "", "EARLYEXIT=8", kNight);
    row("hour check: arrival before the night window", "20:00 101; 3.3.2026 02:00 102", "", late, "EARLYEXIT=8",
        kNight);
    row("hour check: departure after the night window", "22:00 101; 3.3.2026 07:30 102", "", early, "EARLYEXIT=8",
        kNight);
    row("hour check: after midnight the window of the day before", "3.3.2026 03:00 101; 06:00 102",
        "3.3. 03:00-06:00 102 3:00", "", "EARLYEXIT=8", QString("1-1 ") + kNight);
    row("hour check: no window the day before", "2.3.2026 03:00 101; 06:00 102", "", early, "EARLYEXIT=8",
        QString("1-1 ") + kNight);

    const QString split = "2.3. 07:00-11:00 102 4:00; 2.3. 11:30-15:00 102 3:30";
    row("automatic lunch", kPlain, split, "", "", kLunchAt11);
    row("automatic lunch in other presence", "07:00 101; 15:00 102:3", QString(split).replace(" 102 ", " 102:3 "), "",
        "", kLunchAt11);
    row("automatic lunch is switched off", kPlain, kPlainPair, "", "",
        QString(kLunchAt11).replace("ALUNCH=1", "ALUNCH=0"));
    row("automatic lunch without a start", kPlain, kPlainPair, "", "", QString(kDay) + " ALUNCH=1");
    row("automatic lunch beside a lunch of one's own",
        "07:00 101; 09:00 102; 09:00 101; 09:30 103; 09:30 101; 15:00 102",
        "2.3. 07:00-09:00 102 2:00; 2.3. 09:00-09:30 103 0:30; 2.3. 09:30-15:00 102 5:30", "", "", kLunchAt11);
    row("automatic lunch is for presence only", "07:00 101; 15:00 102:1", "2.3. 07:00-15:00 102:1 8:00", "", "",
        kLunchAt11);
    row("automatic lunch: gone by its end", "07:00 101; 11:30 102", "2.3. 07:00-11:30 102 4:30", "", "", kLunchAt11);
    row("automatic lunch: one second beyond", "07:00 101; 11:30:01 102",
        "2.3. 07:00-11:00 102 4:00; 2.3. 11:30-11:30:01 102 0:00:01", "", "", kLunchAt11);
    row("automatic lunch: arrived after its start", "11:10 101; 15:00 102", "2.3. 11:10-15:00 102 3:50", "", "",
        kLunchAt11);
    row("automatic lunch of each day", "2.3.2026 07:00 101; 15:00 102; 3.3.2026 07:00 101; 15:00 102",
        split + "; " + QString(split).replace("2.3.", "3.3."), "", "", kLunchAt11);
}

void TestCalcPairing::eventsBecomePairs()
{
    QFETCH(QString, events);
    QFETCH(QString, pairs);
    QFETCH(QString, errors);
    QFETCH(QString, settings);
    QFETCH(QString, schedule);
    CalcSite site(events, schedule);
    const Outcome outcome = site.run("2.3.2026", "4.3.2026", settings);
    QCOMPARE(outcome.pairTexts(1), pairs);
    QCOMPARE(outcome.errors({"ATP", "OPO", "OPC"}).join('|'), errors);
    if (pairs.isEmpty())
        QCOMPARE(durations(outcome.sum(1), "DELO PRISOTNOST SKUPAJ DELPONSOB"), QString("0:00 0:00 0:00 0:00"));
}

void TestCalcPairing::periodEdges_data()
{
    columns<QString, QString, QString, QString, QString>("events", "pairs", "errors", "settings", "schedule");
    // A day inside the period stands in every row; its own pair has no remark.
    const auto row = [](const char *name, const QString &before, const QString &after, const QString &pairs,
                        const QString &error, const QString &settings = "NEAREVENTS=1 CALCREM=1") {
        addRow(name, QStringList({before, "3.3.2026 07:00 101; 15:00 102", after}).join(';'), pairs, error, settings,
               QString(kDay));
    };
    const QString inside = "3.3. 07:00-15:00 102 8:00";
    row("over the start", "1.3.2026 22:00 101; 2.3.2026 06:00 102", "", inside,
        "OPC Dvodnevni par - začetek obdobja 1 1.3.");
    row("over the start, splitting off", "1.3.2026 22:00 101; 2.3.2026 06:00 102", "",
        "2.3. -06:00 102 0:00; " + inside, "ATP Ni Prihoda! 1 2.3.", "CALCREM=1");
    row("over the end", "", "4.3.2026 22:00 101; 5.3.2026 06:00 102", inside + "; 4.3. 22:00-06:00 102 8:00 NW 6:00",
        "OPC Dvodnevni par - konec obdobja 1 4.3.");
    row("over the end, without remarks", "", "4.3.2026 22:00 101; 5.3.2026 06:00 102",
        inside + "; 4.3. 22:00-06:00 102 8:00 NW 6:00", "", "NEAREVENTS=1");
    row("whole before", "1.3.2026 07:00 101; 15:00 102", "", inside, "OPC Celoten par pred obdobjem 1 1.3.");
    row("whole after", "", "5.3.2026 07:00 101; 15:00 102", inside, "OPC Celoten par za obdobjem 1 5.3.");
    // The faults of days outside the period are left to the period that they lie in.
    row("arrival only before", "1.3.2026 10:00 101", "", inside, "OPC Nepopoln par pred obdobjem-samo prihod 1 1.3.");
    row("arrival only after", "", "5.3.2026 10:00 101", inside, "OPC Nepopoln par za obdobjem-samo prihod 1 5.3.");
    row("departure only before", "1.3.2026 10:00 102", "", inside, "OPC Nepopoln par pred obdobjem-samo odhod 1 1.3.");
    row("departure only after", "", "5.3.2026 10:00 102", inside, "OPC Nepopoln par za obdobjem-samo odhod 1 5.3.");
    row("incomplete inside", "2.3.2026 10:00 102", "", "2.3. -10:00 102 0:00; " + inside, "ATP Ni Prihoda! 1 2.3.");
    row("as many hours as are set", "1.3.2026 17:59:59 101; 18:00 102", "", inside,
        "OPC Nepopoln par pred obdobjem-samo odhod 1 1.3.", "NEAREVENTS=1 NEAREVLEN=6 CALCREM=1");
    row("24 hours when none are set", "28.2.2026 23:59:59 101; 1.3.2026 00:00 102", "", inside,
        "OPC Nepopoln par pred obdobjem-samo odhod 1 1.3.");
}

void TestCalcPairing::aShiftAtTheEdgeCountsOnceOverTwoPeriods_data()
{
    columns<QString, QString, QString>("schedule", "events", "work");
    addRow("one night", kNight, "31.3.2026 22:00 101; 1.4.2026 06:00 102", "8:00");
    addRow("nights on both sides", kNight,
           "30.3.2026 22:00 101; 31.3.2026 06:00 102; 22:00 101; 1.4.2026 06:00 102; 22:00 101; 2.4.2026 06:00 102",
           "24:00");
    addRow("a night broken after midnight", kNight,
           "31.3.2026 22:00 101; 1.4.2026 02:00 102; 02:15 101; 06:00 102; 22:00 101; 2.4.2026 06:00 102", "15:45");
    addRow("automatic lunch after midnight", QString(kNight) + " LUNCH=0:30 ALUNCH=1 ALUNCHSTART=2:00",
           "31.3.2026 22:00 101; 1.4.2026 06:00 102; 22:00 101; 2.4.2026 06:00 102", "15:00");
}

void TestCalcPairing::aShiftAtTheEdgeCountsOnceOverTwoPeriods()
{
    QFETCH(QString, schedule);
    QFETCH(QString, events);
    QFETCH(QString, work);
    CalcSite site(events, schedule);
    site.events(1, "16.3.2026 22:00 101; 17.3.2026 05:00 102; 16.4.2026 22:00 101; 17.4.2026 05:00 102");
    const Outcome march = site.run("1.3.2026", "31.3.2026", "NEAREVENTS=1");
    const Outcome april = site.run("1.4.2026", "30.4.2026", "NEAREVENTS=1");
    // The two nights in the middle of the months hold lunch where there is one.
    const qint64 middle = 2 * seconds(schedule.contains("ALUNCH=1") ? "6:30" : "7:00");
    QCOMPARE(march.sum(1).value("PRISOTNOST").toInteger() + april.sum(1).value("PRISOTNOST").toInteger(),
             middle + seconds(work));
    QCOMPARE(march.errors({"ATP", "OPO"}), QStringList());
    QCOMPARE(april.errors({"ATP", "OPO"}), QStringList());
}

void TestCalcPairing::generatedArrivalsAreMarked()
{
    CalcSite site("12:00 105");
    const auto generated = [&](const QString &settings) {
        return values(site.run("2.3.2026", "2.3.2026", settings).pairs(1)[0], "TYPE AC AC2 ERR");
    };
    QCOMPARE(generated("AUTOEVENTS=1 SHOWNOEV=1"), QString("'AE','105:Ime','105:Ime','AE!'"));
    QCOMPARE(generated("AUTOEVENTS=1"), QString("'AE','105:Ime','105:Ime',null"));
}

void TestCalcPairing::automaticLunchKeepsTheCategory()
{
    CalcSite site("25.10.2026 07:00 101; 15:00 102", kLunchAt11); // a day on which the clock has gone back
    const Outcome outcome = site.run("25.10.2026", "25.10.2026");
    QCOMPARE(outcome.pairTexts(1), QString("25.10. 07:00-11:00 102 4:00; 25.10. 11:30-15:00 102 3:30"));
    const QAny first = outcome.pairs(1)[0];
    const QAny second = outcome.pairs(1)[1];
    QCOMPARE(values(first, "TYPE TYPE2 AC2"), QString("'EV','103:A-malica','102:Ime'"));
    QCOMPARE(values(second, "TYPE AC TYPE2"), QString("'101:A-prihod','101:A-prihod','EV'"));
    QVERIFY(first.value("IDP") != second.value("IDP"));
    QCOMPARE(durations(outcome.day(1, "25.10.2026"), "DELO MALICA"), QString("7:30 0:00"));
    QCOMPARE(outcome.day(1, "25.10.2026").value("NOUT").toInteger(), 1); // nobody left for it
}

void TestCalcPairing::anIncompletePairStaysOnItsDay()
{
    CalcSite site("2.3.2026 06:30 101; 07:00 101; 15:00 102; 16:00 102; 3.3.2026 07:00 101", kDay,
                  "SALDO/EMPTYSALDO=1");
    const Outcome outcome = site.run("2.3.2026", "4.3.2026");
    const QAny day = outcome.day(1, "2.3.2026");
    QCOMPARE(day.value("INORG").toInteger(), midnight("2.3.2026") + seconds("6:30"));
    QCOMPARE(day.value("OUTORG").toInteger(), midnight("2.3.2026") + seconds("16:00"));
    QCOMPARE(day.value("NOUT").toInteger(), 2);
    QCOMPARE(durations(day, "DELO IN OUT"), QString("8:00 7:00 15:00"));
    // A day with half a pair is not a day without pairs.
    QCOMPARE(durations(outcome.day(1, "3.3.2026"), "SALDO"), QString("-8:00"));
    QVERIFY(outcome.day(1, "4.3.2026").value("SALDO").isNull());
}

QTEST_GUILESS_MAIN(TestCalcPairing)
#include "tst_calc_pairing.moc"
