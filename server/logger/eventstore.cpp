#include "server/logger/eventstore.h"

#include <QDebug>

namespace server::logger {

using storage::Status;

namespace {

// Others look for these texts, also for the two blanks.
const QString kReadBackQuoted =
    QStringLiteral("select id as IDX,timestamp as TIMESTAMP,user as USER,access_code as ACCESS_CODE,"
                   "terminal as TERMINAL from events  where user='%1' and timestamp=%2");
const QString kReadBackBare =
    QStringLiteral("select id as IDX,timestamp as TIMESTAMP,user as USER,access_code as ACCESS_CODE,"
                   "terminal as TERMINAL from events  where user=%1 and timestamp=%2");

const QString kIdx = QStringLiteral("IDX");
const QString kUser = QStringLiteral("USER");
const QString kTimestamp = QStringLiteral("TIMESTAMP");
const QString kAccessCode = QStringLiteral("ACCESS_CODE");

const QString kEvents = QStringLiteral("events");
const QString kEventsKey = QStringLiteral("ID");

QAny without(const QAny &hash, const QString &column)
{
    QAny rest(QAny::Hash);
    for (int i = 0; i < hash.count(); ++i) {
        if (hash.keyAt(i).compare(column, Qt::CaseInsensitive) != 0)
            rest.insert(hash.keyAt(i), hash.at(i));
    }
    return rest;
}

/// The first row of `events` with the event's USER and TIMESTAMP; Null when there is none.
Status readBack(DataBase &database, const QAny &event, EventStore::UserText form, QAny *stored)
{
    const QString &sql = form == EventStore::UserText::Quoted ? kReadBackQuoted : kReadBackBare;
    return database.firstRow(sql.arg(event.lookup(kUser).toString(), event.lookup(kTimestamp).toString()), stored);
}

} // namespace

Status EventStore::insert(DataBase &database, const QAny &event, UserText form)
{
    const Status inserted = database.insert(kEvents, event);
    if (inserted || inserted.mayPass() || !event.isHash())
        return inserted;
    // A row number of the terminal's own may be taken here. The event must not be lost for it.
    const QAny unnumbered = without(event, kEventsKey);
    if (unnumbered.count() == event.count())
        return inserted;
    QAny stored;
    readBack(database, event, form, &stored);
    return stored.isHash() ? inserted : database.insert(kEvents, unnumbered);
}

Status EventStore::addRow(DataBase &database, const QAny &event, UserText form, const Complete &complete)
{
    QAny stored;
    Status status = readBack(database, event, form, &stored);
    const bool found = stored.isHash();
    if (found) {
        QAny row{{kIdx, stored.lookup(kIdx)},
                 {kUser, stored.lookup(kUser)},
                 {kTimestamp, stored.lookup(kTimestamp)},
                 {kAccessCode, stored.lookup(kAccessCode)},
                 {QStringLiteral("TYPE"), QStringLiteral("EV")}};
        complete(row, stored);
        status = database.insert(QStringLiteral("allevents"), row);
        if (status)
            return status;
    }
    if (status.mayPass())
        return status;
    qWarning().noquote() << "EventStore::addRow" << (found ? "no row written for user" : "event not found, user")
                         << event.lookup(kUser).toString() << "time" << event.lookup(kTimestamp).toString();
    return Status::Lasting;
}

} // namespace server::logger
