#include "storage/schema.h"

#include <QSqlRecord>

namespace storage {

namespace {

// The tables that the server owns. It never alters or drops them.
const char *const kOwnTables[] = {
    "CREATE TABLE IF NOT EXISTS logs (IDX         INTEGER UNIQUE, LINE        INTEGER, ID          INTEGER, "
    "FTIMESTAMP   INTEGER, LLEVEL      INTEGER, LGROUP      INTEGER, FMESSAGE    TEXT, DATA        VARCHAR(512))",
    "CREATE TABLE IF NOT EXISTS IMAGES  ([ID] INTEGER  PRIMARY KEY NOT NULL,[TYPE] VARCHAR(24)  NULL,[PICT] BLOB  "
    "NULL)",
    "CREATE TABLE IF NOT EXISTS [events] ([ID] INTEGER  NULL PRIMARY KEY AUTOINCREMENT,[USER] TEXT  NULL,[FINGER] "
    "INTEGER  NULL,[TERMINAL] TEXT  NULL,[TIMESTAMP] INTEGER  NULL,[DESCRIPTION] TEXT  NULL,[ACCESS_CODE] TEXT  NULL,"
    "[ID_TYPE] TEXT  NULL,[UID] INTEGER DEFAULT '0' NULL,[TID] INTEGER DEFAULT '0' NULL,[NAME] TEXT  NULL)",
};

// What a full ring of log rows and years of events are searched by: the newest time of a line or terminal, and the
// row of an event that was just stored.
const char *const kOwnIndexes[] = {
    "CREATE INDEX IF NOT EXISTS logs_line_ftimestamp ON logs (LINE, FTIMESTAMP)",
    "CREATE INDEX IF NOT EXISTS events_tid_timestamp ON events (TID, TIMESTAMP)",
    "CREATE INDEX IF NOT EXISTS events_user_timestamp ON events (USER, TIMESTAMP)",
};

// What was acknowledged to a terminal survives a power cut.
const char *const kSettings[] = {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL"};

/// Bounds the time: so many rows of each index are looked at.
constexpr int kAnalysedRows = 400;
/// A table with less rows may be a table of a new site: what is true of it now will not be true for long.
constexpr int kGrownTable = 1000;

template <size_t count> void run(Connection &connection, const char *const (&statements)[count])
{
    for (const char *sql : statements)
        connection.runText("DataBase::Database()", QString::fromLatin1(sql));
}

} // namespace

void applySettings(Connection &connection)
{
    run(connection, kSettings);
}

void prepareOwnTables(Connection &connection)
{
    applySettings(connection);
    run(connection, kOwnTables);
    run(connection, kOwnIndexes);
}

void gatherStatistics(Connection &connection)
{
    const auto run = [&connection](const QString &sql) { return connection.runText(nullptr, sql); };
    run(QStringLiteral("PRAGMA busy_timeout=0"));
    run(QStringLiteral("PRAGMA analysis_limit=%1").arg(kAnalysedRows));
    if (run(QStringLiteral("ANALYZE"))) {
        // The first number of a row is how many rows the table has.
        run(QStringLiteral("DELETE FROM sqlite_stat1 WHERE CAST(stat AS INTEGER)<%1").arg(kGrownTable));
        run(QStringLiteral("ANALYZE sqlite_master")); // reads them anew
    }
    run(QStringLiteral("PRAGMA busy_timeout=%1").arg(Connection::kBusyTimeoutMs));
}

void refreshStatistics(Connection &connection)
{
    const auto known = connection.firstValue(
        nullptr, QStringLiteral("SELECT 1 FROM sqlite_master WHERE type='table' AND name='sqlite_stat1'"));
    if (known)
        gatherStatistics(connection);
}

Status ColumnSets::columnsOf(const QString &table, QSet<QString> *columns)
{
    columns->clear();
    qint64 version = -1;
    const Status told =
        m_connection.runCached("DataBase::select()", QStringLiteral("PRAGMA schema_version"), {},
                               [&version](const QSqlQuery &row) { version = row.value(0).toLongLong(); });
    if (!told)
        return told;
    if (version != m_version) {
        forget();
        m_connection.forgetStatements();
        m_version = version;
    }
    const QString name = table.toUpper();
    const auto known = m_columns.constFind(name);
    if (known != m_columns.constEnd()) {
        *columns = known.value();
        return Status::Done;
    }
    const QSqlRecord record = m_connection.record(table);
    for (int i = 0; i < record.count(); ++i)
        columns->insert(record.fieldName(i).toUpper());
    if (columns->isEmpty()) {
        // The driver does not tell a missing table from a schema that it could not read.
        return m_connection.runCached("DataBase::select()", QStringLiteral("SELECT count(*) FROM sqlite_master"), {},
                                      [](const QSqlQuery &) {});
    }
    m_columns.insert(name, *columns);
    return Status::Done;
}

void ColumnSets::forget()
{
    m_columns.clear();
    m_version = -1;
}

} // namespace storage
