#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>

/// Another process at the same file.
class Peer
{
public:
    explicit Peer(const QString &path)
    {
        QSqlDatabase connection = QSqlDatabase::addDatabase("QSQLITE", "peer");
        connection.setDatabaseName(path);
        connection.setConnectOptions("QSQLITE_BUSY_TIMEOUT=0");
        connection.open();
    }
    ~Peer() { QSqlDatabase::removeDatabase("peer"); }

    bool run(const QString &sql) const { return QSqlQuery(QSqlDatabase::database("peer")).exec(sql); }
    /// All cells of all rows, with a blank between them.
    QString cells(const QString &sql) const
    {
        QSqlQuery query(sql, QSqlDatabase::database("peer"));
        QStringList result;
        while (query.next()) {
            for (int i = 0; query.value(i).isValid(); ++i)
                result += query.isNull(i) ? QString("NULL") : query.value(i).toString();
        }
        return result.join(' ');
    }
};
