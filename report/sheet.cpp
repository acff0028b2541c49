#include "report/sheet.h"

#include "text/texttable.h"

#include <cstdio>

namespace report {

namespace {

constexpr Text kWeekdays[] = {{"pon", "Mon"}, {"tor", "Tue"}, {"sre", "Wed"}, {"čet", "Thu"},
                              {"pet", "Fri"}, {"sob", "Sat"}, {"ned", "Sun"}};
constexpr Text kMonths[] = {{"januar", "January"},  {"februar", "February"},  {"marec", "March"},
                            {"april", "April"},     {"maj", "May"},           {"junij", "June"},
                            {"julij", "July"},      {"avgust", "August"},     {"september", "September"},
                            {"oktober", "October"}, {"november", "November"}, {"december", "December"}};
constexpr qint64 kDaySeconds = 86400;

/// At least two digits when it is padded.
char *writeNumber(char *to, qint64 number, bool isPadded)
{
    char digits[20];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number > 0);
    if (isPadded && count < 2)
        digits[count++] = '0';
    while (count > 0)
        *to++ = digits[--count];
    return to;
}

char *writeMinutes(char *to, qint64 seconds, bool isPadded)
{
    const qint64 minutes = seconds / 60;
    to = writeNumber(to, minutes / 60, isPadded);
    *to++ = ':';
    return writeNumber(to, minutes % 60, true);
}

char *writeDuration(char *to, qint64 seconds)
{
    if (seconds <= -60)
        *to++ = '-';
    return writeMinutes(to, qAbs(seconds), false);
}

char *writeClock(char *to, qint64 seconds)
{
    const qint64 days = seconds / kDaySeconds;
    to = writeMinutes(to, seconds % kDaySeconds, true);
    if (days > 0) {
        *to++ = '+';
        to = writeNumber(to, days, false);
    }
    return to;
}

} // namespace

int Cell::write(char *buffer) const
{
    switch (kind) {
    case Kind::Duration:
        return static_cast<int>(writeDuration(buffer, number) - buffer);
    case Kind::Clock:
        return static_cast<int>(writeClock(buffer, number) - buffer);
    case Kind::Date: {
        int year = 0;
        int month = 0;
        int day = 0;
        QDate::fromJulianDay(number).getDate(&year, &month, &day);
        return std::snprintf(buffer, kMaxLength, "%04d-%02d-%02d", year, month, day);
    }
    case Kind::Empty:
    case Kind::Text:
        break;
    }
    return 0;
}

QString Cell::shown(Language language) const
{
    if (kind == Kind::Text)
        return printable(text);
    char buffer[kMaxLength];
    const QString written = QString::fromLatin1(buffer, write(buffer));
    if (kind != Kind::Date)
        return written;
    const QDate date = QDate::fromJulianDay(number);
    const QString day = language == Language::English ? written : date.toString(QStringLiteral("dd.MM.yyyy"));
    return kWeekdays[date.dayOfWeek() - 1].in(language) + QLatin1Char(' ') + day;
}

Cell *Sheet::addRow(Row row)
{
    rows.push_back(row);
    cells.resize(rows.size() * layout->columns.size());
    return &cells[(rows.size() - 1) * layout->columns.size()];
}

std::vector<size_t> Sheet::shownColumns() const
{
    std::vector<size_t> shown;
    for (size_t column = 0; column < layout->columns.size(); ++column) {
        const Column::Use use = layout->columns[column].use;
        bool isShown = use == Column::Always;
        for (size_t i = 0; use == Column::WhereFilled && !isShown && i < rows.size(); ++i)
            isShown = !row(i)[column].isEmpty();
        if (isShown)
            shown.push_back(column);
    }
    return shown;
}

QString dateText(QDate date, Language language)
{
    if (language == Language::Slovenian)
        return date.toString(QStringLiteral("d. M. yyyy"));
    return QStringLiteral("%1 %2 %3").arg(date.day()).arg(kMonths[date.month() - 1].in(language)).arg(date.year());
}

QString periodText(QDate first, QDate last, Language language)
{
    if (first.day() == 1 && last == first.addMonths(1).addDays(-1))
        return QStringLiteral("%1 %2").arg(kMonths[first.month() - 1].in(language)).arg(first.year());
    return QStringLiteral("%1 – %2").arg(dateText(first, language), dateText(last, language));
}

QString fileNamePart(const QString &text)
{
    constexpr int kMaxLength = 60; // a letter may take four bytes of the 255 that a name has
    QString part;
    for (const QChar c : text) {
        if (c.isLetterOrNumber())
            part += c;
        else if (!part.isEmpty() && !part.endsWith(QLatin1Char('-')))
            part += QLatin1Char('-');
        if (part.size() >= kMaxLength)
            break;
    }
    while (part.endsWith(QLatin1Char('-')))
        part.chop(1);
    return part;
}

} // namespace report
