#include "calc/rules/rulefunctions.h"

#include <QLocale>

#include <algorithm>
#include <cmath>

namespace calc::rules {

namespace {

const QString kNoHours = QStringLiteral("Ni delovnih ur!");
const QString kTooManyHours = QStringLiteral("Preveč delovnih ur!");
const QString kTooFewHours = QStringLiteral("Premalo delovnih ur!");
const QString kTooManyFreeHours = QStringLiteral("Preveč prostih ur!");
const QString kTooManyOverhours = QStringLiteral("Preveč nadur!");
const QString kAddedHours = QStringLiteral("Dodane ure %1!");

/// Why a check leaves the day alone; nothing where it looks at it.
std::optional<Idle> isLeftAlone(const RuleSettings &settings, const WorkDay &day, bool isOn)
{
    if (day.facts().isFuture)
        return Idle::AfterToday;
    if (!isOn)
        return Idle::Off;
    return isRuledOut(settings, day.facts()) ? std::optional(Idle::FreeDay) : std::nullopt;
}

/// The same for a check that needs these times of the schedule.
std::optional<Idle> isLeftAlone(const RuleSettings &settings, const WorkDay &day, bool isOn,
                                std::initializer_list<ScheduleTime DaySchedule::*> times)
{
    for (const auto time : times)
        isOn = isOn && (!day.schedule() || day.schedule()->*time);
    const auto why = isLeftAlone(settings, day, isOn);
    const bool isLooked = !why || *why == Idle::FreeDay;
    return isLooked && !day.schedule() ? std::optional(Idle::NoSchedule) : why;
}

} // namespace

Idle emptyDay(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, settings.showEmptyDays, {}))
        return *why;
    if (!day.facts().isWorkingDay())
        return Idle::FreeDay;
    if (day.workTime() == 0)
        day.warn(kNoHours, "HOURS/SHOWEMPTYDAYS");
    return Idle::NothingToDo;
}

Idle tooManyHours(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, settings.tooManyHours && settings.maxHours > 0))
        return *why;
    if (day.workTime() > settings.maxHours)
        day.warn(kTooManyHours, "HOURS/MAXHOURS");
    return Idle::BelowLimit;
}

Idle tooFewHours(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, settings.lowSaldo, {&DaySchedule::minHours}))
        return *why;
    if (day.facts().isFree)
        return Idle::FreeDay;
    if (day.total() < *day.schedule()->minHours)
        day.warn(kTooFewHours, "MINHOURS");
    return Idle::NothingToDo;
}

Idle tooManyFreeHours(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, settings.tooManyFreeHours, {&DaySchedule::freeHours}))
        return *why;
    if (day.facts().privateAbsence > *day.schedule()->freeHours)
        day.warn(kTooManyFreeHours, "FREEHOURS");
    return Idle::BelowLimit;
}

Idle tooManyOverhours(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why =
            isLeftAlone(settings, day, settings.tooManyOverhours, {&DaySchedule::minHours, &DaySchedule::overtime}))
        return *why;
    const DaySchedule &schedule = *day.schedule();
    if (day.workTime() > *schedule.minHours + *schedule.overtime)
        day.warn(kTooManyOverhours, "OVERTIME");
    return Idle::BelowLimit;
}

Idle addedHours(const RuleSettings &settings, WorkDay &day)
{
    const qint64 added = std::llround(settings.addHoursNumber * 3600.0);
    if (const auto why = isLeftAlone(settings, day, settings.addHours && added != 0))
        return *why;
    if (day.workTime() <= 0)
        return Idle::NothingToDo;
    // Hours below zero may be added; no working time is below nothing.
    day.changeWorkTime(std::max(added, -day.workTime()), "HOURS/ADDHOURSNUM");
    day.remark(kAddedHours.arg(QString::number(settings.addHoursNumber, 'g', QLocale::FloatingPointShortest)),
               "HOURS/ADDHOURSNUM");
    return kDone;
}

} // namespace calc::rules
