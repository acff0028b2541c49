#include "tools/zukimport/calendarimport.h"

#include "options/dateperiod.h"
#include "tools/zukimport/csvtable.h"
#include "tools/zukimport/importoptions.h"
#include "tools/zukimport/importreport.h"
#include "tools/zukimport/importstore.h"
#include "tools/zukimport/punchclock.h"
#include "tools/zukimport/slovenianholidays.h"

namespace tools::zukimport {

CalendarImport::CalendarImport(const ImportOptions &options, ImportStore &store, ImportReport &report)
    : m_options(options), m_store(store), m_report(report)
{
}

QString CalendarImport::readHolidays()
{
    if (m_options.holidaysFile.isEmpty())
        return {};
    CsvTable table(m_options.holidaysFile, m_options.csv, m_report);
    const QString fault = table.open();
    if (!fault.isEmpty())
        return fault;
    const int day = table.column(QStringLiteral("date"));
    const int name = table.column(QStringLiteral("name"));
    if (day < 0 || name < 0)
        return QStringLiteral("%1: no columns date and name").arg(m_options.holidaysFile);
    while (table.next()) {
        const QDate date = readDate(table.value(day));
        if (!date.isValid())
            table.refuse(QStringLiteral("\"%1\" is not a date").arg(table.value(day)));
        else if (table.value(name).isEmpty())
            table.refuse(QStringLiteral("no name"));
        else if (date < m_options.calendarFrom || date > m_options.calendarTo)
            table.refuse(QStringLiteral("the day is not in the calendar's range"));
        else
            m_holidays.insert(date, table.value(name));
    }
    return {};
}

QString CalendarImport::run()
{
    const QString fault = readHolidays();
    if (!fault.isEmpty())
        return fault;
    const PunchClock clock(QString(), m_options.zone);

    QHash<qint64, QString> stored; // midnight to holiday
    QSqlQuery rows = m_store.select(QStringLiteral("SELECT DATE, PRAZNIK FROM calendar WHERE DATE>=? AND DATE<=?"),
                                    {clock.startOfDay(m_options.calendarFrom), clock.startOfDay(m_options.calendarTo)});
    while (rows.next())
        stored.insert(rows.value(0).toLongLong(), rows.value(1).toString());

    for (QDate date = m_options.calendarFrom; date <= m_options.calendarTo; date = date.addDays(1)) {
        const qint64 midnight = clock.startOfDay(date);
        const QString holiday =
            m_holidays.value(date, m_options.slovenianHolidays ? slovenianHoliday(date) : QString());
        const auto known = stored.constFind(midnight);
        if (known == stored.constEnd()) {
            m_store.write(QStringLiteral("INSERT INTO calendar (DATE, DATESTAMP, NOTE, PRAZNIK, TIMEZ) "
                                         "VALUES (?, ?, ?, ?, 0)"),
                          {midnight, date.toString(QStringLiteral("d.M.yyyy")), holiday, holiday});
            ++m_report.days.added;
        } else if (!holiday.isEmpty() && (known->isEmpty() || *known == QLatin1String("0"))) {
            m_store.write(QStringLiteral("UPDATE calendar SET PRAZNIK=? WHERE DATE=?"), {holiday, midnight});
            ++m_report.holidaysSet;
        } else {
            ++m_report.days.skipped;
        }
    }
    return {};
}

} // namespace tools::zukimport
