#pragma once

#include "calc/input/calcrequest.h"
#include "calc/input/readrange.h"

#include <QHash>

namespace storage {
class Reader;
}

namespace calc::input {

/// Reads the events of the employees: those of the journal (`allevents`) and those entered by hand (`metalog`). Used
/// once.
class EventReader
{
public:
    /// Nothing is owned; all must outlive this object.
    EventReader(storage::Reader &database, const CalcRequest &request, const ReadRange &range,
                std::vector<rules::Employee> &employees);

    /// Appends the events to their employees, unordered; the number of rows that were read, also of others. With
    /// sources every event tells who brought it.
    int read(bool withSources);

private:
    int readJournal();
    int readHandEntered();
    void readTerminals();
    void readAuthors();
    void add(qint64 user, rules::Event event);
    const QString &shared(const QString &text);
    /// Runs the statement for every part of the employees asked for, over the range.
    int forEachRow(const QString &sql, const std::function<void(const QSqlQuery &)> &reader);

    storage::Reader &m_database;
    const CalcRequest &m_request;
    const ReadRange &m_range;
    std::vector<rules::Employee> &m_employees;
    bool m_withSources = false;
    QHash<qint64, QString> m_terminals; ///< by row of the journal
    QHash<QString, QString> m_authors;  ///< by id
    QHash<qint64, int> m_employeeOf;    ///< by user
    qint64 m_lastUser = 0;
    int m_lastEmployee = -1;         ///< of the last user; -1 without one
    QHash<QString, QString> m_texts; ///< one copy of each common text
    const QString m_empty = QStringLiteral("");
};

} // namespace calc::input
