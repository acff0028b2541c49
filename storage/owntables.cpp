#include "storage/owntables.h"

#include "storage/database.h"
#include "storage/filecopy.h"

#include <QDebug>
#include <QFile>

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

/// What the next upgrade would overwrite is of a version that is no more.
Status keepCopy(const DataBase &database, const QString &name, int version)
{
    const QString path = QStringLiteral("%1.%2-%3").arg(database.filePath(), name).arg(version);
    const QString part = path + QStringLiteral(".part");
    QString fault = copyDatabase(database.filePath(), part);
    // Of an upgrade that failed there is one already.
    if (fault.isEmpty() && QFile::exists(path) && !QFile::remove(path))
        fault = path + QStringLiteral(": cannot be replaced");
    if (fault.isEmpty() && !QFile::rename(part, path))
        fault = path + QStringLiteral(": cannot be given its name");
    if (fault.isEmpty())
        return Status::Done;
    QFile::remove(part);
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

} // namespace

Status bringUpToDate(DataBase &database, const OwnTables &tables)
{
    const QString name = QString::fromLatin1(tables.name);
    int copied = 0;
    Status status = readVersion(database, name, &copied);
    if (status && copied > 0 && copied < tables.version())
        status = keepCopy(database, name, copied);
    if (!status)
        return status;

    Transaction transaction(database);
    int version = 0;
    status = readVersion(database, name, &version);
    if (status && version > tables.version()) {
        qWarning("storage: the tables \"%s\" of %s are of version %d, this program knows %d", tables.name,
                 qPrintable(database.filePath()), version, tables.version());
        return Status::Lasting;
    }
    // Another process was there between the copy and here.
    if (status && version != copied)
        return Status::Passing;
    if (status && version > 0)
        status = upgrade(database, tables, version);
    if (status)
        status = run(database, tables.create);
    if (status && version != tables.version())
        status = database.execPrepared(kSetVersion, {name, tables.version()});
    return status ? transaction.commit() : status;
}

} // namespace storage
