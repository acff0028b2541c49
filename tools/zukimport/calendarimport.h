#pragma once

#include <QDate>
#include <QHash>
#include <QString>

namespace tools::zukimport {

class ImportReport;
class ImportStore;
struct ImportOptions;

/// Adds the days of a range to `calendar`, with their public holidays. Days that are there stay as they are, except
/// that one without a holiday becomes one when it is.
class CalendarImport
{
public:
    /// All of them are the caller's and outlive the import.
    CalendarImport(const ImportOptions &options, ImportStore &store, ImportReport &report);

    /// The reason when the holidays' file cannot be used at all, else empty.
    QString run();

private:
    QString readHolidays();

    const ImportOptions &m_options;
    ImportStore &m_store;
    ImportReport &m_report;
    QHash<QDate, QString> m_holidays;
};

} // namespace tools::zukimport
