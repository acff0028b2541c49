#include "tools/zukimport/punchclock.h"

#include <QDateTime>

namespace {

constexpr qint64 kDaySeconds = 86400;
constexpr int kCentury = 100;
/// Two-digit years are of the century in which the system runs.
constexpr int kFirstYear = 1970;

qint64 utcSeconds(QDate date)
{
    return QDate(1970, 1, 1).daysTo(date) * kDaySeconds;
}

/// How often the format has the letter outside its quoted parts.
int countOutsideQuotes(const QString &format, QChar letter)
{
    int count = 0;
    bool quoted = false;
    for (const QChar c : format) {
        if (c == QLatin1Char('\''))
            quoted = !quoted;
        else if (!quoted && c == letter)
            ++count;
    }
    return count;
}

/// Number of the digits at the position, which moves behind them; -1 when there are fewer.
int takeDigits(const QString &text, int &position, int digits)
{
    int number = 0;
    for (int i = 0; i < digits; ++i, ++position) {
        const int digit = position < text.size() ? text.at(position).unicode() - '0' : -1;
        if (digit < 0 || digit > 9)
            return -1;
        number = number * 10 + digit;
    }
    return number;
}

bool takeChar(const QString &text, int &position, char c)
{
    if (position >= text.size() || text.at(position) != QLatin1Char(c))
        return false;
    ++position;
    return true;
}

} // namespace

PunchClock::PunchClock(const QString &format, const QTimeZone &zone)
    : m_format(format), m_hasOffset(countOutsideQuotes(format, QLatin1Char('t')) > 0),
      m_hasShortYear(countOutsideQuotes(format, QLatin1Char('y')) == 2), m_zone(zone)
{
}

PunchClock::Reading PunchClock::read(const QString &text, qint64 notBefore) const
{
    if (m_format == QLatin1String("iso"))
        return readIso(text, notBefore);
    if (m_format == QLatin1String("unix")) {
        bool ok = false;
        const qint64 seconds = text.toLongLong(&ok);
        return ok && seconds > 0 ? Reading{Exact, seconds} : Reading{};
    }
    return readCustom(text, notBefore);
}

qint64 PunchClock::startOfDay(QDate date) const
{
    return date.startOfDay(m_zone).toSecsSinceEpoch();
}

PunchClock::Reading PunchClock::readIso(const QString &text, qint64 notBefore) const
{
    int at = 0;
    const int year = takeDigits(text, at, 4);
    bool ok = takeChar(text, at, '-');
    const int month = takeDigits(text, at, 2);
    ok = takeChar(text, at, '-') && ok;
    const int day = takeDigits(text, at, 2);
    ok = (takeChar(text, at, 'T') || takeChar(text, at, ' ')) && ok;
    const int hour = takeDigits(text, at, 2);
    ok = takeChar(text, at, ':') && ok;
    const int minute = takeDigits(text, at, 2);
    const int second = takeChar(text, at, ':') ? takeDigits(text, at, 2) : 0;
    if (takeChar(text, at, '.')) {
        const int start = at;
        while (at < text.size() && text.at(at).isDigit())
            ++at;
        ok = at > start && ok;
    }
    const QDate date(year, month, day);
    if (!ok || !date.isValid() || !QTime::isValid(hour, minute, second))
        return {};
    const int secondOfDay = (hour * 60 + minute) * 60 + second;
    if (at == text.size())
        return fromLocal(date, secondOfDay, notBefore);

    int offset = 0;
    if (!takeChar(text, at, 'Z')) {
        const int sign = takeChar(text, at, '-') ? -1 : 1;
        if (sign > 0 && !takeChar(text, at, '+'))
            return {};
        const int hours = takeDigits(text, at, 2);
        takeChar(text, at, ':');
        const int minutes = at < text.size() ? takeDigits(text, at, 2) : 0;
        if (hours < 0 || hours > 14 || minutes < 0 || minutes > 59)
            return {};
        offset = sign * (hours * 60 + minutes) * 60;
    }
    return at == text.size() ? Reading{Exact, utcSeconds(date) + secondOfDay - offset} : Reading{};
}

PunchClock::Reading PunchClock::readCustom(const QString &text, qint64 notBefore) const
{
    // Read as UTC, since Qt takes a local time that the clock skips for an unreadable one.
    QDateTime read = m_hasOffset ? QDateTime::fromString(text, m_format)
                                 : QDateTime::fromString(text + QStringLiteral("+00:00"), m_format + QLatin1Char('t'));
    if (!read.isValid())
        return {};
    if (m_hasShortYear && read.date().year() < kFirstYear)
        read = read.addYears(kCentury);
    if (m_hasOffset)
        return {Exact, read.toSecsSinceEpoch()};
    return fromLocal(read.date(), read.time().msecsSinceStartOfDay() / 1000, notBefore);
}

PunchClock::Reading PunchClock::fromLocal(QDate date, int secondOfDay, qint64 notBefore) const
{
    const qint64 midnight = utcSeconds(date);
    if (m_day != date) {
        m_day = date;
        m_offsetBefore = m_zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(midnight - kDaySeconds, Qt::UTC));
        m_offsetAfter = m_zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(midnight + 2 * kDaySeconds, Qt::UTC));
    }
    const qint64 first = midnight + secondOfDay - m_offsetBefore;
    if (m_offsetBefore == m_offsetAfter)
        return {Exact, first};
    const qint64 second = midnight + secondOfDay - m_offsetAfter;
    const auto isShownAt = [this](qint64 instant, int offset) {
        return m_zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(instant, Qt::UTC)) == offset;
    };
    const bool firstIs = isShownAt(first, m_offsetBefore);
    const bool secondIs = isShownAt(second, m_offsetAfter);
    if (firstIs && secondIs)
        return first < notBefore && notBefore <= second ? Reading{TakenAsSecond, second} : Reading{TakenAsFirst, first};
    if (!firstIs && !secondIs)
        return {Skipped, 0};
    return {Exact, firstIs ? first : second};
}
