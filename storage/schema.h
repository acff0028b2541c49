#pragma once

#include "storage/connection.h"

#include <QHash>
#include <QSet>
#include <QString>

namespace storage {

/// Sets how the file is written, and creates the server's own tables and indexes where they are missing. Failures are
/// warning lines at most.
void prepareOwnTables(Connection &connection);

/// Gathers what SQLite's planner wants to know of tables that have grown. Bounded in time, and left for another day
/// when the file is in use.
void gatherStatistics(Connection &connection);

/// The column sets of tables, kept. Another process may alter a table at any time, so they hold for one version of the
/// schema only.
class ColumnSets
{
public:
    explicit ColumnSets(Connection &connection) : m_connection(connection) {}

    /// Upper-case names; empty for a table that does not exist. A failure when the file does not tell.
    Status columnsOf(const QString &table, QSet<QString> *columns);
    void forget();

private:
    Connection &m_connection;
    qint64 m_version = -1;
    QHash<QString, QSet<QString>> m_columns;
};

} // namespace storage
