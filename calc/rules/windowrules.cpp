#include "calc/rules/rulefunctions.h"

#include <QDebug>

namespace calc::rules {

namespace {

const QString kCompensatedDelay = QStringLiteral("Kompenzacija Zamude");
const QString kCompensationTaken = QStringLiteral("kompenzacija zamude");
const QString kCutBefore = QStringLiteral("delo izven urnika PRI");
const QString kCutBeforeInterval = QStringLiteral("delo izven urnika PRI-INT");
const QString kCutAfterThreshold = QStringLiteral("delo izven urnika ODH1-%1-%2");
const QString kCutAfter = QStringLiteral("delo izven urnika ODH2-%1-%2");
const QString kKeptAfter = QStringLiteral("delo izven urnika ODH-INT");

constexpr char kWindowStart[] = "STARTB";
constexpr char kWindowEnd[] = "ENDE";
constexpr char kDelayLimit[] = "OVERTIME/COMPDELTRH";
constexpr char kThresholdBefore[] = "OVERTIME/TRHIN";
constexpr char kThresholdAfter[] = "OVERTIME/TRHOUT";
constexpr char kKeepsAfter[] = "SALDO/NWOUTOUT";

constexpr int kThirdShift = 3;

/// Why a rule leaves the day alone that needs these times of the schedule; nothing where it looks at it.
std::optional<Idle> isLeftAlone(const RuleSettings &settings, const WorkDay &day,
                                std::initializer_list<ScheduleTime DaySchedule::*> times)
{
    if (!day.schedule())
        return Idle::NoSchedule;
    for (const auto time : times) {
        if (!(day.schedule()->*time))
            return Idle::Off;
    }
    return isRuledOut(settings, day.facts()) ? std::optional(Idle::FreeDay) : std::nullopt;
}

QString withShift(const QString &text, const DayFacts &day)
{
    return text.arg(QString::number(day.shift), QString::number(int(day.shiftFlag)));
}

void traceWholePairs(const WorkDay &day, qint64 seconds)
{
    if (day.isTraced() && seconds != 0)
        qDebug() << "Calc21sett::CheckWorkOutOfSchedNumOut() cel par izven urnika"
                 << "Calc21sett::CheckWorkOutOfSchedNumOut() PDT len =" << seconds;
}

void tracePart(const WorkDay &day)
{
    if (day.isTraced())
        qDebug() << "Calc21sett::CheckWorkOutOfSchedNumOut() del para izven urnika";
}

Idle cutToStart(WorkDay &day, qint64 early, const char *setting)
{
    if (early <= 0)
        return Idle::NothingToDo;
    tracePart(day);
    day.moveIn(day.in()->instant + early, setting);
    day.changeWorkTime(-early, setting);
    day.remark(kCutBefore, setting);
    return kDone;
}

/// Without the time after the window: the departure is its end.
Idle cutToEnd(WorkDay &day)
{
    const bool mayStay = day.facts().shift == kThirdShift && !day.facts().shiftFlag;
    const qint64 extra = day.extra();
    if (day.isCompensated() || extra <= 0 || mayStay)
        return Idle::NothingToDo;
    day.moveOut(day.out()->instant - extra, kWindowEnd);
    day.changeWorkTime(-extra, kWindowEnd);
    day.remark(withShift(kCutAfter, day.facts()), kWindowEnd);
    return kDone;
}

} // namespace

Idle workBeforeWindow(const RuleSettings &settings, WorkDay &day)
{
    const qint64 seconds = day.facts().outsideBefore;
    traceWholePairs(day, seconds);
    if (settings.keepWorkBefore)
        return Idle::Off;
    if (const auto why = isLeftAlone(settings, day, {}))
        return *why;
    if (seconds == 0)
        return Idle::NothingToDo;
    day.changeWorkTime(-seconds, kWindowStart);
    day.remark(kCutBefore, kWindowStart);
    return kDone;
}

Idle workAfterWindow(const RuleSettings &settings, WorkDay &day)
{
    const qint64 seconds = day.facts().outsideAfter;
    traceWholePairs(day, seconds);
    if (settings.keepWorkAfter)
        return Idle::Off;
    if (const auto why = isLeftAlone(settings, day, {}))
        return *why;
    if (seconds == 0)
        return Idle::NothingToDo;
    day.changeWorkTime(-seconds, kWindowEnd);
    day.remark(withShift(kCutAfter, day.facts()), kWindowEnd);
    return kDone;
}

Idle delayCompensation(const RuleSettings &settings, WorkDay &day)
{
    if (!settings.compensateDelay)
        return Idle::Off;
    if (const auto why = isLeftAlone(settings, day, {&DaySchedule::startE, &DaySchedule::endE}))
        return *why;
    const DaySchedule &schedule = *day.schedule();
    if (!day.in())
        return Idle::NothingToDo;
    const qint64 delay = day.in()->instant - day.shown(*schedule.startE).instant;
    if (delay <= 0)
        return Idle::NothingToDo;
    if (delay > settings.compensationLimit || day.extra() < delay)
        return Idle::BelowLimit;
    // Deliberately a sequence: the extra time is decreased first, and what is left of it decides the rest.
    const qint64 left = day.extra() - delay;
    day.moveOut(day.shown(*schedule.endE).instant + delay, kDelayLimit);
    day.changeWorkTime(delay - left, kDelayLimit);
    day.setCompensated(left);
    day.remark(kCompensatedDelay, kDelayLimit);
    return kDone;
}

Idle earlyArrival(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, {&DaySchedule::startB}))
        return *why;
    if (!day.in())
        return Idle::NothingToDo;
    const Moment start = day.shown(*day.schedule()->startB);
    const qint64 early = start.instant - day.in()->instant;
    if (early < 1 || !settings.keepWorkBefore)
        return day.isCompensated() ? Idle::NothingToDo : cutToStart(day, early, kWindowStart);
    const qint64 threshold = settings.thresholdBefore;
    if (early < threshold)
        return cutToStart(day, early, kThresholdBefore);
    const qint64 beyond = early % threshold;
    if (!settings.wholeThresholdsBefore || beyond == 0)
        return Idle::NothingToDo;
    day.moveIn(day.in()->instant + beyond, kThresholdBefore);
    day.changeWorkTime(-beyond, kThresholdBefore);
    day.remark(kCutBeforeInterval, kThresholdBefore);
    return kDone;
}

Idle lateDeparture(const RuleSettings &settings, WorkDay &day)
{
    if (const auto why = isLeftAlone(settings, day, {&DaySchedule::endE}))
        return *why;
    if (!day.out())
        return Idle::NothingToDo;
    const Moment end = day.shown(*day.schedule()->endE);
    if (day.out()->instant > end.instant)
        tracePart(day);
    const qint64 extra = day.extra();
    if (!settings.keepWorkAfter || extra <= 0)
        return cutToEnd(day);
    if (extra < settings.thresholdAfter) {
        day.moveOut(end.instant, kThresholdAfter);
        day.changeWorkTime(-extra, kThresholdAfter);
        day.remark(withShift(kCutAfterThreshold, day.facts()), kThresholdAfter);
        return kDone;
    }
    const qint64 beyond = settings.wholeThresholdsAfter ? extra % settings.thresholdAfter : 0;
    const char *const setting = beyond == 0 ? kKeepsAfter : kThresholdAfter;
    day.moveOut(end.instant + extra - beyond, setting);
    if (beyond != 0)
        day.changeWorkTime(-beyond, setting);
    // Deliberately also where nothing was cut: the remark tells that work after the schedule counts.
    day.remark(kKeptAfter, setting);
    return kDone;
}

Idle compensatedDelay(const RuleSettings &settings, WorkDay &day)
{
    if (!settings.compensateDelay || !settings.keepWorkAfter)
        return Idle::Off;
    if (const auto why = isLeftAlone(settings, day, {&DaySchedule::startE, &DaySchedule::endE}))
        return *why;
    if (!day.isCompensated() || day.extra() <= 0)
        return Idle::NothingToDo;
    const qint64 delay = day.in()->instant - day.shown(*day.schedule()->startE).instant;
    day.changeWorkTime(-delay, kDelayLimit);
    day.remark(kCompensationTaken, kDelayLimit);
    return kDone;
}

} // namespace calc::rules
