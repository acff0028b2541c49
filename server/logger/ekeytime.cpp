#include "ekeytime.h"

QDate EkeyToday::date()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now < m_begin || now >= m_end) {
        m_date = QDateTime::fromMSecsSinceEpoch(now).date();
        m_begin = m_date.startOfDay().toMSecsSinceEpoch();
        m_end = m_date.addDays(1).startOfDay().toMSecsSinceEpoch();
    }
    return m_date;
}

EkeyTime::Verdict EkeyTime::judge(const QString &field, const QDate &today, qint64 lastAccepted)
{
    if (!field.contains(QLatin1Char('.')))
        return {Fault::NoDate};
    if (!field.contains(QLatin1Char(':')))
        return {Fault::NoTime};
    const QDateTime local = QDateTime::fromString(field, m_format);
    if (!local.isValid() || local.date() > today)
        return {Fault::Wrong};
    qint64 time = local.toSecsSinceEpoch();
    if (const qint64 repeated = repeatedSeconds(local.date())) {
        const auto showsTheSame = [&local](qint64 other) {
            const QDateTime shown = QDateTime::fromSecsSinceEpoch(other);
            return shown.date() == local.date() &&
                   shown.time().msecsSinceStartOfDay() / 1000 == local.time().msecsSinceStartOfDay() / 1000;
        };
        // Which of the two Qt takes is the C library's affair.
        if (showsTheSame(time - repeated))
            time -= repeated;
        if (time < lastAccepted && showsTheSame(time + repeated))
            time += repeated;
    }
    if (time < lastAccepted)
        return {Fault::TooOld};
    return {Fault::None, time};
}

QString EkeyTime::text(qint64 time) const
{
    return QDateTime::fromSecsSinceEpoch(time).toString(m_format);
}

/// By how much a day is longer than others.
qint64 EkeyTime::repeatedSeconds(const QDate &date)
{
    constexpr qint64 kUsualDay = 24 * 60 * 60;
    if (date != m_lookedUp) {
        m_lookedUp = date;
        m_repeated = qMax<qint64>(0, date.startOfDay().secsTo(date.addDays(1).startOfDay()) - kUsualDay);
    }
    return m_repeated;
}
