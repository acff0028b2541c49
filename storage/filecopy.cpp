#include "storage/filecopy.h"

#include "storage/diskfile.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStorageInfo>
#include <QStringList>
#include <QVariant>

namespace storage {

namespace {

const QString kConnection = QStringLiteral("storage.filecopy");
/// Somebody may hold the file while the server is stopped.
constexpr int kBusyTimeoutMs = 30000;

/// A file opened for reading alone, and why it could not be.
class OpenFile
{
public:
    explicit OpenFile(const QString &path) : m_database(QSqlDatabase::addDatabase("QSQLITE", kConnection))
    {
        m_database.setDatabaseName(path);
        m_database.setConnectOptions(
            QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyTimeoutMs));
        if (!QFileInfo(path).isFile())
            m_fault = QStringLiteral("no such file");
        else if (!m_database.open())
            m_fault = m_database.lastError().text();
    }
    ~OpenFile()
    {
        m_database.close();
        m_database = QSqlDatabase();
        QSqlDatabase::removeDatabase(kConnection);
    }

    const QString &fault() const { return m_fault; }

    /// The first column of all rows; remembers a fault.
    QStringList values(const QString &sql)
    {
        QSqlQuery query(m_database);
        query.setForwardOnly(true);
        QStringList result;
        if (query.exec(sql)) {
            while (query.next())
                result += query.value(0).toString();
        }
        if (query.lastError().isValid())
            m_fault = query.lastError().text();
        return result;
    }

private:
    Q_DISABLE_COPY(OpenFile)
    QSqlDatabase m_database;
    QString m_fault;
};

QString quoted(QString text)
{
    return '\'' + text.replace('\'', QStringLiteral("''")) + '\'';
}

/// Filling a disk that the server stores its events on would be worse than having no copy.
QString roomFault(OpenFile &source, const QString &copy)
{
    const qint64 needed = source.values(QStringLiteral("PRAGMA page_count")).value(0).toLongLong() *
                          source.values(QStringLiteral("PRAGMA page_size")).value(0).toLongLong();
    const qint64 spare = needed / 10;
    const qint64 free = QStorageInfo(QFileInfo(copy).absolutePath()).bytesAvailable();
    return free < 0 || free > needed + spare
               ? QString()
               : QStringLiteral("the copy needs %1 bytes and a tenth to spare, %2 are free").arg(needed).arg(free);
}

} // namespace

QString copyDatabase(const QString &sourcePath, const QString &copy)
{
    QFile file(copy);
    // It holds passwords, and so is nobody else's from the begin.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return copy + ": " + file.errorString();
    file.close();

    OpenFile source(sourcePath);
    if (source.fault().isEmpty()) {
        const QString noRoom = roomFault(source, copy);
        if (!noRoom.isEmpty())
            return noRoom;
    }
    if (source.fault().isEmpty())
        source.values("VACUUM INTO " + quoted(copy));
    if (!source.fault().isEmpty())
        return sourcePath + ": " + source.fault();
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) || !flushToDisk(file.handle()))
        return copy + ": cannot be brought to the disk";
    return QString();
}

QString checkDatabase(const QString &path, QString *rows)
{
    OpenFile file(path);
    if (!file.fault().isEmpty())
        return path + ": " + file.fault();
    const QStringList found = file.values(QStringLiteral("PRAGMA integrity_check(5)"));
    if (found != QStringList("ok"))
        return path + " is damaged: " + (found + QStringList(file.fault())).join("; ").simplified();
    const QStringList tables = file.values(
        QStringLiteral("select name from sqlite_master where type='table' and lower(name) in "
                       "('allevents','employees','events','logs','metalog','user_access') order by lower(name)"));
    QStringList counts;
    for (const QString &table : tables)
        counts += table + ' ' + file.values("select count(*) from " + table).value(0);
    *rows = counts.isEmpty() ? QStringLiteral("none of the server's tables") : counts.join(", ");
    return file.fault().isEmpty() ? QString() : path + ": " + file.fault();
}

} // namespace storage
