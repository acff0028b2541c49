#pragma once

#include "storage/connection.h"

#include <QHash>
#include <QSet>
#include <QString>

namespace storage {

// The newest time of a line's log rows and of a terminal's events. Ordered by the index: with statistics of a small
// table, SQLite's planner takes max() for worth a walk through all rows of the line.
constexpr char kLastLogTime[] = "SELECT ftimestamp FROM logs WHERE line=? ORDER BY ftimestamp DESC LIMIT 1";
// Of the numbers: a text that a terminal sent for a time is more than any number, and would hide them all.
constexpr char kLastEventTime[] = "SELECT timestamp FROM events WHERE tid=? AND typeof(timestamp)='integer' "
                                  "ORDER BY timestamp DESC LIMIT 1";

/// Sets how the file is written, and creates the server's own tables and indexes where they are missing. Failures are
/// warning lines at most.
void prepareOwnTables(Connection &connection);
/// Sets how the file is written, where another program that held it prevented that.
void applySettings(Connection &connection);

/// Gathers what SQLite's planner wants to know of tables that have grown: without it, "who is present" reads years of
/// events. What it knows of small tables is forgotten: with that, a table that has grown since is read from one end to
/// the other at each event. Bounded in time, and left for another day when the file is in use.
void gatherStatistics(Connection &connection);
/// The same where the file has statistics.
void refreshStatistics(Connection &connection);

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
