#include "storage/database.h"

#include "storage/statementcache.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QSet>
#include <QSqlError>
#include <QSqlField>
#include <QSqlRecord>

#include <optional>
#include <vector>

using storage::StatementCache;
using storage::Status;

namespace {

const auto kFileName = QStringLiteral("zuknetserver.db");

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

const auto kInsertLog = QStringLiteral("INSERT OR REPLACE INTO logs (idx, line, id, ftimestamp, llevel, lgroup, "
                                       "fmessage, data) VALUES(?,?,?,?,?,?,?,?)");
const auto kLastLogTime = QStringLiteral("SELECT max(ftimestamp) FROM logs WHERE line=?");
// Of the numbers: a text that a terminal sent for a time is more than any number, and would hide them all.
const auto kLastEventTime = QStringLiteral("SELECT timestamp FROM events WHERE tid=? AND typeof(timestamp)='integer' "
                                           "ORDER BY timestamp DESC LIMIT 1");
const auto kConfigValue = QStringLiteral("SELECT VALUE FROM Config WHERE KEY='%1'");
const auto kSaveConfig = QStringLiteral("INSERT OR REPLACE INTO Config (KEY, VALUE) VALUES(?,?)");
const auto kLastLogIdx = QStringLiteral("LastLogIdx");

/// SQLite keeps NULL and the empty text apart, the driver takes a null QString for NULL: a text must stay a text.
QVariant textVariant(const QString &text)
{
    return text.isNull() ? QVariant(QLatin1String("")) : QVariant(text);
}

QVariant columnVariant(const QAny &value)
{
    return value.isString() ? textVariant(value.asString()) : value.toVariant();
}

bool isBusy(const QSqlError &error)
{
    constexpr int kPrimaryCode = 0xff;
    constexpr int kBusy = 5;
    return (error.nativeErrorCode().toInt() & kPrimaryCode) == kBusy;
}

/// SQLite's primary result codes of failures that may pass by themselves or by making room.
bool mayPass(const QSqlError &error)
{
    constexpr int kPrimaryCode = 0xff;
    switch (error.nativeErrorCode().toInt() & kPrimaryCode) {
    case 5:  // busy
    case 6:  // locked
    case 7:  // out of memory
    case 8:  // read-only
    case 10: // input or output
    case 13: // full
    case 14: // cannot open
    case 15: // locking protocol
        return true;
    default:
        return false;
    }
}

DataBase *theDatabase = nullptr;

} // namespace

/// The connection with what is known about it: its statements, column sets and open transactions.
class DataBase::Private
{
public:
    explicit Private(DataBase *database, const QString &path);
    ~Private();

    Status runText(const char *where, const QString &sql, const std::function<void(QSqlQuery &)> &use);
    Status runCached(const char *where, const QString &sql, const QVariantList &bindings,
                     const std::function<void(const QSqlQuery &)> &reader);
    Status runFixed(const QString &sql) { return runCached("DataBase::transaction()", sql, {}, nullptr); }
    std::optional<QVariant> firstValue(const QString &sql, const QVariantList &bindings);

    Status begin();
    Status end(bool store);
    void noteForeignTransaction();
    void commitForeignTransaction();

    QSet<QString> columnsOf(const QString &table);
    QString configValue(const char *where, const QString &key);
    Status saveLogIndex();
    Status writable() const;

    QSqlDatabase connection;
    std::unique_ptr<StatementCache> statements;
    qint64 lastLogIndex = 0;

private:
    struct Savepoint {
        QString begin;
        QString release;
        QString rollback;
    };

    void configure();
    void optimize();
    Status outcomeOf(const char *where, const QSqlError &error);
    void loseBusyPatience();
    void regainBusyPatience();
    bool anyTransactionOpen();
    const Savepoint &savepoint(size_t level);

    DataBase *m_database;
    /// The log index at the begin of each open transaction, outermost first: a rollback takes it back too.
    std::vector<qint64> m_logIndexAtBegin;
    std::vector<Savepoint> m_savepoints;
    /// Why the open transaction can no longer be stored; done while it can.
    Status m_lost;
    bool m_foreignOpen = false;
    QElapsedTimer m_impatient; // runs while the busy time-out is short
    bool m_indexSaved = true;
    qint64 m_schemaVersion = -1;
    QHash<QString, QSet<QString>> m_columns;
};

DataBase::Private::Private(DataBase *database, const QString &path)
    : connection(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"))), m_database(database)
{
    connection.setDatabaseName(path);
    connection.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyTimeoutMs));
    statements = std::make_unique<StatementCache>(connection);
    if (!connection.open()) {
        // Deliberate: administrators look for this line, although the file has another name.
        qWarning("DataBase::Database() can't open kservermain.db");
        return;
    }
    configure();
}

DataBase::Private::~Private()
{
    if (connection.isOpen()) {
        while (!m_logIndexAtBegin.empty())
            end(false);
        commitForeignTransaction();
        optimize();
    }
    statements.reset();
    connection.close();
    const QString name = connection.connectionName();
    connection = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

void DataBase::Private::configure()
{
    // What was acknowledged to a terminal survives a power cut.
    runText("DataBase::Database()", QStringLiteral("PRAGMA journal_mode=WAL"), nullptr);
    runText("DataBase::Database()", QStringLiteral("PRAGMA synchronous=FULL"), nullptr);
    for (const char *sql : kOwnTables)
        runText("DataBase::Database()", QString::fromLatin1(sql), nullptr);
    for (const char *sql : kOwnIndexes)
        runText("DataBase::Database()", QString::fromLatin1(sql), nullptr);
}

/// Gathers what SQLite's planner wants to know of tables that have grown. Without it, "who is present" reads years of
/// events. Bounded in time, and left for another day when the file is in use.
void DataBase::Private::optimize()
{
    for (const char *sql : {"PRAGMA busy_timeout=0", "PRAGMA analysis_limit=400", "PRAGMA optimize"})
        runText(nullptr, QString::fromLatin1(sql), nullptr);
}

Status DataBase::Private::outcomeOf(const char *where, const QSqlError &error)
{
    if (!error.isValid())
        return Status::Done;
    if (where)
        qWarning().noquote() << where << error.text();
    const Status failure = mayPass(error) ? Status::Passing : Status::Lasting;
    if (isBusy(error))
        loseBusyPatience();
    if (!m_logIndexAtBegin.empty() && m_lost && !anyTransactionOpen()) {
        qWarning("DataBase::transaction() SQLite has rolled the transaction back");
        m_lost = failure;
    }
    return failure;
}

/// Who has held the file for the whole time-out will hold it longer: statement after statement would wait as long, and
/// nobody be served.
void DataBase::Private::loseBusyPatience()
{
    if (m_impatient.isValid())
        return;
    m_impatient.start();
    QSqlQuery(connection).exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(kImpatientTimeoutMs));
}

void DataBase::Private::regainBusyPatience()
{
    if (!m_impatient.isValid() || !m_impatient.hasExpired(kBusyTimeoutMs))
        return;
    m_impatient.invalidate();
    QSqlQuery(connection).exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(kBusyTimeoutMs));
}

/// Runs a text that is not likely to come again.
Status DataBase::Private::runText(const char *where, const QString &sql, const std::function<void(QSqlQuery &)> &use)
{
    if (!connection.isOpen())
        return Status::Lasting;
    regainBusyPatience();
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    if (query.exec(sql) && use)
        use(query);
    const Status status = outcomeOf(where, query.lastError());
    const bool isSelect = query.isSelect();
    query.finish();
    if (status && !isSelect)
        noteForeignTransaction();
    return status;
}

Status DataBase::Private::runCached(const char *where, const QString &sql, const QVariantList &bindings,
                                    const std::function<void(const QSqlQuery &)> &reader)
{
    if (!connection.isOpen())
        return Status::Lasting;
    regainBusyPatience();
    StatementCache::Lease lease = statements->lease(sql);
    QSqlQuery &query = lease.query();
    if (!lease.isPrepared())
        return outcomeOf(where, query.lastError());
    for (int i = 0; i < bindings.size(); ++i)
        query.bindValue(i, bindings.at(i));
    if (query.exec() && reader) {
        while (query.next())
            reader(query);
    }
    return outcomeOf(where, query.lastError());
}

std::optional<QVariant> DataBase::Private::firstValue(const QString &sql, const QVariantList &bindings)
{
    std::optional<QVariant> result;
    runCached("DataBase::select()", sql, bindings, [&result](const QSqlQuery &row) {
        if (!result)
            result = row.value(0);
    });
    return result;
}

/// The texts of the savepoint at a level, 1 and up.
const DataBase::Private::Savepoint &DataBase::Private::savepoint(size_t level)
{
    while (m_savepoints.size() < level) {
        const QString name = QStringLiteral("level%1").arg(m_savepoints.size() + 1);
        m_savepoints.push_back({QStringLiteral("SAVEPOINT ") + name, QStringLiteral("RELEASE ") + name,
                                QStringLiteral("ROLLBACK TO ") + name});
    }
    return m_savepoints[level - 1];
}

/// Asks SQLite itself: a second BEGIN is refused, and an empty transaction costs nothing and takes no lock.
bool DataBase::Private::anyTransactionOpen()
{
    StatementCache::Lease probe = statements->lease(QStringLiteral("BEGIN"));
    if (!probe.query().exec())
        return true;
    StatementCache::Lease undo = statements->lease(QStringLiteral("COMMIT"));
    undo.query().exec();
    return false;
}

Status DataBase::Private::begin()
{
    if (!connection.isOpen())
        return Status::Lasting;
    Status begun = m_lost;
    if (m_logIndexAtBegin.empty()) {
        commitForeignTransaction();
        // The write lock is taken here, where waiting for another process is safe.
        begun = runFixed(QStringLiteral("BEGIN IMMEDIATE"));
    } else if (begun) {
        begun = runFixed(savepoint(m_logIndexAtBegin.size()).begin);
    }
    m_lost = begun;
    m_logIndexAtBegin.push_back(lastLogIndex);
    return begun;
}

Status DataBase::Private::end(bool store)
{
    if (m_logIndexAtBegin.empty()) {
        if (connection.isOpen())
            qWarning("DataBase::transaction() no transaction is open");
        return Status::Lasting;
    }
    const qint64 indexBefore = m_logIndexAtBegin.back();
    // The level ends whatever SQLite answers.
    m_logIndexAtBegin.pop_back();
    const size_t level = m_logIndexAtBegin.size();
    const bool outermost = level == 0;

    Status ended = m_lost;
    if (ended && store)
        ended = runFixed(outermost ? QStringLiteral("COMMIT") : savepoint(level).release);
    if (!ended || !store) {
        lastLogIndex = indexBefore;
        if (outermost) {
            if (anyTransactionOpen())
                runFixed(QStringLiteral("ROLLBACK"));
        } else if (m_lost) {
            Status undone = runFixed(savepoint(level).rollback);
            if (undone)
                undone = runFixed(savepoint(level).release);
            if (!undone)
                m_lost = undone;
        }
    }
    if (outermost)
        m_lost = Status::Done;
    return ended;
}

/// A statement that came from outside may have begun a transaction that is not ours.
void DataBase::Private::noteForeignTransaction()
{
    if (!m_logIndexAtBegin.empty())
        return;
    const bool wasOpen = m_foreignOpen;
    m_foreignOpen = anyTransactionOpen();
    if (m_foreignOpen && !wasOpen) {
        QMetaObject::invokeMethod(
            m_database, [this] { commitForeignTransaction(); }, Qt::QueuedConnection);
    }
}

void DataBase::Private::commitForeignTransaction()
{
    if (!m_foreignOpen)
        return;
    m_foreignOpen = false;
    qWarning("DataBase::exec() a transaction was left open and is committed");
    if (!runFixed(QStringLiteral("COMMIT")))
        runFixed(QStringLiteral("ROLLBACK"));
}

/// Upper-case column names of a table; empty for one that does not exist. Another process may alter a table at any
/// time, so the sets hold for one version of the schema only.
QSet<QString> DataBase::Private::columnsOf(const QString &table)
{
    if (!connection.isOpen())
        return {};
    const qint64 version = firstValue(QStringLiteral("PRAGMA schema_version"), {}).value_or(-1).toLongLong();
    if (version != m_schemaVersion) {
        m_columns.clear();
        statements->clear();
        m_schemaVersion = version;
    }
    const QString name = table.toUpper();
    const auto known = m_columns.constFind(name);
    if (known != m_columns.constEnd())
        return known.value();
    const QSqlRecord record = connection.record(table);
    QSet<QString> columns;
    for (int i = 0; i < record.count(); ++i)
        columns.insert(record.fieldName(i).toUpper());
    if (!columns.isEmpty())
        m_columns.insert(name, columns);
    return columns;
}

/// A failure when writes must not be tried: nothing is open, or what is around them cannot be stored any more.
Status DataBase::Private::writable() const
{
    return connection.isOpen() ? m_lost : Status::Lasting;
}

/// Null when there is no row.
QString DataBase::Private::configValue(const char *where, const QString &key)
{
    QString result;
    runText(where, kConfigValue.arg(key), [&result](QSqlQuery &query) {
        if (query.next())
            result = QLatin1String("") + query.value(0).toString();
    });
    return result;
}

Status DataBase::Private::saveLogIndex()
{
    if (const Status allowed = writable(); !allowed)
        return allowed;
    // A file without the table would warn with every log row.
    const char *where = m_indexSaved ? "DataBase::saveLastLogIdx()" : nullptr;
    const Status saved = runCached(where, kSaveConfig, {kLastLogIdx, QString::number(lastLogIndex)}, nullptr);
    m_indexSaved = bool(saved);
    return saved;
}

DataBase::DataBase(const QString &filePath, QObject *parent)
    : QObject(parent),
      d(std::make_unique<Private>(
          this, filePath.isEmpty() ? QCoreApplication::applicationDirPath() + QDir::separator() + kFileName : filePath))
{
    qDebug("Before select Logs");
    readLastLogIdx();
    qDebug("After select Logs");
}

DataBase::~DataBase() = default;

bool DataBase::isOpen() const
{
    return d->connection.isOpen();
}

QString DataBase::filePath() const
{
    return d->connection.databaseName();
}

QString DataBase::configValue(const QString &key)
{
    return d->configValue("DataBase::configValue()", key);
}

void DataBase::readLastLogIdx()
{
    // A file without the table is what a new site starts with: no warning.
    const QString saved = d->configValue(nullptr, kLastLogIdx);
    if (saved.isNull()) {
        d->lastLogIndex = 0;
        return;
    }
    const qint64 last = saved.toLongLong();
    d->lastLogIndex = last >= kLogIndexLimit - 1 ? 0 : last + 1;
}

void DataBase::saveLastLogIdx()
{
    d->saveLogIndex();
}

qint64 DataBase::lastLogIndex() const
{
    return d->lastLogIndex;
}

Status DataBase::insertLog(int line, int id, int level, int group, qint64 timestampMs, const QString &message,
                           const QAny &data)
{
    Transaction transaction(*this);
    if (const Status allowed = d->writable(); !allowed)
        return allowed;
    const QString dataText = QAny({{QStringLiteral("DATA"), data}}).toJson();
    const Status written = d->runCached(
        "DataBase::insertLog()", kInsertLog,
        {d->lastLogIndex, line, id, timestampMs, level, group, textVariant(message), textVariant(dataText)}, nullptr);
    if (written && ++d->lastLogIndex >= kLogIndexLimit)
        d->lastLogIndex = 0;
    // Also after a failed insert, and its own failure does not undo the row.
    d->saveLogIndex();
    const Status committed = transaction.commit();
    return committed ? written : committed;
}

qint64 DataBase::lastLogTime(qint64 line)
{
    return d->firstValue(kLastLogTime, {line}).value_or(0).toLongLong();
}

qint64 DataBase::lastEventTime(qint64 tid)
{
    return d->firstValue(kLastEventTime, {tid}).value_or(0).toLongLong();
}

Status DataBase::transaction()
{
    return d->begin();
}

Status DataBase::commit()
{
    return d->end(true);
}

void DataBase::rollback()
{
    d->end(false);
}

QAny DataBase::select(const QString &sql)
{
    QAny rows(QAny::List);
    const auto read = [&rows](QSqlQuery &query) { rows = QAny::fromQuery(query); };
    return d->runText("DataBase::select()", sql, read) ? rows : QAny(QAny::List);
}

QAny DataBase::firstRow(const QString &sql)
{
    QAny row;
    firstRow(sql, &row);
    return row;
}

Status DataBase::firstRow(const QString &sql, QAny *row)
{
    *row = QAny();
    return d->runText("DataBase::select()", sql, [row](QSqlQuery &query) {
        if (!query.next())
            return;
        const QSqlRecord record = query.record();
        *row = QAny(QAny::Hash);
        for (int i = 0; i < record.count(); ++i)
            row->insert(record.fieldName(i), QAny::fromVariant(record.value(i)));
    });
}

bool DataBase::exec(const QString &sql)
{
    if (d->writable())
        d->runText("DataBase::exec()", sql, nullptr);
    // Deliberate: callers are told whether there is a database, not whether the statement succeeded.
    return d->connection.isOpen();
}

Status DataBase::insert(const QString &table, const QAny &values)
{
    if (!values.isHash())
        return Status::Lasting;
    if (const Status allowed = d->writable(); !allowed)
        return allowed;
    const QSet<QString> known = d->columnsOf(table);
    QString columns;
    QString placeholders;
    QVariantList bindings;
    for (int i = 0; i < values.count(); ++i) {
        const QString &key = values.keyAt(i);
        if (!known.contains(key.toUpper()))
            continue;
        columns += key + QLatin1Char(',');
        placeholders += QLatin1String("?,");
        bindings.append(columnVariant(values.at(i)));
    }
    if (bindings.isEmpty())
        return Status::Lasting;
    columns.chop(1);
    placeholders.chop(1);
    return d->runCached("DataBase::insert()",
                        QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)").arg(table, columns, placeholders), bindings,
                        nullptr);
}

bool DataBase::update(const QString &table, const QAny &values, const QString &keyColumn)
{
    if (!values.isHash() || !values.contains(keyColumn))
        return false;
    const QSet<QString> known = d->columnsOf(table);
    QString assignments;
    for (int i = 0; i < values.count(); ++i) {
        const QString &key = values.keyAt(i);
        if (key != keyColumn && known.contains(key.toUpper()))
            assignments += key + QLatin1String("='") + values.at(i).toString() + QLatin1String("',");
    }
    if (assignments.isEmpty())
        return false;
    assignments.chop(1);
    return exec(QStringLiteral("update %1 set %2 where %3='%4'")
                    .arg(table, assignments, keyColumn, values.lookup(keyColumn).toString()));
}

Status DataBase::forEachRow(const QString &sql, const QVariantList &bindings,
                            const std::function<void(const QSqlQuery &)> &reader)
{
    return d->runCached("DataBase::forEachRow()", sql, bindings, reader);
}

Status DataBase::execPrepared(const QString &sql, const QVariantList &bindings)
{
    const Status allowed = d->writable();
    return allowed ? d->runCached("DataBase::execPrepared()", sql, bindings, nullptr) : allowed;
}

DataBase *db()
{
    return theDatabase;
}

void setDb(DataBase *database)
{
    theDatabase = database;
}
