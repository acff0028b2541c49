#include "calc/rules/rulefunctions.h"

namespace calc::rules {

namespace {

const QString kEarlyArrival = QStringLiteral("Prezgoden prihod %1 %2");
const QString kLateArrival = QStringLiteral("Prepozen prihod %1 %2");
const QString kEarlyDeparture = QStringLiteral("Prezgoden odhod");
const QString kLateDeparture = QStringLiteral("Prepozen odhod");

/// Whether a warning is on and the schedule, where there is one, has its time.
bool isChecked(bool isOn, const WorkDay &day, ScheduleTime DaySchedule::*time)
{
    return isOn && (!day.schedule() || day.schedule()->*time);
}

std::optional<Idle> isLeftAlone(const RuleSettings &settings, const WorkDay &day, bool isOn)
{
    if (!isOn)
        return Idle::Off;
    if (!day.schedule())
        return Idle::NoSchedule;
    if (isRuledOut(settings, day.facts()))
        return Idle::FreeDay;
    return day.in() ? std::nullopt : std::optional(Idle::NothingToDo);
}

} // namespace

Idle arrivalWarning(const RuleSettings &settings, WorkDay &day)
{
    const bool isOn = isChecked(settings.earlyArrival, day, &DaySchedule::startB) ||
                      isChecked(settings.lateArrival, day, &DaySchedule::startE);
    if (const auto why = isLeftAlone(settings, day, isOn))
        return *why;
    const DaySchedule &schedule = *day.schedule();
    const qint64 in = day.in()->clock;
    const auto withTimes = [&](const QString &text) {
        // Deliberately the start of the window in both texts, also where its end was missed.
        return text.arg(QString::number(in), QString::number(schedule.startB.value_or(0)));
    };
    if (schedule.startB && in < *schedule.startB) {
        if (settings.earlyArrival)
            day.warn(withTimes(kEarlyArrival), "STARTB");
    } else if (schedule.startE && in > *schedule.startE && settings.lateArrival) {
        day.warn(withTimes(kLateArrival), "STARTE");
    }
    return Idle::NothingToDo;
}

Idle departureWarning(const RuleSettings &settings, WorkDay &day)
{
    const bool isOn =
        isChecked(settings.earlyExit, day, &DaySchedule::endB) || isChecked(settings.lateExit, day, &DaySchedule::endE);
    if (const auto why = isLeftAlone(settings, day, isOn))
        return *why;
    const DaySchedule &schedule = *day.schedule();
    const qint64 out = day.out()->clock;
    if (schedule.endB && out < *schedule.endB) {
        if (settings.earlyExit)
            day.warn(kEarlyDeparture, "ENDB");
    } else if (schedule.endE && out > *schedule.endE && settings.lateExit) {
        day.warn(kLateDeparture, "ENDE");
    }
    return Idle::NothingToDo;
}

} // namespace calc::rules
