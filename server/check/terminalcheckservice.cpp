#include "server/check/terminalcheckservice.h"

#include "server/sessions/mainterminalservice.h"

#include <QDateTime>
#include <QDebug>
#include <QFileInfo>

namespace {

TerminalCheckService *theService = nullptr;

const QString kResult = QStringLiteral("result");
const QString kFileTimeFormat = QStringLiteral("dd.MM.yyyy hh:mm:ss");

QString registration(const QAny &params)
{
    return params.lookup(QStringLiteral("REGNO")).toString();
}

QString unixTime(const QDateTime &time)
{
    return QString::number(time.isValid() ? time.toSecsSinceEpoch() : 0);
}

/// Where the file system does not know a birth time, that of the latest change of the file's data sheet stands for the
/// creation.
void addTimes(QAny &answer, const QFileInfo &file)
{
    const QDateTime birth = file.birthTime();
    const QDateTime created = birth.isValid() ? birth : file.metadataChangeTime();
    answer.insert(QStringLiteral("birthTime"), birth.toString(kFileTimeFormat));
    answer.insert(QStringLiteral("birthTimeTs"), unixTime(birth));
    answer.insert(QStringLiteral("created"), created.toString(kFileTimeFormat));
    answer.insert(QStringLiteral("createdTs"), unixTime(created));
    answer.insert(QStringLiteral("lastModified"), file.lastModified().toString(kFileTimeFormat));
}

} // namespace

TerminalCheckService::TerminalCheckService(QObject *parent) : TerminalCheckService(server::process::machineTime, parent)
{
}

TerminalCheckService::TerminalCheckService(server::process::Clock clock, QObject *parent)
    : CheckService(mainTerminalService, parent), m_clock(std::move(clock))
{
}

QAny TerminalCheckService::query(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::query lunga", connectionId, params);
    return CheckService::query(params);
}

QAny TerminalCheckService::exec(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::exec tunga", connectionId, params);
    const bool ok = execute(params);
    if (ok)
        journal(Success, QStringLiteral("EXECSQL OK"));
    else
        journal(Error, QStringLiteral("EXECSQL ERROR"), params);
    return {{kResult, flag(ok)}};
}

QAny TerminalCheckService::save(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::save", connectionId, params);
    journal(Error, QStringLiteral("SaveVehicle %1 ERROR").arg(registration(params)), params);
    journal(Error, QStringLiteral("SaveVehicleSql %1 ERROR").arg(registration(params)), params);
    return {{kResult, flag(false)}, {QStringLiteral("resultsql"), flag(false)}};
}

QAny TerminalCheckService::savehold(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::savehold", connectionId, params);
    journal(Error, QStringLiteral("SaveVehicleHold %1 ERROR").arg(registration(params)), params);
    return {{kResult, flag(false)}};
}

QAny TerminalCheckService::saveQrCustomer(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::saveQrCustomer", connectionId, params);
    journal(Error, QStringLiteral("SaveQRVehicle %1 ERROR").arg(registration(params)), params);
    return {{kResult, flag(false)}};
}

QAny TerminalCheckService::insert(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::insert", connectionId, params);
    return insertRow(params);
}

QAny TerminalCheckService::timeSync(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::timeSync", connectionId, params);
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(m_clock());
    return {{QStringLiteral("TIME"), unixTime(now)},
            {QStringLiteral("DST"), now.isDaylightTime() ? QStringLiteral("TRUE") : QStringLiteral("FALSE")}};
}

QAny TerminalCheckService::recalc(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::recalc", connectionId, params);
    return recalculate(connectionId, params);
}

QAny TerminalCheckService::krneki(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::krneki", connectionId, params);
    return {{QStringLiteral("KRNEKI"), QStringLiteral("krneki")}};
}

QAny TerminalCheckService::ping(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::ping", connectionId, params);
    return {{QStringLiteral("PING"), QStringLiteral("OK")}};
}

QAny TerminalCheckService::loadFile(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::loadFile", connectionId, params);
    QAny answer = readFile(params, "TerminalCheckService::loadFile");
    if (answer.isHash())
        addTimes(answer, QFileInfo(fileName(params)));
    return answer;
}

QAny TerminalCheckService::addFile(const QString &connectionId, const QAny &params)
{
    begin("TerminalCheckService::addFile", connectionId, params);
    qint64 size = 0;
    const QAny answer = storeFile(params, &size);
    qDebug() << "TerminalCheckService::addFile  size:" << size;
    return answer;
}

TerminalCheckService *terminalCheckService()
{
    return theService;
}

void setTerminalCheckService(TerminalCheckService *service)
{
    theService = service;
}
