#include "report/carried.h"

#include "storage/reader.h"

#include <QDateTime>

namespace report {

storage::Status readCarried(storage::Reader &reader, qint64 user, QDate month, std::optional<qint64> *carried)
{
    constexpr qint64 kHour = 3600;
    static const QString sql = QStringLiteral(
        "SELECT FHOURS FROM freehour WHERE IDU=? AND STATUS=1 AND CHGDATE>=? AND CHGDATE<? ORDER BY CHGDATE LIMIT 1");
    carried->reset();
    const QDate first(month.year(), month.month(), 1);
    const auto startOf = [](QDate day) { return day.startOfDay().toSecsSinceEpoch(); };
    return reader.forEachRow(sql, {user, startOf(first), startOf(first.addMonths(1))}, [carried](const QSqlQuery &row) {
        if (!row.value(0).isNull())
            *carried = row.value(0).toLongLong() * kHour;
    });
}

} // namespace report
