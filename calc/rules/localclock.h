#pragma once

#include "calc/rules/localday.h"

#include <QDate>

#include <vector>

namespace calc::rules {

/// The local calendar and clock over a range of days, worked out once: instants (Unix seconds) to days and clock
/// times and back, without a time zone look-up per event. Days are numbered from 0 and are 23, 24 or 25 hours long
/// as the zone says. A plain value; safe to read from any thread.
class LocalClock
{
public:
    static constexpr qint64 kDaySeconds = LocalDay::kSeconds;

    LocalClock() = default;
    /// The days first to last, both included, in the process's time zone.
    LocalClock(QDate first, QDate last);

    int dayCount() const { return static_cast<int>(m_days.size()); }
    QDate date(int day) const { return m_first.addDays(day); }
    int dayOf(QDate date) const { return static_cast<int>(m_first.daysTo(date)); }
    /// Monday 1 to Sunday 7.
    int weekday(int day) const { return (m_firstWeekday - 1 + day) % 7 + 1; }
    /// First instant of the day; also of the one after the last.
    qint64 midnight(int day) const;
    /// The day in which the instant lies; -1 outside the range.
    int dayOf(qint64 instant) const;
    /// What the clock shows at the instant, in seconds since the day's midnight (hour·3600 + minute·60 + second);
    /// 86400 is added for every later day, so a departure after midnight counts on.
    qint64 clockSeconds(qint64 instant, int day) const;
    /// The instant at which the clock shows this time, which may be 86400 or more. Of a time that the clock shows
    /// twice the first; of one that it skips the moment of the change. Days outside the range count 24 hours.
    qint64 instantOf(int day, qint64 clockSeconds) const;

private:
    QDate m_first;
    int m_firstWeekday = 1;
    std::vector<LocalDay> m_days;
};

} // namespace calc::rules
