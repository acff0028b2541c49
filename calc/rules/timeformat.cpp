#include "calc/rules/timeformat.h"

#include <QDateTime>

namespace calc::rules {

namespace {

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

/// A place in a text, which moves behind what is taken.
class Cursor
{
public:
    explicit Cursor(const QString &text) : m_at(text.cbegin()), m_end(text.cend()) {}

    bool isAtEnd() const { return m_at == m_end; }
    bool take(QChar character)
    {
        if (isAtEnd() || *m_at != character)
            return false;
        ++m_at;
        return true;
    }
    bool take(char character) { return take(QLatin1Char(character)); }
    /// As many digits as there are, up to the most; -1 when they are less than the least.
    int takeNumber(int least, int most)
    {
        int number = 0;
        int digits = 0;
        for (; digits < most && !isAtEnd(); ++digits, ++m_at) {
            const int digit = m_at->unicode() - '0';
            if (digit < 0 || digit > 9)
                break;
            number = number * 10 + digit;
        }
        return digits < least ? -1 : number;
    }
    int takeTwoDigits() { return takeNumber(2, 2); }

private:
    QString::const_iterator m_at;
    QString::const_iterator m_end;
};

/// Nothing where one of the numbers cannot be, or is not there.
std::optional<WrittenTime> written(int year, int month, int day, int hour, int minute, int second)
{
    const QDate date(year, month, day);
    if (year < 0 || !date.isValid() || !QTime::isValid(hour, minute, second))
        return std::nullopt;
    return WrittenTime{date, (hour * 60 + minute) * 60 + second, {}};
}

/// Z, +01:00, -0330 or +02 at the end of a text, in seconds.
std::optional<int> takeOffset(Cursor &cursor)
{
    if (cursor.take('Z'))
        return 0;
    const int sign = cursor.take('-') ? -1 : 1;
    if (sign > 0 && !cursor.take('+'))
        return std::nullopt;
    const int hours = cursor.takeTwoDigits();
    cursor.take(':');
    const int minutes = cursor.isAtEnd() ? 0 : cursor.takeTwoDigits();
    if (hours < 0 || hours > 14 || minutes < 0 || minutes > 59)
        return std::nullopt;
    return sign * (hours * 60 + minutes) * 60;
}

} // namespace

qint64 WrittenTime::asUtc() const
{
    constexpr qint64 kDaySeconds = 86400;
    return QDate(1970, 1, 1).daysTo(date) * kDaySeconds + second;
}

TimeFormat::TimeFormat(const QString &format)
    : m_text(format), m_hasShortYear(countOutsideQuotes(format, QLatin1Char('y')) == 2), m_sections(numbersOf(format))
{
    if (countOutsideQuotes(format, QLatin1Char('t')) == 0)
        m_withOffset = format + QLatin1Char('t');
}

std::vector<TimeFormat::Section> TimeFormat::numbersOf(const QString &format)
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
    std::vector<Section> sections;
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
        const bool touches = isNumber && !sections.empty() && sections.back().kind != Section::Character;
        if (!(isNumber || isBetween) || touches)
            return {};
        known |= 1 << kind;
        sections.push_back({kind, length, kind == Section::Year ? 4 : 2, letter});
    }
    const int whole = 1 << Section::Day | 1 << Section::Month | 1 << Section::Year | 1 << Section::Hour;
    return (known & whole) == whole ? sections : std::vector<Section>();
}

/// Only what is plainly in the format.
std::optional<WrittenTime> TimeFormat::readNumbers(const QString &text) const
{
    int values[Section::Second + 1] = {};
    Cursor cursor(text);
    for (const Section &section : m_sections) {
        if (section.kind == Section::Character) {
            if (!cursor.take(section.character))
                return std::nullopt;
        } else {
            values[section.kind] = cursor.takeNumber(section.minDigits, section.maxDigits);
        }
    }
    if (m_sections.empty() || !cursor.isAtEnd())
        return std::nullopt;
    return written(values[Section::Year], values[Section::Month], values[Section::Day], values[Section::Hour],
                   values[Section::Minute], values[Section::Second]);
}

std::optional<WrittenTime> TimeFormat::read(const QString &text) const
{
    if (auto time = readNumbers(text))
        return time;
    // With an offset, since Qt takes a local time that the clock skips for an unreadable one.
    const bool tellsOffset = m_withOffset.isEmpty();
    const QDateTime time = tellsOffset ? QDateTime::fromString(text, m_text)
                                       : QDateTime::fromString(text + QLatin1String("+00:00"), m_withOffset);
    if (!time.isValid())
        return std::nullopt;
    const WrittenTime shown{time.date(), time.time().msecsSinceStartOfDay() / 1000, {}};
    return tellsOffset ? WrittenTime{shown.date, shown.second, time.offsetFromUtc()} : shown;
}

std::optional<WrittenTime> TimeFormat::readIso(const QString &text)
{
    Cursor cursor(text);
    const int year = cursor.takeNumber(4, 4);
    bool ok = cursor.take('-');
    const int month = cursor.takeTwoDigits();
    ok = cursor.take('-') && ok;
    const int day = cursor.takeTwoDigits();
    ok = (cursor.take('T') || cursor.take(' ')) && ok;
    const int hour = cursor.takeTwoDigits();
    ok = cursor.take(':') && ok;
    const int minute = cursor.takeTwoDigits();
    const int second = cursor.take(':') ? cursor.takeTwoDigits() : 0;
    if (cursor.take('.')) {
        ok = cursor.takeNumber(1, 1) >= 0 && ok; // a part of a second
        while (cursor.takeNumber(1, 1) >= 0) {
        }
    }
    auto time = ok ? written(year, month, day, hour, minute, second) : std::nullopt;
    if (!time || cursor.isAtEnd())
        return time;
    time->offset = takeOffset(cursor);
    return time->offset && cursor.isAtEnd() ? time : std::nullopt;
}

} // namespace calc::rules
