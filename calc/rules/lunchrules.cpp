#include "calc/rules/rulefunctions.h"

#include <algorithm>

namespace calc::rules {

namespace {

const QString kLongLunch = QStringLiteral("Predolga malica!");
const QString kCompensatedLunch = QStringLiteral("Kompenzacija Predolge malice");

constexpr char kAllowed[] = "LUNCH";
constexpr char kCompensation[] = "OVERTIME/COMPLUNCH";

/// Why the lunch of the day is not looked at; nothing where it is.
std::optional<Idle> isLunchLeftAlone(const RuleSettings &settings, const DayFacts &day)
{
    if (!day.schedule)
        return Idle::NoSchedule;
    if (!day.schedule->lunch)
        return Idle::Off;
    if (isRuledOut(settings, day))
        return Idle::FreeDay;
    return day.lunch ? std::nullopt : std::optional(Idle::NothingToDo);
}

/// What the lunch was longer than allowed.
qint64 excessOf(const DayFacts &day)
{
    return std::max<qint64>(0, *day.lunch - *day.schedule->lunch);
}

} // namespace

Idle paidLunch(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLunchLeftAlone(settings, day.facts()))
        return *why;
    day.changeWorkTime(*day.facts().lunch, kAllowed);
    return kDone;
}

Idle lunch(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLunchLeftAlone(settings, day.facts()))
        return *why;
    const DaySchedule &schedule = *day.schedule();
    if (const qint64 excess = excessOf(day.facts()))
        day.changeWorkTime(-excess, kAllowed);
    if (schedule.pLunch && *day.facts().lunch > *schedule.lunch + *schedule.pLunch)
        day.warn(kLongLunch, kAllowed);
    return Idle::BelowLimit;
}

Idle lunchCompensation(const RuleSettings &settings, WorkDay &day)
{
    if (!settings.compensateLunch || (day.schedule() && !day.schedule()->endE))
        return Idle::Off;
    if (const auto why = isLunchLeftAlone(settings, day.facts()))
        return *why;
    const qint64 excess = excessOf(day.facts());
    if (excess < 1 || !day.out())
        return Idle::NothingToDo;
    if (excess > day.out()->instant - day.shown(*day.schedule()->endE).instant)
        return Idle::BelowLimit;
    day.moveOut(day.out()->instant - excess, kCompensation);
    day.remark(kCompensatedLunch, kCompensation);
    return kDone;
}

} // namespace calc::rules
