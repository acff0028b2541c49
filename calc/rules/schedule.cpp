#include "calc/rules/schedule.h"

namespace {

/// No duration or time of a schedule is longer; keeps sums of hostile texts in range.
constexpr qint64 kMaxMinutes = 1000000;

const QString kTimeKeys[] = {QStringLiteral("STARTB"), QStringLiteral("STARTE"),     QStringLiteral("ENDB"),
                             QStringLiteral("ENDE"),   QStringLiteral("MINHOURS"),   QStringLiteral("FREEHOURS"),
                             QStringLiteral("PRIVEX"), QStringLiteral("OVERTIME"),   QStringLiteral("LUNCH"),
                             QStringLiteral("PLUNCH"), QStringLiteral("ALUNCHSTART")};

/// Adds the companions to a day's hash.
void addCompanions(QAny &day)
{
    for (const QString &key : kTimeKeys) {
        if (const ScheduleTime time = Schedule::seconds(day.lookup(key).toString()))
            day[key + QLatin1Char('I')] = *time;
    }
}

ScheduleTime companion(const QAny &day, const char *key)
{
    const QAny &value = day.lookup(QString::fromLatin1(key) + QLatin1Char('I'));
    return value.isInteger() ? ScheduleTime(value.asInteger()) : std::nullopt;
}

DaySchedule dayFrom(const QAny &day)
{
    DaySchedule result;
    result.startB = companion(day, "STARTB");
    const auto afterStart = [&](const char *key) {
        ScheduleTime time = companion(day, key);
        if (time && result.startB && *time < *result.startB)
            *time += 86400;
        return time;
    };
    result.startE = afterStart("STARTE");
    result.endB = afterStart("ENDB");
    result.endE = afterStart("ENDE");
    result.automaticLunchStart = afterStart("ALUNCHSTART");
    result.minHours = companion(day, "MINHOURS");
    result.freeHours = companion(day, "FREEHOURS");
    result.overtime = companion(day, "OVERTIME");
    result.lunch = companion(day, "LUNCH");
    result.pLunch = companion(day, "PLUNCH");
    result.automaticLunch = day.lookup(QStringLiteral("ALUNCH")).toInteger() != 0;
    return result;
}

} // namespace

ScheduleTime Schedule::seconds(const QString &text)
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

std::shared_ptr<const Schedule> Schedule::parse(const QString &text)
{
    auto schedule = std::make_shared<Schedule>();
    schedule->m_fields = QAny::fromJson(text);
    if (!schedule->m_fields.isHash())
        return nullptr;
    for (int shift = 0; shift < kShifts; ++shift) {
        const QString name = QStringLiteral("IZM%1").arg(shift + 1);
        auto &days = schedule->m_days[static_cast<size_t>(shift)];
        if (!schedule->m_fields.contains(name)) {
            days = schedule->m_days[0];
            continue;
        }
        QAny week = schedule->m_fields.lookup(name);
        for (int weekday = 1; weekday <= 7; ++weekday) {
            QAny day = week.isHash() ? week.lookup(QString::number(weekday)) : QAny();
            if (!day.isHash())
                continue;
            addCompanions(day);
            days[static_cast<size_t>(weekday - 1)] = dayFrom(day);
        }
    }
    return schedule;
}

const DaySchedule *Schedule::day(int shift, int weekday) const
{
    const auto &found = m_days[static_cast<size_t>(shift - 1)][static_cast<size_t>(weekday - 1)];
    return found ? &*found : nullptr;
}
