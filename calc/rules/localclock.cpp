#include "calc/rules/localclock.h"

#include <QDateTime>

#include <algorithm>

namespace {

int offsetAt(qint64 instant)
{
    return QDateTime::fromSecsSinceEpoch(instant).offsetFromUtc();
}

/// First instant in (from, to] with another offset than at `from`, which differs from the one at `to`.
qint64 changeBetween(qint64 from, qint64 to)
{
    const int offset = offsetAt(from);
    while (to - from > 1) {
        const qint64 middle = from + (to - from) / 2;
        (offsetAt(middle) == offset ? from : to) = middle;
    }
    return to;
}

qint64 startOfDay(QDate date)
{
    return date.startOfDay(Qt::LocalTime).toSecsSinceEpoch();
}

} // namespace

LocalClock::LocalClock(QDate first, QDate last)
    : m_first(first), m_firstWeekday(first.dayOfWeek()),
      m_firstEpochSeconds(QDate(1970, 1, 1).daysTo(first) * kDaySeconds)
{
    const auto count = static_cast<size_t>(std::max<qint64>(0, first.daysTo(last) + 1));
    m_days.resize(count);
    qint64 midnight = startOfDay(first);
    for (size_t i = 0; i < count; ++i) {
        const qint64 next = startOfDay(first.addDays(static_cast<qint64>(i) + 1));
        Day &day = m_days[i];
        day.midnight = midnight;
        day.change = next;
        day.offsetBefore = offsetAt(midnight);
        day.offsetAfter = offsetAt(next - 1);
        if (day.offsetAfter != day.offsetBefore)
            day.change = changeBetween(midnight, next - 1);
        midnight = next;
    }
    m_end = midnight;
}

qint64 LocalClock::midnight(int day) const
{
    if (day >= 0 && day < dayCount())
        return m_days[static_cast<size_t>(day)].midnight;
    if (m_days.empty())
        return 0;
    return day < 0 ? m_days.front().midnight + day * kDaySeconds : m_end + (day - dayCount()) * kDaySeconds;
}

int LocalClock::dayOf(qint64 instant) const
{
    if (m_days.empty() || instant < m_days.front().midnight || instant >= m_end)
        return -1;
    int day = static_cast<int>(std::min<qint64>((instant - m_days.front().midnight) / kDaySeconds, dayCount() - 1));
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
    const Day &shown = m_days[static_cast<size_t>(shownOn)];
    return instant + (instant < shown.change ? shown.offsetBefore : shown.offsetAfter) - epochSeconds(day);
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
    const Day &shown = m_days[static_cast<size_t>(shownOn)];
    const qint64 utc = epochSeconds(shownOn) + ofDay;
    const qint64 before = utc - shown.offsetBefore;
    if (before < shown.change)
        return before;
    return std::max(shown.change, utc - shown.offsetAfter);
}
