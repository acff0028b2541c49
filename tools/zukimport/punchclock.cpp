#include "tools/zukimport/punchclock.h"

namespace tools::zukimport {

namespace {

/// Two-digit years are of the century in which the system runs.
constexpr int kFirstYear = 1970;
constexpr int kCentury = 100;

} // namespace

PunchClock::PunchClock(const QString &format, const QTimeZone &zone) : m_format(format), m_zone(zone) {}

PunchClock::Reading PunchClock::read(const QString &text, qint64 notBefore) const
{
    if (m_format.text() == QLatin1String("unix")) {
        bool ok = false;
        const qint64 seconds = text.toLongLong(&ok);
        return ok && seconds > 0 ? Reading{Exact, seconds} : Reading{};
    }
    auto written =
        m_format.text() == QLatin1String("iso") ? calc::rules::TimeFormat::readIso(text) : m_format.read(text);
    if (!written)
        return {};
    if (m_format.hasShortYear() && written->date.year() < kFirstYear)
        written->date = written->date.addYears(kCentury);
    if (written->offset)
        return {Exact, written->asUtc() - *written->offset};
    return fromLocal(written->date, written->second, notBefore);
}

qint64 PunchClock::startOfDay(QDate date) const
{
    return calc::rules::LocalDay(date, m_zone).begin();
}

PunchClock::Reading PunchClock::fromLocal(QDate date, int secondOfDay, qint64 notBefore) const
{
    if (m_day.date() != date)
        m_day = calc::rules::LocalDay(date, m_zone);
    const calc::rules::LocalDay::Instants shown = m_day.instantsOf(secondOfDay);
    if (shown.isSkipped)
        return {Skipped, 0};
    if (!shown.isTwice())
        return {Exact, shown.first};
    return shown.first < notBefore && notBefore <= shown.second ? Reading{TakenAsSecond, shown.second}
                                                                : Reading{TakenAsFirst, shown.first};
}

} // namespace tools::zukimport
