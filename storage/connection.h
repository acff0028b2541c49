#pragma once

#include "qany.h"
#include "storage/statementcache.h"
#include "storage/status.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QString>
#include <QVariantList>

#include <functional>
#include <optional>

class QSqlError;

namespace storage {

/// How a connection opens its file.
enum class Access {
    Create,    ///< for reading and writing; a missing file is created
    ReadWrite, ///< for reading and writing; a missing file stays missing
    ReadOnly,
    Unshared ///< likewise, of a file that nobody else has open: without locks, and nothing appears beside it
};

/// One SQLite connection: its statements, how long it waits for others, and what its errors mean.
///
/// Made, used and destroyed on one thread. While nothing is open, statements fail with a passing status and without a
/// warning line. Nothing throws.
class Connection
{
public:
    /// How long a statement waits for another process that holds the file.
    static constexpr int kBusyTimeoutMs = 5000;
    /// And once it was held that long, until a statement finds it free.
    static constexpr int kImpatientTimeoutMs = 100;

    /// Who must know what statements do to a transaction. Outlives the connection or takes itself away.
    class Observer
    {
    public:
        /// Something is asked of a connection that is not open. True when it was opened now.
        virtual bool openForUse() = 0;
        virtual void statementFailed(Status failure) = 0;
        /// A text that is no query ran; it may have begun a transaction or ended one.
        virtual void textRan() = 0;

    protected:
        Observer() = default;
        ~Observer() = default;

    private:
        Q_DISABLE_COPY(Observer)
    };

    /// Registers the connection under a name that no other has.
    Connection(const QString &name, const QString &path);
    ~Connection();

    bool open(Access access);
    /// Ends all statements, and with them what they had open. Not while one of them runs.
    void close();
    bool isOpen() const { return m_connection.isOpen(); }
    /// Whether a statement failed for what may be a fault of this connection, which one that is opened anew would not
    /// have: read-only, input or output, cannot open, no database.
    bool isAtFault() const { return m_isAtFault; }
    /// What SQLite told of the last failure, for people.
    QString lastFault() const { return m_lastFault; }
    /// Whether it told that the file is damaged, or no database.
    bool lastFaultIsDamage() const { return m_lastFaultIsDamage; }
    QString path() const { return m_path; }
    /// Whether rows of a query are being handed out.
    bool isReading() const { return m_reading > 0; }
    /// Waits but shortly for others, until a statement that writes finds the file free.
    void loseBusyPatience() { loseBusyPatience(Use::Write); }
    void setObserver(Observer *observer) { m_observer = observer; }

    /// Runs a text that is not likely to come again. A failure is one warning line that begins with the place; none
    /// without a place.
    Status runText(const char *where, const QString &sql, const std::function<void(QSqlQuery &)> &use = nullptr);
    /// Runs a statement with bound values, prepared once and kept, and hands each row to the reader.
    Status runCached(const char *where, const QString &sql, const QVariantList &bindings = {},
                     const std::function<void(const QSqlQuery &)> &reader = nullptr);
    /// The first column of the first row.
    std::optional<QVariant> firstValue(const char *where, const QString &sql, const QVariantList &bindings = {});
    /// Rows as a List of Hashes; an empty List when the text fails.
    QAny select(const char *where, const QString &sql);
    /// Value text of a configuration key; null when there is no row.
    QString configValue(const char *where, const QString &key);

    /// The columns of a table, as the driver tells them; none when there is no such table or it cannot be read.
    QSqlRecord record(const QString &table) const { return m_connection.record(table); }
    /// Whether SQLite has a transaction open, ours or one that a text began.
    bool isInTransaction();
    void forgetStatements() { m_statements.clear(); }

private:
    Q_DISABLE_COPY(Connection)

    /// What a statement needs of the file: nothing for sure, less, more. Who reads does not wait for who writes.
    enum class Use { Unsure, Read, Write };

    static Use useOf(const QString &sql);
    bool isUsable();
    Status outcomeOf(const char *where, const QString &sql, const QSqlError &error);
    void setBusyTimeout(int ms);
    void loseBusyPatience(Use use);
    void regainBusyPatience(Use use);

    QString m_path;
    QSqlDatabase m_connection;
    StatementCache m_statements;
    Observer *m_observer = nullptr;
    std::optional<Use> m_impatient; // the busy time-out is short: the file was not free for this
    bool m_isAtFault = false;
    QString m_lastFault;
    bool m_lastFaultIsDamage = false;
    int m_reading = 0;
};

} // namespace storage
