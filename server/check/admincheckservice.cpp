#include "server/check/admincheckservice.h"

#include "knetrpc/rpcprotocol.h"
#include "server/check/restartscript.h"
#include "server/check/terminalsettings.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"
#include "storage/database.h"

#include <QDebug>
#include <QFile>
#include <QPointer>

namespace {

AdminCheckService *theService = nullptr;

const QString kResult = QStringLiteral("result");
const QString kMessage = QStringLiteral("msg");
const QString kError = QStringLiteral("ERROR");

QAny error(const QString &text)
{
    return {{kError, text}};
}

} // namespace

AdminCheckService::AdminCheckService(QObject *parent) : CheckService(adminTerminalService, parent) {}

QAny AdminCheckService::query(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::query", connectionId, params);
    return CheckService::query(params);
}

QAny AdminCheckService::exec(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::exec", connectionId, params);
    const bool ok = execute(params);
    if (!ok)
        journal(Information, QStringLiteral("Exec false"));
    return {{kResult, flag(ok)}};
}

QAny AdminCheckService::insert(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::insert", connectionId, params);
    return insertRow(params);
}

QAny AdminCheckService::update(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::update", connectionId, params);
    const QAny rows = params.lookup(QStringLiteral("TABLE"));
    if (db() && db()->update(params.lookup(QStringLiteral("NAME")).toString(), rows,
                             params.lookup(QStringLiteral("KEY")).toString())) {
        journal(Information, QStringLiteral("Update true"), params);
        return {{kResult, flag(true)}};
    }
    journal(Information, QStringLiteral("Update false"));
    return {{kResult, flag(false)}, {QStringLiteral("TBL"), rows}};
}

QAny AdminCheckService::addFile(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::addFile", connectionId, params);
    return storeFile(params);
}

QAny AdminCheckService::loadFile(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::loadFile", connectionId, params);
    return readFile(params, "AdminCheckService::loadFile");
}

QAny AdminCheckService::restartService(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::restartService", connectionId, params);
    const QString script = server::check::RestartScript::write();
    if (!QFile::exists(script))
        return {{kResult, flag(false)}, {kMessage, QStringLiteral("Ni datoteke %1!").arg(script)}};
    if (!server::check::RestartScript::start())
        qWarning() << "AdminCheckService::restartService can't start the script";
    return {{kResult, flag(true)}, {kMessage, QStringLiteral("restart")}};
}

QAny AdminCheckService::recalc(const QString &connectionId, const QAny &params)
{
    // Deliberate: the line names the restart; logs are searched by it.
    begin("AdminCheckService::restartService", connectionId, params);
    return recalculate(connectionId, params);
}

QAny AdminCheckService::version(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::version", connectionId, params);
    return {{kResult, flag(true)}, {QStringLiteral("ver"), QStringLiteral("ZUK3")}};
}

QAny AdminCheckService::zukCmd(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::zukCmd", connectionId, params);
    const qint64 number = params.lookup(QStringLiteral("ZUKID")).toInteger();
    const int terminal = static_cast<int>(number);
    qDebug() << "idt" << number;
    MainTerminalService *terminals = mainTerminalService();
    // A number that is too long must not mean another terminal.
    if (!terminals || terminal != number || !terminals->isConnected(terminal))
        return error(QStringLiteral("ZUK Terminal id=%1 not connected!").arg(number));
    if (terminal < 0)
        return error(QStringLiteral("Unknown ZUK id"));
    if (m_waitingCommands.value(connectionId) >= kMaxWaitingCommands)
        return KNet::rpcError(KNet::ConnectionError);
    const QPointer<AdminCheckService> self(this); // it may end while the terminal is asked
    ++m_waitingCommands[connectionId];
    const QAny answer =
        terminals->callTerminal(terminal, QStringLiteral("logger.zukCmd"), params, MainTerminalService::kCallTimeoutMs);
    if (self && --m_waitingCommands[connectionId] == 0)
        m_waitingCommands.remove(connectionId);
    return answer;
}

QAny AdminCheckService::zukConnected(const QString &connectionId, const QAny &params)
{
    begin("AdminCheckService::zukConnected", connectionId, params);
    QAny terminals = mainTerminalService() ? mainTerminalService()->connections() : QAny(QAny::List);
    if (terminals.count() == 0)
        return error(QStringLiteral("No ZUK connection"));
    for (int i = 0; i < terminals.count(); ++i) {
        const QString key = QStringLiteral("ZUK%1").arg(terminals.at(i).lookup(QStringLiteral("KEY")).toInteger());
        const QString settings = db() ? db()->configValue(key) : QString();
        terminals[i].insert(QStringLiteral("CFG"), server::check::readTerminalSettings(settings));
    }
    return {{QStringLiteral("ZUK"), terminals}};
}

AdminCheckService *adminCheckService()
{
    return theService;
}

void setAdminCheckService(AdminCheckService *service)
{
    theService = service;
}
