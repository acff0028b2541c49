#pragma once

#include "calc/rules/localclock.h"

#include <QHash>
#include <QString>

#include <optional>
#include <vector>

namespace calc::output {

/// Display texts of durations, clock times and dates. Equal texts of one object are one shared string.
class TimeTexts
{
public:
    /// The texts of instants need the days in which these lie.
    TimeTexts(bool withSeconds, rules::LocalClock clock = {});

    /// Seconds as "hh:mm" or "hh:mm:ss", with a minus sign when negative; hours do not wrap at 24.
    const QString &duration(qint64 seconds);
    /// What the clock shows at the instant, in the same form.
    const QString &clockTime(qint64 instant);
    /// The local day of the instant as "ddd dd.MM.yyyy".
    const QString &date(qint64 instant);

private:
    static constexpr qint64 kKeptMinutes = 200 * 60; ///< durations that occur over and over

    QString compose(qint64 seconds) const;

    bool m_withSeconds;
    rules::LocalClock m_clock;
    std::vector<QString> m_minutes; ///< texts of whole minutes from 0; empty until needed
    QHash<qint64, QString> m_others;
    QHash<qint64, QString> m_dates;
};

} // namespace calc::output
