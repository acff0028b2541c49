#include "server/logger/eventstore.h"

#include <QDateTime>
#include <QDebug>

#include <cmath>

namespace server::logger {

using storage::Status;

namespace {

// Others look for these texts, also for the two blanks.
const QString kReadBack = QStringLiteral("select id as IDX,timestamp as TIMESTAMP,user as USER,access_code as "
                                         "ACCESS_CODE,terminal as TERMINAL from events  where ");
const QString kQuoted = kReadBack + QStringLiteral("user='%1' and timestamp=%2");
const QString kBare = kReadBack + QStringLiteral("user=%1 and timestamp=%2");
/// The same, compiled once, for values that mean in the text what they mean when they are bound.
const QString kBound = kReadBack + QStringLiteral("user=? and timestamp=? limit 1");

const QString kIdx = QStringLiteral("IDX");
const QString kUser = QStringLiteral("USER");
const QString kTimestamp = QStringLiteral("TIMESTAMP");
const QString kAccessCode = QStringLiteral("ACCESS_CODE");

const QString kEvents = QStringLiteral("events");
const QString kEventsKey = QStringLiteral("ID");

const QString kTid = QStringLiteral("TID");

/// By these a terminal's event is known again. Always found by user and time, whatever the file's statistics say: a
/// terminal may send many events in a second.
const QString kFind = QStringLiteral("SELECT 1 FROM events WHERE +TID IS ? AND USER IS ? AND TIMESTAMP IS ? AND "
                                     "ACCESS_CODE IS ?");
const QString kFirst = QStringLiteral(" LIMIT 1");
/// What else an event may bring.
const QString kDetails[] = {QStringLiteral("FINGER"),  QStringLiteral("TERMINAL"), QStringLiteral("DESCRIPTION"),
                            QStringLiteral("ID_TYPE"), QStringLiteral("UID"),      QStringLiteral("NAME")};

/// No clock of a site is wrong by more without being noticed.
constexpr qint64 kFutureSeconds = 24 * 60 * 60;

/// The value under a key of any case, as inserts take it; null when there is none.
const QAny *valueOf(const QAny &event, const QString &column)
{
    for (int i = 0; i < event.count(); ++i) {
        if (event.keyAt(i).compare(column, Qt::CaseInsensitive) == 0)
            return &event.at(i);
    }
    return nullptr;
}

QVariant variantOf(const QAny &value)
{
    // The empty text is not NULL.
    return value.isString() && value.count() == 0 ? QVariant(QLatin1String("")) : value.toVariant();
}

/// What is bound to kFind: as it is stored, also where the event does not bring it. The comparison does not convert the
/// terminal's number. How many of the four it brings.
QVariantList identityOf(const QAny &event, int *brought)
{
    const QAny *terminal = valueOf(event, kTid);
    *brought = terminal ? 1 : 0;
    bool isNumber = !terminal;
    const qint64 number = terminal ? terminal->toInteger(&isNumber) : 0;
    QVariantList identity{isNumber ? QVariant(number) : variantOf(*terminal)};
    for (const QString &column : {kUser, kTimestamp, kAccessCode}) {
        const QAny *value = valueOf(event, column);
        *brought += value ? 1 : 0;
        identity.append(value ? variantOf(*value) : QVariant());
    }
    return identity;
}

Status anyRow(DataBase &database, const QString &sql, const QVariantList &bindings, bool *found)
{
    *found = false;
    return database.forEachRow(sql, bindings, [found](const QSqlQuery &) { *found = true; });
}

/// Whether SQLite takes it for the number of a row, and does not choose one itself.
bool isRowNumber(const QAny &value)
{
    bool isNumber = false;
    const double number = value.toString().toDouble(&isNumber);
    return isNumber && number == std::floor(number);
}

QAny without(const QAny &hash, const QString &column)
{
    QAny rest(QAny::Hash);
    for (int i = 0; i < hash.count(); ++i) {
        if (hash.keyAt(i).compare(column, Qt::CaseInsensitive) != 0)
            rest.insert(hash.keyAt(i), hash.at(i));
    }
    return rest;
}

/// A terminal whose clock is wrong: the catch-up asks it for what is newer than this event from now on.
void warnOfFuture(const QAny &event)
{
    const qint64 time = event.lookup(kTimestamp).toInteger();
    if (time <= QDateTime::currentSecsSinceEpoch() + kFutureSeconds)
        return;
    qWarning().noquote() << "EventStore::insert event of the future: terminal" << event.lookup(kTid).toString()
                         << "user" << event.lookup(kUser).toString() << "time" << time
                         << QDateTime::fromSecsSinceEpoch(time).toString(Qt::ISODate);
}

/// The number that a text is to SQLite, where it can be nothing else.
bool isPlainNumber(const QString &text, qint64 *number)
{
    bool isNumber = false;
    *number = text.toLongLong(&isNumber);
    return isNumber && text.trimmed().size() == text.size() && !text.startsWith(QLatin1Char('+'));
}

/// What the first row of a read-back says.
Status firstBound(DataBase &database, const QVariant &user, qint64 timestamp, QAny *stored)
{
    static const QAny::KeySet keys{kIdx, kTimestamp, kUser, kAccessCode, QStringLiteral("TERMINAL")};
    return database.forEachRow(kBound, {user, timestamp}, [stored](const QSqlQuery &row) {
        if (stored->isHash())
            return;
        *stored = QAny::record(keys);
        for (int i = 0; i < keys.count(); ++i)
            stored->slot(i) = QAny::fromVariant(row.value(i));
    });
}

/// The first row of `events` with the event's USER and TIMESTAMP; Null when there is none.
Status readBack(DataBase &database, const QAny &event, EventStore::UserText form, QAny *stored)
{
    *stored = QAny();
    const QString user = event.lookup(kUser).toString();
    const QString timestamp = event.lookup(kTimestamp).toString();
    const bool isQuoted = form == EventStore::UserText::Quoted;
    qint64 time = 0;
    qint64 number = 0;
    if (isPlainNumber(timestamp, &time)) {
        if (isQuoted && !user.isEmpty() && !user.contains(QLatin1Char('\'')) && !user.contains(QChar::Null))
            return firstBound(database, user, time, stored);
        if (!isQuoted && isPlainNumber(user, &number))
            return firstBound(database, number, time, stored);
    }
    return database.firstRow((isQuoted ? kQuoted : kBare).arg(user, timestamp), stored);
}

} // namespace

Status EventStore::wasDelivered(DataBase &database, const QAny &event, Sender sender, bool *delivered)
{
    *delivered = false;
    if (!event.isHash())
        return Status::Done;
    int brought = 0;
    QVariantList bindings = identityOf(event, &brought);
    if (brought < bindings.size() && sender == Sender::Peer)
        return Status::Done;
    QString sql = kFind;
    for (const QString &column : kDetails) {
        if (const QAny *value = valueOf(event, column)) {
            sql += QLatin1String(" AND ") + column + QLatin1String(" IS ?");
            bindings.append(variantOf(*value));
        }
    }
    // An event whose number was taken, or is none, is stored under another one.
    if (const QAny *number = valueOf(event, kEventsKey); number && isRowNumber(*number)) {
        sql += QLatin1String(" AND EXISTS (SELECT 1 FROM events WHERE ID=?)");
        bindings.append(variantOf(*number));
    }
    return anyRow(database, sql + kFirst, bindings, delivered);
}

Status EventStore::alreadyStored(DataBase &database, const QAny &events, Sender sender, std::vector<bool> *stored)
{
    stored->assign(static_cast<size_t>(events.count()), false);
    for (int i = 0; i < events.count(); ++i) {
        int brought = 0;
        const QVariantList identity = identityOf(events.at(i), &brought);
        if (!valueOf(events.at(i), kTid) && sender == Sender::Peer)
            continue; // it may be another terminal's
        bool found = false;
        if (const Status asked = anyRow(database, kFind + kFirst, identity, &found); asked.mayPass())
            return asked;
        (*stored)[static_cast<size_t>(i)] = found;
    }
    return Status::Done;
}

Status EventStore::insert(DataBase &database, const QAny &event)
{
    warnOfFuture(event);
    const Status inserted = database.insert(kEvents, event);
    if (inserted || inserted.mayPass() || !event.isHash())
        return inserted;
    // A row number of the terminal's own may be taken here. The event must not be lost for it.
    const QAny unnumbered = without(event, kEventsKey);
    return unnumbered.count() == event.count() ? inserted : database.insert(kEvents, unnumbered);
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
