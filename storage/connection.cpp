#include "storage/connection.h"

#include "storage/hardening.h"

#include <QDebug>
#include <QDir>
#include <QScopedValueRollback>
#include <QSqlError>
#include <QSqlRecord>
#include <QUrl>

namespace storage {

namespace {

const auto kConfigValue = QStringLiteral("SELECT VALUE FROM Config WHERE KEY='%1'");

// SQLite's primary result codes.
constexpr int kBusy = 5;
constexpr int kReadOnly = 8;
constexpr int kInputOutput = 10;
constexpr int kDamaged = 11;
constexpr int kCannotOpen = 14;
constexpr int kNoDatabase = 26;

int primaryCode(const QSqlError &error)
{
    constexpr int kPrimaryCode = 0xff;
    return error.nativeErrorCode().toInt() & kPrimaryCode;
}

/// What a failure means for another attempt.
Status::Outcome meaningOf(const QSqlError &error)
{
    switch (primaryCode(error)) {
    case kBusy:
    case 6: // locked
    case 7: // out of memory
    case kReadOnly:
    case kInputOutput:
    case 13: // full
    case kCannotOpen:
    case 15: // locking protocol
    case kNoDatabase:
        return Status::Passing;
    case kDamaged:
        return Status::Damaged;
    default:
        return Status::Lasting;
    }
}

/// Failures that stay until the file is opened anew, although what caused them may have passed.
bool isFaultOfConnection(const QSqlError &error)
{
    const int code = primaryCode(error);
    return code == kReadOnly || code == kInputOutput || code == kCannotOpen || code == kNoDatabase;
}

bool isDamage(const QSqlError &error)
{
    const int code = primaryCode(error);
    return code == kDamaged || code == kNoDatabase;
}

/// The driver creates a missing file unless the name forbids it.
QString uriOf(const QString &path, const char *mode)
{
    const QByteArray encoded = QUrl::toPercentEncoding(QDir::fromNativeSeparators(path), "/:");
    // An empty authority stands before what begins at a root.
    const char *root = path.startsWith(QLatin1Char('/')) ? "//" : "///";
    const bool isAbsolute = QDir::isAbsolutePath(path);
    return QLatin1String("file:") + QLatin1String(isAbsolute ? root : "") + QString::fromLatin1(encoded) +
           QLatin1String(mode);
}

} // namespace

Connection::Connection(const QString &name, const QString &path)
    : m_path(path), m_connection(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name)), m_statements(m_connection)
{
}

Connection::~Connection()
{
    close();
    const QString name = m_connection.connectionName();
    m_statements.end();
    m_connection = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

bool Connection::open(Access access)
{
    QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyTimeoutMs);
    QString name = m_path;
    if (access == Access::ReadWrite || access == Access::Unshared) {
        options += QLatin1String(";QSQLITE_OPEN_URI");
        name = uriOf(m_path, access == Access::ReadWrite ? "?mode=rw" : "?immutable=1");
    }
    if (access == Access::ReadOnly || access == Access::Unshared)
        options += QLatin1String(";QSQLITE_OPEN_READONLY");
    m_connection.setConnectOptions(options);
    m_connection.setDatabaseName(name);
    m_impatient.reset();
    m_isAtFault = false;
    if (!m_connection.open()) {
        m_lastFault = m_connection.lastError().text();
        m_lastFaultIsDamage = isDamage(m_connection.lastError());
        return false;
    }
    harden(m_connection);
    return true;
}

void Connection::close()
{
    m_statements.clear();
    m_connection.close();
}

Status Connection::outcomeOf(const char *where, const QString &sql, const QSqlError &error)
{
    if (!error.isValid()) {
        regainBusyPatience(useOf(sql));
        return Status::Done;
    }
    m_lastFault = error.databaseText().isEmpty() ? error.text() : error.databaseText();
    m_lastFaultIsDamage = isDamage(error);
    if (where)
        qWarning().noquote() << where << error.text();
    if (primaryCode(error) == kBusy)
        loseBusyPatience(useOf(sql));
    m_isAtFault = m_isAtFault || isFaultOfConnection(error);
    const Status failure = meaningOf(error);
    if (m_observer)
        m_observer->statementFailed(failure);
    return failure;
}

void Connection::setBusyTimeout(int ms)
{
    QSqlQuery(m_connection).exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(ms));
}

/// Only texts that take the write lock wherever they succeed are taken for writing.
Connection::Use Connection::useOf(const QString &sql)
{
    const auto begins = [&sql](const char *word) { return sql.startsWith(QLatin1String(word), Qt::CaseInsensitive); };
    if (begins("SELECT"))
        return Use::Read;
    return begins("BEGIN IMMEDIATE") || begins("INSERT") || begins("UPDATE") || begins("DELETE") ? Use::Write
                                                                                                 : Use::Unsure;
}

/// Who has held the file for the whole time-out will hold it longer: statement after statement would wait as long, and
/// nobody be served.
void Connection::loseBusyPatience(Use use)
{
    if (!m_impatient || use != Use::Read)
        m_impatient = use == Use::Read ? Use::Read : Use::Write;
    setBusyTimeout(kImpatientTimeoutMs); // always: somebody else may have set it
}

void Connection::regainBusyPatience(Use use)
{
    if (!m_impatient || use < *m_impatient)
        return;
    m_impatient.reset();
    setBusyTimeout(kBusyTimeoutMs);
}

bool Connection::isUsable()
{
    return isOpen() || (m_observer && m_observer->openForUse());
}

Status Connection::runText(const char *where, const QString &sql, const std::function<void(QSqlQuery &)> &use)
{
    if (!isUsable())
        return Status::Passing;
    QSqlQuery query(m_connection);
    query.setForwardOnly(true);
    if (query.exec(sql) && use)
        use(query);
    const Status status = outcomeOf(where, sql, query.lastError());
    const bool isSelect = query.isSelect();
    query.finish();
    if (status && !isSelect && m_observer)
        m_observer->textRan();
    return status;
}

Status Connection::runCached(const char *where, const QString &sql, const QVariantList &bindings,
                             const std::function<void(const QSqlQuery &)> &reader)
{
    if (!isUsable())
        return Status::Passing;
    StatementCache::Lease lease = m_statements.lease(sql);
    QSqlQuery &query = lease.query();
    if (!lease.isPrepared())
        return outcomeOf(where, sql, query.lastError());
    for (int i = 0; i < bindings.size(); ++i)
        query.bindValue(i, bindings.at(i));
    if (query.exec() && reader) {
        const QScopedValueRollback<int> reading(m_reading, m_reading + 1);
        while (query.next())
            reader(query);
    }
    return outcomeOf(where, sql, query.lastError());
}

std::optional<QVariant> Connection::firstValue(const char *where, const QString &sql, const QVariantList &bindings)
{
    std::optional<QVariant> result;
    runCached(where, sql, bindings, [&result](const QSqlQuery &row) {
        if (!result)
            result = row.value(0);
    });
    return result;
}

QAny Connection::select(const char *where, const QString &sql)
{
    QAny rows(QAny::List);
    const auto read = [&rows](QSqlQuery &query) { rows = QAny::fromQuery(query); };
    return runText(where, sql, read) ? rows : QAny(QAny::List);
}

QString Connection::configValue(const char *where, const QString &key)
{
    QString result;
    runText(where, kConfigValue.arg(key), [&result](QSqlQuery &query) {
        if (query.next())
            result = QLatin1String("") + query.value(0).toString();
    });
    return result;
}

/// Asks SQLite itself: a second BEGIN is refused, and an empty transaction costs nothing and takes no lock.
bool Connection::isInTransaction()
{
    if (!isOpen())
        return false;
    StatementCache::Lease probe = m_statements.lease(QStringLiteral("BEGIN"));
    if (!probe.query().exec())
        return true;
    StatementCache::Lease undo = m_statements.lease(QStringLiteral("COMMIT"));
    undo.query().exec();
    return false;
}

} // namespace storage
