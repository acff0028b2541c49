#include "server/reader/ekeytime.h"

#include <QDateTime>

namespace server::reader {

QDate EkeyToday::date()
{
    constexpr int kMs = 1000;
    const qint64 now = m_clock() / kMs;
    if (!m_day.contains(now))
        m_day = calc::rules::LocalDay(QDateTime::fromSecsSinceEpoch(now).date());
    return m_day.date();
}

EkeyTime::Verdict EkeyTime::judge(const QString &field, const QDate &today, qint64 lastAccepted)
{
    if (!field.contains(QLatin1Char('.')))
        return {Fault::NoDate};
    if (!field.contains(QLatin1Char(':')))
        return {Fault::NoTime};
    const auto written = m_format.read(field);
    if (!written || written->date > today)
        return {Fault::Wrong};
    qint64 time = 0;
    if (written->offset) {
        time = written->asUtc() - *written->offset;
    } else {
        if (m_day.date() != written->date)
            m_day = calc::rules::LocalDay(written->date);
        const calc::rules::LocalDay::Instants shown = m_day.instantsOf(written->second);
        if (shown.isSkipped)
            return {Fault::Wrong};
        time = shown.first < lastAccepted ? shown.second : shown.first;
    }
    return time < lastAccepted ? Verdict{Fault::TooOld} : Verdict{Fault::None, time};
}

QString EkeyTime::text(qint64 time) const
{
    return QDateTime::fromSecsSinceEpoch(time).toString(m_format.text());
}

} // namespace server::reader
