#pragma once

#include "tools/zukimport/punchclock.h"

#include <QHash>
#include <QString>

#include <vector>

namespace tools::zukimport {

class CsvTable;
class EmployeeImport;
class EmployeeRoster;
class ImportReport;
class ImportStore;
struct ImportOptions;

/// Adds the punches of a CSV file, in any order of its lines, to `allevents`. Events that the table already holds
/// (same employee, time and code) are left as they are.
class PunchImport
{
public:
    /// All of them are the caller's and outlive the import.
    PunchImport(const ImportOptions &options, ImportStore &store, EmployeeRoster &roster,
                const EmployeeImport &employees, ImportReport &report);

    /// The reason when the file cannot be used at all, else empty.
    QString run();

private:
    struct Punch {
        qint64 user;
        qint64 seconds;
        int meaning; ///< of the word table
        int line;
    };
    struct Event {
        qint64 user;
        qint64 seconds;
        int code; ///< of m_codeTexts
    };

    QString readPunches();
    /// `ID` of the named employee; on a fault of the line 0, with the reason.
    qint64 findEmployee(const QString &name, QString &reason) const;
    qint64 createEmployee(const QString &name);
    void buildEvents();
    void storeEvents();
    int codeIndex(const QString &text);
    std::vector<Event> storedEvents(qint64 from, qint64 to);

    const ImportOptions &m_options;
    ImportStore &m_store;
    EmployeeRoster &m_roster;
    const EmployeeImport &m_employees;
    ImportReport &m_report;
    PunchClock m_clock;
    std::vector<Punch> m_punches;
    std::vector<Event> m_events;
    /// Texts that name one code are one event's: a terminal may call it otherwise than the importer.
    QHash<QString, int> m_codes;
    QStringList m_codeTexts;
};

} // namespace tools::zukimport
