#pragma once

#include "calc/rules/storedvalue.h"

#include <QHash>

#include <array>
#include <optional>

namespace calc::rules {

/// A schedule time in seconds; nothing when it is missing, empty or no time, which switches off every comparison.
using ScheduleTime = std::optional<qint64>;

/// The times of one day. Times of day are seconds since that day's midnight; those of the window that are earlier
/// than its start lie on the next day (86400 added), and so does an end that equals it.
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

    /// What the text holds, by key ("STARTB"): for telling which time did what.
    QHash<QString, StoredValue> stored;

    bool hasWindow() const { return startB && endE; }
};

/// An employee's schedule: per shift and day of the week. Read once per distinct text, shared by its employees.
class Schedule
{
public:
    static constexpr int kShifts = 3;
    /// The days of one shift, Monday first; nothing on a day without a schedule.
    using Week = std::array<std::optional<DaySchedule>, 7>;

    Schedule() = default;
    explicit Schedule(const std::array<Week, kShifts> &weeks) : m_weeks(weeks) {}

    /// The day's times, or null without a schedule. Shift 1 to 3, weekday 1 (Monday) to 7.
    const DaySchedule *day(int shift, int weekday) const
    {
        const auto &found = m_weeks[static_cast<size_t>(shift - 1)][static_cast<size_t>(weekday - 1)];
        return found ? &*found : nullptr;
    }

private:
    std::array<Week, kShifts> m_weeks;
};

} // namespace calc::rules
