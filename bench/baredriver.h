#pragma once

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

// Files that are written through the driver alone.

/// A connection of the name "bare", to be removed when it is done with.
inline QSqlDatabase openBare(const QString &file, const QStringList &pragmas)
{
    QSqlDatabase connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bare"));
    connection.setDatabaseName(file);
    connection.open();
    for (const QString &pragma : pragmas)
        QSqlQuery(connection).exec(QStringLiteral("PRAGMA ") + pragma);
    return connection;
}

/// Puts log rows of fifty lines into the file, quickest: the indexes come last.
inline void fillLogs(const QString &file, int rows)
{
    QSqlDatabase connection = openBare(file, {"journal_mode=OFF", "synchronous=OFF"});
    QSqlQuery query(connection);
    QStringList names;
    QStringList indexes;
    query.exec("SELECT name, sql FROM sqlite_master WHERE tbl_name='logs' AND type='index' AND sql IS NOT NULL");
    while (query.next()) {
        names << query.value(0).toString();
        indexes << query.value(1).toString();
    }
    connection.transaction();
    for (const QString &name : qAsConst(names))
        query.exec("DROP INDEX " + name);
    query.exec(QString("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<%1) "
                       "INSERT INTO logs SELECT i, i%50, 0, 1600000000000+i*1000, 0, 0, 'Terminal connected', "
                       "'{\"DATA\":null}' FROM n")
                   .arg(rows - 1));
    for (const QString &index : qAsConst(indexes))
        query.exec(index);
    query.exec(QString("INSERT INTO config (KEY,VALUE) VALUES('LastLogIdx','%1')").arg(rows));
    // What SQLite knew of the table when it was nearly empty.
    query.exec("PRAGMA analysis_limit=10");
    query.exec("ANALYZE");
    query.exec("DELETE FROM sqlite_stat1");
    query.exec("INSERT INTO sqlite_stat1 VALUES('logs','logs_line_ftimestamp','2 2 1')");
    connection.commit();
    query.clear();
    connection = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("bare"));
    // Else the system writes it while the measurements wait for the disk.
    QFile written(file);
    if (written.open(QIODevice::ReadWrite))
        fsync(written.handle());
}

/// An event's two rows through the driver alone, in a transaction and with a flush of its own.
class BareEvents
{
public:
    explicit BareEvents(const QString &file)
        : m_connection(openBare(file, {"journal_mode=WAL", "synchronous=FULL"})), m_event(m_connection),
          m_journal(m_connection)
    {
        m_event.prepare("INSERT INTO events (USER,FINGER,TERMINAL,TIMESTAMP,DESCRIPTION,ACCESS_CODE,ID_TYPE,UID,TID,"
                        "NAME) VALUES(?,?,?,?,?,?,?,?,?,?)");
        m_journal.prepare("INSERT INTO allevents (IDX,USER,TIMESTAMP,ACCESS_CODE,TYPE,REMARK,TAG) "
                          "VALUES(?,?,?,?,?,?,?)");
    }
    ~BareEvents()
    {
        m_event.clear();
        m_journal.clear();
        m_connection = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("bare"));
    }

    void store(int events)
    {
        const QString user = QStringLiteral("7");
        const QString code = QStringLiteral("101:Prihod");
        for (int i = 0; i < events; ++i, ++m_time) {
            m_connection.transaction();
            const bool ok = run(m_event, {user, 1, user, m_time, QStringLiteral("prihod"), code, QStringLiteral("F"), 7,
                                          7, QStringLiteral("Žagar Ana")}) &&
                            run(m_journal, {m_event.lastInsertId(), user, m_time, code, QStringLiteral("EV"),
                                            QStringLiteral(""), 0});
            if (!m_connection.commit() || !ok) {
                std::fprintf(stderr, "an event was not stored\n");
                std::exit(2);
            }
        }
    }

private:
    static bool run(QSqlQuery &query, const QVariantList &values)
    {
        int place = 0;
        for (const QVariant &value : values)
            query.bindValue(place++, value);
        return query.exec();
    }

    QSqlDatabase m_connection;
    QSqlQuery m_event;
    QSqlQuery m_journal;
    qint64 m_time = 1700000000;
};
