#pragma once

#include "tools/zukimport/csvreader.h"

#include <QFile>
#include <QHash>

#include <memory>

namespace tools::zukimport {

class ImportReport;

/// How the CSV files of an import are written.
struct CsvFormat {
    QString encoding = QStringLiteral("UTF-8");
    QChar delimiter = QLatin1Char(',');
};

/// A CSV file with a header line: its records by column name. Records that cannot be used, or whose number of columns
/// is not the header's, go to the report with their line and are left out.
class CsvTable
{
public:
    /// The report is the caller's and outlives the table.
    CsvTable(const QString &path, const CsvFormat &format, ImportReport &report);

    /// Opens the file and reads its header; the reason when it cannot, else empty.
    QString open();
    /// Position of the named column, in any case; -1 when there is none.
    int column(const QString &name) const { return m_columns.value(name.trimmed().toLower(), -1); }

    /// The next good record; false at the end.
    bool next();
    int line() const { return m_record.line; }
    /// The record's value without blanks around it; empty for column -1.
    QString value(int column) const { return column < 0 ? QString() : m_record.fields.at(column).trimmed(); }
    void refuse(const QString &reason);
    void note(const QString &text);

private:
    QFile m_file;
    CsvFormat m_format;
    ImportReport &m_report;
    std::unique_ptr<CsvReader> m_reader;
    CsvRecord m_record;
    QHash<QString, int> m_columns;
    int m_columnCount = 0;
};

} // namespace tools::zukimport
