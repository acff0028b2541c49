#pragma once

#include "calc/rules/calcsettings.h"
#include "calc/rules/event.h"
#include "calc/rules/localclock.h"
#include "calc/rules/rulesettings.h"
#include "calc/rules/schedule.h"
#include "calc/rules/shiftplan.h"

#include <QDate>
#include <QString>

#include <memory>
#include <vector>

namespace calc::rules {

/// An employee with all that the calculation needs of them.
struct Employee {
    qint64 user = 0;
    QString name;
    QString emplId; ///< personal number
    QString group;  ///< of shift assignments (PRERAZDC); empty without one
    qint64 timeZoneSeconds = 0;
    std::shared_ptr<const RuleSettings> rules;     ///< null without settings
    std::shared_ptr<const Schedule> schedule;      ///< null without one
    std::shared_ptr<const ShiftPlan::Days> shifts; ///< one per day of the clock
    ShiftPlan::Rows assignments;                   ///< that apply to the employee
    std::vector<Event> events;                     ///< in pairing order once ordered

    const ShiftOfDay &shift(int day) const { return (*shifts)[static_cast<size_t>(day)]; }
    /// The schedule of a day of the clock; null without one.
    const DaySchedule *daySchedule(const LocalClock &clock, int day) const
    {
        if (!schedule || day < 0 || day >= clock.dayCount() || shift(day).isOff)
            return nullptr;
        return schedule->day(shift(day).shift, clock.weekday(day));
    }
    bool showsEmptyDays() const { return rules && rules->showEmptyDays; }
};

/// The period of a calculation within its clock.
struct Period {
    QDate firstDate;
    QDate lastDate;
    LocalClock clock; ///< reaches beyond the period by what may be read there
    int firstDay = 0; ///< of the clock
    int lastDay = -1;
    qint64 start = 0; ///< 00:00:00 of the first day, Unix seconds
    qint64 end = -1;  ///< 23:59:59 of the last day

    int dayCount() const { return lastDay - firstDay + 1; }
    bool containsDay(int day) const { return day >= firstDay && day <= lastDay; }
    bool contains(qint64 instant) const { return instant >= start && instant <= end; }
};

/// Everything that a calculation is given.
struct CalcInputs {
    CalcSettings settings;
    Period period;
    int today = 0;                   ///< a day of the clock, or beyond it; later days are in the future
    qint64 doubleTapSeconds = 0;     ///< so close taps are of one passage; 0 = off
    std::vector<Employee> employees; ///< in the order asked for
    std::vector<QString> holidays;   ///< PRAZNIK text per day of the clock; empty = none
    ShiftPlan plan;

    const QString &holiday(int day) const { return holidays[static_cast<size_t>(day)]; }
};

} // namespace calc::rules
