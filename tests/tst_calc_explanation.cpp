#include "calc/calc21.h"
#include "calc/output/explanation.h"
#include "calcsite.h"

using namespace calc;

namespace {

const QString kMonday = "2.3.2026";

/// Name | events | steps, joined by "; " | settings.
constexpr char kSteps[] = R"(
a rule's remark stands in its first step | 5:30-15 | \
    earlyArrival IN 5:30-6:00 STARTB='6:00' delo izven urnika PRI; earlyArrival DC 9:30-9:00 STARTB='6:00'
each field has its own chain | 5:20-16:20 | \
    arrivalRounding IN 5:20-5:30 SALDO/ARRINT15=1 Kompenzacija zamude IN; \
    arrivalRounding DC 11:00-10:50 SALDO/ARRINT15=1; \
    departureRounding OUT 16:20-16:15 SALDO/ARRINT15=1 Kompenzacija zamude OUT; \
    departureRounding DC 10:50-10:45 SALDO/ARRINT15=1; \
    earlyArrival IN 5:30-6:00 STARTB='6:00' delo izven urnika PRI; earlyArrival DC 10:45-10:15 STARTB='6:00'; \
    lateDeparture OUT 16:15-16:00 OVERTIME/TRHOUT=30 delo izven urnika ODH1-1-0; \
    lateDeparture DC 10:15-10:00 OVERTIME/TRHOUT=30 | \
    SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINTOUT=1 SALDO/ARRINT15=1 SALDO/NWOUTOUT=1 OVERTIME/TRHOUT=30
a warning changes nothing | 8:10-13 | arrivalWarning STARTE='8:00' Prepozen prihod 29400 21600; \
    departureWarning ENDB='14:00' Prezgoden odhod; tooFewHours MINHOURS='8:00' Premalo delovnih ur! | \
    WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1 HOURS/LOWSALDO='1'
a value as it is stored | 7-15 | \
    maximumHours DC 8:00-7:30 SALDO/MAXHOURSLIM='7.5' Maksimalne ure delovnega časa | \
    SALDO/MSXHOURS=1 SALDO/MAXHOURSLIM='7.5'
work that counts after the schedule | 7-16:30 | lateDeparture SALDO/NWOUTOUT=1 delo izven urnika ODH-INT | \
    SALDO/NWOUTOUT=1
the floor is a step without a setting | 7:01-7:05 | \
    arrivalRounding IN 7:01-8:00 SALDO/ARRINT60=1 Kompenzacija zamude IN; \
    arrivalRounding DC 0:04--0:55 SALDO/ARRINT60=1; floorAtZero DC -0:55-0:00 =null | \
    SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINT60=1
)";

/// Name | rule and reason | settings | schedule | events, 7-15 unless told.
constexpr char kIdle[] = R"(
$free = 7.3.2026 7-15
$tomorrow = 12.3.2026
$window = STARTB=6:00 ENDE=16:00
$warned = WAR/LATEARRWAR=1
no start, on a free day               | earlyArrival off      |                      | ENDE=16:00  | $free
no end, on a free day                 | lateDeparture off     |                      | STARTB=6:00 | $free
no latest arrival, on a free day      | delayCompensation off | OVERTIME/COMPDELAY=1 | $window     | $free
no hours asked for, on a free day     | tooManyOverhours off  | HOURS/TOOMANYOVERHOURS=1 | OVERTIME=1:00 | $free
no latest arrival                     | arrivalWarning off    | $warned              | $window
no hours asked for                    | tooFewHours off       | HOURS/LOWSALDO=1     | $window
no lunch, on a free day               | lunch off             |                      | $window     | $free
without settings                      | tooFewHours no settings   | none             |    | $tomorrow 7-15 102/MP
rules skipped, before all else | tooFewHours rules skipped | TYPE=METAPERTYPE HOURS/LOWSALDO=1 |  | \
    $tomorrow 7-15 102/MP
after today                           | tooFewHours after today   | HOURS/LOWSALDO=1 |             | $tomorrow
after today, also off                 | addedHours after today    |                  |             | $tomorrow
off                                   | maximumHours off
off, also without a schedule          | arrivalWarning off        | WAR/EARLYEXITWAR=1 | 2-7 $day
off, also on a free day               | delayCompensation off     |                  |             | $free
no schedule                           | earlyArrival no schedule  |                  | 2-7 $day
no schedule, also on a free day       | arrivalWarning no schedule | $warned         | 1-5 STARTB=6:00 | $free
free day, also with nothing to do     | arrivalWarning free day   | $warned          |             | 7.3.2026
nothing to do                         | arrivalWarning nothing to do | $warned
nothing to do without work            | lateDeparture nothing to do  |               |             | 2.3.2026
below a number                        | tooManyHours below its limit | HOURS/TOOMANYHOURS=1 HOURS/MAXHOURS=8
below a schedule's time               | tooManyOverhours below its limit | HOURS/TOOMANYOVERHOURS=1 | \
    $window MINHOURS=7:00 OVERTIME=1:00
a tolerated remainder                 | arrivalRounding below its limit | \
    SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINT15=1 |  | 7:00:30-15
more delay than is made up for        | delayCompensation below its limit | \
    OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=15 |  | 8:20-17
)";

/// Name | events | their use on Monday and, behind a /, on Tuesday | Monday's pairs | settings | schedule.
constexpr char kUses[] = R"(
$shift = 101 arrival, 102 departure
$deleted = deleted by an hour check
a shift                           | 7-15 | $shift / | 1 2 DELO 28800
a night stands on its first day   | 22-6; 3.3.2026 22 101 | $shift / 101 other half missing | 1 2 DELO 28800
halves                            | 7 101; 8-15; 16 102 | \
    101 other half missing, 101 arrival, 102 departure, 102 other half missing / | 2 3 DELO 25200
a generated arrival is no event   | 15 104 | 104 departure / | null 1 SLUŽBENO 0 | AUTOEVENTS=1
nor are ends of an automatic lunch | 7-15 | $shift / | 1 null DELO 14400, null 2 DELO 12600 |  | $lunch
no code                           | 7 =201:Vrata; 7:10 101; 12 =; 15 102:9 | \
    201:Vrata no code, 101 arrival, no code, 102:9 departure / | 2 4 null 28200
doubled by hand                   | 15 102 + 7-15 | $shift, 102 doubled / | 1 2 DELO 28800
second taps                       | 7 101; 7:01 101; 15 102; 15:01 102 | \
    101 arrival, 101 second tap, 102 second tap, 102 departure / | 1 4 DELO 28860
a second tap before midnight      | 14 101; 23:59:30 102; 3.3.2026 0:00:30 102 | \
    101 arrival, 102 second tap, 102 departure / | 1 3 DELO 36030
a second tap after midnight       | 14 101; 3.3.2026 0:00:10 102; 0:00:40 102 | $shift / 102 second tap | 1 2 DELO 36040
deleted by an hour check          | 19:30-20 | 101 $deleted, 102 $deleted / |  | EARLYEXIT=8
deleted over midnight             | 14-5 | 101 $deleted / 102 $deleted |  | EARLYEXIT=8
the night before the period       | 1.3.2026 22-6 | 102 outside the period / |  | NEAREVENTS=1
the night behind the period       | 3.3.2026 22-6 | / $shift |  | NEAREVENTS=1
)";

/// Name | shift | schedule.
constexpr char kSchedules[] = R"(
times after midnight are the next day's | 1 | \
    {"SHIFT":1,"STARTB":75600,"STARTE":79200,"ENDB":104400,"ENDE":111600,"MINHOURS":28800}
what is missing is absent               | 2 | {"SHIFT":2,"STARTB":21600,"MINHOURS":0}
none on that day                        | 3 | null
a day off                               | 0 | null
)";

/// The entries of a period in their order.
QAny explained(const CalcRows &rows, const QString &from, const QString &to, const QString &settings = {})
{
    return output::explanationOf(rows.run(from, to, settings, true).result);
}

QAny explainedDay(const CalcRows &rows, const QString &day = kMonday, const QString &settings = {})
{
    return explained(rows, day, day, settings)[0];
}

/// "lunch DC 8:30-8:28 LUNCH='0:30' text" for every step.
QString stepsOf(const QAny &entry)
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
    return texts.join("; ");
}

} // namespace

/// The account of a day: what came in, which rule changed what, and why the others did not.
class TestCalcExplanation : public QObject
{
    Q_OBJECT
private slots:
    void aDayIsAccountedForToTheSecond();
    void stepsNameTheirSettings_data() { addTable(kSteps); }
    void stepsNameTheirSettings();
    void idleRulesSayWhy_data() { addTable(kIdle); }
    void idleRulesSayWhy();
    void everyEventHasItsUse_data() { addTable(kUses); }
    void everyEventHasItsUse();
    void movedTimesNameTheStoredOnes();
    void schedulesAreGivenAsCompared_data() { addTable(kSchedules); }
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
    QCOMPARE(entry["EVENTS"][0].keys(), QString("N ID TIMESTAMP AC SOURCE USE").split(' '));
    QCOMPARE(each(entry["EVENTS"], "ID TIMESTAMP SOURCE").section(", ", 0, 0), QString("1 1791353687 terminal 3"));
    QCOMPARE(each(entry["EVENTS"], "N AC USE"),
             QString("1 101:Prihod arrival, 2 101:Prihod second tap, 3 102:Odhod second tap, 4 102:Odhod second tap, "
                     "5 102:Odhod departure, 6 101:Prihod arrival, 7 103:Malica departure, 8 101:Prihod arrival, "
                     "9 102:Odhod departure"));
    QCOMPARE(entry["PAIRS"][0].keys(), QString("N FROM TO CATEGORY SECONDS").split(' '));
    QCOMPARE(each(entry["PAIRS"], "N FROM TO CATEGORY SECONDS"),
             QString("1 1 5 DELO 13393, 2 6 7 MALICA 1888, 3 8 9 DELO 14939"));
    const QString lunch = R"("FIELD":"DC","BEFORE":%1,"AFTER":%2,"SETTING":"LUNCH","VALUE":"0:30","TEXT":""})";
    QCOMPARE(entry.value("STEPS"),
             QAny::fromJson("[{\"RULE\":\"paidLunch\"," + lunch.arg(28332).arg(30220) + ",{\"RULE\":\"lunch\"," +
                            lunch.arg(30220).arg(30132) +
                            R"(,{"RULE":"workTimeRounding","FIELD":"DC","BEFORE":30132,"AFTER":30000,)"
                            R"("SETTING":"SALDO/WTROUNDTRH","VALUE":5,"TEXT":"Zaokrožitev delovnega časa"}])"));
    QCOMPARE(entry.value("RESULT"), QAny({{"DELO", 30000}, {"SKUPAJ", 30000}, {"SALDO", 1200}, {"PLUSMINUS", 1200}}));
}

void TestCalcExplanation::stepsNameTheirSettings()
{
    QFETCH(TableRow, row);
    enum { Events, Steps, Settings };
    const QAny entry = explainedDay(CalcRows(row[Events], kDay, "X=0 " + row[Settings]));
    QCOMPARE(stepsOf(entry), row[Steps]);
    for (int i = 0; i < entry.value("STEPS").count(); ++i) {
        const QAny step = entry["STEPS"][i];
        QCOMPARE(step.value("BEFORE").isNull(), step.value("FIELD").toString().isEmpty());
    }
}

void TestCalcExplanation::idleRulesSayWhy()
{
    QFETCH(TableRow, row);
    enum { Idle, Settings, Times, Events };
    CalcRows rows(row[Events].isEmpty() ? "7-15" : row[Events], row[Times].isEmpty() ? kDay : row[Times],
                  row[Settings] == "none" ? QString() : "X=0 " + row[Settings]);
    rows.today = date("11.3.2026");
    const QString found = each(explainedDay(rows, dayOf(row[Events]))["IDLE"], "RULE WHY");
    QVERIFY2(found.split(", ").contains(row[Idle]), qPrintable(found));
}

void TestCalcExplanation::everyEventHasItsUse()
{
    QFETCH(TableRow, row);
    enum { Events, Uses, Pairs, Settings, Times };
    CalcRows rows(row[Events], row[Times].isEmpty() ? kDay : row[Times]);
    rows.doubleTapSeconds = 60;
    const QAny entries = explained(rows, kMonday, "3.3.2026", row[Settings]);
    QCOMPARE(entries.count(), 2);
    const QString uses = each(entries[0]["EVENTS"], "AC USE") + " / " + each(entries[1]["EVENTS"], "AC USE");
    QCOMPARE(uses.simplified().remove(":Ime"), row[Uses]);
    QCOMPARE(each(entries[0]["PAIRS"], "FROM TO CATEGORY SECONDS"), row[Pairs]);
}

void TestCalcExplanation::movedTimesNameTheStoredOnes()
{
    CalcRows rows("7 101; 15:00:20 102");
    rows.of(1).timeZoneSeconds = 3600;
    const qint64 in = instant("2.3.2026 7:00"), out = instant("2.3.2026 15:00:20");
    const auto times = [&](const QString &settings) {
        return each(explainedDay(rows, kMonday, settings)["EVENTS"], "TIMESTAMP STORED");
    };
    QCOMPARE(times(""), QString("%1 null, %2 null").arg(in).arg(out));
    QCOMPARE(times("ISROUND30=1"), QString("%1 null, %2 %3").arg(in).arg(out - 20).arg(out));
    QCOMPARE(times("ISTZ=1"), QString("%1 %2, %3 %4").arg(in + 3600).arg(in).arg(out + 3600).arg(out));
}

void TestCalcExplanation::schedulesAreGivenAsCompared()
{
    QFETCH(TableRow, row);
    CalcRows rows("7-15", QString(kNight) + "|IZM2 STARTB=6:00 STARTE= ENDB=x MINHOURS=0|IZM3 2-7 STARTB=6:00");
    rows.assign(kMonday, kMonday, row[0]);
    QCOMPARE(explainedDay(rows).value("SCHEDULE").toJson(), row[1]);
}

void TestCalcExplanation::sourcesAreNamed()
{
    CalcSite site("7-10 + 11-15 102/ME");
    site.employee(5, "Kos Bine", kDay, kNoRules, "ACTIVE=0"); // left, but what was entered stays
    site.sql("update allevents set TERMINAL='3' where TIMESTAMP=" + QString::number(instant("2.3.2026 07:00")));
    site.sql("update allevents set TERMINAL='Vrata 2' where TERMINAL is null");
    site.sql("update metalog set IDLOG=5");
    const auto sources = [&](bool firstNameFirst) {
        QAny request = CalcSite::request(kMonday, kMonday);
        request["EXPLAIN"] = true;
        request["NAMEFIRST"] = firstNameFirst;
        return each(site.pack(request)["EXPLAIN"][0]["EVENTS"], "SOURCE");
    };
    QCOMPARE(sources(false), QString("terminal 3, terminal Vrata 2, entered by Kos Bine, entered by Kos Bine"));
    QVERIFY(sources(true).endsWith("entered by Bine Kos"));
}

void TestCalcExplanation::largePeriodsAreNotExplained()
{
    CalcSite site("7-15");
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
