#include "calc/rules/localclock.h"

#include <algorithm>

namespace calc::rules {

LocalClock::LocalClock(QDate first, QDate last)
    : m_first(first), m_firstWeekday(first.dayOfWeek()), m_days(LocalDay::range(first, last))
{
}

qint64 LocalClock::midnight(int day) const
{
    if (day >= 0 && day < dayCount())
        return m_days[static_cast<size_t>(day)].begin();
    if (m_days.empty())
        return 0;
    return day < 0 ? m_days.front().begin() + day * kDaySeconds
                   : m_days.back().end() + (day - dayCount()) * kDaySeconds;
}

int LocalClock::dayOf(qint64 instant) const
{
    if (m_days.empty() || instant < m_days.front().begin() || instant >= m_days.back().end())
        return -1;
    int day = static_cast<int>(std::min<qint64>((instant - m_days.front().begin()) / kDaySeconds, dayCount() - 1));
    while (instant < midnight(day))
        --day;
    while (instant >= midnight(day + 1))
        ++day;
    return day;
}

qint64 LocalClock::clockSeconds(qint64 instant, int day) const
{
    const int shownOn = dayOf(instant);
    if (shownOn < 0)
        return instant - midnight(day);
    return m_days[static_cast<size_t>(shownOn)].clockSeconds(instant) + (shownOn - day) * kDaySeconds;
}

qint64 LocalClock::instantOf(int day, qint64 clockSeconds) const
{
    qint64 further = clockSeconds / kDaySeconds;
    qint64 ofDay = clockSeconds % kDaySeconds;
    if (ofDay < 0) {
        ofDay += kDaySeconds;
        --further;
    }
    const int shownOn = day + static_cast<int>(further);
    if (shownOn < 0 || shownOn >= dayCount())
        return midnight(shownOn) + ofDay;
    return m_days[static_cast<size_t>(shownOn)].instantsOf(ofDay).first;
}

} // namespace calc::rules
