#pragma once

#include "tools/demodata/demopunch.h"
#include "tools/demodata/demoroles.h"
#include "tools/demodata/demostaff.h"

class DataBase;

namespace tools::demodata {

/// Writes the rows of the demo into the tables. Each method is false when the row could not be stored.
class DemoStore
{
public:
    /// The database is not owned and must outlive this object.
    explicit DemoStore(DataBase &database) : m_database(database) {}

    /// Runs the statements of the schema that do, or do not, create an index: rows go in faster without.
    bool createTables();
    bool createIndexes();
    /// True when there is an `employees` table that holds rows.
    bool hasEmployees();

    bool addSettings();
    bool addCalendarDay(QDate date, qint64 midnight, const QString &holiday, const QString &note);
    bool addAssignment(qint64 from, qint64 to, const QString &group, int shift);
    bool addEmployee(const DemoEmployee &employee);
    bool addAccess(const DemoEmployee &employee, const QString &name, const QString &password, bool active);
    bool addRole(const DemoEmployee &employee, const DemoRole &role);
    /// Times in Unix seconds.
    bool addPunch(const DemoEmployee &employee, const DemoPunch &punch, qint64 time, bool alsoTerminalEvent);
    struct Balance {
        int status; ///< 1 last accounting, 2 current, 3 archive
        int lastYearDays;
        int lastYearSpent;
        qint64 lastYearUntil;
        int spent;
        int freeHours;
        qint64 updated;
        qint64 changed;
    };
    bool addBalance(const DemoEmployee &employee, const Balance &balance);

    int events() const { return m_events; }
    int corrections() const { return m_corrections; }

private:
    DataBase &m_database;
    int m_events = 0;
    int m_corrections = 0;
    int m_balances = 0;
    int m_assignments = 0;
    qint64 m_terminalEvents = 0;
};

} // namespace tools::demodata
