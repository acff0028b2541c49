#pragma once

#include "calc/rules/calcerrors.h"
#include "calc/rules/calcinputs.h"

#include <QHash>
#include <QVariantList>

class DataBase;

/// Reads the inputs of a calculation: the one layer of the calculation that knows the tables. Used once.
class CalcReader
{
public:
    /// A longer period (a hundred years) is refused before anything is worked out for its days.
    static constexpr qint64 kMaxPeriodDays = 36600;
    /// So many days of employees are calculated at once, 1,000 employees' year; more is refused, since result and
    /// answer take about 5 KB each.
    static constexpr qint64 kMaxEmployeeDays = 400000;
    /// Longer lists of employees are filtered here: a statement's condition has a bounded depth.
    static constexpr int kMaxUsersInStatement = 500;

    /// Database and error list are not owned and must outlive this object.
    CalcReader(DataBase &database, CalcErrors &errToDb);

    /// Fills the inputs; false after a fatal fault, which then is in the error list.
    bool readAllEvents(const QAny &request, CalcInputs &inputs);

private:
    bool readPeriod(const QAny &request);
    void readUserFilter(const QAny &request);
    void readAssignments();
    bool readCalendar();
    bool readEmployees(const QAny &request);
    void checkSettings(const Employee &employee);
    bool readEvents(const QAny &request);
    int readTerminalEvents(const QString &nameColumn);
    int readMetaEvents();
    void addEvent(Event event);
    void completeEvents();
    bool fail(const QString &text);
    QString userClause(const QString &column) const;
    QVariantList withUsers(QVariantList bindings) const;
    const QString &shared(const QString &text);

    DataBase &m_database;
    CalcErrors &m_errors;
    CalcInputs *m_inputs = nullptr;
    bool m_filtered = false; ///< only the users below are calculated
    std::vector<qint64> m_users;
    qint64 m_readFrom = 0;
    qint64 m_readTo = 0;
    QHash<qint64, int> m_employeeOf; ///< by user
    QHash<QString, QString> m_texts; ///< one copy of each common text
};
