#include "calc/output/timetexts.h"

#include <QDateTime>

#include <cstdlib>

namespace calc::output {

TimeTexts::TimeTexts(bool withSeconds, rules::LocalClock clock)
    : m_withSeconds(withSeconds), m_clock(std::move(clock)), m_minutes(static_cast<size_t>(kKeptMinutes))
{
}

QString TimeTexts::compose(qint64 seconds) const
{
    const qint64 magnitude = std::llabs(seconds);
    const auto twoDigits = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    QString text = seconds < 0 ? QStringLiteral("-") : QString();
    text += twoDigits(magnitude / 3600) + QLatin1Char(':') + twoDigits(magnitude / 60 % 60);
    if (m_withSeconds)
        text += QLatin1Char(':') + twoDigits(magnitude % 60);
    return text;
}

const QString &TimeTexts::duration(qint64 seconds)
{
    // Without seconds, and for whole minutes with them, the text depends on the minute alone.
    if (seconds >= 0 && seconds < kKeptMinutes * 60 && (!m_withSeconds || seconds % 60 == 0)) {
        QString &text = m_minutes[static_cast<size_t>(seconds / 60)];
        if (text.isNull())
            text = compose(seconds);
        return text;
    }
    QString &text = m_others[seconds];
    if (text.isNull())
        text = compose(seconds);
    return text;
}

const QString &TimeTexts::clockTime(qint64 instant)
{
    const int day = m_clock.dayOf(instant);
    if (day >= 0)
        return duration(m_clock.clockSeconds(instant, day));
    const QTime time = QDateTime::fromSecsSinceEpoch(instant).time();
    return duration(QTime(0, 0).secsTo(time));
}

const QString &TimeTexts::date(qint64 instant)
{
    QString &text = m_dates[instant];
    if (text.isNull())
        text = QDateTime::fromSecsSinceEpoch(instant).date().toString(QStringLiteral("ddd dd.MM.yyyy"));
    return text;
}

} // namespace calc::output
