#include "calc/rules/dayrules.h"

#include <QDebug>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const QString kEarlyArrival = QStringLiteral("Prezgoden prihod %1 %2");
const QString kLateArrival = QStringLiteral("Prepozen prihod %1 %2");
const QString kEarlyDeparture = QStringLiteral("Prezgoden odhod");
const QString kLateDeparture = QStringLiteral("Prepozen odhod");
const QString kRoundedArrival = QStringLiteral("Kompenzacija zamude IN");
const QString kRoundedDeparture = QStringLiteral("Kompenzacija zamude OUT");
const QString kCompensatedDelay = QStringLiteral("Kompenzacija Zamude");
const QString kCompensationTaken = QStringLiteral("kompenzacija zamude");
const QString kCutBefore = QStringLiteral("delo izven urnika PRI");
const QString kCutBeforeInterval = QStringLiteral("delo izven urnika PRI-INT");
const QString kCutAfterThreshold = QStringLiteral("delo izven urnika ODH1-%1-%2");
const QString kCutAfter = QStringLiteral("delo izven urnika ODH2-%1-%2");
const QString kKeptAfter = QStringLiteral("delo izven urnika ODH-INT");
const QString kLongLunch = QStringLiteral("Predolga malica!");
const QString kCompensatedLunch = QStringLiteral("Kompenzacija Predolge malice");
const QString kRoundedWorkTime = QStringLiteral("Zaokrožitev delovnega časa");
const QString kLimitedWorkTime = QStringLiteral("Maksimalne ure delovnega časa");
const QString kFactorUsed = QStringLiteral("Uporabljen faktor %1");
const QString kNoHours = QStringLiteral("Ni delovnih ur!");
const QString kTooManyHours = QStringLiteral("Preveč delovnih ur!");
const QString kTooFewHours = QStringLiteral("Premalo delovnih ur!");
const QString kTooManyFreeHours = QStringLiteral("Preveč prostih ur!");
const QString kTooManyOverhours = QStringLiteral("Preveč nadur!");
const QString kAddedHours = QStringLiteral("Dodane ure %1!");

/// A remainder of an interval up to this many seconds is tolerated.
constexpr qint64 kToleratedRemainder = 59;
constexpr int kThirdShift = 3;

const RuleSettings &noRules()
{
    static const RuleSettings none;
    return none;
}

QString shortest(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

qint64 floorTo(qint64 value, qint64 step)
{
    const qint64 remainder = value % step;
    return value - (remainder < 0 ? remainder + step : remainder);
}

} // namespace

Calc21sett::Calc21sett(const RuleSettings *rules, bool noMetaSettings, bool trace)
    : m_rules(rules ? *rules : noRules()), m_isOn(rules != nullptr), m_noMetaSettings(noMetaSettings), m_trace(trace)
{
}

void Calc21sett::apply(WorkDay &day) const
{
    if (skipsRules(day))
        return;
    if (hasPaidLunch(day))
        day.workTime += *day.lunch;
    checkArrivalAndDeparture(day);
    roundToInterval(day);
    cutWorkOutsideSchedule(day);
    checkLunch(day);
    roundWorkTime(day);
    limitWorkTime(day);
    applyFactor(day);
    checkHours(day);
    day.workTime = std::max<qint64>(day.workTime, 0);
}

bool Calc21sett::skipsRules(const WorkDay &day) const
{
    const bool skips =
        m_rules.weighing == RuleSettings::Weighing::MetaPerType && day.hasMetaPeriod && !m_noMetaSettings;
    if (m_trace)
        qDebug() << "skipMpDay=" << skips << "noMetaSett=" << m_noMetaSettings;
    return !m_isOn || skips;
}

/// The rules that compare with the schedule leave free days alone unless the settings ask for them.
bool Calc21sett::isRuledOut(const WorkDay &day) const
{
    return day.isFree && !m_rules.scheduleForFree;
}

bool Calc21sett::usesWindow(const WorkDay &day) const
{
    return day.schedule && day.schedule->hasWindow() && !isRuledOut(day);
}

bool Calc21sett::countsMetaPairs() const
{
    return m_rules.weighing != RuleSettings::Weighing::MixType;
}

void Calc21sett::change(WorkDay &day, qint64 seconds) const
{
    day.workTime += seconds;
    if (m_trace) {
        qDebug().noquote()
            << (seconds < 0 ? QStringLiteral("DČ-=%1") : QStringLiteral("DČ+=%1")).arg(std::abs(seconds));
    }
}

void Calc21sett::warn(WorkDay &day, const QString &text)
{
    day.remarks.append(text);
    day.warnings.append(text);
}

void Calc21sett::checkArrivalAndDeparture(WorkDay &day) const
{
    if (!day.schedule || isRuledOut(day) || !day.in)
        return;
    const DaySchedule &schedule = *day.schedule;
    const auto withTimes = [&](const QString &text) {
        // Deliberately the start of the window in both texts, also where its end was missed.
        return text.arg(QString::number(*day.in), QString::number(schedule.startB.value_or(0)));
    };
    if (schedule.startB && *day.in < *schedule.startB) {
        if (m_rules.earlyArrival)
            warn(day, withTimes(kEarlyArrival));
    } else if (schedule.startE && *day.in > *schedule.startE) {
        if (m_rules.lateArrival)
            warn(day, withTimes(kLateArrival));
    }
    if (schedule.endB && *day.out < *schedule.endB) {
        if (m_rules.earlyExit)
            warn(day, kEarlyDeparture);
    } else if (schedule.endE && *day.out > *schedule.endE) {
        if (m_rules.lateExit)
            warn(day, kLateDeparture);
    }
}

void Calc21sett::roundToInterval(WorkDay &day) const
{
    const qint64 interval = m_rules.interval;
    if (interval == 0 || isRuledOut(day) || !day.in)
        return;
    if (m_rules.roundArrival) {
        const qint64 remainder = *day.in % interval;
        if (remainder > kToleratedRemainder) {
            *day.in += interval - remainder;
            change(day, remainder);
            change(day, -interval);
            day.remarks.append(kRoundedArrival);
        }
    }
    const bool endsAtMidnight = *day.out % 86400 / 60 == 23 * 60 + 59; // shown as "23:59"
    if (m_rules.roundDeparture && !endsAtMidnight) {
        const qint64 remainder = *day.out % interval;
        if (remainder > kToleratedRemainder) {
            *day.out -= remainder;
            change(day, -remainder);
            day.remarks.append(kRoundedDeparture);
        }
    }
}

void Calc21sett::cutWorkOutsideSchedule(WorkDay &day) const
{
    if (!day.schedule || day.dayType == 1 || isRuledOut(day))
        return;
    cutWholePairs(day);
    if (!day.in)
        return;
    qint64 extra = *day.out - day.schedule->endE.value_or(*day.out);
    compensateDelay(day, extra);
    cutBefore(day);
    cutAfter(day, extra);
}

/// Presence that does not touch the schedule's window at all.
void Calc21sett::cutWholePairs(WorkDay &day) const
{
    const auto cut = [&](qint64 seconds, bool isKept, const QString &remark) {
        if (seconds == 0)
            return;
        if (m_trace)
            qDebug() << "Calc21sett::CheckWorkOutOfSchedNumOut() cel par izven urnika"
                     << "Calc21sett::CheckWorkOutOfSchedNumOut() PDT len =" << seconds;
        if (!isKept) {
            change(day, -seconds);
            day.remarks.append(remark);
        }
    };
    cut(day.outsideBefore, m_rules.keepWorkBefore, kCutBefore);
    cut(day.outsideAfter, m_rules.keepWorkAfter, kCutAfter.arg(day.shift).arg(int(day.shiftFlag)));
}

void Calc21sett::compensateDelay(WorkDay &day, qint64 &extra) const
{
    const DaySchedule &schedule = *day.schedule;
    if (!m_rules.compensateDelay || !schedule.startE || !schedule.endE || *day.in <= *schedule.startE)
        return;
    const qint64 delay = *day.in - *schedule.startE;
    if (delay > m_rules.compensationLimit || extra < delay)
        return;
    extra -= delay;
    day.out = *schedule.endE + delay;
    change(day, delay - extra);
    day.isCompensated = true;
    day.remarks.append(kCompensatedDelay);
}

void Calc21sett::cutBefore(WorkDay &day) const
{
    if (!day.schedule->startB)
        return;
    const qint64 start = *day.schedule->startB;
    const qint64 early = start - *day.in;
    const auto cutToStart = [&] {
        if (early <= 0)
            return;
        if (m_trace)
            qDebug() << "Calc21sett::CheckWorkOutOfSchedNumOut() del para izven urnika";
        day.in = start;
        change(day, -early);
        day.remarks.append(kCutBefore);
    };
    if (early < 1 || !m_rules.keepWorkBefore) {
        if (!day.isCompensated)
            cutToStart();
        return;
    }
    const qint64 threshold = m_rules.thresholdBefore;
    if (early < threshold) {
        cutToStart();
    } else if (m_rules.wholeThresholdsBefore && early % threshold != 0) {
        change(day, -(early % threshold));
        day.in = start - early / threshold * threshold;
        day.remarks.append(kCutBeforeInterval);
    }
}

void Calc21sett::cutAfter(WorkDay &day, qint64 extra) const
{
    if (!day.schedule->endE)
        return;
    const qint64 end = *day.schedule->endE;
    const auto withShift = [&](const QString &text) { return text.arg(day.shift).arg(int(day.shiftFlag)); };
    if (m_trace && *day.out > end)
        qDebug() << "Calc21sett::CheckWorkOutOfSchedNumOut() del para izven urnika";
    if (!m_rules.keepWorkAfter || extra <= 0) {
        const bool mayStay = day.shift == kThirdShift && !day.shiftFlag;
        if (!day.isCompensated && *day.out > end && !mayStay) {
            change(day, end - *day.out);
            day.out = end;
            day.remarks.append(withShift(kCutAfter));
        }
        return;
    }
    const qint64 threshold = m_rules.thresholdAfter;
    if (extra < threshold) {
        change(day, -extra);
        day.out = end;
        day.remarks.append(withShift(kCutAfterThreshold));
    } else {
        if (m_rules.wholeThresholdsAfter) {
            change(day, -(extra % threshold));
            extra -= extra % threshold;
        }
        day.out = end + extra;
        // Deliberately also where nothing was cut: the remark tells that work after the schedule counts.
        day.remarks.append(kKeptAfter);
    }
    if (day.isCompensated) {
        change(day, -(*day.in - day.schedule->startE.value_or(*day.in)));
        day.remarks.append(kCompensationTaken);
    }
}

/// A lunch up to the allowed one is paid where the lunch rule runs.
bool Calc21sett::hasPaidLunch(const WorkDay &day) const
{
    return day.schedule && day.schedule->lunch && day.lunch && !isRuledOut(day);
}

void Calc21sett::checkLunch(WorkDay &day) const
{
    day.lunchExcess = 0;
    if (!hasPaidLunch(day))
        return;
    const DaySchedule &schedule = *day.schedule;
    if (*day.lunch > *schedule.lunch) {
        day.lunchExcess = *day.lunch - *schedule.lunch;
        change(day, -day.lunchExcess);
    }
    if (schedule.pLunch && *day.lunch > *schedule.lunch + *schedule.pLunch)
        warn(day, kLongLunch);
    if (day.lunchExcess >= 1 && m_rules.compensateLunch && day.out && schedule.endE &&
        day.lunchExcess <= *day.out - *schedule.endE) {
        *day.out -= day.lunchExcess;
        day.remarks.append(kCompensatedLunch);
    }
}

void Calc21sett::roundWorkTime(WorkDay &day) const
{
    if (!m_rules.roundWorkTime)
        return;
    const qint64 rounded = floorTo(day.workTime, m_rules.workTimeStep);
    if (rounded == day.workTime)
        return;
    change(day, rounded - day.workTime);
    day.remarks.append(kRoundedWorkTime);
}

void Calc21sett::limitWorkTime(WorkDay &day) const
{
    if (!m_rules.limitWorkTime || m_rules.workTimeLimit >= day.workTime)
        return;
    change(day, m_rules.workTimeLimit - day.workTime);
    day.remarks.append(kLimitedWorkTime);
}

void Calc21sett::applyFactor(WorkDay &day) const
{
    if (day.isFree || !m_rules.factors || (day.hasMetaEvents && !m_rules.metaFactor))
        return;
    double factor = 0;
    // Deliberately unreachable for Saturdays and Sundays: they are free days.
    if (day.weekday == 7)
        factor = m_rules.sundayFactor;
    else if (day.weekday == 6)
        factor = m_rules.saturdayFactor;
    else if (day.isPublicHoliday)
        factor = m_rules.holidayFactor;
    if (factor == 0)
        return;
    // Single precision is what the payroll expects to the second.
    const float product = static_cast<float>(day.workTime) * static_cast<float>(factor);
    const auto changed = static_cast<qint64>(std::round(product));
    if (changed == day.workTime)
        return;
    change(day, changed - day.workTime);
    day.remarks.append(kFactorUsed.arg(shortest(factor)));
}

void Calc21sett::checkHours(WorkDay &day) const
{
    if (day.isFuture || isRuledOut(day))
        return;
    const DaySchedule none;
    const DaySchedule &schedule = day.schedule ? *day.schedule : none;
    const bool isWorkingDay = day.schedule && !day.isFree && !day.isPublicHoliday;
    if (day.workTime == 0 && isWorkingDay && m_rules.showEmptyDays)
        warn(day, kNoHours);
    if (m_rules.tooManyHours && m_rules.maxHours > 0 && day.workTime > m_rules.maxHours)
        warn(day, kTooManyHours);
    if (m_rules.lowSaldo && !day.isFree && schedule.minHours && day.total() < *schedule.minHours)
        warn(day, kTooFewHours);
    if (m_rules.tooManyFreeHours && schedule.freeHours && day.privateAbsence > *schedule.freeHours)
        warn(day, kTooManyFreeHours);
    if (m_rules.tooManyOverhours && schedule.minHours && schedule.overtime &&
        day.workTime > *schedule.minHours + *schedule.overtime)
        warn(day, kTooManyOverhours);
    if (m_rules.addHours && day.workTime > 0) {
        const qint64 added = std::llround(m_rules.addHoursNumber * 3600.0);
        if (added != 0) {
            change(day, added);
            day.remarks.append(kAddedHours.arg(shortest(m_rules.addHoursNumber)));
        }
    }
}

bool Calc21sett::hasEmptySaldo(const WorkDay &day) const
{
    if (day.isFuture || (m_rules.emptySaldo && !day.hasPairs))
        return true;
    return day.isFree && (day.workTime <= 0 || !m_rules.saldoForFree);
}
