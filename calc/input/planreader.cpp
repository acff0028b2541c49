#include "calc/input/planreader.h"

#include "calc/input/storedvalues.h"
#include "storage/reader.h"

#include <QDateTime>
#include <QSqlQuery>
#include <QSqlRecord>

#include <algorithm>
#include <limits>

namespace calc::input {

namespace {

const QString kSelectAssignments =
    QStringLiteral(" select * from RAZPOREDC where (FDATE>=? and TDATE<=?)"
                   " or (FDATE<? and TDATE>?) or (FDATE<? and TDATE>?) or (FDATE<? and TDATE>?)");
const QString kSelectCalendar = QStringLiteral("select * from calendar where date>=? and date<=?");
const QString kHoliday = QStringLiteral("PRAZNIK");

QDate localDate(qint64 seconds)
{
    constexpr qint64 limit = 100000000000; // beyond the year 5000 either way
    return QDateTime::fromSecsSinceEpoch(std::clamp(seconds, -limit, limit)).date();
}

/// The row under upper-case keys, whatever case its table declares.
QAny recordOf(const QSqlQuery &query)
{
    const QSqlRecord columns = query.record();
    QAny record(QAny::Hash);
    for (int column = 0; column < columns.count(); ++column)
        record.insert(columns.fieldName(column).toUpper(), QAny::fromVariant(query.value(column)));
    return record;
}

rules::Assignment assignmentOf(const QAny &record, const rules::LocalClock &clock)
{
    const auto dayOf = [&](const QString &key) { return clock.dayOf(localDate(record.lookup(key).toInteger())); };
    rules::Assignment row;
    row.id = record.lookup(QStringLiteral("ID")).toInteger();
    row.firstDay = dayOf(QStringLiteral("FDATE"));
    row.lastDay = dayOf(QStringLiteral("TDATE"));
    row.hasHour = !record.lookup(QStringLiteral("FHOUR")).toString().trimmed().isEmpty();
    row.group = record.lookup(QStringLiteral("RGROUP")).toString();
    row.emplId = record.lookup(QStringLiteral("EMPLID")).toString();
    row.preraz = storedValue(record.lookup(QStringLiteral("PRERAZ")));
    return row;
}

} // namespace

AssignmentRows readAssignments(storage::Reader &database, const rules::LocalClock &clock, const ReadRange &range)
{
    AssignmentRows rows;
    // The comparisons with the bounds are strict, and a row that ends on a day may do so with its first second.
    const qint64 start = range.firstPlanned - 1;
    const qint64 end = range.lastPlanned + 1;
    // The second clause finds all that begin before the range ends and end after it begins; no row meets the others,
    // which are over with their first comparison.
    constexpr qint64 never = std::numeric_limits<qint64>::min();
    database.forEachRow(kSelectAssignments, {start, end, end, start, never, 0, never, 0}, [&](const QSqlQuery &query) {
        const QAny record = recordOf(query);
        rows.assignments.push_back(assignmentOf(record, clock));
        rows.records.append(record);
    });
    return rows;
}

bool readCalendar(storage::Reader &database, const rules::Period &period, const ReadRange &range,
                  std::vector<QString> *holidays)
{
    holidays->assign(static_cast<size_t>(period.clock.dayCount()), QString());
    bool any = false;
    database.forEachRow(kSelectCalendar, {range.firstPlanned, range.lastPlanned}, [&](const QSqlQuery &query) {
        const QAny row = recordOf(query);
        const qint64 date = row.lookup(QStringLiteral("DATE")).toInteger();
        any = any || period.contains(date);
        const QAny &holiday = row.lookup(row.contains(kHoliday) ? kHoliday : QStringLiteral("NOTE"));
        const QString text = holiday.toString().trimmed();
        const int day = period.clock.dayOf(date);
        if (day >= 0 && !text.isEmpty() && text != QLatin1String("0"))
            (*holidays)[static_cast<size_t>(day)] = text;
    });
    return any;
}

} // namespace calc::input
