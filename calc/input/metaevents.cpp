#include "calc/input/metaevents.h"

#include "storage/database.h"

#include <QDebug>

bool InsertMeta(DataBase &database, const MetaEvent &event, QAny *events)
{
    const QString user = QString::number(event.user);
    const QString timestamp = QString::number(event.timestamp);
    // Quotes in the texts are deliberately left as they are: clients already send them doubled.
    const QString values = QStringLiteral("'%1',").arg(event.author) + QStringLiteral("'%1',").arg(user) +
                           QStringLiteral("'%1',").arg(timestamp) + QStringLiteral("'%1',").arg(event.accessCode) +
                           QStringLiteral("'%1',").arg(event.type) + QStringLiteral("'%1'").arg(event.remark);
    const QString sql =
        QStringLiteral("insert into %1 (%2) values (%3)")
            .arg(QStringLiteral("metalog"), QStringLiteral("IDLOG,USER,TIMESTAMP,ACCESS_CODE,TYPE,REMARK"), values);
    const QString readBack = QStringLiteral("select id as IDX,timestamp,user,access_code,remark,type,idlog from metalog"
                                            " where user=%1 and timestamp=%2")
                                 .arg(user, timestamp);
    // The statement reports no failure; a row more than before is the new one.
    const int before = database.select(readBack).count();
    qDebug() << "InsertMeta:" << sql;
    database.exec(sql);
    const QAny rows = database.select(readBack);
    if (rows.count() <= before)
        return false;
    if (events) {
        if (!events->isList())
            *events = QAny(QAny::List);
        QAny row = rows.at(rows.count() - 1);
        row.insert(QStringLiteral("TABLE"), QStringLiteral("allevents"));
        events->append(row);
    }
    return true;
}
