#include "calc/rules/localday.h"

#include <QDateTime>
#include <QTimeZone>

#include <algorithm>

namespace calc::rules {

/// What is asked of a time zone, or of the process's where none is given.
struct LocalDay::Zone {
    const QTimeZone *given = nullptr;

    int offsetAt(qint64 instant) const
    {
        return given ? given->offsetFromUtc(QDateTime::fromSecsSinceEpoch(instant, Qt::UTC))
                     : QDateTime::fromSecsSinceEpoch(instant).offsetFromUtc();
    }

    qint64 beginOf(QDate date) const
    {
        QDateTime begin = given ? date.startOfDay(*given) : date.startOfDay();
        if (!begin.isValid()) // the calendar leaves it out
            begin = given ? date.addDays(1).startOfDay(*given) : date.addDays(1).startOfDay();
        return begin.toSecsSinceEpoch();
    }

    /// First instant in (from, to] with another offset than at `from`, which differs from the one at `to`.
    qint64 changeBetween(qint64 from, qint64 to) const
    {
        const int offset = offsetAt(from);
        while (to - from > 1) {
            const qint64 middle = from + (to - from) / 2;
            (offsetAt(middle) == offset ? from : to) = middle;
        }
        return to;
    }
};

LocalDay::LocalDay(QDate date) : LocalDay(date, Zone{}) {}

LocalDay::LocalDay(QDate date, const QTimeZone &zone) : LocalDay(date, Zone{&zone}) {}

LocalDay::LocalDay(QDate date, const Zone &zone)
    : LocalDay(date, zone.beginOf(date), zone.beginOf(date.addDays(1)), zone)
{
}

LocalDay::LocalDay(QDate date, qint64 begin, qint64 end, const Zone &zone)
    : m_date(date), m_utcMidnight(QDate(1970, 1, 1).daysTo(date) * kSeconds), m_begin(begin), m_change(end), m_end(end),
      m_offsetBefore(zone.offsetAt(begin)), m_offsetAfter(zone.offsetAt(std::max(begin, end - 1)))
{
    if (m_offsetAfter != m_offsetBefore)
        m_change = zone.changeBetween(begin, end - 1);
}

std::vector<LocalDay> LocalDay::range(QDate first, QDate last)
{
    const Zone zone;
    std::vector<LocalDay> days;
    const qint64 count = std::max<qint64>(0, first.daysTo(last) + 1);
    days.reserve(static_cast<size_t>(count));
    qint64 begin = zone.beginOf(first);
    for (qint64 i = 0; i < count; ++i) {
        const qint64 end = zone.beginOf(first.addDays(i + 1));
        days.push_back(LocalDay(first.addDays(i), begin, end, zone));
        begin = end;
    }
    return days;
}

LocalDay::Instants LocalDay::instantsOf(qint64 clockSeconds) const
{
    const qint64 before = m_utcMidnight + clockSeconds - m_offsetBefore;
    const qint64 after = m_utcMidnight + clockSeconds - m_offsetAfter;
    const bool isBefore = m_begin <= before && before < m_change;
    const bool isAfter = m_change <= after && after < m_end;
    if (isBefore || isAfter)
        return {isBefore ? before : after, isAfter ? after : before, false};
    const qint64 change = before < m_begin ? m_begin : m_change;
    return {change, change, true};
}

} // namespace calc::rules
