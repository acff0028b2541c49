#include "server/sessions/terminalcatchup.h"

#include "knetrpc/rpccall.h"
#include "server/logger/eventstore.h"
#include "server/sessions/terminalservice.h"

#include <QDebug>

#include <algorithm>

namespace server::sessions {

namespace EventStore = logger::EventStore;
using EventStore::UserText;
using storage::Status;

namespace {

const QString kFromTimestamp = QStringLiteral("fromTimestamp");
const QString kTerminal = QStringLiteral("TERMINAL");
const QString kTimestamp = QStringLiteral("TIMESTAMP");
const QString kRemark = QStringLiteral("REMARK");
const QString kTid = QStringLiteral("TID");

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

TerminalCatchUp::TerminalCatchUp(TerminalService *service, int terminal, const NewestTimes &timesAtLogin)
    : QObject(service), m_service(*service), m_role(service->m_role), m_terminal(terminal),
      m_connectionId(service->connectionId(terminal)), m_timesAtLogin(timesAtLogin)
{
}

void TerminalCatchUp::start()
{
    ask(QStringLiteral("logger.getLogs"), {{kFromTimestamp, QString::number(m_timesAtLogin.log)}},
        SLOT(onLogs(QString, QAny)));
}

void TerminalCatchUp::ask(const QString &method, const QAny &params, const char *member)
{
    KNet::RpcCall(m_service.m_controller)
        .call(m_connectionId, method, params, this, member, TerminalService::kCallTimeoutMs);
}

void TerminalCatchUp::onLogs(const QString &connectionId, const QAny &answer)
{
    Q_UNUSED(connectionId)
    if (!answer.isList()) {
        if (m_role.tracesCatchUp)
            qDebug() << m_service.line("!res.isList()").constData();
        deleteLater();
        return;
    }
    if (m_role.tracesCatchUp)
        qDebug() << m_service.line("LogsToUpdate:").constData() << answer.count() << " ID:" << m_terminal;
    const QAny rows = usableRows(answer, "log lines");
    if (rows.count() == 0) {
        m_service.m_logsMissingFrom.remove(m_terminal);
        return endLogs();
    }
    NewestTimes accepted;
    for (int i = 0; i < rows.count(); ++i)
        accepted.log = std::max(accepted.log, number(rows.at(i).lookup(m_role.logKeys.timestamp)));
    const auto outcome =
        m_service.keptReplies().enqueue({[this, rows, known = m_service.noteAccepted(m_terminal, accepted)](
                                             DataBase &database) { return storeLogs(database, rows); },
                                         [this](Status) { endLogs(); }, nameOf("log lines", rows)});
    if (outcome != storage::KeptWrites::Outcome::Dropped)
        m_service.m_logsMissingFrom.remove(m_terminal);
}

void TerminalCatchUp::endLogs()
{
    if (m_role.tracesCatchUp)
        qDebug() << m_service.line("logsUpdated:").constData() << m_storedLogs;
    if (m_role.hasEvents)
        askEvents(); // answered with an error when this session is over
    else
        deleteLater();
}

void TerminalCatchUp::askEvents()
{
    ask(QStringLiteral("logger.getEvents"),
        {{kFromTimestamp, QString::number(m_timesAtLogin.event)}, {kTid, QString::number(m_terminal)}},
        SLOT(onEvents(QString, QAny)));
}

void TerminalCatchUp::onEvents(const QString &connectionId, const QAny &answer)
{
    Q_UNUSED(connectionId)
    const QAny rows = usableRows(answer, "events");
    if (rows.count() == 0) {
        if (answer.isList())
            m_service.m_eventsMissingFrom.remove(m_terminal);
        deleteLater();
        return;
    }
    NewestTimes accepted;
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &event = rows.at(i);
        if (number(event.lookup(kTid)) == m_terminal) // what lastEventTime() finds
            accepted.event = std::max(accepted.event, number(event.lookup(kTimestamp)));
    }
    const auto outcome =
        m_service.keptReplies().enqueue({[this, rows, known = m_service.noteAccepted(m_terminal, accepted)](
                                             DataBase &database) { return storeEvents(database, rows); },
                                         [this](Status) { deleteLater(); }, nameOf("events", rows)});
    if (outcome != storage::KeptWrites::Outcome::Dropped)
        m_service.m_eventsMissingFrom.remove(m_terminal);
}

/// The elements that can be rows at all.
QAny TerminalCatchUp::usableRows(const QAny &reply, const char *what) const
{
    QAny rows(QAny::List);
    if (!reply.isList())
        return rows;
    rows.reserve(reply.count());
    for (int i = 0; i < reply.count(); ++i) {
        if (reply.at(i).isHash())
            rows.append(reply.at(i));
    }
    if (rows.count() < reply.count())
        qWarning() << m_service.line("catchUp").constData() << "terminal" << m_terminal << reply.count() - rows.count()
                   << "unusable" << what;
    return rows;
}

Status TerminalCatchUp::storeLogs(DataBase &database, const QAny &rows)
{
    const LogKeys &keys = m_role.logKeys;
    m_storedLogs = 0;
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &row = rows.at(i);
        const Status written = database.insertLog(
            m_terminal, row.lookup(keys.id).toInt(), row.lookup(keys.level).toInt(), row.lookup(keys.group).toInt(),
            number(row.lookup(keys.timestamp)), row.lookup(keys.message).toString(), row.lookup(keys.data));
        if (written.mayPass())
            return written;
        if (written)
            ++m_storedLogs;
    }
    return Status::Done;
}

Status TerminalCatchUp::storeEvents(DataBase &database, const QAny &rows) const
{
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &event = rows.at(i);
        // A failure that lasts ends neither this event's journal row nor the events behind it.
        if (EventStore::insert(database, event, UserText::Bare).mayPass() ||
            EventStore::addRow(database, event, UserText::Bare, completeJournalRow).mayPass())
            return Status::Passing;
    }
    return Status::Done;
}

QString TerminalCatchUp::nameOf(const char *what, const QAny &rows) const
{
    return QStringLiteral("terminal %1, %2 %3").arg(m_terminal).arg(rows.count()).arg(QLatin1String(what));
}

} // namespace server::sessions
