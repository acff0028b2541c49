#pragma once

#include "calc/rules/accesscode.h"
#include "calc/rules/calcsettings.h"
#include "calc/rules/localclock.h"
#include "calc/rules/rulesettings.h"
#include "calc/rules/schedule.h"
#include "calc/rules/shiftplan.h"
#include "qany.h"

#include <QDate>
#include <QString>

#include <memory>
#include <vector>

/// One event, of a terminal or entered by hand.
struct Event {
    qint64 id = 0;
    qint64 user = 0;
    qint64 timestamp = 0; ///< Unix seconds, shifted and rounded as the settings ask
    AccessCode code;
    bool isMeta = false; ///< read from the hand-entered ones
    bool isLast = false; ///< the employee's last one in the range that was read
    QString accessCode;
    QString type; ///< kind: MP, ME, EV, AE
    QString remark;
    QString param;
    QAny idx;
    QAny tag;
    QAny pTime;
};

/// An employee with all that the calculation needs of them.
struct Employee {
    qint64 user = 0;
    QString name;
    QString emplId; ///< personal number
    qint64 timeZoneSeconds = 0;
    std::shared_ptr<const RuleSettings> rules; ///< null without settings
    std::shared_ptr<const Schedule> schedule;  ///< null without one
    std::shared_ptr<const ShiftPlan::Days> shifts;
    QAny record;               ///< the row as read
    std::vector<Event> events; ///< in pairing order

    const ShiftOfDay &shift(int day) const { return (*shifts)[static_cast<size_t>(day)]; }
    /// The schedule of a day of the clock; null without one.
    const DaySchedule *daySchedule(const LocalClock &clock, int day) const
    {
        if (!schedule || day < 0 || day >= clock.dayCount() || shift(day).isOff)
            return nullptr;
        return schedule->day(shift(day).shift, clock.weekday(day));
    }
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
};

/// Everything that a calculation reads before it computes.
struct CalcInputs {
    CalcSettings settings;
    Period period;
    std::vector<Employee> employees; ///< in the order asked for
    std::vector<QString> holidays;   ///< PRAZNIK text per day of the period; empty = none
    ShiftPlan plan;
};
