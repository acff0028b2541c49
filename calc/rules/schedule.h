#pragma once

#include "qany.h"

#include <array>
#include <memory>
#include <optional>

/// A schedule time in seconds; nothing when it is missing, empty or no time, which switches off every comparison.
using ScheduleTime = std::optional<qint64>;

/// The times of one day. Times of day are seconds since that day's midnight; those of the window that are earlier
/// than its start lie on the next day (86400 added).
struct DaySchedule {
    ScheduleTime startB; ///< earliest arrival; the window's start
    ScheduleTime startE; ///< latest arrival
    ScheduleTime endB;   ///< earliest departure
    ScheduleTime endE;   ///< latest departure; the window's end
    ScheduleTime minHours;
    ScheduleTime freeHours;
    ScheduleTime overtime;
    ScheduleTime lunch;  ///< allowed lunch
    ScheduleTime pLunch; ///< tolerance of the lunch
    ScheduleTime automaticLunchStart;
    bool automaticLunch = false;

    bool hasWindow() const { return startB && endE; }
};

/// An employee's schedule: per shift and day of the week. Read once per distinct text, shared by its employees.
class Schedule
{
public:
    static constexpr int kShifts = 3;

    /// Null when the text is empty or not the JSON text of a hash.
    static std::shared_ptr<const Schedule> parse(const QString &text);

    /// The day's times, or null without a schedule. Shift 1 to 3 (a missing one takes the first), weekday 1 to 7.
    const DaySchedule *day(int shift, int weekday) const;
    /// The parsed text, each time with its companion key (suffix "I") in seconds.
    const QAny &fields() const { return m_fields; }

    /// "7:30" is 27000, "45" (minutes) 2700, "-0:30" -1800 seconds; nothing for a text that is no time.
    static ScheduleTime seconds(const QString &text);

private:
    std::array<std::array<std::optional<DaySchedule>, 7>, kShifts> m_days;
    QAny m_fields;
};
