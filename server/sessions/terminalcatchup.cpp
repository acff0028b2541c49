#include "server/sessions/terminalcatchup.h"

#include "knetrpc/rpccall.h"
#include "server/sessions/catchupreply.h"
#include "server/sessions/terminalservice.h"

#include <QDebug>

namespace server::sessions {

namespace {

const QString kFromTimestamp = QStringLiteral("fromTimestamp");
const QString kTid = QStringLiteral("TID");

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
    const CatchUpReply reply(m_role, m_terminal, CatchUpReply::LogLines, answer);
    if (reply.count() == 0)
        endLogs(0);
    else if (!m_service.keep(reply, [this](int stored) { endLogs(stored); }))
        return;
    m_service.m_logsMissingFrom.remove(m_terminal);
}

void TerminalCatchUp::endLogs(int stored)
{
    if (m_role.tracesCatchUp)
        qDebug() << m_service.line("logsUpdated:").constData() << stored;
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
    const CatchUpReply reply(m_role, m_terminal, CatchUpReply::Events, answer);
    bool isTaken = answer.isList();
    if (reply.count() == 0)
        deleteLater();
    else
        isTaken = m_service.keep(reply, [this](int) { deleteLater(); });
    if (isTaken)
        m_service.m_eventsMissingFrom.remove(m_terminal);
}

} // namespace server::sessions
