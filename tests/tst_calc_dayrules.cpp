#include "calcsite.h"

namespace {
const QString kMonday = "2.3.2026";
const QString kSaturday = "7.3.2026";
const QString kArrIn = "SALDO/ARRINT=1 SALDO/ARRINTIN=1 ";
const QString kQuarter = kArrIn + "SALDO/ARRINT15=1";
const QString kHalfOut = "SALDO/ARRINT=1 SALDO/ARRINTOUT=1 SALDO/ARRINT30=1";
const QString kCutIn = "delo izven urnika PRI";
const QString kCutOut = "delo izven urnika ODH2-1-0";
const QString kFreeToo = " SCHEDULE/FORFREE=1";
const QString kAny = "*"; // not settled by the rules

struct Case {
    const char *name;
    QString events;
    QString result; ///< "IN-OUT DC"
    QString remarks = {};
    QString settings = kNoRules;
    QString schedule = kDay;
    QString day = kMonday;
    QAny holiday = {};
    QString runSettings = {};
    QString assigned = {}; ///< shift and columns of the assignment
};
} // namespace
Q_DECLARE_METATYPE(Case)

/// The rules of a day: events, schedule and settings in; IN, OUT, DC and remarks out.
class TestCalcDayRules : public QObject
{
    Q_OBJECT
private slots:
    void warnings_data();
    void warnings() { check(); }
    void intervalRounding_data();
    void intervalRounding() { check(); }
    void delayCompensation_data();
    void delayCompensation() { check(); }
    void workOutsideTheSchedule_data();
    void workOutsideTheSchedule() { check(); }
    void lunch_data();
    void lunch() { check(); }
    void workingTimeRoundingAndLimit_data();
    void workingTimeRoundingAndLimit() { check(); }
    void factors_data();
    void factors() { check(); }
    void hoursCheck_data();
    void hoursCheck() { check(); }
    void metaEvents_data();
    void metaEvents() { check(); }
    void nightsAndClockChanges_data();
    void nightsAndClockChanges() { check(); }
    void orderOfTheRules_data();
    void orderOfTheRules() { check(); }
    void warningsStandInTheErrorList();
    void rulesLeaveTheOriginalsAlone();

private:
    static void table(std::initializer_list<Case> rows);
    static void check();
};

void TestCalcDayRules::table(std::initializer_list<Case> rows)
{
    columns<Case>("row");
    for (const Case &row : rows)
        addRow(row.name, row);
}

void TestCalcDayRules::check()
{
    QFETCH(Case, row);
    CalcSite site(row.day + ' ' + row.events, row.schedule, row.settings, "PRERAZDC=A");
    site.employee(2, "Zupan Bine"); // keeps the period from being without events
    site.events(2, row.day + " 07:00 101; 15:00 102");
    if (!row.holiday.isNull())
        site.holiday(row.day, row.holiday);
    if (!row.assigned.isEmpty())
        site.assign("1.3.2026", "31.3.2026", row.assigned.section(' ', 0, 0),
                    "RGROUP=A " + row.assigned.section(' ', 1));
    const Outcome outcome = site.run(row.day, date(row.day).addDays(1).toString("d.M.yyyy"), row.runSettings);
    const QAny ruled = outcome.row("CALC", 1)["DAYS"][0];
    const QStringList times = durations(ruled, "IN OUT DC").split(' ');
    QCOMPARE(QString("%1-%2 %3").arg(times[0], times[1], times[2]).replace("---", "-"), row.result);
    QCOMPARE(outcome.day(1, row.day).value("DELO"), ruled.value("DC"));
    if (row.remarks != kAny)
        QCOMPARE(outcome.remarks(1, row.day), row.remarks);
}

void TestCalcDayRules::warnings_data()
{
    const QString all = "WAR/EARLYARRWAR=1 WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1 WAR/LATEEXITWAR=1";
    table({
        {"both on the edge of their windows, from outside", "06:00 101; 14:00 102", "6:00-14:00 8:00", "", all},
        {"both on the edge of their windows, from inside", "08:00 101; 16:00 102", "8:00-16:00 8:00", "", all},
        {"a second early", "05:59:59 101; 14:00 102", "6:00-14:00 8:00", "Prezgoden prihod 21599 21600; " + kCutIn,
         all},
        // Deliberate: a late arrival names the start of the window, not its end.
        {"a second late", "08:00:01 101; 15:00 102", "8:00:01-15:00 6:59:59", "Prepozen prihod 28801 21600", all},
        {"gone a second early", "07:00 101; 13:59:59 102", "7:00-13:59:59 6:59:59", "Prezgoden odhod", all},
        {"gone a second late", "07:00 101; 16:00:01 102", "7:00-16:00 9:00", "Prepozen odhod; " + kCutOut, all},
        {"only the one that is on", "08:10 101; 13:00 102", "8:10-13:00 4:50", "Prezgoden odhod",
         "WAR/EARLYEXITWAR=1 WAR/EARLYARRWAR=1"},
        {"no warning on a free day", "08:10 101; 13:00 102", "8:10-13:00 4:50", "", all, kDay, kSaturday},
        {"a free day that counts", "08:10 101; 13:00 102", "8:10-13:00 4:50",
         "Prepozen prihod 29400 21600; Prezgoden odhod", all + kFreeToo, kDay, kSaturday},
        {"missing latest arrival", "08:10 101; 15:00 102", "8:10-15:00 6:50", "", all,
         "STARTB=6:00 STARTE= ENDB=14:00 ENDE=16:00"},
        {"missing earliest departure", "07:00 101; 13:00 102", "7:00-13:00 6:00", "", all,
         "STARTB=6:00 STARTE=8:00 ENDE=16:00"},
        {"no schedule on that day", "05:00 101; 20:00 102", "5:00-20:00 15:00", "", all, QString("2-5 ") + kDay},
        {"work only outside the window", "17:00 101; 18:00 102", "- 1:00", "", all + " SALDO/NWOUTOUT=1"},
    });
}

void TestCalcDayRules::intervalRounding_data()
{
    const QString moved = "Kompenzacija zamude IN";
    const QString movedOut = "Kompenzacija zamude OUT";
    const QString open = "STARTB=6:00 STARTE=8:00 ENDB=14:00 MINHOURS=8:00"; // no end that a departure could pass
    table({
        {"59 seconds are tolerated", "08:00:59 101; 15:00 102", "8:00:59-15:00 6:59:01", "", kQuarter},
        {"60 seconds move to the next quarter", "08:01 101; 15:00 102", "8:15-15:00 6:45", moved, kQuarter},
        {"10 minutes", "07:01 101; 15:00 102", "7:10-15:00 7:50", moved, kArrIn + "SALDO/ARRINT10=1"},
        {"the shortest that is on", "07:01 101; 15:00 102", "7:15-15:00 7:45", moved,
         kArrIn + "SALDO/ARRINT60=1 SALDO/ARRINT15=1"},
        {"no interval", "07:01 101; 15:00 102", "7:01-15:00 7:59", "", kArrIn},
        {"switched off", "07:01 101; 15:00 102", "7:01-15:00 7:59", "", "SALDO/ARRINTIN=1 SALDO/ARRINT15=1"},
        {"neither side on", "07:01 101; 15:01 102", "7:01-15:01 8:00", "", "SALDO/ARRINT=1 SALDO/ARRINT15=1"},
        {"departure to the last half hour", "07:00 101; 16:20 102", "7:00-16:00 9:00", movedOut, kHalfOut},
        {"departure: 59 seconds", "07:00 101; 15:00:59 102", "7:00-15:00:59 8:00:59", "", kHalfOut},
        {"departure: 60 seconds", "07:00 101; 15:01 102", "7:00-15:00 8:00", movedOut, kHalfOut},
        {"departure at 23:59 stays", "14:00 101; 23:59 102", "14:00-23:59 9:59", "", kHalfOut, open},
        {"departure at 23:58 does not", "14:00 101; 23:58 102", "14:00-23:30 9:30", movedOut, kHalfOut, open},
        {"never below nothing", "07:01 101; 07:05 102", "8:00-7:05 0:00", moved, kArrIn + "SALDO/ARRINT60=1"},
        {"not on a free day", "08:01 101; 15:00 102", "8:01-15:00 6:59", "", kQuarter, kDay, kSaturday},
        {"on a free day that counts", "08:01 101; 15:00 102", "8:15-15:00 6:45", moved, kQuarter + kFreeToo, kDay,
         kSaturday},
        {"without a schedule on that day", "08:01 101; 15:00 102", "8:15-15:00 6:45", moved, kQuarter,
         QString("2-5 ") + kDay},
        {"work only outside the window", "17:01 101; 18:00 102", "- 0:59", "", kQuarter + " SALDO/NWOUTOUT=1"},
    });
}

void TestCalcDayRules::delayCompensation_data()
{
    const QString on = "OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=15";
    const QString outToo = on + " SALDO/NWOUTOUT=1";
    const QString made = "Kompenzacija Zamude";
    const QString madeAndTaken = made + "; delo izven urnika ODH-INT; kompenzacija zamude";
    table({
        // Deliberate: the extra time is decreased first, so DC changes by the delay less what is then left.
        {"longer than the delay", "08:10 101; 16:30 102", "8:10-16:10 8:10", made, on},
        {"as long as the delay", "08:10 101; 16:10 102", "8:10-16:10 8:10", made, on},
        {"shorter than the delay", "08:10 101; 16:09 102", "8:10-16:00 7:50", kCutOut, on},
        {"at the threshold", "08:15 101; 16:30 102", "8:15-16:15 8:15", made, on},
        {"over the threshold", "08:15:01 101; 16:30 102", "8:15:01-16:00 7:44:59", kCutOut, on},
        {"switched off", "08:10 101; 16:30 102", "8:10-16:00 7:50", kCutOut, "OVERTIME/COMPDELTRH=15"},
        {"no delay", "08:00 101; 16:30 102", "8:00-16:00 8:00", kCutOut, on},
        {"what is left of the extra time counts, less the delay", "08:10 101; 16:30 102", "8:10-16:20 8:00",
         madeAndTaken, outToo},
        {"what is left of the extra time in whole thresholds", "08:10 101; 16:30 102", "8:10-16:15 7:55", madeAndTaken,
         outToo + " OVERTIME/TRHOUT=15 OVERTIME/OUTINT=1"},
        {"nothing is left of the extra time", "08:10 101; 16:10 102", "8:10-16:10 8:10", made, outToo},
        {"not on a free day", "08:10 101; 16:30 102", "8:10-16:30 8:20", "", on, kDay, kSaturday},
        {"on a free day that counts", "08:10 101; 16:30 102", "8:10-16:10 8:10", made, on + kFreeToo, kDay, kSaturday},
    });
}

void TestCalcDayRules::workOutsideTheSchedule_data()
{
    const QString in = "SALDO/NWOUTIN=1 OVERTIME/TRHIN=20";
    const QString out = "SALDO/NWOUTOUT=1 OVERTIME/TRHOUT=20";
    const QString kept = "delo izven urnika ODH-INT";
    const QString longer = "07:00 101; 16:30 102";
    const QString twoBefore = "04:00 101; 05:00 102; 07:00 101; 15:00 102";
    const QString noneInside = "03:00 101; 05:00 102; 17:00 101; 20:00 102";
    const QString twoAfter = "07:00 101; 15:00 102; 17:00 101; 18:00 102";
    table({
        {"arrival: cut", "05:30 101; 15:00 102", "6:00-15:00 9:00", kCutIn},
        {"arrival: below the threshold", "05:45 101; 15:00 102", "6:00-15:00 9:00", kCutIn, in},
        {"arrival: at the threshold", "05:40 101; 15:00 102", "5:40-15:00 9:20", "", in},
        {"arrival: without a threshold", "05:59:59 101; 15:00 102", "5:59:59-15:00 9:00:01", "", "SALDO/NWOUTIN=1"},
        {"arrival: whole thresholds", "05:10 101; 15:00 102", "5:20-15:00 9:40", "delo izven urnika PRI-INT",
         in + " OVERTIME/ININT=1"},
        {"departure: cut", longer, "7:00-16:00 9:00", kCutOut},
        {"departure: below the threshold", "07:00 101; 16:15 102", "7:00-16:00 9:00", "delo izven urnika ODH1-1-0",
         out},
        {"departure: at the threshold", "07:00 101; 16:20 102", "7:00-16:20 9:20", kept, out},
        {"departure: without a threshold", "07:00 101; 16:00:01 102", "7:00-16:00:01 9:00:01", kept,
         "SALDO/NWOUTOUT=1"},
        {"departure: whole thresholds", "07:00 101; 16:50 102", "7:00-16:40 9:40", kept, out + " OVERTIME/OUTINT=1"},
        {"missing start of the window", "05:00 101; 15:00 102", "5:00-15:00 10:00", "", kNoRules,
         "STARTE=8:00 ENDE=16:00"},
        {"missing end of the window", "07:00 101; 19:00 102", "7:00-19:00 12:00", "", kNoRules, "STARTB=6:00"},
        {"nothing on a free day", "05:00 101; 17:00 102", "5:00-17:00 12:00", "", kNoRules, kDay, kSaturday},
        {"both on a free day that counts", "05:00 101; 17:00 102", "6:00-16:00 10:00", kCutIn + "; " + kCutOut,
         "WAR/X=0" + kFreeToo, kDay, kSaturday},
        {"whole pair before, on", twoBefore, "7:00-15:00 9:00", kAny, "SALDO/NWOUTIN=1"},
        {"whole pair before, the other side on", twoBefore, "7:00-15:00 8:00", kAny, "SALDO/NWOUTOUT=1"},
        {"whole pair after, on", twoAfter, "7:00-15:00 9:00", kAny, "SALDO/NWOUTOUT=1"},
        {"whole pair after, the other side on", twoAfter, "7:00-15:00 8:00", kAny, "SALDO/NWOUTIN=1"},
        {"touching the window is outside", "05:00 101; 06:00 102; 07:00 101; 15:00 102; 16:00 101; 17:00 102",
         "7:00-15:00 8:00", kAny},
        {"a second inside the window is not", "05:00 101; 06:00:01 102; 07:00 101; 15:00 102", "6:00-15:00 8:00:01",
         kCutIn},
        {"no pair inside, one side on", noneInside, "- 2:00", kAny, "SALDO/NWOUTIN=1"},
        {"no pair inside, the other side on", noneInside, "- 3:00", kAny, "SALDO/NWOUTOUT=1"},
        {"whole pair before on a free day", twoBefore, "4:00-15:00 9:00", "", kNoRules, kDay, kSaturday},
        {"third shift stays", longer, "7:00-16:30 9:30", "", kNoRules, kDay, kMonday, QAny(), "", "3"},
        {"third shift with its hour", longer, "7:00-16:00 9:00", "delo izven urnika ODH2-3-1", kNoRules, kDay, kMonday,
         QAny(), "", "3 FHOUR=6:00"},
        {"second shift", longer, "7:00-16:00 9:00", "delo izven urnika ODH2-2-0", kNoRules, kDay, kMonday, QAny(), "",
         "2"},
        {"leave outside the window is no presence", "04:00 101; 05:00 102:1; 07:00 101; 15:00 102", "7:00-15:00 8:00"},
    });
}

void TestCalcDayRules::lunch_data()
{
    const auto day = [](const QString &end, const QString &out = "15:00") {
        return "07:00 101; 11:00 102; 11:00 101; " + end + " 103; " + end + " 101; " + out + " 102";
    };
    const QString compensated = "OVERTIME/COMPLUNCH=1 SALDO/NWOUTOUT=1";
    const QString kept = "delo izven urnika ODH-INT; Predolga malica!";
    const QString taken = kept + "; Kompenzacija Predolge malice";
    table({
        {"a shorter one is paid", day("11:20"), "7:00-15:00 8:00"},
        {"the excess is not paid", day("11:35"), "7:00-15:00 7:55"},
        {"beyond the allowance", day("11:35:01"), "7:00-15:00 7:54:59", "Predolga malica!"},
        {"several lunches add up",
         "07:00 101; 09:00 103; 09:00 101; 11:00 102; 11:00 101; 11:20 103; 11:20 101; 15:00 102", "9:00-15:00 6:10",
         "Predolga malica!"},
        {"taken off the departure", day("11:40", "16:30"), "7:00-16:20 9:20", taken, compensated},
        {"taken off the departure to the end of the window", day("11:40", "16:10"), "7:00-16:00 9:00", taken,
         compensated},
        {"more than what lies after the window", day("11:40", "16:09"), "7:00-16:09 8:59", kept, compensated},
        {"not taken off when that is off", day("11:40", "16:30"), "7:00-16:30 9:20", kept, "SALDO/NWOUTOUT=1"},
        {"not paid on a free day", day("11:40"), "7:00-15:00 7:20", "", kNoRules, kDay, kSaturday},
        {"paid on a free day that counts", day("11:40"), "7:00-15:00 7:50", "Predolga malica!", "WAR/X=0" + kFreeToo,
         kDay, kSaturday},
        {"a schedule without lunch pays none", day("11:40"), "7:00-15:00 7:20", "", kNoRules,
         "STARTB=6:00 STARTE=8:00 ENDB=14:00 ENDE=16:00"},
        {"an automatic lunch is not paid", "07:00 101; 15:00 102", "7:00-15:00 7:30", "", kNoRules,
         QString(kDay) + " ALUNCH=1 ALUNCHSTART=11:00"},
    });
}

void TestCalcDayRules::workingTimeRoundingAndLimit_data()
{
    const QString quarter = "SALDO/WTROUND=1 SALDO/WTROUNDTRH=15";
    const QString rounded = "Zaokrožitev delovnega časa";
    const QString limited = "Maksimalne ure delovnega časa";
    const auto limit = [](const char *text) { return QString("SALDO/MSXHOURS=1 SALDO/MAXHOURSLIM='%1'").arg(text); };
    const QString eight = "07:00 101; 15:00 102";
    table({
        {"rounded down", "07:00 101; 14:44 102", "7:00-14:44 7:30", rounded, quarter},
        {"already whole", "07:00 101; 14:45 102", "7:00-14:45 7:45", "", quarter},
        {"a step of nothing", "07:00 101; 14:44:13 102", "7:00-14:44:13 7:44:13", "", "SALDO/WTROUND=1"},
        {"rounding off", "07:00 101; 14:44 102", "7:00-14:44 7:44", "", "SALDO/WTROUNDTRH=15"},
        {"rounded on a free day too", "07:00 101; 14:44 102", "7:00-14:44 7:30", rounded, quarter, kDay, kSaturday},
        {"limit with a decimal point", eight, "7:00-15:00 7:30", limited, limit("7.5")},
        // Deliberate: a decimal comma makes the limit 0.
        {"limit with a decimal comma", eight, "7:00-15:00 0:00", limited, limit("7,5")},
        {"limit to the whole second", eight, "7:00-15:00 7:20", limited, limit("7.3333")},
        {"limit not reached", eight, "7:00-15:00 8:00", "", limit("8")},
        {"no limit", eight, "7:00-15:00 8:00", "", limit("")},
        {"limit off", eight, "7:00-15:00 8:00", "", "SALDO/MAXHOURSLIM='7.5'"},
        {"switched on by a text", eight, "7:00-15:00 7:30", limited, "SALDO/MSXHOURS='1' SALDO/MAXHOURSLIM='7.5'"},
        {"switched on by true", eight, "7:00-15:00 7:30", limited,
         "{\"SALDO\":{\"MSXHOURS\":true,\"MAXHOURSLIM\":\"7.5\"}}"},
        {"limit on a free day too", eight, "7:00-15:00 7:30", limited, limit("7.5"), kDay, kSaturday},
        {"rounded before it is limited", "07:00 101; 14:44 102", "7:00-14:44 7:18", rounded + "; " + limited,
         quarter + ' ' + limit("7.3")},
    });
}

void TestCalcDayRules::factors_data()
{
    const QString eight = "07:00 101; 15:00 102";
    const QString on = "FACTOR/ENABLED=1 FACTOR/PUBHOL=1.5";
    const QString used = "Uporabljen faktor 1.5";
    const QString noDay = QString("2-5 ") + kDay;
    const QString meta = "07:00 101; 15:00 102/ME";
    const QAny day = "Dan upora";
    table({
        {"public holiday", eight, "7:00-15:00 12:00", used, on, kDay, kMonday, day},
        {"factor as a text", eight, "7:00-15:00 12:00", used, "FACTOR/ENABLED=1 FACTOR/PUBHOL='1.5'", kDay, kMonday,
         day},
        // 60001.5 in double precision, 60001.496 in single
        {"in single precision", "06:00 101; 18:49:15 102", "6:00-18:49:15 16:40:01", "Uporabljen faktor 1.3",
         "FACTOR/ENABLED=1 FACTOR/PUBHOL=1.3", noDay, kMonday, day},
        {"working day", eight, "7:00-15:00 8:00", "", on},
        {"factors off", eight, "7:00-15:00 8:00", "", "FACTOR/PUBHOL=1.5", kDay, kMonday, day},
        {"factor 0", eight, "7:00-15:00 8:00", "", "FACTOR/ENABLED=1 FACTOR/PUBHOL=0", kDay, kMonday, day},
        {"free holiday", eight, "7:00-15:00 8:00", "", on, kDay, kMonday, "1"},
        // Deliberate: Saturdays and Sundays are free, so their factors are never reached.
        {"Saturday", eight, "7:00-15:00 8:00", "", "FACTOR/ENABLED=1 FACTOR/SAT=1.5" + kFreeToo, kDay, kSaturday},
        {"Sunday", eight, "7:00-15:00 8:00", "", "FACTOR/ENABLED=1 FACTOR/SUN=1.5" + kFreeToo, kDay, "8.3.2026"},
        {"hand-entered events need their own switch", meta, "7:00-15:00 8:00", "", on, kDay, kMonday, day},
        {"hand-entered events with their own switch", meta, "7:00-15:00 12:00", used, on + " META/FACTOR=1", kDay,
         kMonday, day},
        {"an MP event needs it too", "07:00 101/MP; 15:00 102", "7:00-15:00 8:00", "", on, kDay, kMonday, day},
    });
}

void TestCalcDayRules::hoursCheck_data()
{
    const QString empty = "HOURS/SHOWEMPTYDAYS=1";
    const QString most = "HOURS/TOOMANYHOURS=1 HOURS/MAXHOURS=8";
    const QString low = "HOURS/LOWSALDO=1";
    const QString freeHours = "HOURS/TOOMANYFREEHOURS=1";
    const QString over = "HOURS/TOOMANYOVERHOURS=1";
    const QString add = "HOURS/ADDHOURS=1 HOURS/ADDHOURSNUM=1";
    const QString day = QString(kDay) + " FREEHOURS=1:00 OVERTIME=1:00";
    const auto absence = [](const QString &end) {
        return "06:00 101; 10:00 102; 10:00 101; " + end + " 105; " + end + " 101; 16:00 102";
    };
    table({
        {"no hours", "", "- 0:00", "Ni delovnih ur!", empty},
        {"no hours on a free day", "", "- 0:00", "", empty + kFreeToo, kDay, kSaturday},
        {"no hours on a public holiday", "", "- 0:00", "", empty, kDay, kMonday, "Dan upora"},
        {"no hours without a schedule", "", "- 0:00", "", empty, QString("2-5 ") + kDay},
        {"as many hours as allowed", "06:00 101; 14:00 102", "6:00-14:00 8:00", "", most},
        {"too many hours", "06:00 101; 14:00:01 102", "6:00-14:00:01 8:00:01", "Preveč delovnih ur!", most},
        {"too many hours on a free day", "06:00 101; 15:00 102", "6:00-15:00 9:00", "", most, kDay, kSaturday},
        {"too many hours on a free day that counts", "06:00 101; 15:00 102", "6:00-15:00 9:00", "Preveč delovnih ur!",
         most + kFreeToo, kDay, kSaturday},
        {"enough hours", "06:00 101; 14:00 102", "6:00-14:00 8:00", "", low},
        {"too few hours", "06:00 101; 13:59:59 102", "6:00-13:59:59 7:59:59", "Premalo delovnih ur!", low},
        {"too few hours on a free day that counts", "06:00 101; 10:00 102", "6:00-10:00 4:00", "", low + kFreeToo, kDay,
         kSaturday},
        {"leave makes up the hours", "06:00 101; 10:00 102; 10:00 101; 14:00 102:1", "6:00-10:00 4:00", "", low},
        {"too few hours without any asked for", "07:00 101; 08:00 102", "7:00-8:00 1:00", "", low,
         "STARTB=6:00 STARTE=8:00 ENDE=16:00"},
        {"as much private absence as allowed", absence("11:00"), "6:00-16:00 9:00", "", freeHours, day},
        {"too much private absence", absence("11:00:01"), "6:00-16:00 8:59:59", "Preveč prostih ur!", freeHours, day},
        {"as much overtime as allowed", "06:00 101; 15:00 102", "6:00-15:00 9:00", "", over, day},
        {"too much overtime", "06:00 101; 15:00:01 102", "6:00-15:00:01 9:00:01", "Preveč nadur!", over, day},
        {"hours are added", "06:00 101; 14:00 102", "6:00-14:00 9:00", "Dodane ure 1!", add},
        {"hours are added to work only", "", "- 0:00", "", add},
        {"several at once", "06:00 101; 16:00 102", "6:00-16:00 11:00",
         "Preveč delovnih ur!; Preveč nadur!; Dodane ure 1!", most + ' ' + over + ' ' + add, day},
    });
}

void TestCalcDayRules::metaEvents_data()
{
    const QString early = "05:30 101/MP; 15:00 102";
    const QString earlyAndWorked = "06:00 101/MP; 07:00 102/MP; 08:00 101; 15:00 102";
    table({
        {"rules apply to MP events", early, "6:00-15:00 9:00", kCutIn, "TYPE=EVENTTYPE"},
        {"that is the default", early, "6:00-15:00 9:00", kCutIn},
        {"days with an MP event skip the rules", early, "5:30-15:00 9:30", "", "TYPE=METAPERTYPE"},
        {"days without one do not", "05:30 101/ME; 15:00 102", "6:00-15:00 9:00", kCutIn, "TYPE=METAPERTYPE"},
        {"no day skips the rules when that is set", early, "6:00-15:00 9:00", kCutIn, "TYPE=METAPERTYPE", kDay, kMonday,
         QAny(), "NOMETASETT=1"},
        {"MP pairs move neither arrival nor departure", earlyAndWorked, "8:00-15:00 8:00", "", "TYPE=MIXTYPE"},
        {"half an MP pair does", "06:00 101/MP; 07:00 102; 08:00 101; 15:00 102", "6:00-15:00 8:00", "",
         "TYPE=MIXTYPE"},
    });
}

void TestCalcDayRules::nightsAndClockChanges_data()
{
    const QString night = "22:00 101; 3.3.2026 06:00 102";
    const QString broken = "02:30 101; 06:00 102; 22:00 101; 4.3.2026 06:00 102";
    const QString free = "WAR/EARLYARRWAR=1 WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1 WAR/LATEEXITWAR=1" + kFreeToo;
    table({
        {"night in its window", night, "22:00-30:00 8:00", "", "WAR/LATEARRWAR=1 WAR/LATEEXITWAR=1", kNight},
        {"night gone early", "22:00 101; 3.3.2026 04:59:59 102", "22:00-28:59:59 6:59:59", "Prezgoden odhod",
         "WAR/EARLYEXITWAR=1", kNight},
        {"night beyond its window", "22:00 101; 3.3.2026 07:30 102", "22:00-31:00 9:00", kCutOut, kNoRules, kNight},
        {"arrival window over midnight", "23:50 101; 4.3.2026 07:00 102", "23:50-31:00 7:10", "", "WAR/LATEARRWAR=1",
         "STARTB=23:00 STARTE=0:30 ENDB=5:00 ENDE=7:00", "3.3.2026"},
        {"departure rounded on the next day", "22:00 101; 3.3.2026 06:20 102", "22:00-30:00 8:00",
         "Kompenzacija zamude OUT", kHalfOut, kNight},
        {"rest of the night before stays", broken, "22:00-30:00 11:30", kAny, kNoRules, kNight, "3.3.2026"},
        {"only the rest of the night before", "02:30 101; 06:00 102", "- 3:30", "", kNoRules, kNight},
        {"between two nights, off", "12:00 101; 13:00 102; " + night, "22:00-30:00 8:00", kAny, kNoRules, kNight},
        {"night of 9 hours", "22:00 101; 25.10.2026 06:00 102", "22:00-30:00 9:00", "", free, kNight, "24.10.2026"},
        {"night of 7 hours", "22:00 101; 29.3.2026 06:00 102", "22:00-30:00 7:00", "", free, kNight, "28.3.2026"},
        {"window of a day of 25 hours", "06:00 101; 16:00 102", "6:00-16:00 10:00", "", free, kDay, "25.10.2026"},
        {"window of a day of 23 hours", "06:00 101; 16:00 102", "6:00-16:00 10:00", "", free, kDay, "29.3.2026"},
        {"pair before the window of a day of 25 hours", "05:00 101; 06:00 102; 07:00 101; 15:00 102", "7:00-15:00 8:00",
         kAny, free, kDay, "25.10.2026"},
    });
}

void TestCalcDayRules::orderOfTheRules_data()
{
    const QString all = "WAR/LATEARRWAR=1 WAR/EARLYARRWAR=1 WAR/LATEEXITWAR=1 SALDO/ARRINT=1 SALDO/ARRINT15=1 "
                        "SALDO/ARRINTIN=1 SALDO/ARRINTOUT=1 ";
    table({
        {"warnings see the times as they came, the window the rounded ones", "05:46 101; 16:09 102", "6:00-16:00 10:00",
         "Prezgoden prihod 20760 21600; Prepozen odhod; Kompenzacija zamude IN; Kompenzacija zamude OUT", all},
        {"a rounded arrival is compensated", "08:01 101; 16:30 102", "8:15-16:15 8:15",
         "Prepozen prihod 28860 21600; Prepozen odhod; Kompenzacija zamude IN; Kompenzacija Zamude",
         all + "OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=15"},
        {"rounded, limited, multiplied, added to", "07:00 101; 15:10 102", "7:00-15:10 12:15",
         "Zaokrožitev delovnega časa; Maksimalne ure delovnega časa; Uporabljen faktor 1.5; Preveč delovnih ur!; "
         "Dodane ure 1!",
         "SALDO/WTROUND=1 SALDO/WTROUNDTRH=15 SALDO/MSXHOURS=1 SALDO/MAXHOURSLIM='7.5' FACTOR/ENABLED=1 "
         "FACTOR/PUBHOL=1.5 HOURS/TOOMANYHOURS=1 HOURS/MAXHOURS=8 HOURS/ADDHOURS=1 HOURS/ADDHOURSNUM=1",
         kDay, kMonday, "Dan upora"},
    });
}

void TestCalcDayRules::warningsStandInTheErrorList()
{
    CalcSite site("2.3.2026 07:00 101; 15:00 102; 3.3.2026 08:10 101; 13:00 102", kDay,
                  "WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1");
    QCOMPARE(site.run(kMonday, "3.3.2026").errors({"OPO"}),
             QStringList({"OPO Prepozen prihod 29400 21600 1 3.3.", "OPO Prezgoden odhod 1 3.3."}));
}

void TestCalcDayRules::rulesLeaveTheOriginalsAlone()
{
    CalcSite site("05:30 101; 15:00 102");
    const Outcome outcome = site.run(kMonday, kMonday);
    QCOMPARE(durations(outcome.day(1, kMonday), "DELO IN"), QString("9:00 6:00"));
    QCOMPARE(durations(outcome.row("DAYSorg", 1, kMonday), "DELO IN"), QString("9:30 5:30"));
    QCOMPARE(outcome.day(1, kMonday).value("INORG").toInteger(), midnight(kMonday) + seconds("5:30"));
    // What no rule touches is one record in both lists.
    QVERIFY(outcome.pairs(1)[0].sharesRecordWith(outcome.pairs(1, "CALCorg")[0]));
}

QTEST_GUILESS_MAIN(TestCalcDayRules)
#include "tst_calc_dayrules.moc"
