#include "storage/owntables.h"

#include "storage/database.h"
#include "storage/filecopy.h"

#include <QDebug>
#include <QFile>
#include <QLockFile>

namespace storage {

namespace {

const QString kVersions =
    QStringLiteral("CREATE TABLE IF NOT EXISTS zuk_schema (NAME TEXT PRIMARY KEY, VERSION INTEGER NOT NULL)");
const QString kVersion = QStringLiteral("SELECT VERSION FROM zuk_schema WHERE NAME=?");
const QString kSetVersion = QStringLiteral("INSERT OR REPLACE INTO zuk_schema (NAME,VERSION) VALUES (?,?)");

/// 0 where there are none yet.
Status readVersion(DataBase &database, const QString &name, int *version)
{
    *version = 0;
    const Status status = database.execPrepared(kVersions, {});
    return status
               ? database.forEachRow(kVersion, {name}, [&](const QSqlQuery &row) { *version = row.value(0).toInt(); })
               : status;
}

QString makeCopy(const DataBase &database, const QString &path)
{
    const QString part = path + QStringLiteral(".part");
    QString fault = copyDatabase(database.filePath(), part);
    QString rows;
    if (fault.isEmpty())
        fault = checkDatabase(part, &rows);
    // Of an upgrade that failed there is one already.
    if (fault.isEmpty() && QFile::exists(path) && !QFile::remove(path))
        fault = path + QStringLiteral(": cannot be replaced");
    if (fault.isEmpty() && !QFile::rename(part, path))
        fault = path + QStringLiteral(": cannot be given its name");
    if (!fault.isEmpty())
        QFile::remove(part);
    return fault;
}

Status keepCopy(const DataBase &database, const QString &name, int version)
{
    const QString fault = makeCopy(database, QStringLiteral("%1.%2-%3").arg(database.filePath(), name).arg(version));
    if (fault.isEmpty())
        return Status::Done;
    qWarning("storage: the tables \"%s\" are not brought up to date, no copy can be made: %s", qPrintable(name),
             qPrintable(fault));
    return Status::Passing;
}

Status run(DataBase &database, const OwnTables::Statements &statements)
{
    Status status;
    for (const char *sql : statements) {
        if (status)
            status = database.execPrepared(QString::fromLatin1(sql), {});
    }
    return status;
}

Status upgrade(DataBase &database, const OwnTables &tables, int from)
{
    Status status;
    for (size_t i = static_cast<size_t>(from) - 1; i < tables.upgrades.size() && status; ++i)
        status = run(database, tables.upgrades[i]);
    return status;
}

/// What fails need not be copied for: the steps are undone.
Status rehearse(DataBase &database, const OwnTables &tables, int from)
{
    const Transaction undone(database);
    return upgrade(database, tables, from);
}

/// Makes the newest form of what is of this version, 0 for nothing.
Status change(DataBase &database, const OwnTables &tables, int version)
{
    const QString name = QString::fromLatin1(tables.name);
    Transaction transaction(database);
    Status status = version > 0 ? upgrade(database, tables, version) : Status();
    if (status)
        status = run(database, tables.create);
    if (status && version != tables.version())
        status = database.execPrepared(kSetVersion, {name, tables.version()});
    return status ? transaction.commit() : status;
}

/// Nobody else copies or changes them meanwhile.
Status upgradeAlone(DataBase &database, const OwnTables &tables)
{
    const QString name = QString::fromLatin1(tables.name);
    QLockFile lock(QStringLiteral("%1.%2.lock").arg(database.filePath(), name));
    lock.setStaleLockTime(0);
    if (!lock.tryLock()) {
        qWarning("storage: another process brings the tables \"%s\" up to date", tables.name);
        return Status::Passing;
    }
    int version = 0;
    Status status = readVersion(database, name, &version);
    if (!status || version >= tables.version())
        return status;
    status = rehearse(database, tables, version);
    if (status)
        status = keepCopy(database, name, version);
    return status ? change(database, tables, version) : status;
}

} // namespace

Status bringUpToDate(DataBase &database, const OwnTables &tables)
{
    int version = 0;
    Status status = readVersion(database, QString::fromLatin1(tables.name), &version);
    if (!status)
        return status;
    if (version > tables.version()) {
        qWarning("storage: the tables \"%s\" of %s are of version %d, this program knows %d", tables.name,
                 qPrintable(database.filePath()), version, tables.version());
        return Status::Lasting;
    }
    return version > 0 && version < tables.version() ? upgradeAlone(database, tables)
                                                     : change(database, tables, version);
}

} // namespace storage
