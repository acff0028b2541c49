#pragma once

#include "calc/rules/explanation.h"
#include "calc/rules/moment.h"
#include "calc/rules/schedule.h"

#include <QStringList>

#include <optional>

namespace calc::rules {

/// What the rules are told of an employee's day. Durations are seconds.
struct DayFacts {
    int weekday = 1; ///< Monday 1 to Sunday 7
    int dayType = 0; ///< 0 with a schedule, 1 without one, 2 Saturday or Sunday, 3 public holiday
    int shift = 1;
    bool shiftFlag = false;
    bool isOff = false; ///< the shift plan gives the day off
    bool isFree = false;
    bool isPublicHoliday = false;
    bool isFuture = false;
    bool hasMetaEvents = false; ///< MP or ME events
    bool hasMetaPeriod = false; ///< MP events
    bool hasPairs = false;
    const DaySchedule *schedule = nullptr; ///< null without one; not owned

    qint64 outsideBefore = 0;    ///< presence wholly before the schedule's window
    qint64 outsideAfter = 0;     ///< presence wholly after it
    std::optional<qint64> lunch; ///< MALICA; nothing without a lunch pair
    qint64 privateAbsence = 0;   ///< ZASEBNO
    qint64 otherCounted = 0;     ///< what SKUPAJ counts beside the work

    qint64 minHours() const { return schedule ? schedule->minHours.value_or(0) : 0; }
    /// A day on which work is expected.
    bool isWorkingDay() const { return schedule && !isFree && !isPublicHoliday; }
};

/// What the rules change of a day.
struct DayValues {
    std::optional<Moment> in; ///< arrival; nothing without a presence pair that counts, then `out` is missing too
    std::optional<Moment> out;
    qint64 workTime = 0; ///< DČ, seconds

    bool operator==(const DayValues &other) const
    {
        return workTime == other.workTime && in == other.in && out == other.out;
    }
};

/// A working day under the rules. Its values change through one function, which also feeds the explanation, so that no
/// rule changes a second without saying so.
class WorkDay
{
public:
    /// The facts, and the explanation where one is wanted (else null), are not owned. With trace every change of the
    /// working time is written to the debug output.
    WorkDay(const DayFacts &facts, const DayClock &clock, const DayValues &values, bool trace,
            DayExplanation *explanation);

    const DayFacts &facts() const { return m_facts; }
    const DaySchedule *schedule() const { return m_facts.schedule; }
    const DayValues &values() const { return m_values; }
    bool isTraced() const { return m_trace; }
    const QStringList &remarks() const { return m_remarks; }   ///< OPOMBA
    const QStringList &warnings() const { return m_warnings; } ///< those of the remarks that are faults

    // What the rules compare.
    const std::optional<Moment> &in() const { return m_values.in; }
    const std::optional<Moment> &out() const { return m_values.out; }
    qint64 workTime() const { return m_values.workTime; }
    qint64 total() const { return m_values.workTime + m_facts.otherCounted; } ///< SKUPAJ
    Moment shown(qint64 clockSeconds) const { return m_clock.shown(clockSeconds); }
    /// Seconds from the window's end to the departure, less what a compensated delay has used of them. The day has a
    /// departure and the schedule an end.
    qint64 extra() const;
    bool isCompensated() const { return m_extraLeft.has_value(); }

    /// What follows is the doing of this rule; the name is a literal.
    void beginRule(const char *name);
    /// The rule is over; why it did nothing where it has written no step.
    void endRule(Idle why);

    // The changes. The setting is what switched or measured them: a literal as in RuleStep, null without one.
    void moveIn(qint64 instant, const char *setting);
    void moveOut(qint64 instant, const char *setting);
    void changeWorkTime(qint64 seconds, const char *setting) { changeWorkTime(seconds, 0, setting); }
    /// Two changes that are one: each is traced, their sum is the step.
    void changeWorkTime(qint64 first, qint64 second, const char *setting);
    void remark(const QString &text, const char *setting);
    /// A remark that is a fault.
    void warn(const QString &text, const char *setting);
    /// The delay was made up for by staying longer; so much of that time is left.
    void setCompensated(qint64 extraLeft) { m_extraLeft = extraLeft; }

private:
    void change(DayField field, qint64 before, qint64 after, const char *setting);
    void traceChange(qint64 seconds) const;

    const DayFacts &m_facts;
    DayClock m_clock;
    DayValues m_values;
    bool m_trace;
    DayExplanation *m_explanation;
    std::optional<qint64> m_extraLeft;
    QStringList m_remarks;
    QStringList m_warnings;

    const char *m_rule = nullptr;
    size_t m_firstStep = 0; ///< of the rule, in the explanation
    QString m_ruleRemark;
    const char *m_remarkSetting = nullptr;
};

} // namespace calc::rules
