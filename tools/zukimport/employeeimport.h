#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

namespace tools::zukimport {

class CsvTable;
class EmployeeRoster;
class ImportReport;
class ImportStore;
struct ImportOptions;

/// Adds the employees of a CSV file. Those whose personal number is known are left as they are.
class EmployeeImport
{
public:
    /// All of them are the caller's and outlive the import.
    EmployeeImport(const ImportOptions &options, ImportStore &store, EmployeeRoster &roster, ImportReport &report);

    /// Columns that every added employee gets where the file says nothing: active, with the chosen settings.
    QHash<QString, QVariant> defaults() const;
    /// The reason when the file or the chosen settings cannot be used at all, else empty.
    QString run();
    /// Whether the settings that added employees get are in the database; the reason when not.
    QString checkSettings();

private:
    QString readRow(const CsvTable &table, const QHash<QString, int> &positions, QHash<QString, QVariant> &row);
    bool hasKey(const QString &table, const QString &key);

    const ImportOptions &m_options;
    ImportStore &m_store;
    EmployeeRoster &m_roster;
    ImportReport &m_report;
    QHash<QString, bool> m_keys; ///< "table/key" looked up before
};

} // namespace tools::zukimport
