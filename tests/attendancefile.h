#pragma once

#include "database.h"

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
