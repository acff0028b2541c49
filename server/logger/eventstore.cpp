#include "server/logger/eventstore.h"

#include <QDebug>

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

} // namespace

QAny EventStore::storedEvent(DataBase &database, const QAny &event, UserText form)
{
    const QString &sql = form == UserText::Quoted ? kReadBackQuoted : kReadBackBare;
    return database.firstRow(sql.arg(event.lookup(kUser).toString(), event.lookup(kTimestamp).toString()));
}

DataBase::Failure EventStore::insert(DataBase &database, const QAny &event, UserText form)
{
    if (database.insert(kEvents, event))
        return DataBase::Failure::None;
    const DataBase::Failure failure = database.lastFailure();
    if (failure == DataBase::Failure::Passing || !event.isHash())
        return failure;
    // A row number of the terminal's own may be taken here. The event must not be lost for it.
    const QAny unnumbered = without(event, kEventsKey);
    if (unnumbered.count() == event.count() || storedEvent(database, event, form).isHash())
        return failure;
    return database.insert(kEvents, unnumbered) ? DataBase::Failure::None : database.lastFailure();
}

DataBase::Failure EventStore::addRow(DataBase &database, const QAny &event, UserText form, const Complete &complete)
{
    const QAny stored = storedEvent(database, event, form);
    const bool found = stored.isHash();
    if (found) {
        QAny row{{kIdx, stored.lookup(kIdx)},
                 {kUser, stored.lookup(kUser)},
                 {kTimestamp, stored.lookup(kTimestamp)},
                 {kAccessCode, stored.lookup(kAccessCode)},
                 {QStringLiteral("TYPE"), QStringLiteral("EV")}};
        complete(row, stored);
        if (database.insert(QStringLiteral("allevents"), row))
            return DataBase::Failure::None;
    }
    if (database.lastFailure() == DataBase::Failure::Passing)
        return DataBase::Failure::Passing;
    qWarning().noquote() << "EventStore::addRow" << (found ? "no row written for user" : "event not found, user")
                         << event.lookup(kUser).toString() << "time" << event.lookup(kTimestamp).toString();
    return DataBase::Failure::Lasting;
}
