// Whether the calendar has the days to come.

#include "tools/doctor/checks.h"

namespace tools::doctor {

namespace {

constexpr int kDays = 60;
/// Holidays and free days of these are judged next.
constexpr int kUrgentDays = 7;
constexpr qint64 kDaySeconds = 86400;

/// Days that follow one another as "first to last".
QStringList spansOf(const QVector<QDate> &days)
{
    QStringList spans;
    for (int i = 0; i < days.size();) {
        int end = i;
        while (end + 1 < days.size() && days.at(end).addDays(1) == days.at(end + 1))
            ++end;
        const QString first = days.at(i).toString(Qt::ISODate);
        spans += end == i ? first : first + QStringLiteral(" to ") + days.at(end).toString(Qt::ISODate);
        i = end + 1;
    }
    return spans;
}

} // namespace

void checkCalendar(const Site &site, Findings &findings)
{
    // As the calculation does, a row is of the day on which its second lies.
    const QAny rows = site.rows->select(
        QStringLiteral("select date(DATE,'unixepoch','localtime') as DAY from calendar where DATE>=%1 and DATE<=%2")
            .arg(site.now - 2 * kDaySeconds)
            .arg(site.now + (kDays + 1) * kDaySeconds));
    QSet<QString> there;
    for (int i = 0; i < rows.count(); ++i)
        there.insert(rows.at(i).lookup(QStringLiteral("DAY")).toString());
    QVector<QDate> missing;
    for (int day = 0; day < kDays; ++day) {
        const QDate date = site.today().addDays(day);
        if (!there.contains(date.toString(Qt::ISODate)))
            missing += date;
    }
    if (missing.isEmpty())
        return;
    const bool isUrgent = missing.first() < site.today().addDays(kUrgentDays);
    findings.add(isUrgent ? Severity::Act : Severity::Soon,
                 QStringLiteral("%1 of the next %2 days have no row in the calendar: their holidays count as working "
                                "days, and a period of such days alone is not calculated")
                     .arg(missing.size())
                     .arg(kDays),
                 QStringLiteral("add them in the administration, or with the server stopped: zukimport FILE "
                                "--calendar %1..%2")
                     .arg(missing.first().toString(Qt::ISODate), missing.last().toString(Qt::ISODate)),
                 spansOf(missing));
}

} // namespace tools::doctor
