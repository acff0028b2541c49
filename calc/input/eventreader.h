#pragma once

#include "calc/input/readrange.h"
#include "calc/input/userfilter.h"
#include "calc/rules/share.h"

#include <QHash>

namespace storage {
class Reader;
}

namespace calc::input {

/// Reads the events of a share of employees: those of the journal (`allevents`) and those entered by hand (`metalog`).
/// Used once.
class EventReader
{
public:
    /// Nothing is owned; all must outlive this object. The hash gives each user's position among the employees.
    EventReader(storage::Reader &database, const ReadRange &range, std::vector<rules::Employee> &employees,
                const QHash<qint64, int> &employeeOf);

    /// Appends the events to their employees, unordered; the number of rows that were read. The statement names so many
    /// employees at least, so that one serves all shares. With the column of names every event tells who brought it.
    int read(rules::Share share, int terms, const QString *authorNames);

private:
    int readJournal();
    int readHandEntered();
    void readTerminals();
    void readAuthors(const QString &names);
    void add(qint64 user, rules::Event event);
    const QString &shared(const QString &text);
    /// Runs the statement for the employees of the share, over the range.
    int forEachRow(const QString &sql, const std::function<void(const QSqlQuery &)> &reader);

    storage::Reader &m_database;
    const ReadRange &m_range;
    std::vector<rules::Employee> &m_employees;
    const QHash<qint64, int> &m_employeeOf;
    UserFilter m_users; ///< of the share
    bool m_withSources = false;
    QHash<qint64, QString> m_terminals; ///< by row of the journal
    QHash<QString, QString> m_authors;  ///< by id
    qint64 m_lastUser = 0;
    int m_lastEmployee = -1;         ///< of the last user; -1 without one
    QHash<QString, QString> m_texts; ///< one copy of each common text
    const QString m_empty = QStringLiteral("");
};

/// Whether the range has any event of those that a request asks for, be they employees or not.
bool hasEventsOfOthers(storage::Reader &database, const UserFilter &users, const ReadRange &range);

} // namespace calc::input
