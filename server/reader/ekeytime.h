#pragma once

#include "calc/rules/localday.h"
#include "calc/rules/timeformat.h"
#include "server/process/clock.h"

#include <QDate>
#include <QString>

namespace server::reader {

/// Today by the local calendar, worked out once a day. Used on one thread at a time.
class EkeyToday
{
public:
    explicit EkeyToday(process::Clock clock) : m_clock(std::move(clock)) {}

    QDate date();

private:
    process::Clock m_clock;
    calc::rules::LocalDay m_day;
};

/// Reads and judges the times of the fingerprint reader's file, which are local ones. A file may have millions of them,
/// so each day is looked up once. Used on one thread at a time.
class EkeyTime
{
public:
    enum class Fault {
        None,
        NoDate, ///< without a "."
        NoTime, ///< without a ":"
        Wrong,  ///< not in the format, of a day to come, or never shown by the clock
        TooOld, ///< before the last accepted time
    };
    struct Verdict {
        Fault fault = Fault::None;
        qint64 time = 0; ///< in seconds since 1970 UTC; of an accepted one
    };

    /// The format is one of QDateTime::fromString().
    explicit EkeyTime(const QString &format) : m_format(format) {}

    /// In the autumn hour that comes twice, a time that would be too old is taken for the second one.
    Verdict judge(const QString &field, const QDate &today, qint64 lastAccepted);
    /// A time as the file would have it.
    QString text(qint64 time) const;

private:
    calc::rules::TimeFormat m_format;
    calc::rules::LocalDay m_day; ///< of the latest time
};

} // namespace server::reader
