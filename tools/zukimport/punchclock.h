#pragma once

#include "calc/rules/localday.h"
#include "calc/rules/timeformat.h"

#include <QDate>
#include <QString>
#include <QTimeZone>

namespace tools::zukimport {

/// Reads the time texts of an input file: what a local clock showed, as instants in Unix seconds.
class PunchClock
{
public:
    enum Kind {
        Exact,
        /// The clock showed this time twice, when it was set back; taken as the first or the second time.
        TakenAsFirst,
        TakenAsSecond,
        /// The clock never showed this time, because it was set forward over it.
        Skipped,
        Unreadable
    };
    struct Reading {
        Kind kind = Unreadable;
        qint64 seconds = 0;
    };

    /// The format is "iso" (2015-10-25 02:30, with T or a blank, seconds and an offset from UTC as they come), "unix"
    /// (seconds) or one of QDateTime::fromString().
    PunchClock(const QString &format, const QTimeZone &zone);

    /// Of a time that the clock showed twice the first is taken, or the second when the first lies before notBefore.
    Reading read(const QString &text, qint64 notBefore) const;
    /// The instant at which the day begins.
    qint64 startOfDay(QDate date) const;

private:
    Reading fromLocal(QDate date, int secondOfDay, qint64 notBefore) const;

    calc::rules::TimeFormat m_format;
    QTimeZone m_zone;
    mutable calc::rules::LocalDay m_day; ///< of the latest punch: they come day by day
};

} // namespace tools::zukimport
