#include "tools/demodata/demojobs.h"

namespace tools::demodata {

namespace {

const QString kOffice = QStringLiteral("PISARNA");
const QString kManagement = QStringLiteral("UPRAVA");
const QString kProduction = QStringLiteral("PROIZVODNJA");
const QString kWarehouse = QStringLiteral("SKLADIŠČE");
const QString kThreeShift = QStringLiteral("TRI IZMENE");
const QString kContinuous = QStringLiteral("NEPREKINJENO");

/// The windows of one shift; what ends after midnight is earlier than STARTB.
struct Window {
    const char *startB;
    const char *startE;
    const char *endB;
    const char *endE;
};

constexpr Window kShifts[] = {
    {"5:30", "6:00", "14:00", "14:30"}, {"13:30", "14:00", "22:00", "22:30"}, {"21:30", "22:00", "6:00", "6:30"}};

QAny scheduleDay(const Window &window)
{
    return {{"STARTB", window.startB}, {"STARTE", window.startE}, {"ENDB", window.endB}, {"ENDE", window.endE},
            {"MINHOURS", "8:00"},      {"FREEHOURS", "1:00"},     {"PRIVEX", "0:30"},    {"OVERTIME", "2:00"},
            {"LUNCH", "0:30"},         {"PLUNCH", "0:05"}};
}

QAny scheduleWeek(const QAny &day, int days)
{
    QAny week(QAny::Hash);
    for (int weekday = 1; weekday <= days; ++weekday)
        week.insert(QString::number(weekday), day);
    return week;
}

QAny shiftSchedule(int days)
{
    QAny schedule(QAny::Hash);
    int shift = 0;
    for (const Window &window : kShifts)
        schedule.insert(QStringLiteral("IZM%1").arg(++shift), scheduleWeek(scheduleDay(window), days));
    return schedule;
}

QAny daySchedule(const Window &window)
{
    return {{"IZM1", scheduleWeek(scheduleDay(window), 5)}};
}

} // namespace

const QVector<DemoJob> &demoJobs()
{
    constexpr int hour = 60;
    static const QVector<DemoJob> jobs = {
        {"Uprava", Rhythm::Flexible, 4, 8 * hour, kManagement, kManagement, 1, false, 0.10, 0.08},
        {"Računovodstvo", Rhythm::Flexible, 8, 7 * hour, kOffice, kOffice, 1, false, 0.10, 0.0},
        {"Razvoj", Rhythm::Flexible, 14, 8 * hour, kOffice, kOffice, 1, false, 0.30, 0.01},
        {"Prodaja", Rhythm::Flexible, 10, 8 * hour, kOffice, kOffice, 1, false, 0.08, 0.15},
        {"Proizvodnja", Rhythm::Fixed, 18, 6 * hour, kProduction, kProduction, 2, false, 0.0, 0.0},
        {"Skladišče", Rhythm::Fixed, 10, 7 * hour, kWarehouse, kWarehouse, 3, true, 0.0, 0.0},
        {"Montaža", Rhythm::ThreeShift, 24, 6 * hour, kThreeShift, kThreeShift, 2, false, 0.0, 0.0},
        {"Energetika", Rhythm::Continuous, 12, 6 * hour, kContinuous, kContinuous, 2, false, 0.0, 0.0},
    };
    return jobs;
}

QAny demoSchedules()
{
    QAny warehouseDay = scheduleDay({"6:30", "7:00", "15:00", "15:30"});
    // Who forgets to stamp lunch has it taken off.
    warehouseDay["ALUNCH"] = 1;
    warehouseDay["ALUNCHSTART"] = "11:00";
    return {{kOffice, daySchedule({"6:30", "9:00", "14:00", "18:00"})},
            {kManagement, daySchedule({"6:00", "10:00", "13:00", "19:00"})},
            {kProduction, daySchedule({"5:30", "6:00", "14:00", "14:30"})},
            {kWarehouse, {{"IZM1", scheduleWeek(warehouseDay, 5)}}},
            {kThreeShift, shiftSchedule(5)},
            {kContinuous, shiftSchedule(7)}};
}

QAny demoRules()
{
    const QAny allWarnings = {{"EARLYARRWAR", 1}, {"LATEARRWAR", 1}, {"EARLYEXITWAR", 1}, {"LATEEXITWAR", 1}};
    const QAny lateAndEarly = {{"LATEARRWAR", 1}, {"EARLYEXITWAR", 1}};
    const QAny holidayFactor = {{"ENABLED", 1}, {"PUBHOL", 1.5}};
    return {
        // Hours that flow: a short day is no fault.
        {kOffice,
         {{"TYPE", "EVENTTYPE"},
          {"WAR", lateAndEarly},
          {"SALDO", {{"WTROUND", 1}, {"WTROUNDTRH", 5}, {"MSXHOURS", 1}, {"MAXHOURSLIM", "10.5"}}},
          {"OVERTIME", {{"COMPLUNCH", 1}}},
          {"HOURS", {{"TOOMANYFREEHOURS", 1}}}}},
        // Nothing is held against those who set the rules; days with hand-entered events are left as they are.
        {kManagement, {{"TYPE", "METAPERTYPE"}, {"SALDO", {{"NWOUTIN", 1}, {"NWOUTOUT", 1}}}}},
        {kProduction,
         {{"TYPE", "EVENTTYPE"},
          {"WAR", allWarnings},
          {"SALDO",
           {{"ARRINT", 1}, {"ARRINT15", 1}, {"ARRINTIN", 1}, {"ARRINTOUT", 1}, {"NWOUTIN", 1}, {"NWOUTOUT", 1}}},
          {"OVERTIME",
           {{"COMPDELAY", 1}, {"COMPDELTRH", 15}, {"TRHIN", 30}, {"TRHOUT", 30}, {"ININT", 1}, {"OUTINT", 1}}},
          {"HOURS", {{"SHOWEMPTYDAYS", 1}, {"LOWSALDO", 1}, {"TOOMANYOVERHOURS", 1}}}}},
        {kWarehouse,
         {{"TYPE", "MIXTYPE"},
          {"WAR", lateAndEarly},
          {"SALDO", {{"ARRINT", 1}, {"ARRINT10", 1}, {"ARRINTIN", 1}, {"NWOUTOUT", 1}}},
          {"OVERTIME", {{"TRHOUT", 30}, {"OUTINT", 1}}},
          {"HOURS", {{"LOWSALDO", 1}, {"TOOMANYHOURS", 1}, {"MAXHOURS", 10}}}}},
        {kThreeShift,
         {{"TYPE", "EVENTTYPE"},
          {"WAR", lateAndEarly},
          {"SALDO", {{"WTROUND", 1}, {"WTROUNDTRH", 15}}},
          {"HOURS", {{"LOWSALDO", 1}, {"TOOMANYHOURS", 1}, {"MAXHOURS", 12}}}}},
        {kContinuous,
         {{"TYPE", "EVENTTYPE"},
          {"WAR", lateAndEarly},
          {"SALDO", {{"FORFREE", 1}}},
          {"SCHEDULE", {{"FORFREE", 1}}},
          {"FACTOR", holidayFactor},
          {"META", {{"FACTOR", 1}}},
          {"HOURS", {{"LOWSALDO", 1}, {"TOOMANYHOURS", 1}, {"MAXHOURS", 12}}}}},
    };
}

} // namespace tools::demodata
