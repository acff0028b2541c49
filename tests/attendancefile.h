#pragma once

#include "storage/database.h"

#include <QDateTime>
#include <QFile>
#include <QStringList>

/// False when the database is not open.
inline bool run(DataBase &database, const QStringList &statements)
{
    Transaction transaction(database);
    for (const QString &statement : statements) {
        if (!statement.trimmed().isEmpty() && !database.exec(statement))
            return false;
    }
    transaction.commit();
    return true;
}

/// Creates the attendance tables and runs the statements.
inline bool fillAttendance(DataBase &database, const QStringList &statements)
{
    QFile schema(QStringLiteral(ZUK_SCHEMA_FILE));
    if (!schema.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    return run(database, QString::fromUtf8(schema.readAll()).split(QStringLiteral(";\n")) + statements);
}

/// Two employees at work and one who left; all three can try to log in to the web.
inline QStringList threeEmployees()
{
    return {
        QStringLiteral("delete from employees"),
        QStringLiteral("insert into employees (ID,FIRSTNAME,LASTNAME,DEPARTMENT,OFFDAYS,ACTIVE) "
                       "values (5,'Ana','Žagar','Pisarna',20,1)"),
        QStringLiteral("insert into employees (ID,FIRSTNAME,LASTNAME,ACTIVE) values (6,'Bor','Kos',1)"),
        QStringLiteral("insert into employees (ID,FIRSTNAME,LASTNAME,ACTIVE) values (7,'Cene','Star',0)"),
        QStringLiteral("insert into USER_ACCESS (IDP,NAME,PASSWORD,ACTIVE) values (5,'ana','geslo',1)"),
        QStringLiteral("insert into USER_ACCESS (IDP,NAME,PASSWORD,ACTIVE) values (6,'bor','geslo',0)"),
        QStringLiteral("insert into USER_ACCESS (IDP,NAME,PASSWORD,ACTIVE) values (7,'cene','geslo',1)"),
    };
}

/// Unix seconds of a local "yyyy-MM-dd hh:mm".
inline qint64 unixTime(const QString &local)
{
    return QDateTime::fromString(local, QStringLiteral("yyyy-MM-dd hh:mm")).toSecsSinceEpoch();
}

/// Employee 5 on Monday 3 March 2025, at work from 8:00 to 16:01, and on Tuesday, with an arrival at 8:30 only.
inline QStringList twoDays()
{
    const QString event = QStringLiteral("insert into allevents (USER,TIMESTAMP,ACCESS_CODE,TYPE,TAG) "
                                         "values (5,%1,'%2','EV',0)");
    const QString day = QStringLiteral("insert into calendar (DATE,DATESTAMP) values (%1,'')");
    return {event.arg(unixTime("2025-03-03 08:00")).arg("101:Prihod"),
            event.arg(unixTime("2025-03-03 16:01")).arg("102:Odhod"),
            event.arg(unixTime("2025-03-04 08:30")).arg("101:Prihod"),
            QStringLiteral("delete from calendar"),
            day.arg(unixTime("2025-03-03 00:00")),
            day.arg(unixTime("2025-03-04 00:00"))};
}
