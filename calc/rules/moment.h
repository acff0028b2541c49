#pragma once

#include "calc/rules/localclock.h"

namespace calc::rules {

/// A moment of a working day: when it is, and what the clock shows then. Where a rule takes time off, it takes the
/// real time between two moments, also in the nights when the clock is changed.
struct Moment {
    qint64 instant = 0; ///< Unix seconds
    qint64 clock = 0;   ///< seconds since the day's midnight as the clock shows them, 86400 more for each later day

    bool operator==(const Moment &other) const { return instant == other.instant && clock == other.clock; }
    bool operator!=(const Moment &other) const { return !(*this == other); }
};

/// The clock of one day. The local clock is not owned.
class DayClock
{
public:
    DayClock(const LocalClock &clock, int day) : m_clock(&clock), m_day(day) {}

    /// The moment at which the clock shows this time.
    Moment shown(qint64 clockSeconds) const { return {m_clock->instantOf(m_day, clockSeconds), clockSeconds}; }
    /// The moment of an instant.
    Moment at(qint64 instant) const { return {instant, m_clock->clockSeconds(instant, m_day)}; }

private:
    const LocalClock *m_clock;
    int m_day;
};

} // namespace calc::rules
