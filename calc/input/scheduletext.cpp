#include "calc/input/scheduletext.h"

#include "calc/input/storedvalues.h"
#include "calc/rules/localclock.h"

namespace calc::input {

using rules::DaySchedule;
using rules::Schedule;
using rules::ScheduleTime;

namespace {

/// No duration or time of a schedule is longer; keeps sums of hostile texts in range.
constexpr qint64 kMaxMinutes = 1000000;

ScheduleTime timeOf(const QAny &day, const char *key)
{
    return scheduleSeconds(day.lookup(QString::fromLatin1(key)).toString());
}

/// The companions are made from their clock times alone; one that the text brings is not believed.
void setCompanions(QAny &day)
{
    for (const QString &key : scheduleTimeKeys()) {
        const QString companion = key + QLatin1Char('I');
        if (const ScheduleTime time = scheduleSeconds(day.lookup(key).toString()))
            day[companion] = *time;
        else
            day.remove(companion);
    }
}

DaySchedule dayFrom(const QAny &day)
{
    DaySchedule result;
    result.startB = timeOf(day, "STARTB");
    // What is earlier than the window's start lies on the next day.
    const auto notBefore = [&](const char *key, qint64 firstAfterStart) {
        ScheduleTime time = timeOf(day, key);
        if (time && result.startB && *time < *result.startB + firstAfterStart)
            *time += rules::LocalClock::kDaySeconds;
        return time;
    };
    result.startE = notBefore("STARTE", 0);
    result.endB = notBefore("ENDB", 0);
    result.endE = notBefore("ENDE", 1); // a window that ends where it begins is a duty of 24 hours
    result.automaticLunchStart = notBefore("ALUNCHSTART", 0);
    result.minHours = timeOf(day, "MINHOURS");
    result.freeHours = timeOf(day, "FREEHOURS");
    result.overtime = timeOf(day, "OVERTIME");
    result.lunch = timeOf(day, "LUNCH");
    result.pLunch = timeOf(day, "PLUNCH");
    result.automaticLunch = day.lookup(QStringLiteral("ALUNCH")).toInteger() != 0;
    for (int i = 0; i < day.count(); ++i)
        result.stored.insert(day.keyAt(i), storedValue(day.at(i)));
    return result;
}

Schedule::Week weekFrom(const QAny &days)
{
    Schedule::Week week;
    for (int weekday = 1; weekday <= 7; ++weekday) {
        QAny day = days.isHash() ? days.lookup(QString::number(weekday)) : QAny();
        if (!day.isHash())
            continue;
        week[static_cast<size_t>(weekday - 1)] = dayFrom(day);
        setCompanions(day);
    }
    return week;
}

} // namespace

const QStringList &scheduleTimeKeys()
{
    static const QStringList keys{QStringLiteral("STARTB"), QStringLiteral("STARTE"),     QStringLiteral("ENDB"),
                                  QStringLiteral("ENDE"),   QStringLiteral("MINHOURS"),   QStringLiteral("FREEHOURS"),
                                  QStringLiteral("PRIVEX"), QStringLiteral("OVERTIME"),   QStringLiteral("LUNCH"),
                                  QStringLiteral("PLUNCH"), QStringLiteral("ALUNCHSTART")};
    return keys;
}

ScheduleTime scheduleSeconds(const QString &text)
{
    QString digits = text.trimmed();
    const bool negative = digits.startsWith(QLatin1Char('-'));
    if (negative)
        digits.remove(0, 1);
    bool ok = false;
    qint64 minutes = 0;
    const int colon = digits.indexOf(QLatin1Char(':'));
    if (colon < 0) {
        minutes = digits.toUInt(&ok);
    } else {
        bool hoursOk = false;
        const qint64 hours = digits.leftRef(colon).toUInt(&hoursOk);
        minutes = hours * 60 + digits.midRef(colon + 1, 2).toUInt(&ok);
        ok = ok && hoursOk;
    }
    if (!ok)
        return std::nullopt;
    minutes = qMin(minutes, kMaxMinutes);
    return (negative ? -minutes : minutes) * 60;
}

ScheduleText readSchedule(const QString &text)
{
    ScheduleText result;
    result.fields = QAny::fromJson(text);
    if (!result.fields.isHash())
        return result;
    std::array<Schedule::Week, Schedule::kShifts> weeks;
    for (int shift = 0; shift < Schedule::kShifts; ++shift) {
        const QString name = QStringLiteral("IZM%1").arg(shift + 1);
        const bool hasOwn = result.fields.contains(name);
        weeks[static_cast<size_t>(shift)] = hasOwn ? weekFrom(result.fields.lookup(name)) : weeks[0];
    }
    result.schedule = std::make_shared<const Schedule>(weeks);
    return result;
}

} // namespace calc::input
