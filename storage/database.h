#pragma once

#include "qany.h"
#include "storage/connection.h"
#include "storage/filestate.h"
#include "storage/logring.h"
#include "storage/reader.h"
#include "storage/status.h"

#include <QObject>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

#include <functional>
#include <memory>

/// The single gateway to the SQLite file: the server's own tables, the ring of log rows, and the generic query,
/// statement, insert and update of every other part of the server.
///
/// One per process, on the application's default connection; owned by ServicesStarter (or by a tool's main), lives on
/// the main thread, and is called from that thread only. Nothing throws.
///
/// A file that cannot be opened, is no database, was deleted, or replaced by another leaves an object whose operations
/// fail quietly, with a passing status, until there is one at the path that can be opened: that is tried every
/// storage::GuardedFile::kRetryIntervalMs, by itself where an event loop runs. A missing file is created by the
/// constructor alone. A transaction that is open then is lost.
class DataBase : public QObject, public storage::Reader
{
    Q_OBJECT
public:
    /// Rows that `logs` holds before the oldest are overwritten.
    static constexpr qint32 kLogIndexLimit = storage::LogRing::kLimit;
    /// How long a statement waits for another process that holds the file.
    static constexpr int kBusyTimeoutMs = storage::Connection::kBusyTimeoutMs;
    /// And once it was held that long, until a statement that writes finds it free.
    static constexpr int kImpatientTimeoutMs = storage::Connection::kImpatientTimeoutMs;

    /// The file beside the executable, or the given one.
    explicit DataBase(const QString &filePath = QString(), QObject *parent = nullptr);
    ~DataBase() override;

    bool isOpen() const override;
    QString filePath() const override;
    /// How often a file was opened. May be called from any thread.
    quint64 generation() const;
    /// Who reads the file with connections of their own opens them anew when this has changed: another file is open, or
    /// the statistics, which a connection reads at its begin, are new.
    quint64 readersGeneration() const;
    /// The file that is open, the only one that they may read; no file while none is open.
    storage::FileState fileState() const;
    /// When the last transaction was committed, in ms since 1970; 0 when none was.
    qint64 lastCommit() const;
    /// Gathers what SQLite's planner wants to know of tables that have grown. Done by itself once a day, and at the
    /// end.
    void upkeep();
    /// Looks at once whether the path still names the open file, which is otherwise done before anything is stored, and
    /// opens the one that is there if not. True when the path's file is open. Inside a transaction, which is lost then,
    /// nothing is opened.
    bool look();
    /// In ms, between attempts to open a file.
    void setRetryInterval(int ms);

    QString configValue(const QString &key) override;
    void readLastLogIdx();
    void saveLastLogIdx();
    /// Index that the next row of `logs` gets.
    qint64 lastLogIndex() const;

    /// Writes one row of `logs` and the next index as one unit. The timestamp is in milliseconds since 1970 UTC.
    storage::Status insertLog(int line, int id, int level, int group, qint64 timestampMs, const QString &message,
                              const QAny &data);
    storage::Status insertLog(const storage::LogRow &row);
    /// Whether there is a row that equals this one in everything but its place in the ring.
    storage::Status hasLog(const storage::LogRow &row, bool *found);
    /// Newest time of a line's log rows in ms, or of a terminal's events in the unit of `events`; 0 without rows.
    qint64 lastLogTime(qint64 line);
    qint64 lastEventTime(qint64 tid);

    /// Transactions nest: inner ones are savepoints. Prefer the Transaction guard. Each must end before control returns
    /// to the event loop.
    ///
    /// A transaction that cannot begin, that SQLite has ended by itself, or that has met with damage, is lost: every
    /// write up to its outermost end, and its commit, fails at once for the reason for which it was lost. So what
    /// belongs together is never stored in part.
    storage::Status transaction();
    /// A failure when nothing was stored; the transaction is over either way.
    storage::Status commit();
    void rollback();

    QAny select(const QString &sql) override;
    /// The first of these rows alone, as a Hash; Null when there is none or the statement fails.
    QAny firstRow(const QString &sql);
    /// The same, for who must tell the one from the other.
    storage::Status firstRow(const QString &sql, QAny *row);
    /// True whenever the connection is open, also when the statement fails. A transaction that the text begins and does
    /// not end is committed, with a warning line, when control returns to the event loop.
    bool exec(const QString &sql);
    /// Inserts the keys of the Hash that are columns of the table; a lasting failure when none is.
    storage::Status insert(const QString &table, const QAny &values);
    /// Sets the keys of the Hash that are columns of the table. Values stand in the statement unescaped. The result is
    /// that of exec; false without running anything when the Hash lacks the key column or has nothing to set.
    bool update(const QString &table, const QAny &values, const QString &keyColumn);

    storage::Status forEachRow(const QString &sql, const QVariantList &bindings,
                               const std::function<void(const QSqlQuery &)> &reader) override;
    /// Executes a statement with bound values, prepared once and kept.
    storage::Status execPrepared(const QString &sql, const QVariantList &bindings);

private:
    class Private;
    std::unique_ptr<Private> d;
};

/// Scope of a transaction: rolls back unless committed. Its destructor never throws.
class Transaction
{
public:
    explicit Transaction(DataBase &database) : m_database(database) { m_database.transaction(); }
    ~Transaction()
    {
        if (m_open)
            m_database.rollback();
    }
    /// A failure when nothing of the transaction was stored.
    storage::Status commit()
    {
        m_open = false;
        return m_database.commit();
    }

private:
    Q_DISABLE_COPY(Transaction)
    DataBase &m_database;
    bool m_open = true;
};

/// The process's database; null before start and after stop. Only ServicesStarter (or a tool's main) sets it.
DataBase *db();
void setDb(DataBase *database);
