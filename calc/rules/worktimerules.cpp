#include "calc/rules/rulefunctions.h"

#include <QLocale>

#include <cmath>

namespace calc::rules {

namespace {

const QString kRoundedWorkTime = QStringLiteral("Zaokrožitev delovnega časa");
const QString kLimitedWorkTime = QStringLiteral("Maksimalne ure delovnega časa");
const QString kFactorUsed = QStringLiteral("Uporabljen faktor %1");

constexpr char kStep[] = "SALDO/WTROUNDTRH";
constexpr char kLimit[] = "SALDO/MAXHOURSLIM";

struct Factor {
    const char *setting;
    double value;
};

/// Deliberately unreachable for Saturdays and Sundays: they are free days.
Factor factorOf(const RuleSettings &settings, const DayFacts &day)
{
    if (day.weekday == 7)
        return {"FACTOR/SUN", settings.sundayFactor};
    if (day.weekday == 6)
        return {"FACTOR/SAT", settings.saturdayFactor};
    return {"FACTOR/PUBHOL", day.isPublicHoliday ? settings.holidayFactor : 0};
}

/// The largest multiple of the step that is not above the value.
qint64 floorTo(qint64 value, qint64 step)
{
    const qint64 remainder = value % step;
    return value - (remainder < 0 ? remainder + step : remainder);
}

} // namespace

Idle workTimeRounding(const RuleSettings &settings, WorkDay &day)
{
    if (!settings.roundWorkTime)
        return Idle::Off;
    const qint64 rounded = floorTo(day.workTime(), settings.workTimeStep);
    if (rounded == day.workTime())
        return Idle::NothingToDo;
    day.changeWorkTime(rounded - day.workTime(), kStep);
    day.remark(kRoundedWorkTime, kStep);
    return kDone;
}

Idle maximumHours(const RuleSettings &settings, WorkDay &day)
{
    if (!settings.limitWorkTime)
        return Idle::Off;
    if (settings.workTimeLimit >= day.workTime())
        return Idle::BelowLimit;
    day.changeWorkTime(settings.workTimeLimit - day.workTime(), kLimit);
    day.remark(kLimitedWorkTime, kLimit);
    return kDone;
}

Idle dayFactor(const RuleSettings &settings, WorkDay &day)
{
    const DayFacts &facts = day.facts();
    if (!settings.factors || (facts.hasMetaEvents && !settings.metaFactor))
        return Idle::Off;
    if (facts.isFree)
        return Idle::FreeDay;
    const Factor factor = factorOf(settings, facts);
    if (factor.value == 0)
        return Idle::NothingToDo;
    // Single precision is what the payroll expects to the second.
    const float product = static_cast<float>(day.workTime()) * static_cast<float>(factor.value);
    const auto changed = static_cast<qint64>(std::round(product));
    if (changed == day.workTime())
        return Idle::NothingToDo;
    day.changeWorkTime(changed - day.workTime(), factor.setting);
    day.remark(kFactorUsed.arg(QString::number(factor.value, 'g', QLocale::FloatingPointShortest)), factor.setting);
    return kDone;
}

Idle floorAtZero(const RuleSettings & /*settings*/, WorkDay &day)
{
    if (day.workTime() < 0)
        day.changeWorkTime(-day.workTime(), nullptr);
    return Idle::NothingToDo;
}

} // namespace calc::rules
