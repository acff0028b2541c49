#include "calc/rules/rulefunctions.h"

namespace calc::rules {

namespace {

const QString kRoundedArrival = QStringLiteral("Kompenzacija zamude IN");
const QString kRoundedDeparture = QStringLiteral("Kompenzacija zamude OUT");

/// A remainder of an interval up to this many seconds is tolerated.
constexpr qint64 kToleratedRemainder = 59;

std::optional<Idle> isLeftAlone(const RuleSettings &settings, const WorkDay &day, bool isOn)
{
    if (settings.interval == 0 || !isOn)
        return Idle::Off;
    if (isRuledOut(settings, day.facts()))
        return Idle::FreeDay;
    return day.in() ? std::nullopt : std::optional(Idle::NothingToDo);
}

/// Shown as "23:59".
bool isLastMinuteOfDay(qint64 clock)
{
    return clock % LocalClock::kDaySeconds / 60 == 23 * 60 + 59;
}

} // namespace

Idle arrivalRounding(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, settings.roundArrival))
        return *why;
    const qint64 remainder = day.in()->clock % settings.interval;
    if (remainder <= kToleratedRemainder)
        return remainder == 0 ? Idle::NothingToDo : Idle::BelowLimit;
    day.moveIn(day.in()->instant + settings.interval - remainder, settings.intervalKey);
    day.changeWorkTime(remainder, -settings.interval, settings.intervalKey);
    day.remark(kRoundedArrival, settings.intervalKey);
    return kDone;
}

Idle departureRounding(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, settings.roundDeparture))
        return *why;
    const qint64 remainder = day.out()->clock % settings.interval;
    if (isLastMinuteOfDay(day.out()->clock) || remainder == 0)
        return Idle::NothingToDo;
    if (remainder <= kToleratedRemainder)
        return Idle::BelowLimit;
    day.moveOut(day.out()->instant - remainder, settings.intervalKey);
    day.changeWorkTime(-remainder, settings.intervalKey);
    day.remark(kRoundedDeparture, settings.intervalKey);
    return kDone;
}

} // namespace calc::rules
