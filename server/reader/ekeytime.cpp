#include "server/reader/ekeytime.h"

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

EkeyTime::EkeyTime(const QString &format) : m_format(format)
{
    const auto kindOf = [](QChar letter) {
        switch (letter.unicode()) {
        case 'd':
            return Section::Day;
        case 'M':
            return Section::Month;
        case 'y':
            return Section::Year;
        case 'h':
        case 'H':
            return Section::Hour;
        case 'm':
            return Section::Minute;
        case 's':
            return Section::Second;
        default:
            return Section::Character;
        }
    };
    int known = 0;
    for (int at = 0, length = 1; at < format.size(); at += length, length = 1) {
        const QChar letter = format.at(at);
        const Section::Kind kind = kindOf(letter);
        while (kind != Section::Character && at + length < format.size() && format.at(at + length) == letter)
            ++length;
        const bool isNumber =
            kind != Section::Character && !(known & 1 << kind) && (kind == Section::Year ? length == 4 : length <= 2);
        const bool isBetween = QLatin1String(".:-/, ").contains(letter);
        // Numbers that touch are Qt's to part.
        const bool touches = isNumber && !m_sections.empty() && m_sections.back().kind != Section::Character;
        if (!(isNumber || isBetween) || touches) {
            m_sections.clear();
            return;
        }
        known |= 1 << kind;
        m_sections.push_back({kind, length, kind == Section::Year ? 4 : 2, letter});
    }
    const int whole = 1 << Section::Day | 1 << Section::Month | 1 << Section::Year | 1 << Section::Hour;
    if ((known & whole) != whole)
        m_sections.clear();
}

/// Only what is plainly in the format; whatever is odd is left to Qt.
bool EkeyTime::readNumbers(const QString &field, QDate *date, QTime *time) const
{
    if (m_sections.empty())
        return false;
    int values[Section::Second + 1] = {};
    int at = 0;
    for (const Section &section : m_sections) {
        if (section.kind == Section::Character) {
            if (at >= field.size() || field.at(at++) != section.character)
                return false;
            continue;
        }
        int digits = 0;
        for (; digits < section.maxDigits && at < field.size(); ++digits, ++at) {
            const int digit = field.at(at).unicode() - '0';
            if (digit < 0 || digit > 9)
                break;
            values[section.kind] = values[section.kind] * 10 + digit;
        }
        if (digits < section.minDigits)
            return false;
    }
    *date = QDate(values[Section::Year], values[Section::Month], values[Section::Day]);
    *time = QTime(values[Section::Hour], values[Section::Minute], values[Section::Second]);
    return at == field.size() && date->isValid() && time->isValid();
}

QDateTime EkeyTime::read(const QString &field) const
{
    QDate date;
    QTime time;
    return readNumbers(field, &date, &time) ? QDateTime(date, time) : QDateTime::fromString(field, m_format);
}

EkeyTime::Verdict EkeyTime::judge(const QString &field, const QDate &today, qint64 lastAccepted)
{
    if (!field.contains(QLatin1Char('.')))
        return {Fault::NoDate};
    if (!field.contains(QLatin1Char(':')))
        return {Fault::NoTime};
    QDate date;
    QTime clock;
    if (readNumbers(field, &date, &clock) && date <= today) {
        lookUp(date);
        if (m_repeated == 0) {
            const qint64 time = m_begin + clock.msecsSinceStartOfDay() / 1000;
            return time < lastAccepted ? Verdict{Fault::TooOld} : Verdict{Fault::None, time};
        }
    }
    const QDateTime local = read(field);
    if (!local.isValid() || local.date() > today)
        return {Fault::Wrong};
    qint64 time = local.toSecsSinceEpoch();
    lookUp(local.date());
    if (m_repeated > 0) {
        const auto showsTheSame = [&local](qint64 other) {
            const QDateTime shown = QDateTime::fromSecsSinceEpoch(other);
            return shown.date() == local.date() &&
                   shown.time().msecsSinceStartOfDay() / 1000 == local.time().msecsSinceStartOfDay() / 1000;
        };
        // Which of the two Qt takes is the C library's affair.
        if (showsTheSame(time - m_repeated))
            time -= m_repeated;
        if (time < lastAccepted && showsTheSame(time + m_repeated))
            time += m_repeated;
    }
    if (time < lastAccepted)
        return {Fault::TooOld};
    return {Fault::None, time};
}

QString EkeyTime::text(qint64 time) const
{
    return QDateTime::fromSecsSinceEpoch(time).toString(m_format);
}

void EkeyTime::lookUp(const QDate &date)
{
    constexpr qint64 kUsualDay = 24 * 60 * 60;
    if (date == m_lookedUp)
        return;
    m_lookedUp = date;
    m_begin = date.startOfDay().toSecsSinceEpoch();
    m_repeated = date.addDays(1).startOfDay().toSecsSinceEpoch() - m_begin - kUsualDay;
}
