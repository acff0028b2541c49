#include "storage/database.h"

#include "storage/guardedfile.h"
#include "storage/logring.h"
#include "storage/schema.h"
#include "storage/transactions.h"
#include "storage/values.h"

#include <QCoreApplication>
#include <QDir>
#include <QSqlRecord>
#include <QTimer>

#include <chrono>

using storage::Connection;
using storage::Status;

namespace {

const auto kFileName = QStringLiteral("zuknetserver.db");

const auto kLastLogTime = QString::fromLatin1(storage::kLastLogTime);
const auto kLastEventTime = QString::fromLatin1(storage::kLastEventTime);

DataBase *theDatabase = nullptr;

} // namespace

/// The connection with what is known about it.
class DataBase::Private
{
public:
    Private(DataBase *database, const QString &path)
        : connection(QString::fromLatin1(QSqlDatabase::defaultConnection), path),
          file(connection, {[this] {
                                storage::prepareOwnTables(connection);
                                storage::refreshStatistics(connection);
                            },
                            [this] { transactions.lose(); },
                            [this] {
                                columns.forget();
                                ring.startAnew();
                            }}),
          transactions(connection, file, database), ring(connection, transactions), columns(connection)
    {
        daily.setInterval(std::chrono::hours(24));
        QObject::connect(&daily, &QTimer::timeout, database, &DataBase::upkeep);
        daily.start();
    }
    ~Private();

    Status end(bool store);
    Status write(const char *where, const QString &sql, const QVariantList &bindings);
    void noteWritten();
    void upkeep();
    qint64 newest(const QString &sql, qint64 key);

    Connection connection;
    storage::GuardedFile file;
    storage::Transactions transactions;
    storage::LogRing ring;
    storage::ColumnSets columns;
    QTimer daily;
    quint64 upkeeps = 0;
};

DataBase::Private::~Private()
{
    while (transactions.depth() > 0)
        end(false);
    transactions.commitForeign();
    upkeep();
}

/// Runs a statement that stores something.
Status DataBase::Private::write(const char *where, const QString &sql, const QVariantList &bindings)
{
    const Status written = connection.runCached(where, sql, bindings);
    noteWritten();
    return written;
}

void DataBase::Private::noteWritten()
{
    if (transactions.depth() == 0)
        file.noteWritten();
}

Status DataBase::Private::end(bool store)
{
    const bool isOpen = transactions.depth() > 0;
    const Status ended = transactions.end(store);
    if (isOpen)
        ring.leaveTransaction(ended && store);
    return ended;
}

/// A server that is never stopped has to know of its tables as they are now.
void DataBase::Private::upkeep()
{
    if (transactions.depth() > 0 || !file.check())
        return;
    storage::applySettings(connection);
    storage::gatherStatistics(connection);
    ++upkeeps;
}

qint64 DataBase::Private::newest(const QString &sql, qint64 key)
{
    return connection.firstValue("DataBase::select()", sql, {key}).value_or(0).toLongLong();
}

DataBase::DataBase(const QString &filePath, QObject *parent)
    : QObject(parent),
      d(std::make_unique<Private>(
          this, filePath.isEmpty() ? QCoreApplication::applicationDirPath() + QDir::separator() + kFileName : filePath))
{
    d->file.open();
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
    return d->connection.path();
}

qint64 DataBase::lastCommit() const
{
    return d->transactions.lastCommit();
}

quint64 DataBase::generation() const
{
    return d->file.generation();
}

quint64 DataBase::readersGeneration() const
{
    return d->file.generation() + d->upkeeps;
}

storage::FileState DataBase::fileState() const
{
    return d->file.state();
}

void DataBase::upkeep()
{
    d->upkeep();
}

bool DataBase::look()
{
    return d->transactions.depth() == 0 ? d->file.look(true) : d->file.check();
}

void DataBase::setRetryInterval(int ms)
{
    d->file.setRetryInterval(ms);
}

QString DataBase::configValue(const QString &key)
{
    return d->connection.configValue("DataBase::configValue()", key);
}

void DataBase::readLastLogIdx()
{
    d->ring.read();
}

void DataBase::saveLastLogIdx()
{
    d->ring.save();
}

qint64 DataBase::lastLogIndex() const
{
    return d->ring.next();
}

Status DataBase::insertLog(int line, int id, int level, int group, qint64 timestampMs, const QString &message,
                           const QAny &data)
{
    return insertLog({line, id, level, group, timestampMs, message, data});
}

Status DataBase::insertLog(const storage::LogRow &row)
{
    Transaction transaction(*this);
    const Status written = d->ring.write(row);
    if (const Status allowed = d->transactions.writable(); !allowed)
        return allowed;
    const Status committed = transaction.commit();
    return committed ? written : committed;
}

Status DataBase::hasLog(const storage::LogRow &row, bool *found)
{
    return d->ring.contains(row, found);
}

qint64 DataBase::lastLogTime(qint64 line)
{
    return d->newest(kLastLogTime, line);
}

qint64 DataBase::lastEventTime(qint64 tid)
{
    return d->newest(kLastEventTime, tid);
}

Status DataBase::transaction()
{
    const Status begun = d->transactions.begin();
    d->ring.enterTransaction();
    return begun;
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
    return d->connection.select("DataBase::select()", sql);
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
    return d->connection.runText("DataBase::select()", sql, [row](QSqlQuery &query) {
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
    if (d->transactions.writable()) {
        d->connection.runText("DataBase::exec()", sql);
        d->noteWritten();
    }
    // Deliberate: callers are told whether there is a database, not whether the statement succeeded.
    return d->connection.isOpen();
}

Status DataBase::insert(const QString &table, const QAny &values)
{
    if (!values.isHash())
        return Status::Lasting;
    if (const Status allowed = d->transactions.writable(); !allowed)
        return allowed;
    QSet<QString> known;
    if (const Status told = d->columns.columnsOf(table, &known); !told)
        return told;
    QString columns;
    QString placeholders;
    QVariantList bindings;
    for (int i = 0; i < values.count(); ++i) {
        const QString &key = values.keyAt(i);
        if (!known.contains(key.toUpper()))
            continue;
        columns += key + QLatin1Char(',');
        placeholders += QLatin1String("?,");
        bindings.append(storage::columnVariant(values.at(i)));
    }
    if (bindings.isEmpty())
        return Status::Lasting;
    columns.chop(1);
    placeholders.chop(1);
    return d->write("DataBase::insert()",
                    QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)").arg(table, columns, placeholders), bindings);
}

bool DataBase::update(const QString &table, const QAny &values, const QString &keyColumn)
{
    if (!values.isHash() || !values.contains(keyColumn))
        return false;
    QSet<QString> known;
    d->columns.columnsOf(table, &known);
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
    return d->connection.runCached("DataBase::forEachRow()", sql, bindings, reader);
}

Status DataBase::execPrepared(const QString &sql, const QVariantList &bindings)
{
    const Status allowed = d->transactions.writable();
    return allowed ? d->write("DataBase::execPrepared()", sql, bindings) : allowed;
}

DataBase *db()
{
    return theDatabase;
}

void setDb(DataBase *database)
{
    theDatabase = database;
}
