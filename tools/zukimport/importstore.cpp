#include "tools/zukimport/importstore.h"

#include <QFile>
#include <QSqlDriver>
#include <QSqlError>

namespace tools::zukimport {

namespace {
const char kConnection[] = "zukimport";
}

ImportStore::ImportStore() = default;

ImportStore::~ImportStore()
{
    m_statements.clear();
    if (m_database.isOpen() && !m_committed)
        m_database.rollback();
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(QLatin1String(kConnection));
    if (m_created && !m_committed)
        QFile::remove(m_path);
}

bool ImportStore::fail(const QString &what, const QString &driverText)
{
    if (m_fault.isEmpty())
        m_fault = QStringLiteral("%1: %2").arg(what, driverText);
    return false;
}

bool ImportStore::open(const QString &path, bool create, Mode mode)
{
    const bool isThere = QFile::exists(path);
    if (!isThere && !create)
        return fail(path, QStringLiteral("no such file (--create makes one)"));
    m_path = path;
    m_mode = mode;
    m_created = !isThere && mode == Write;

    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QLatin1String(kConnection));
    if (isThere && mode == DryRun)
        m_database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
    m_database.setDatabaseName(isThere || mode == Write ? path : QStringLiteral(":memory:"));
    if (!m_database.open())
        return fail(path, m_database.lastError().text());

    // Immediate: a lock that is taken late could not be waited for.
    QSqlQuery begin(m_database);
    if (!begin.exec(mode == Write ? QStringLiteral("BEGIN IMMEDIATE") : QStringLiteral("BEGIN")))
        return fail(path, begin.lastError().text());
    if (isThere)
        return true;
    const QStringList schema = attendanceSchema();
    for (const QString &statement : schema) {
        QSqlQuery query(m_database);
        if (!query.exec(statement))
            return fail(QStringLiteral("creating the tables"), query.lastError().text());
    }
    return true;
}

bool ImportStore::commit()
{
    if (!m_fault.isEmpty())
        return false;
    m_statements.clear();
    if (m_mode == DryRun)
        return true;
    QSqlQuery query(m_database);
    m_committed = query.exec(QStringLiteral("COMMIT"));
    return m_committed || fail(m_path, query.lastError().text());
}

bool ImportStore::hasTable(const QString &table) const
{
    return m_database.tables().contains(table, Qt::CaseInsensitive);
}

QSqlQuery ImportStore::select(const QString &sql, const QVariantList &bindings)
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    bool ok = query.prepare(sql);
    for (const QVariant &value : bindings)
        query.addBindValue(value);
    ok = ok && query.exec();
    if (!ok)
        fail(QStringLiteral("reading"), query.lastError().text());
    return query;
}

bool ImportStore::write(const QString &sql, const QVariantList &bindings)
{
    if (m_mode == DryRun)
        return true;
    auto statement = m_statements.find(sql);
    if (statement == m_statements.end()) {
        QSqlQuery query(m_database);
        if (!query.prepare(sql))
            return fail(QStringLiteral("storing"), query.lastError().text());
        statement = m_statements.insert(sql, query);
    }
    for (int i = 0; i < bindings.size(); ++i)
        statement->bindValue(i, bindings.at(i));
    return statement->exec() || fail(QStringLiteral("storing"), statement->lastError().text());
}

} // namespace tools::zukimport

QStringList attendanceSchema()
{
    Q_INIT_RESOURCE(zukimport); // the linker leaves out what only a static library registers
    QFile file(QStringLiteral(":/attendance-schema.sql"));
    QStringList statements;
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return statements;
    QString statement;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine());
        if (line.startsWith(QLatin1String("--")))
            continue;
        statement += line;
        if (line.endsWith(QLatin1String(";\n"))) {
            statements.append(statement);
            statement.clear();
        }
    }
    return statements;
}
