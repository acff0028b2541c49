#include "calc/input/scheduletext.h"
#include "calc/rules/dayrules.h"
#include "calcrows.h"
#include "dayaccount.h"

// The rows: name | events | IN-OUT DC | remarks, * where they are not settled | settings, behind those of the group |
// schedule, the usual day unless told | a holiday's name or a shift. On Monday unless the events tell the day.

namespace {
/// A group for each rule.
constexpr char kEachRule[] = R"(
$out = delo izven urnika
$free = SCHEDULE/FORFREE=1
# paidLunch
up to the allowed length            | 7-11; 11-11:20 103; 11:20-15 | 7:00-15:00 8:00
not without a LUNCH                 | 7-11; 11-11:40 103; 11:40-15 | 7:00-15:00 7:20 |  |  | STARTB=6:00 ENDE=16:00
an automatic lunch is an unpaid gap | 7-15                         | 7:00-15:00 7:30 |  |  | $lunch
# lunch
the excess is not paid | 7-11; 11-11:35 103; 11:35-15          | 7:00-15:00 7:55
beyond the tolerance   | 7-11; 11-11:35:01 103; 11:36-15       | 7:00-15:00 7:54 | Predolga malica!
several add up         | 7-9 103; 9-11; 11-11:20 103; 11:20-15 | 9:00-15:00 6:10 | Predolga malica!
# lunchCompensation | OVERTIME/COMPLUNCH=1 SALDO/NWOUTOUT=1
off the departure | 7-11; 11-11:40 103; 11:40-16:30 | 7:00-16:20 9:20 | \
    $out ODH-INT; Predolga malica!; Kompenzacija Predolge malice
down to the window's end | 7-11; 11-11:40 103; 11:40-16:10 | 7:00-16:00 9:00 | \
    $out ODH-INT; Predolga malica!; Kompenzacija Predolge malice
more than lies behind | 7-11; 11-11:40 103; 11:40-16:09 | 7:00-16:09 8:59 | $out ODH-INT; Predolga malica!
# arrivalWarning | $warnings
came and gone at the earliest     | 6-14       | 6:00-14:00 8:00
came and gone at the latest       | 8-16       | 8:00-16:00 8:00
a second early                    | 5:59:59-14 | 6:00-14:00 8:00 | Prezgoden prihod 21599 21600; $out PRI
// Deliberate: a late arrival names the start of the window, not its end.
a second late, the start is named | 8:00:01-15 | 8:00:01-15:00 6:59:59 | Prepozen prihod 28801 21600
early, off                        | 5:30-15    | 6:00-15:00 9:00 | $out PRI | WAR/EARLYARRWAR=0
no latest arrival                 | 8:10-15    | 8:10-15:00 6:50 |  |  | STARTB=6:00 STARTE= ENDB=14:00 ENDE=16:00
latest arrival after midnight     | 23:50-7    | 23:50-31:00 7:10 |  |  | STARTB=23:00 STARTE=0:30 ENDB=5:00 ENDE=7:00
work outside the window alone     | 17-18      | - 1:00 |  | SALDO/NWOUTOUT=1
# departureWarning | $warnings
a second early        | 7-13:59:59 | 7:00-13:59:59 6:59:59  | Prezgoden odhod
a second late         | 7-16:00:01 | 7:00-16:00 9:00        | Prepozen odhod; $out ODH2-1-0
early, off            | 7-13       | 7:00-13:00 6:00        |  | WAR/EARLYEXITWAR=0
late, off             | 7-16:10    | 7:00-16:00 9:00        | $out ODH2-1-0 | WAR/LATEEXITWAR=0
no earliest departure | 7-13       | 7:00-13:00 6:00        |  |  | STARTB=6:00 STARTE=8:00 ENDE=16:00
night in its window   | 22-6       | 22:00-30:00 8:00       |  |  | $night
night left early      | 22-4:59:59 | 22:00-28:59:59 6:59:59 | Prezgoden odhod |  | $night
# arrivalRounding | SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINT15=1
59 seconds are tolerated        | 8:00:59-15 | 8:00:59-15:00 6:59:01
60 seconds move it to a quarter | 8:01-15:01 | 8:15-15:01 6:46 | Kompenzacija zamude IN
the shortest that is on         | 7:01-15 | 7:10-15:00 7:50 | Kompenzacija zamude IN | SALDO/ARRINT10=1 SALDO/ARRINT60=1
no interval                     | 7:01-15 | 7:01-15:00 7:59 |  | SALDO/ARRINT15=0
# departureRounding | SALDO/ARRINT=1 SALDO/ARRINTOUT=1 SALDO/ARRINT30=1
to the last half hour    | 7:01-16:20 | 7:01-16:00 8:59 | Kompenzacija zamude OUT
59 seconds are tolerated | 7-15:00:59 | 7:00-15:00:59 8:00:59
60 seconds are not       | 7-15:01 | 7:00-15:00 8:00 | Kompenzacija zamude OUT
23:59 stays              | 14-23:59 | 14:00-23:59 9:59 |  |  | STARTB=6:00 STARTE=8:00 ENDB=14:00
23:58 does not           | 14-23:58 | 14:00-23:30 9:30 | Kompenzacija zamude OUT |  | STARTB=6:00 STARTE=8:00 ENDB=14:00
on the next day          | 22-6:20 | 22:00-30:00 8:00 | Kompenzacija zamude OUT |  | $night
# workBeforeWindow
taken off, also with the other side kept | 4-5; 7-15 | 7:00-15:00 8:00   | *                     | SALDO/NWOUTOUT=1
kept                           | 4-5; 7-15          | 7:00-15:00 9:00    | *                     | SALDO/NWOUTIN=1
touching the window is outside | 5-6; 7-15; 16-17   | 7:00-15:00 8:00    | *
a second inside it is not      | 5-6:00:01; 7-15    | 6:00-15:00 8:00:01 | $out PRI
no pair inside                 | 3-5; 17-20         | - 2:00             | *                     | SALDO/NWOUTIN=1
leave is no presence           | 4-5 102:1; 7-15    | 7:00-15:00 8:00
free day                       | 7.3.2026 4-5; 7-15 | 4:00-15:00 9:00
free day that counts           | 7.3.2026 4-5; 7-15 | 7:00-15:00 8:00    | *                     | $free
the night before goes on       | 2:30-6; 22-6       | 22:00-30:00 11:30  | *                     |  | $night
between two nights             | 12-13; 22-6        | 22:00-30:00 8:00   | *                     |  | $night
# workAfterWindow
taken off, also with the other side kept | 7-15; 17-18 | 7:00-15:00 8:00 | * | SALDO/NWOUTIN=1
kept                | 7-15; 17-18          | 7:00-15:00 9:00 | * | SALDO/NWOUTOUT=1
no pair inside      | 3-5; 17-20           | - 3:00          | * | SALDO/NWOUTOUT=1
free day            | 7.3.2026 7-15; 17-18 | 7:00-18:00 9:00
# delayCompensation | OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=15
// Deliberate: the extra time is decreased first, so DC changes by the delay less what is then left.
stayed longer than the delay | 8:10-16:30 | 8:10-16:10 8:10 | Kompenzacija Zamude
stayed as long as the delay | 8:10-16:10 | 8:10-16:10 8:10 | Kompenzacija Zamude
stayed shorter | 8:10-16:09 | 8:10-16:00 7:50 | $out ODH2-1-0
at the threshold | 8:15-16:30 | 8:15-16:15 8:15 | Kompenzacija Zamude
over the threshold | 8:15:01-16:30 | 8:15:01-16:00 7:44:59 | $out ODH2-1-0
no delay | 8-16:30 | 8:00-16:00 8:00 | $out ODH2-1-0
free day | 7.3.2026 8:10-16:30 | 8:10-16:30 8:20
free day that counts | 7.3.2026 8:10-16:30 | 8:10-16:10 8:10 | Kompenzacija Zamude | $free
stayed over a change of the clock | 28.3.2026 19:10-3:30 | 19:10-27:10 7:10 | Kompenzacija Zamude | $free | \
    STARTB=18:00 STARTE=19:00 ENDE=2:00
came over a change of the clock | 29.3.2026 3:05-9:30 | 3:05-9:15 6:25 | Kompenzacija Zamude | $free | \
    STARTB=0:30 STARTE=1:50 ENDE=9:00
# compensatedDelay | OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=15 SALDO/NWOUTOUT=1
the rest less the delay | 8:10-16:30 | 8:10-16:20 8:00 | Kompenzacija Zamude; $out ODH-INT; kompenzacija zamude
in whole thresholds | 8:10-16:30 | 8:10-16:15 7:55 | Kompenzacija Zamude; $out ODH-INT; kompenzacija zamude | \
    OVERTIME/TRHOUT=15 OVERTIME/OUTINT=1
nothing is left | 8:10-16:10 | 8:10-16:10 8:10 | Kompenzacija Zamude
# earlyArrival
below the threshold | 5:40:01-15 | 6:00-15:00 9:00 | $out PRI | SALDO/NWOUTIN=1 OVERTIME/TRHIN=20
at the threshold | 5:40-15 | 5:40-15:00 9:20 |  | SALDO/NWOUTIN=1 OVERTIME/TRHIN=20
a threshold of 0 is a second | 5:59:59-15 | 5:59:59-15:00 9:00:01 |  | SALDO/NWOUTIN=1
whole thresholds | 5:10-15 | 5:20-15:00 9:40 | $out PRI-INT | SALDO/NWOUTIN=1 OVERTIME/TRHIN=20 OVERTIME/ININT=1
no start of the window | 5-15 | 5:00-15:00 10:00 |  |  | STARTE=8:00 ENDE=16:00
the clock goes on | 29.3.2026 1:30-12 | 4:00-12:00 8:00 | $out PRI | $free | STARTB=4:00 ENDE=13:00
the clock goes back | 25.10.2026 1:30-12 | 4:00-12:00 8:00 | $out PRI | $free | STARTB=4:00 ENDE=13:00
# lateDeparture
cut | 7-16:30 | 7:00-16:00 9:00 | $out ODH2-1-0
below the threshold | 7-16:19:59 | 7:00-16:00 9:00 | $out ODH1-1-0 | SALDO/NWOUTOUT=1 OVERTIME/TRHOUT=20
// Deliberate: the remark tells that the time counts, also where nothing was cut.
at the threshold, remarked, not cut | 7-16:20 | 7:00-16:20 9:20 | $out ODH-INT | SALDO/NWOUTOUT=1 OVERTIME/TRHOUT=20
a threshold of 0 is a second | 7-16:00:01 | 7:00-16:00:01 9:00:01 | $out ODH-INT | SALDO/NWOUTOUT=1
whole thresholds | 7-16:50 | 7:00-16:40 9:40 | $out ODH-INT | SALDO/NWOUTOUT=1 OVERTIME/TRHOUT=20 OVERTIME/OUTINT=1
no end of the window | 7-19 | 7:00-19:00 12:00 |  |  | STARTB=6:00
third shift stays | 7-16:30 | 7:00-16:30 9:30 |  |  |  | shift=3
third shift with its hour | 7-16:30 | 7:00-16:00 9:00 | $out ODH2-3-1 |  |  | shift=3 FHOUR=6:00
a night | 22-7:30 | 22:00-31:00 9:00 | $out ODH2-1-0 |  | $night
duty of 24 hours | 7-7 | 7:00-31:00 24:00 |  |  | STARTB=7:00 ENDE=7:00
beyond a duty of 24 hours | 7 101; 3.3.2026 7:30 102 | 7:00-31:00 24:00 | $out ODH2-1-0 |  | 1-1 STARTB=7:00 ENDE=7:00
the clock goes on | 28.3.2026 18-3:30 | 18:00-27:00 8:00 | $out ODH2-1-0 | $free | STARTB=18:00 ENDE=2:00
the clock goes back | 24.10.2026 18-3:30 | 18:00-26:00 8:00 | $out ODH2-1-0 | $free | STARTB=18:00 ENDE=2:00
a night of 7 hours | 28.3.2026 22-6 | 22:00-30:00 7:00 |  | $warnings $free | $night
a night of 9 hours | 24.10.2026 22-6 | 22:00-30:00 9:00 |  | $warnings $free | $night
# workTimeRounding | SALDO/WTROUND=1 SALDO/WTROUNDTRH=15
already whole           | 7-14:45          | 7:00-14:45 7:45
a step of 0 is a second | 7-14:44:13       | 7:00-14:44:13 7:44:13 |                            | SALDO/WTROUNDTRH=0
free day too            | 7.3.2026 7-14:44 | 7:00-14:44 7:30       | Zaokrožitev delovnega časa
# maximumHours | SALDO/MSXHOURS='1' SALDO/MAXHOURSLIM='7.5'
// Deliberate: a decimal comma makes the limit 0.
with a decimal comma | 7-15          | 7:00-15:00 0:00 | Maksimalne ure delovnega časa | SALDO/MAXHOURSLIM='7,5'
to the whole second  | 7-15          | 7:00-15:00 7:20 | Maksimalne ure delovnega časa | SALDO/MAXHOURSLIM='7.3333'
not exceeded         | 7-14:30       | 7:00-14:30 7:30
no limit             | 7-15          | 7:00-15:00 8:00 |                               | SALDO/MAXHOURSLIM=''
free day too         | 7.3.2026 7-15 | 7:00-15:00 7:30 | Maksimalne ure delovnega časa
# dayFactor | FACTOR/ENABLED=1 FACTOR/PUBHOL='1.5' FACTOR/SAT=1.5 FACTOR/SUN=1.5
public holiday | 7-15 | 7:00-15:00 12:00 | Uporabljen faktor 1.5 |  |  | holiday=Dan upora
// 60001.5 in double precision, 60001.496 in single
in single precision | 6-18:49:15 | 6:00-18:49:15 16:40:01 | Uporabljen faktor 1.3 | FACTOR/PUBHOL=1.3 | 2-5 $day | \
    holiday=Dan upora
working day | 7-15 | 7:00-15:00 8:00
factor 0 | 7-15 | 7:00-15:00 8:00 |  | FACTOR/PUBHOL=0 |  | holiday=Dan upora
free holiday | 7-15 | 7:00-15:00 8:00 |  |  |  | holiday=1
// Deliberate: Saturdays and Sundays are free, so their factors are never reached.
Saturday's is never reached | 7.3.2026 7-15 | 7:00-15:00 8:00 |  | $free
Sunday's is never reached | 8.3.2026 7-15 | 7:00-15:00 8:00 |  | $free
ME events need their switch | 7-15 102/ME | 7:00-15:00 8:00 |  |  |  | holiday=Dan upora
ME events with their switch | 7-15 102/ME | 7:00-15:00 12:00 | Uporabljen faktor 1.5 | META/FACTOR=1 |  | \
    holiday=Dan upora
half an MP pair needs it too | 7 101/MP; 15 102 | 7:00-15:00 8:00 |  |  |  | holiday=Dan upora
# floorAtZero | SALDO/ARRINT=1 SALDO/ARRINTIN=1 SALDO/ARRINT60=1 HOURS/SHOWEMPTYDAYS=1 HOURS/LOWSALDO=1
the hours check sees no work | 7:01-7:05 | 8:00-7:05 0:00 | Kompenzacija zamude IN; Ni delovnih ur!; \
    Premalo delovnih ur!
leave is enough, as it shows | 7:01-7:05; 7:05-15:05 102:1 | 8:00-7:05 0:00 | Kompenzacija zamude IN | \
    HOURS/SHOWEMPTYDAYS=0
# emptyDay | HOURS/SHOWEMPTYDAYS=1
no hours       |          | - 0:00 | Ni delovnih ur!
free day       | 7.3.2026 | - 0:00 |                 | $free
public holiday |          | - 0:00 |                 |                    |          | holiday=Dan upora
no schedule    |          | - 0:00 |                 |                    | 2-5 $day
# tooManyHours | HOURS/TOOMANYHOURS=1 HOURS/MAXHOURS=8
as many as allowed | 6-14       | 6:00-14:00 8:00
a second more      | 6-14:00:01 | 6:00-14:00:01 8:00:01 | Preveč delovnih ur!
# tooFewHours | HOURS/LOWSALDO=1
enough                | 6-14              | 6:00-14:00 8:00
a second less         | 6-13:59:59        | 6:00-13:59:59 7:59:59 | Premalo delovnih ur!
leave makes up for it | 6-10; 10-14 102:1 | 6:00-10:00 4:00
free day that counts  | 7.3.2026 6-10     | 6:00-10:00 4:00       |  | $free
none asked for        | 7-8               | 7:00-8:00 1:00        |  |  | STARTB=6:00 STARTE=8:00 ENDE=16:00
# tooManyFreeHours | HOURS/TOOMANYFREEHOURS=1
as many as allowed | 6-10; 10-11 105; 11-16 | 6:00-16:00 9:00 |  |  | $day FREEHOURS=1:00 OVERTIME=1:00
a second more | 6-10; 10-11:00:01 105; 11:01-16 | 6:00-16:00 8:59 | Preveč prostih ur! |  | \
    $day FREEHOURS=1:00 OVERTIME=1:00
# tooManyOverhours | HOURS/TOOMANYOVERHOURS=1
as many as allowed | 6-15       | 6:00-15:00 9:00       |               |  | $day FREEHOURS=1:00 OVERTIME=1:00
a second more      | 6-15:00:01 | 6:00-15:00:01 9:00:01 | Preveč nadur! |  | $day FREEHOURS=1:00 OVERTIME=1:00
# addedHours | HOURS/ADDHOURS=1 HOURS/ADDHOURSNUM=1
to work                   | 6-14 | 6:00-14:00 9:00 | Dodane ure 1!
taken off, not below zero | 6-14 | 6:00-14:00 0:00 | Dodane ure -9! | HOURS/ADDHOURSNUM=-9
not to a day without work |      | - 0:00
)";

constexpr char kAllRules[] = R"(
$out = delo izven urnika
$free = SCHEDULE/FORFREE=1
$hours = FREEHOURS=0:10 OVERTIME=0:30
$events = 5:46-11; 11-11:40 103; 11:40-12 105; 12-16:50
$told = Prezgoden prihod 20760 21600; Prepozen odhod; Kompenzacija zamude IN; Kompenzacija zamude OUT; \
    $out ODH2-1-0; Predolga malica!; Preveč delovnih ur!; Preveč prostih ur!; Preveč nadur!; Dodane ure 1!
# all | $warnings SALDO/ARRINT=1 SALDO/ARRINT15=1 SALDO/ARRINTIN=1 SALDO/ARRINTOUT=1 OVERTIME/COMPLUNCH=1 \
    HOURS/TOOMANYHOURS=1 HOURS/MAXHOURS=8 HOURS/TOOMANYFREEHOURS=1 HOURS/TOOMANYOVERHOURS=1 HOURS/ADDHOURS=1 \
    HOURS/ADDHOURSNUM=1
// Warnings see the times as they came, the window the rounded ones, the hours check what is left.
working day | $events | 6:00-16:00 10:30 | $told |  | $day $hours
free day | 7.3.2026 $events | 5:46-16:50 10:04 |  |  | $day $hours
free day that counts | 7.3.2026 $events | 6:00-16:00 10:30 | $told | $free | $day $hours
no schedule on that day | $events | 6:00-16:45 10:45 | Kompenzacija zamude IN; Kompenzacija zamude OUT; \
    Preveč delovnih ur!; Dodane ure 1! |  | 2-5 $day
a rounded arrival is compensated | 8:01-16:30 | 8:15-16:15 9:15 | \
    Prepozen prihod 28860 21600; Prepozen odhod; Kompenzacija zamude IN; Kompenzacija Zamude; Preveč delovnih ur!; \
    Dodane ure 1! | OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=15
# values without their switches | SALDO/ARRINTIN=1 SALDO/ARRINTOUT=1 SALDO/ARRINT15=1 SALDO/WTROUNDTRH=15 \
    SALDO/MAXHOURSLIM='7' OVERTIME/COMPDELTRH=15 FACTOR/PUBHOL=1.5 HOURS/MAXHOURS=1 HOURS/ADDHOURSNUM=1
change nothing | 8:10:30-11; 11-11:40 103; 11:40-16:30 | 8:10:30-16:00 7:39:30 | $out ODH2-1-0; Predolga malica! |  | \
    $day $hours | holiday=Dan upora
# of the working time | SALDO/WTROUND=1 SALDO/WTROUNDTRH=15 SALDO/MSXHOURS=1 \
    SALDO/MAXHOURSLIM='7.3' FACTOR/ENABLED=1 FACTOR/PUBHOL=1.5 HOURS/TOOMANYHOURS=1 \
    HOURS/MAXHOURS=10 HOURS/ADDHOURS=1 HOURS/ADDHOURSNUM=1
rounded, limited, multiplied, checked, added to | 7-15:10 | 7:00-15:10 11:57 | \
    Zaokrožitev delovnega časa; Maksimalne ure delovnega časa; Uporabljen faktor 1.5; Preveč delovnih ur!; \
    Dodane ure 1! |  |  | holiday=Dan upora
)";

constexpr char kMetaEvents[] = R"(
$out = delo izven urnika
rules apply to MP events | 5:30 101/MP; 15 102 | 6:00-15:00 9:00 | $out PRI | TYPE=EVENTTYPE
that is the default      | 5:30 101/MP; 15 102 | 6:00-15:00 9:00 | $out PRI
# METAPERTYPE | TYPE=METAPERTYPE
days with an MP event skip the rules | 5:30 101/MP; 15 102 | 5:30-15:00 9:30
days with an ME event do not         | 5:30-15 102/ME      | 6:00-15:00 9:00 | $out PRI
no day does with NOMETASETT          | 5:30 101/MP; 15 102 | 6:00-15:00 9:00 | $out PRI | NOMETASETT=1
# MIXTYPE | TYPE=MIXTYPE
MP pairs give no times                   | 6-7 102/MP; 8-15      | 8:00-15:00 8:00
half an MP pair does                     | 6 101/MP; 7 102; 8-15 | 6:00-15:00 8:00
an MP pair that a lunch split gives none | 7-15 102/MP           | - 7:30 |  |  | $lunch
)";
} // namespace

/// The rules of a day: events, schedule and settings in; IN, OUT, DC and remarks out.
class TestCalcDayRules : public QObject
{
    Q_OBJECT
private slots:
    void eachRule_data() { addTable(kEachRule); }
    void eachRule();
    void everyRuleHasRows();
    void allRulesInTheirOrder_data() { addTable(kAllRules); }
    void allRulesInTheirOrder() { eachRule(); }
    void metaEventsAreWeighed_data() { addTable(kMetaEvents); }
    void metaEventsAreWeighed() { eachRule(); }
    void warningsStandInTheErrorList();
    void companionsInTheStoredScheduleAreNotBelieved();
};

void TestCalcDayRules::everyRuleHasRows()
{
    QStringList rules, groups;
    for (const calc::rules::DayRule &rule : Calc21sett::inOrder())
        rules += rule.name;
    for (const TableRow &row : tableRows(kEachRule))
        groups += row.group;
    QCOMPARE(QSet<QString>(groups.cbegin(), groups.cend()), QSet<QString>(rules.cbegin(), rules.cend()));
}

void TestCalcDayRules::eachRule()
{
    QFETCH(TableRow, row);
    enum { Events, Values, Remarks, Settings, Times, With };
    const QString day = dayOf(row[Events]);
    CalcRows rows(row[Events], row[Times].isEmpty() ? kDay : row[Times], "X=0 " + row.common + ' ' + row[Settings]);
    const QString value = row[With].section('=', 1);
    if (row[With].startsWith("holiday="))
        rows.holiday(day, value);
    else if (!value.isEmpty())
        rows.assign(day, day, value.section(' ', 0, 0), value.section(' ', 1));
    const CalcRun run = rows.run(day, date(day).addDays(1).toString("d.M.yyyy"),
                                 row[Settings] == "NOMETASETT=1" ? "NOMETASETT=1" : "", true);
    QCOMPARE(run.values(day), row[Values]);
    if (row[Remarks] != "*")
        QCOMPARE(run.remarks(day), row[Remarks]);
    QCOMPARE(accountFault(run), QString());
}

void TestCalcDayRules::warningsStandInTheErrorList()
{
    const CalcRows rows("2.3.2026 7-15; 3.3.2026 8:10-13", kDay, "WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1");
    QCOMPARE(rows.run("2.3.2026", "3.3.2026").errors("OPO"),
             QString("OPO Prepozen prihod 29400 21600 1 3.3.|OPO Prezgoden odhod 1 3.3."));
}

void TestCalcDayRules::companionsInTheStoredScheduleAreNotBelieved()
{
    const auto stored = calc::input::readSchedule(
        R"({"IZM1":{"1":{"STARTB":"","STARTBI":3600,"STARTE":"8:00","STARTEI":1,"ENDBI":2}}})");
    const QAny &day = stored.fields.lookup("IZM1").lookup("1");
    QVERIFY(!day.contains("STARTBI") && !day.contains("ENDBI"));
    QCOMPARE(day.lookup("STARTEI").toInteger(), seconds("8:00"));
    const calc::rules::DaySchedule &times = *stored.schedule->day(1, 1);
    QVERIFY(!times.startB && !times.endB);
    QCOMPARE(times.startE.value_or(0), seconds("8:00"));
}

QTEST_GUILESS_MAIN(TestCalcDayRules)
#include "tst_calc_dayrules.moc"
