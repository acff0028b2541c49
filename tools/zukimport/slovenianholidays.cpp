#include "tools/zukimport/slovenianholidays.h"

namespace {

struct FixedHoliday {
    int month;
    int day;
    const char *name;
};

constexpr FixedHoliday kFixedHolidays[] = {
    {1, 1, "novo leto"},
    {2, 8, "Prešernov dan"},
    {4, 27, "dan upora proti okupatorju"},
    {5, 1, "praznik dela"},
    {5, 2, "praznik dela"},
    {6, 25, "dan državnosti"},
    {8, 15, "Marijino vnebovzetje"},
    {10, 31, "dan reformacije"},
    {11, 1, "dan spomina na mrtve"},
    {12, 25, "božič"},
    {12, 26, "dan samostojnosti in enotnosti"},
};

/// The second day of the year was a working day from 2013 to 2016.
constexpr int kSecondOfJanuaryWorkedFrom = 2013;
constexpr int kSecondOfJanuaryFreeAgain = 2017;

constexpr int kEasterMonday = 1;
constexpr int kWhitSunday = 49;

/// Easter Sunday of the Gregorian calendar.
QDate easter(int year)
{
    const int century = year / 100;
    const int golden = year % 19;
    const int moonCorrection = (century - (century - 17) / 25) / 3;
    int epact = (century - century / 4 - moonCorrection + 19 * golden + 15) % 30;
    epact -= (epact / 28) * (1 - (epact / 28) * (29 / (epact + 1)) * ((21 - golden) / 11));
    const int weekday = (year + year / 4 + epact + 2 - century + century / 4) % 7;
    return QDate(year, 3, 28).addDays(epact - weekday);
}

} // namespace

QString slovenianHoliday(QDate date)
{
    for (const FixedHoliday &holiday : kFixedHolidays) {
        if (date.month() == holiday.month && date.day() == holiday.day)
            return QString::fromUtf8(holiday.name);
    }
    if (date.month() == 1 && date.day() == 2 &&
        (date.year() < kSecondOfJanuaryWorkedFrom || date.year() >= kSecondOfJanuaryFreeAgain))
        return QStringLiteral("novo leto");
    switch (easter(date.year()).daysTo(date)) {
    case 0:
        return QStringLiteral("velika noč");
    case kEasterMonday:
        return QStringLiteral("velikonočni ponedeljek");
    case kWhitSunday:
        return QStringLiteral("binkošti");
    default:
        return {};
    }
}
