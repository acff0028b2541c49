#pragma once

#include "calc/rules/rulesettings.h"
#include "calc/rules/schedule.h"

#include <QStringList>

#include <optional>

/// One employee's working day as the day rules see and change it. Times of day are seconds since the day's midnight
/// as the clock shows them (86400 more on the next day); durations are seconds.
struct WorkDay {
    // The day
    int weekday = 1; ///< Monday 1 to Sunday 7
    int dayType = 0; ///< 0 with a schedule, 1 without one, 2 Saturday or Sunday, 3 public holiday
    bool isFree = false;
    bool isPublicHoliday = false;
    bool isFuture = false;
    int shift = 1;
    bool shiftFlag = false;
    const DaySchedule *schedule = nullptr; ///< null without one
    bool hasMetaEvents = false;            ///< MP or ME events
    bool hasMetaPeriod = false;            ///< MP events
    bool hasPairs = false;

    // Taken from its pairs
    std::optional<qint64> in;    ///< arrival; nothing without a presence pair that counts
    std::optional<qint64> out;   ///< departure
    qint64 outsideBefore = 0;    ///< presence wholly before the schedule's window
    qint64 outsideAfter = 0;     ///< presence wholly after it
    std::optional<qint64> lunch; ///< MALICA; nothing without a lunch pair
    qint64 privateAbsence = 0;   ///< ZASEBNO
    qint64 otherCounted = 0;     ///< what SKUPAJ counts beside the work

    // Worked out by the rules
    qint64 workTime = 0; ///< DČ
    qint64 lunchExcess = 0;
    bool isCompensated = false;
    QStringList remarks;  ///< OPOMBA
    QStringList warnings; ///< those of the remarks that are faults

    qint64 total() const { return workTime + otherCounted; } ///< SKUPAJ
};

/// The day rules with one employee's settings. Pure; a plain value.
class Calc21sett
{
public:
    /// The settings are not owned and must outlive this object; null means that no rule is on. With noMetaSettings no
    /// day skips the rules because of its meta events. With trace every change is written to the debug output.
    Calc21sett(const RuleSettings *rules, bool noMetaSettings, bool trace);

    /// Applies all rules in their order; the day's work time must hold the work of its pairs.
    void apply(WorkDay &day) const;
    /// Whether the arrival and departure of the day come from its presence inside the schedule's window alone.
    bool usesWindow(const WorkDay &day) const;
    /// Whether pairs with both ends MP count towards arrival and departure.
    bool countsMetaPairs() const;
    /// Whether the balance of a judged day is empty.
    bool hasEmptySaldo(const WorkDay &day) const;
    bool showsEmptyDays() const { return m_rules.showEmptyDays; }

private:
    bool skipsRules(const WorkDay &day) const;
    bool isRuledOut(const WorkDay &day) const;
    bool hasPaidLunch(const WorkDay &day) const;
    void checkArrivalAndDeparture(WorkDay &day) const;
    void roundToInterval(WorkDay &day) const;
    void compensateDelay(WorkDay &day, qint64 &extra) const;
    void cutWorkOutsideSchedule(WorkDay &day) const;
    void cutWholePairs(WorkDay &day) const;
    void cutBefore(WorkDay &day) const;
    void cutAfter(WorkDay &day, qint64 extra) const;
    void checkLunch(WorkDay &day) const;
    void roundWorkTime(WorkDay &day) const;
    void limitWorkTime(WorkDay &day) const;
    void applyFactor(WorkDay &day) const;
    void checkHours(WorkDay &day) const;
    void change(WorkDay &day, qint64 seconds) const;
    static void warn(WorkDay &day, const QString &text);

    const RuleSettings &m_rules;
    bool m_isOn;
    bool m_noMetaSettings;
    bool m_trace;
};
