#include "tools/zukadmin/explanationtimes.h"

#include <cstdlib>

namespace tools::zukadmin {

namespace {

constexpr qint64 kDaySeconds = 86400;

} // namespace

QString ExplanationTimes::compose(qint64 seconds, int hourDigits) const
{
    const auto padded = [](qint64 number, int digits) {
        return QStringLiteral("%1").arg(number, digits, 10, QLatin1Char('0'));
    };
    QString text = padded(seconds / 3600, hourDigits) + QLatin1Char(':') + padded(seconds / 60 % 60, 2);
    if (m_withSeconds)
        text += QLatin1Char(':') + padded(seconds % 60, 2);
    return text;
}

QString ExplanationTimes::clock(qint64 sinceMidnight) const
{
    qint64 day = sinceMidnight / kDaySeconds;
    qint64 ofDay = sinceMidnight % kDaySeconds;
    if (ofDay < 0) {
        ofDay += kDaySeconds;
        --day;
    }
    const QString text = compose(ofDay, 2);
    if (day == 0)
        return text;
    if (day == 1)
        return m_words.text("nextDay").arg(text);
    if (day == -1)
        return m_words.text("previousDay").arg(text);
    return m_words.text("furtherDay").arg(text, (day > 0 ? QStringLiteral("+") : QString()) + QString::number(day));
}

QString ExplanationTimes::duration(qint64 seconds) const
{
    return (seconds < 0 ? QStringLiteral("-") : QString()) + compose(std::llabs(seconds), 1);
}

QString ExplanationTimes::change(qint64 seconds) const
{
    return (seconds > 0 ? QStringLiteral("+") : QString()) + duration(seconds);
}

} // namespace tools::zukadmin
