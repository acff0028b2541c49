#include "server/sessions/catchupreply.h"

#include "server/logger/eventstore.h"

#include <QDebug>

#include <algorithm>

namespace server::sessions {

namespace EventStore = logger::EventStore;
using EventStore::UserText;
using storage::Status;

namespace {

const QString kTerminal = QStringLiteral("TERMINAL");
const QString kTimestamp = QStringLiteral("TIMESTAMP");
const QString kRemark = QStringLiteral("REMARK");
const QString kTid = QStringLiteral("TID");

// In the rescue file.
const QString kKind = QStringLiteral("KIND");
const QString kRows = QStringLiteral("ROWS");
const QString kLogKind = QStringLiteral("logs");
const QString kEventKind = QStringLiteral("events");

/// Numbers may come as texts.
qint64 number(const QAny &value)
{
    return value.toString().toLongLong();
}

void completeJournalRow(QAny &row, const QAny &stored)
{
    const QAny &terminal = stored.lookup(kTerminal);
    row.insert(kTerminal, terminal);
    row.insert(kRemark, QStringLiteral("ZUK%1 SERVER OFFLINE").arg(terminal.toString()));
}

} // namespace

CatchUpReply::CatchUpReply(const TerminalRole &role, int terminal, Kind kind, const QAny &list)
    : m_role(&role), m_terminal(terminal), m_kind(kind)
{
    if (!list.isList())
        return;
    m_rows.reserve(list.count());
    for (int i = 0; i < list.count(); ++i) {
        if (list.at(i).isHash())
            m_rows.append(list.at(i));
    }
    if (m_rows.count() < list.count())
        qWarning().nospace() << role.className << "::catchUp terminal " << terminal << ' '
                             << list.count() - m_rows.count() << " unusable "
                             << (kind == LogLines ? "log lines" : "events");
}

CatchUpReply::CatchUpReply(const TerminalRole &role, const QAny &rescued)
    : CatchUpReply(role, rescued.lookup(kTerminal).toInt(),
                   rescued.lookup(kKind).toString() == kLogKind ? LogLines : Events, rescued.lookup(kRows))
{
}

QAny CatchUpReply::rescued() const
{
    return {{kTerminal, m_terminal}, {kKind, m_kind == LogLines ? kLogKind : kEventKind}, {kRows, m_rows}};
}

QString CatchUpReply::name() const
{
    return QStringLiteral("terminal %1, %2 %3")
        .arg(QString::number(m_terminal), QString::number(count()),
             m_kind == LogLines ? QStringLiteral("log lines") : QStringLiteral("events"));
}

NewestTimes CatchUpReply::newest() const
{
    NewestTimes newest;
    for (int i = 0; i < m_rows.count(); ++i) {
        const QAny &row = m_rows.at(i);
        if (m_kind == LogLines)
            newest.log = std::max(newest.log, number(row.lookup(m_role->logKeys.timestamp)));
        else if (number(row.lookup(kTid)) == m_terminal) // what lastEventTime() finds
            newest.event = std::max(newest.event, number(row.lookup(kTimestamp)));
    }
    return newest;
}

Status CatchUpReply::store(DataBase &database, storage::Delivery delivery, int *stored) const
{
    *stored = 0;
    return m_kind == LogLines ? storeLogs(database, stored) : storeEvents(database, delivery, stored);
}

storage::LogRow CatchUpReply::logRow(const QAny &line) const
{
    const LogKeys &keys = m_role->logKeys;
    return {m_terminal,
            line.lookup(keys.id).toInt(),
            line.lookup(keys.level).toInt(),
            line.lookup(keys.group).toInt(),
            number(line.lookup(keys.timestamp)),
            line.lookup(keys.message).toString(),
            line.lookup(keys.data)};
}

Status CatchUpReply::storeLogs(DataBase &database, int *stored) const
{
    // First all are looked for: equal lines of one reply are all stored.
    std::vector<bool> isThere(static_cast<size_t>(count()), false);
    for (int i = 0; i < count(); ++i) {
        bool found = false;
        if (const Status asked = database.hasLog(logRow(m_rows.at(i)), &found); asked.mayPass())
            return asked;
        isThere[static_cast<size_t>(i)] = found;
    }
    for (int i = 0; i < count(); ++i) {
        if (isThere[static_cast<size_t>(i)])
            continue;
        const Status written = database.insertLog(logRow(m_rows.at(i)));
        if (written.mayPass())
            return written;
        if (written)
            ++*stored;
    }
    return Status::Done;
}

Status CatchUpReply::storeEvents(DataBase &database, storage::Delivery delivery, int *stored) const
{
    using EventStore::Sender;
    const Sender sender = delivery == storage::Delivery::Again ? Sender::Ourselves : Sender::Peer;
    std::vector<bool> isThere;
    if (const Status asked = EventStore::alreadyStored(database, m_rows, sender, &isThere); asked.mayPass())
        return asked;
    for (int i = 0; i < count(); ++i) {
        if (isThere[static_cast<size_t>(i)])
            continue;
        const QAny &event = m_rows.at(i);
        // A failure that lasts ends neither this event's journal row nor the events behind it.
        const Status inserted = EventStore::insert(database, event);
        if (inserted.mayPass())
            return inserted;
        const Status journaled = EventStore::addRow(database, event, UserText::Bare, completeJournalRow);
        if (journaled.mayPass())
            return journaled;
        ++*stored;
    }
    return Status::Done;
}

} // namespace server::sessions
