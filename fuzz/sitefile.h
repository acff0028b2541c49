#pragma once

#include "attendancefile.h"
#include "driver.h"

#include <QTemporaryDir>

/// A database file with the attendance tables, three employees (see threeEmployees()) and what the statements add; it
/// is the process's database as long as it lives.
class SiteFile
{
public:
    explicit SiteFile(const QStringList &statements) : m_database(m_folder.filePath(QStringLiteral("site.db")))
    {
        setDb(&m_database);
        // No target outlives a power cut.
        require(run(m_database, {QStringLiteral("PRAGMA synchronous=OFF")}) &&
                    fillAttendance(m_database, threeEmployees() + statements),
                "no attendance file");
    }
    ~SiteFile() { setDb(nullptr); }

    int count(const char *table) { return rows("select 1 from %1", table).count(); }
    QAny rows(const char *sql, const char *table)
    {
        return m_database.select(QString::fromLatin1(sql).arg(QLatin1String(table)));
    }
    void empty(const char *table) { m_database.exec(QStringLiteral("delete from %1").arg(QLatin1String(table))); }

private:
    Q_DISABLE_COPY(SiteFile)
    QTemporaryDir m_folder;
    DataBase m_database;
};
