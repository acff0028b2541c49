#include "calc/calc21.h"
#include "calc/output/explanation.h"
#include "calc/rules/dayrules.h"
#include "calcsite.h"

using namespace calc;

namespace {

const QString kMonday = "2.3.2026";
const QString kSaturday = "7.3.2026";
const QString kShift = "07:00 101; 15:00 102";

/// The entries of a period in their order.
QAny explained(const CalcRows &rows, const QString &from, const QString &to, const QString &settings = {})
{
    return output::explanationOf(rows.run(from, to, settings, true).result);
}

QAny explainedDay(const CalcRows &rows, const QString &day = kMonday, const QString &settings = {})
{
    return explained(rows, day, day, settings)[0];
}

/// "dayFactor off" for every rule that wrote no step.
QStringList idleOf(const QAny &entry)
{
    QStringList texts;
    for (int i = 0; i < entry.value("IDLE").count(); ++i)
        texts += values(entry["IDLE"][i], "RULE WHY").remove('\'').replace(',', ' ');
    return texts;
}

/// "lunch DC 8:30-8:28 LUNCH='0:30' text" for every step.
QStringList stepsOf(const QAny &entry)
{
    QStringList texts;
    for (int i = 0; i < entry.value("STEPS").count(); ++i) {
        const QAny step = entry["STEPS"][i];
        const QString change = durations(step, "BEFORE") + '-' + durations(step, "AFTER");
        texts += QString("%1 %2 %3 %4=%5 %6")
                     .arg(step.value("RULE").toString(), step.value("FIELD").toString(), change == "---" ? "" : change,
                          step.value("SETTING").toString(), values(step, "VALUE"), step.value("TEXT").toString())
                     .simplified();
    }
    return texts;
}

/// "101:Ime arrival" for every event, in the order of its number.
QString usesOf(const QAny &entry)
{
    QStringList texts;
    for (int i = 0; i < entry.value("EVENTS").count(); ++i) {
        if (entry["EVENTS"][i].value("N") != QAny(i + 1))
            return "misnumbered";
        texts += values(entry["EVENTS"][i], "AC USE").remove('\'').replace(',', ' ').remove(":Ime");
    }
    return texts.join(", ");
}

/// "1-2 DELO 8:00" for every pair.
QString pairsOf(const QAny &entry)
{
    QStringList texts;
    for (int i = 0; i < entry.value("PAIRS").count(); ++i) {
        const QAny pair = entry["PAIRS"][i];
        texts += values(pair, "FROM") + '-' + values(pair, "TO") + ' ' + values(pair, "CATEGORY").remove('\'') + ' ' +
                 durations(pair, "SECONDS");
    }
    return texts.join(", ");
}

} // namespace

/// The account of a day: what came in, which rule changed what, and why the others did not.
class TestCalcExplanation : public QObject
{
    Q_OBJECT
private slots:
    void aDayIsAccountedForToTheSecond();
    void stepsNameTheirSettings_data();
    void stepsNameTheirSettings();
    void idleRulesSayWhy_data();
    void idleRulesSayWhy();
    void withoutSettingsNoRuleRuns();
    void everyEventHasItsUse_data();
    void everyEventHasItsUse();
    void pairsNameTheirEvents_data();
    void pairsNameTheirEvents();
    void movedTimesNameTheStoredOnes();
    void schedulesAreGivenAsCompared_data();
    void schedulesAreGivenAsCompared();
    void sourcesAreNamed();
    void largePeriodsAreNotExplained();
};

void TestCalcExplanation::aDayIsAccountedForToTheSecond()
{
    const QString day = "7.10.2026";
    CalcRows rows(day + " 08:14:47 =101:Prihod; 08:15:13 =101:Prihod; 11:57:40 =102:Odhod; 11:57:51 =102:Odhod; "
                        "11:58:00 =102:Odhod; 11:58:10 =101:Prihod; 12:29:38 =103:Malica; 12:29:45 =101:Prihod; "
                        "16:38:44 =102:Odhod",
                  "STARTB=7:00 STARTE=8:00 ENDB=15:00 ENDE=17:00 MINHOURS=8:00 LUNCH=0:30",
                  "SALDO/WTROUND=1 SALDO/WTROUNDTRH=5");
    for (rules::Event &event : rows.of(1).events)
        event.source = "terminal 3";
    rows.doubleTapSeconds = 120;
    const QAny entry = explainedDay(rows, day);
    QCOMPARE(entry.keys(), QString("USER NAME DATE SCHEDULE EVENTS PAIRS STEPS IDLE RESULT").split(' '));
    QCOMPARE(values(entry, "USER NAME DATE"), QString("1,'Novak Ana',1791324000"));
    QCOMPARE(entry.value("SCHEDULE"), QAny({{"SHIFT", 1},
                                            {"STARTB", 25200},
                                            {"STARTE", 28800},
                                            {"ENDB", 54000},
                                            {"ENDE", 61200},
                                            {"MINHOURS", 28800}}));
    QCOMPARE(entry["EVENTS"][0], QAny({{"N", 1},
                                       {"ID", 1},
                                       {"TIMESTAMP", 1791353687},
                                       {"AC", "101:Prihod"},
                                       {"SOURCE", "terminal 3"},
                                       {"USE", "arrival"}}));
    QCOMPARE(usesOf(entry), QString("101:Prihod arrival, 101:Prihod second tap, 102:Odhod second tap, "
                                    "102:Odhod second tap, 102:Odhod departure, 101:Prihod arrival, "
                                    "103:Malica departure, 101:Prihod arrival, 102:Odhod departure"));
    QCOMPARE(entry["PAIRS"][0], QAny({{"N", 1}, {"FROM", 1}, {"TO", 5}, {"CATEGORY", "DELO"}, {"SECONDS", 13393}}));
    QCOMPARE(pairsOf(entry), QString("1-5 DELO 3:43:13, 6-7 MALICA 0:31:28, 8-9 DELO 4:08:59"));
    const QString lunch = R"("FIELD":"DC","BEFORE":%1,"AFTER":%2,"SETTING":"LUNCH","VALUE":"0:30","TEXT":""})";
    QCOMPARE(entry.value("STEPS"),
             QAny::fromJson("[{\"RULE\":\"paidLunch\"," + lunch.arg(28332).arg(30220) + ",{\"RULE\":\"lunch\"," +
                            lunch.arg(30220).arg(30132) +
                            R"(,{"RULE":"workTimeRounding","FIELD":"DC","BEFORE":30132,"AFTER":30000,)"
                            R"("SETTING":"SALDO/WTROUNDTRH","VALUE":5,"TEXT":"Zaokrožitev delovnega časa"}])"));
    QVERIFY(idleOf(entry).contains("maximumHours off"));
    QCOMPARE(entry.value("RESULT"), QAny({{"DELO", 30000}, {"SKUPAJ", 30000}, {"SALDO", 1200}, {"PLUSMINUS", 1200}}));
}

void TestCalcExplanation::stepsNameTheirSettings_data()
{
    columns<QString, QString, QStringList>("events", "settings", "steps");
    const auto row = [](const char *name, const QString &events, const QString &settings, const QStringList &steps) {
        addRow(name, events, settings, steps);
    };
    row("nothing happens", kShift, kNoRules, {});
    row("a rule's remark stands in its first step", "05:30 101; 15:00 102", kNoRules,
        {"earlyArrival IN 5:30-6:00 STARTB='6:00' delo izven urnika PRI", "earlyArrival DC 9:30-9:00 STARTB='6:00'"});
    row("each field has its own chain", "05:20 101; 16:20 102",
        "SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINTOUT=1 SALDO/ARRINT15=1 SALDO/NWOUTOUT=1 OVERTIME/TRHOUT=30",
        {"arrivalRounding IN 5:20-5:30 SALDO/ARRINT15=1 Kompenzacija zamude IN",
         "arrivalRounding DC 11:00-10:50 SALDO/ARRINT15=1",
         "departureRounding OUT 16:20-16:15 SALDO/ARRINT15=1 Kompenzacija zamude OUT",
         "departureRounding DC 10:50-10:45 SALDO/ARRINT15=1",
         "earlyArrival IN 5:30-6:00 STARTB='6:00' delo izven urnika PRI", "earlyArrival DC 10:45-10:15 STARTB='6:00'",
         "lateDeparture OUT 16:15-16:00 OVERTIME/TRHOUT=30 delo izven urnika ODH1-1-0",
         "lateDeparture DC 10:15-10:00 OVERTIME/TRHOUT=30"});
    row("a warning changes nothing", "08:10 101; 13:00 102", "WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1 HOURS/LOWSALDO='1'",
        {"arrivalWarning STARTE='8:00' Prepozen prihod 29400 21600", "departureWarning ENDB='14:00' Prezgoden odhod",
         "tooFewHours MINHOURS='8:00' Premalo delovnih ur!"});
    row("a value as it is stored", kShift, "SALDO/MSXHOURS=1 SALDO/MAXHOURSLIM='7.5'",
        {"maximumHours DC 8:00-7:30 SALDO/MAXHOURSLIM='7.5' Maksimalne ure delovnega časa"});
    row("work that counts after the schedule", "07:00 101; 16:30 102", "SALDO/NWOUTOUT=1",
        {"lateDeparture SALDO/NWOUTOUT=1 delo izven urnika ODH-INT"});
    row("the floor is a step without a setting", "07:01 101; 07:05 102",
        "SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINT60=1",
        {"arrivalRounding IN 7:01-8:00 SALDO/ARRINT60=1 Kompenzacija zamude IN",
         "arrivalRounding DC 0:04--0:55 SALDO/ARRINT60=1", "floorAtZero DC -0:55-0:00 =null"});
    row("hours that are added", kShift, "HOURS/ADDHOURS=1 HOURS/ADDHOURSNUM=0.5",
        {"addedHours DC 8:00-8:30 HOURS/ADDHOURSNUM=0.5 Dodane ure 0.5!"});
}

void TestCalcExplanation::stepsNameTheirSettings()
{
    QFETCH(QString, events);
    QFETCH(QString, settings);
    QFETCH(QStringList, steps);
    const QAny entry = explainedDay(CalcRows(events, kDay, settings));
    QCOMPARE(stepsOf(entry), steps);
    for (int i = 0; i < entry.value("STEPS").count(); ++i) {
        const QAny step = entry["STEPS"][i];
        QCOMPARE(step.value("BEFORE").isNull(), step.value("FIELD").toString().isEmpty());
    }
}

void TestCalcExplanation::idleRulesSayWhy_data()
{
    columns<QString, QString, QString, QString, QString>("idle", "settings", "schedule", "day", "events");
    const auto row = [](const char *name, const QString &idle, const QString &settings, const QString &schedule = kDay,
                        const QString &day = kMonday,
                        const QString &events = kShift) { addRow(name, idle, settings, schedule, day, events); };
    const QString tomorrow = "12.3.2026";
    const QString meta = "07:00 101/MP; 15:00 102/MP";
    const QString notMonday = QString("2-7 ") + kDay;
    const QString warned = "WAR/LATEARRWAR=1";
    const QString saturday = "7.3.2026";
    row("no start, on a free day", "earlyArrival off", kNoRules, "ENDE=16:00", saturday);
    row("no end, on a free day", "lateDeparture off", kNoRules, "STARTB=6:00", saturday);
    row("no latest arrival, on a free day", "delayCompensation off", "OVERTIME/COMPDELAY=1", "STARTB=6:00 ENDE=16:00",
        saturday);
    row("no hours asked for, on a free day", "tooManyOverhours off", "HOURS/TOOMANYOVERHOURS=1",
        "STARTB=6:00 OVERTIME=1:00", saturday);
    row("no latest arrival", "arrivalWarning off", warned, "STARTB=6:00 ENDE=16:00");
    row("without settings", "tooFewHours no settings", "", kDay, tomorrow, meta);
    row("rules skipped, before all else", "tooFewHours rules skipped", "TYPE=METAPERTYPE HOURS/LOWSALDO=1", kDay,
        tomorrow, meta);
    row("after today", "tooFewHours after today", "HOURS/LOWSALDO=1", kDay, tomorrow, "");
    row("after today, also off", "addedHours after today", kNoRules, kDay, tomorrow, "");
    row("off", "maximumHours off", kNoRules);
    row("off, also without a schedule", "arrivalWarning off", "WAR/EARLYEXITWAR=1", notMonday);
    row("off, also on a free day", "delayCompensation off", kNoRules, kDay, kSaturday);
    row("a missing time is off", "tooFewHours off", "HOURS/LOWSALDO=1", "STARTB=6:00 ENDE=16:00");
    row("a missing time is off, also on a free day", "lunch off", kNoRules, "STARTB=6:00 ENDE=16:00", kSaturday);
    row("no schedule", "earlyArrival no schedule", kNoRules, notMonday);
    row("no schedule, also on a free day", "arrivalWarning no schedule", warned, "1-5 STARTB=6:00", kSaturday);
    row("free day", "arrivalWarning free day", warned, kDay, kSaturday, kSaturday + " 12:00 101; 15:00 102");
    row("free day, also with nothing to do", "arrivalWarning free day", warned, kDay, kSaturday, "");
    row("nothing to do", "arrivalWarning nothing to do", warned);
    row("nothing to do without work", "lateDeparture nothing to do", kNoRules, kDay, kMonday, "");
    row("below a number", "tooManyHours below its limit", "HOURS/TOOMANYHOURS=1 HOURS/MAXHOURS=8");
    row("below a schedule's time", "tooManyOverhours below its limit", "HOURS/TOOMANYOVERHOURS=1",
        "STARTB=6:00 ENDE=16:00 MINHOURS=7:00 OVERTIME=1:00");
    row("a tolerated remainder", "arrivalRounding below its limit", "SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINT15=1",
        kDay, kMonday, "07:00:30 101; 15:00 102");
    row("more delay than is made up for", "delayCompensation below its limit",
        "OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=15", kDay, kMonday, "08:20 101; 17:00 102");
}

void TestCalcExplanation::idleRulesSayWhy()
{
    QFETCH(QString, idle);
    QFETCH(QString, settings);
    QFETCH(QString, schedule);
    QFETCH(QString, day);
    QFETCH(QString, events);
    CalcRows rows(day + ' ' + events, schedule, settings);
    rows.today = date("11.3.2026");
    const QStringList found = idleOf(explainedDay(rows, day));
    QVERIFY2(found.contains(idle), qPrintable(found.join(", ")));
}

void TestCalcExplanation::withoutSettingsNoRuleRuns()
{
    const QAny entry = explainedDay(CalcRows("05:00 101; 15:00 102", kDay, ""));
    QCOMPARE(entry.value("STEPS").count(), 0);
    QStringList all;
    for (const rules::DayRule &rule : Calc21sett::inOrder())
        all += QString(rule.name) + " no settings";
    QCOMPARE(idleOf(entry), all);
}

void TestCalcExplanation::everyEventHasItsUse_data()
{
    columns<QString, QString, QString, QString>("events", "settings", "monday", "tuesday");
    const auto row = [](const char *name, const QString &events, const QString &monday, const QString &tuesday = {},
                        const QString &settings = {}) { addRow(name, events, settings, monday, tuesday); };
    row("a shift", kShift, "101 arrival, 102 departure");
    row("a night stands on its first day", "22:00 101; 3.3.2026 06:00 102; 22:00 101", "101 arrival, 102 departure",
        "101 other half missing");
    row("arrival alone", "07:00 101", "101 other half missing");
    row("departure alone", "15:00 105", "105 other half missing");
    row("departure with a generated arrival", "15:00 105", "105 departure", "", "AUTOEVENTS=1");
    row("no code", "07:00 =201:Vrata; 07:10 101; 12:00 =; 15:00 102",
        "201:Vrata no code, 101 arrival,  no code, 102 departure");
    row("second taps", "07:00 101; 07:01 101; 15:00 102; 15:01 102",
        "101 arrival, 101 second tap, 102 second tap, 102 departure");
    row("a second tap before midnight", "14:00 101; 23:59:30 102; 3.3.2026 00:00:30 102",
        "101 arrival, 102 second tap, 102 departure");
    row("a second tap after midnight has no pair", "14:00 101; 3.3.2026 00:00:10 102; 00:00:40 102",
        "101 arrival, 102 departure", "102 second tap");
    row("deleted by an hour check", "19:30 101; 20:00 102",
        "101 deleted by an hour check, 102 deleted by an hour check", "", "EARLYEXIT=8");
    row("deleted over midnight: each on its own day", "14:00 101; 3.3.2026 05:00 102", "101 deleted by an hour check",
        "102 deleted by an hour check", "EARLYEXIT=8");
    row("the night before the period", "1.3.2026 22:00 101; 2.3.2026 06:00 102", "102 outside the period", "",
        "NEAREVENTS=1");
    row("the night behind the period", "3.3.2026 22:00 101; 4.3.2026 06:00 102", "", "101 arrival, 102 departure",
        "NEAREVENTS=1");
}

void TestCalcExplanation::everyEventHasItsUse()
{
    QFETCH(QString, events);
    QFETCH(QString, settings);
    QFETCH(QString, monday);
    QFETCH(QString, tuesday);
    CalcRows rows(events);
    rows.employee(2, "Zupan Bine");
    rows.handEntered(2, kShift);
    rows.events(2, "15:00 102");
    rows.doubleTapSeconds = 60;
    const QAny entries = explained(rows, kMonday, "3.3.2026", settings);
    QCOMPARE(entries.count(), 4);
    QCOMPARE(usesOf(entries[0]), monday);
    QCOMPARE(usesOf(entries[1]), tuesday);
    // What the journal holds too is doubled.
    QCOMPARE(usesOf(entries[2]), QString("101 arrival, 102 departure, 102 doubled"));
}

void TestCalcExplanation::pairsNameTheirEvents_data()
{
    columns<QString, QString, QString>("events", "schedule", "pairs");
    const QString automatic = "STARTB=6:00 ENDE=16:00 LUNCH=0:30 ALUNCH=1 ALUNCHSTART=11:00";
    addRow("one", kShift, kDay, "1-2 DELO 8:00");
    addRow("numbers count all events", "06:00 =201; 07:00 101; 12:00 102:1; 12:00 101; 15:00 102:9", kDay,
           "2-3 DOPUST 5:00, 4-5 null 3:00");
    addRow("only complete ones", "07:00 101; 08:00 101; 15:00 102; 16:00 102", kDay, "2-3 DELO 7:00");
    addRow("a generated arrival is no event", "15:00 104", kDay, "null-1 SLUŽBENO 0:00");
    addRow("nor are the ends of an automatic lunch", kShift, automatic, "1-null DELO 4:00, null-2 DELO 3:30");
}

void TestCalcExplanation::pairsNameTheirEvents()
{
    QFETCH(QString, events);
    QFETCH(QString, schedule);
    QFETCH(QString, pairs);
    QCOMPARE(pairsOf(explainedDay(CalcRows(events, schedule), kMonday, "AUTOEVENTS=1")), pairs);
}

void TestCalcExplanation::movedTimesNameTheStoredOnes()
{
    CalcRows rows("07:00 101; 15:00:20 102");
    rows.of(1).timeZoneSeconds = 3600;
    const auto times = [&](const QString &settings) {
        const QAny entry = explainedDay(rows, kMonday, settings);
        QStringList texts;
        for (int i = 0; i < 2; ++i) {
            const QAny event = entry["EVENTS"][i];
            const qint64 stored = event.value("STORED").toInteger();
            texts += duration(event.value("TIMESTAMP").toInteger() - midnight(kMonday)) +
                     (event.contains("STORED") ? '(' + duration(stored - midnight(kMonday)) + ')' : QString());
        }
        return texts.join(' ');
    };
    QCOMPARE(times(""), QString("7:00 15:00:20"));
    QCOMPARE(times("ISROUND30=1"), QString("7:00 15:00(15:00:20)"));
    QCOMPARE(times("ISTZ=1"), QString("8:00(7:00) 16:00:20(15:00:20)"));
}

void TestCalcExplanation::schedulesAreGivenAsCompared_data()
{
    columns<QString, QAny>("shift", "schedule");
    addRow("times after midnight are the next day's", "1",
           QAny{{"SHIFT", 1},
                {"STARTB", 75600},
                {"STARTE", 79200},
                {"ENDB", 104400},
                {"ENDE", 111600},
                {"MINHOURS", 28800}});
    addRow("what is missing is absent", "2", QAny{{"SHIFT", 2}, {"STARTB", 21600}, {"MINHOURS", 0}});
    addRow("none on that day", "3", QAny());
    addRow("a day off", "0", QAny());
}

void TestCalcExplanation::schedulesAreGivenAsCompared()
{
    QFETCH(QString, shift);
    QFETCH(QAny, schedule);
    CalcRows rows(kShift, QString(kNight) + "|IZM2 STARTB=6:00 STARTE= ENDB=x MINHOURS=0|IZM3 2-7 STARTB=6:00");
    rows.assign(kMonday, kMonday, shift);
    QCOMPARE(explainedDay(rows).value("SCHEDULE"), schedule);
}

void TestCalcExplanation::sourcesAreNamed()
{
    CalcSite site("07:00 101; 10:00 102");
    site.employee(5, "Kos Bine", kDay, kNoRules, "ACTIVE=0"); // left, but what was entered stays
    site.sql("update allevents set TERMINAL='3' where TIMESTAMP=" + QString::number(instant("2.3.2026 07:00")));
    site.sql("update allevents set TERMINAL='Vrata 2' where TERMINAL is null");
    site.events(1, "11:00 101/ME; 15:00 102/ME", "metalog");
    site.sql("update metalog set IDLOG=5");
    const auto sources = [&](bool firstNameFirst) {
        QAny request = CalcSite::request(kMonday, kMonday);
        request["EXPLAIN"] = true;
        request["NAMEFIRST"] = firstNameFirst;
        const QAny events = site.pack(request)["EXPLAIN"][0].value("EVENTS");
        QStringList texts;
        for (int i = 0; i < events.count(); ++i)
            texts += events[i].value("SOURCE").toString();
        return texts.join(", ");
    };
    QCOMPARE(sources(false), QString("terminal 3, terminal Vrata 2, entered by Kos Bine, entered by Kos Bine"));
    QVERIFY(sources(true).endsWith("entered by Bine Kos"));
}

void TestCalcExplanation::largePeriodsAreNotExplained()
{
    CalcSite site(kShift);
    site.employee(2, "Zupan Bine");
    Calc21 calculation(site.database(), site.today);
    const auto entries = [&](int days) {
        QAny request = CalcSite::request(kMonday, date(kMonday).addDays(days - 1).toString("d.M.yyyy"));
        request["EXPLAIN"] = true;
        return output::explanationOf(calculation.calculate(request)).count();
    };
    QCOMPARE(entries(2500), 5000);
    QCOMPARE(entries(2501), 0);
    QCOMPARE(calculation.takeResult().employees.size(), size_t(2)); // the rest is there
}

QTEST_GUILESS_MAIN(TestCalcExplanation)
#include "tst_calc_explanation.moc"
