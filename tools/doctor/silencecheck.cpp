// Terminals that have been silent.

#include "tools/doctor/checks.h"
#include "tools/doctor/terminalsteps.h"

#include <algorithm>
#include <array>
#include <map>

namespace tools::doctor {

namespace {

// Time is looked at in days of 24 hours back from now. A terminal should have sent something in such a day when it did
// in the same one of two of the four weeks before its last event: so one that is not used at the weekend is not missed
// on Sunday. Public holidays are left out.
constexpr qint64 kDaySeconds = 86400;
constexpr int kWeek = 7;
constexpr int kHabitWeeks = 4;
constexpr int kHabit = 2;
/// One that has been silent for longer has been taken away.
constexpr int kGoneDays = 60;
constexpr int kDays = kGoneDays + kHabitWeeks * kWeek;

/// Of each terminal the newest event that is not of the future.
const char kNewest[] =
    "select N,(select TIMESTAMP from events where TID=N and TIMESTAMP<=%1 and typeof(TIMESTAMP)='integer' order by "
    "TIMESTAMP desc limit 1) as NEWEST from T where typeof(N)='integer'";
/// The days back from now, 0 the last one, that have any event of it.
const char kActiveDays[] =
    "select N,(with recursive D(I) as (select 0 union all select I+1 from D where I<%2) select group_concat(I) from D "
    "where exists(select 1 from events where TID=N and TIMESTAMP>%1-(I+1)*86400 and TIMESTAMP<=%1-I*86400)) as DAYS "
    "from T where typeof(N)='integer'";

struct Terminal {
    qint64 newest = 0;
    std::array<bool, kDays + 1> days{}; ///< with an event
};

using Terminals = std::map<qint64, Terminal>;

Terminals readTerminals(const Site &site)
{
    Terminals terminals;
    const QAny newest =
        site.rows->select(QString::fromLatin1(kTerminalSteps) + QString::fromLatin1(kNewest).arg(site.now));
    bool anySilent = false;
    for (int i = 0; i < newest.count(); ++i) {
        Terminal &terminal = terminals[newest.at(i).lookup(QStringLiteral("N")).toInteger()];
        terminal.newest = newest.at(i).lookup(QStringLiteral("NEWEST")).toInteger();
        anySilent = anySilent || terminal.newest < site.now - kDaySeconds;
    }
    if (!anySilent)
        return terminals;
    const QAny active = site.rows->select(QString::fromLatin1(kTerminalSteps) +
                                          QString::fromLatin1(kActiveDays).arg(site.now).arg(kDays));
    for (int i = 0; i < active.count(); ++i) {
        Terminal &terminal = terminals[active.at(i).lookup(QStringLiteral("N")).toInteger()];
        const QStringList days = active.at(i).lookup(QStringLiteral("DAYS")).toString().split(',', Qt::SkipEmptyParts);
        for (const QString &day : days)
            terminal.days[static_cast<size_t>(qBound(0, day.toInt(), kDays))] = true;
    }
    return terminals;
}

QSet<QDate> readHolidays(const Site &site)
{
    const bool isNamed = site.columns.value(QStringLiteral("CALENDAR")).contains(QStringLiteral("PRAZNIK"));
    const QAny rows = site.rows->select(
        QStringLiteral("select date(DATE,'unixepoch','localtime') as DAY from calendar where DATE>=%1 and DATE<=%2 and "
                       "trim(coalesce(%3,'')) not in ('','0')")
            .arg(site.now - (kGoneDays + 2) * kDaySeconds)
            .arg(site.now)
            .arg(isNamed ? QStringLiteral("PRAZNIK") : QStringLiteral("NOTE")));
    QSet<QDate> holidays;
    for (int i = 0; i < rows.count(); ++i)
        holidays.insert(QDate::fromString(rows.at(i).lookup(QStringLiteral("DAY")).toString(), Qt::ISODate));
    return holidays;
}

/// The days since its last event in which it should have sent something.
QVector<int> missedDays(const Site &site, const Terminal &terminal, const QSet<QDate> &holidays)
{
    QVector<int> missed;
    const qint64 silent = (site.now - terminal.newest) / kDaySeconds;
    if (silent > kGoneDays)
        return missed;
    for (int day = 0; day < silent; ++day) {
        int habit = 0;
        for (int week = 0; week < kHabitWeeks; ++week) {
            // The first such day before its last event, and the weeks before that.
            const auto before = day % kWeek + ((silent - day % kWeek + kWeek - 1) / kWeek + week) * kWeek;
            habit += before <= kDays && terminal.days[static_cast<size_t>(before)] ? 1 : 0;
        }
        const qint64 end = site.now - day * kDaySeconds;
        const bool isHoliday = holidays.contains(site.dayOf(end)) || holidays.contains(site.dayOf(end - kDaySeconds));
        if (habit >= kHabit && !isHoliday)
            missed += day;
    }
    return missed;
}

QString textOf(const Site &site, qint64 number, const Terminal &terminal)
{
    return QStringLiteral("terminal %1 since %2").arg(number).arg(site.timeText(terminal.newest));
}

} // namespace

void checkSilence(const Site &site, Findings &findings)
{
    const Terminals terminals = readTerminals(site);
    const QSet<QDate> holidays = readHolidays(site);
    const bool isSiteSilent = std::all_of(terminals.begin(), terminals.end(), [&site](const auto &each) {
        return each.second.newest < site.now - kDaySeconds;
    });
    QStringList silent;
    for (const auto &[number, terminal] : terminals) {
        const QVector<int> missed = missedDays(site, terminal, holidays);
        // Where nobody sent anything, it is not this terminal's silence.
        const bool isAlone = std::any_of(missed.begin(), missed.end(), [&terminals](int day) {
            return std::any_of(terminals.begin(), terminals.end(),
                               [day](const auto &each) { return each.second.days[static_cast<size_t>(day)]; });
        });
        if (isAlone || (isSiteSilent && !missed.isEmpty()))
            silent += textOf(site, number, terminal);
    }
    if (silent.isEmpty())
        return;
    if (isSiteSilent) {
        findings.add(Severity::Act, QStringLiteral("no terminal has sent anything for a day, although they usually do"),
                     QStringLiteral("look at the server's journal and the network; zukadmin connected lists who is "
                                    "logged in. Terminals deliver later what they recorded"),
                     silent);
    } else {
        findings.add(Severity::Soon,
                     QStringLiteral("%1 silent for a day or longer, although usually used at that time")
                         .arg(counted(silent.size(), "terminal")),
                     QStringLiteral("see whether it is logged in (zukadmin connected), and go and tap it; what it "
                                    "recorded it delivers later"),
                     silent);
    }
}

} // namespace tools::doctor
