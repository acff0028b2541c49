#pragma once

#include <QDate>

#include <vector>

class QTimeZone;

namespace calc::rules {

/// One day of the local calendar and its clock, worked out once: instants (Unix seconds) to clock times and back,
/// without a time zone look-up for each. It lasts 23, 24 or 25 hours as its zone says, and not at all where the
/// calendar leaves it out. A plain value; safe to read from any thread.
class LocalDay
{
public:
    /// Of a day on which the clock is left alone.
    static constexpr qint64 kSeconds = 86400;

    /// When the clock shows a time of the day.
    struct Instants {
        qint64 first = 0;
        qint64 second = 0;      ///< later than the first where the clock shows the time twice, else the same
        bool isSkipped = false; ///< the clock never shows it: both are the moment of the change

        bool isTwice() const { return second > first; }
    };

    LocalDay() = default;
    /// In the process's time zone.
    explicit LocalDay(QDate date);
    LocalDay(QDate date, const QTimeZone &zone);
    /// The days first to last, both included, in the process's time zone.
    static std::vector<LocalDay> range(QDate first, QDate last);

    QDate date() const { return m_date; }
    /// The first instant of the day: midnight, or where the clock skips it, what comes in its place.
    qint64 begin() const { return m_begin; }
    /// That of the next one.
    qint64 end() const { return m_end; }
    bool contains(qint64 instant) const { return m_begin <= instant && instant < m_end; }
    /// When the clock is changed within the day; its end when it is not.
    qint64 change() const { return m_change; }

    /// What the clock shows at an instant of the day: hour·3600 + minute·60 + second.
    qint64 clockSeconds(qint64 instant) const
    {
        return instant + (instant < m_change ? m_offsetBefore : m_offsetAfter) - m_utcMidnight;
    }
    /// Of a time from 0 up to kSeconds.
    Instants instantsOf(qint64 clockSeconds) const;

private:
    struct Zone;
    LocalDay(QDate date, const Zone &zone);
    LocalDay(QDate date, qint64 begin, qint64 end, const Zone &zone);

    QDate m_date;
    qint64 m_utcMidnight = 0; ///< of this date
    qint64 m_begin = 0;
    qint64 m_change = 0;
    qint64 m_end = 0;
    int m_offsetBefore = 0; ///< from UTC in seconds, up to the change
    int m_offsetAfter = 0;
};

} // namespace calc::rules
