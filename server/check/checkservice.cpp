#include "server/check/checkservice.h"

#include "calc/dialogcalc3.h"
#include "calc/recalctext.h"
#include "knetrpc/rpccontroller.h"
#include "server/check/filetransfer.h"
#include "server/logger/logger.h"
#include "server/sessions/abridged.h"
#include "server/workers/readpool.h"
#include "storage/database.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>

#include <memory>

namespace server::check {

namespace {

const QString kResult = QStringLiteral("result");
const QString kName = QStringLiteral("NAME");
const QString kTable = QStringLiteral("TABLE");
const QString kDir = QStringLiteral("DIR");
const QString kFileName = QStringLiteral("FNAME");
const QString kFile = QStringLiteral("FILE");

/// The error of a calculation that would have to wait behind too many others.
const QString kBusy = QStringLiteral("Too many calculations wait");

/// Whether a file is written there: below the program's folder, and nothing but a plain file. A pipe would hold the
/// server up, a path that climbs would reach the whole machine.
bool isPlainBelowProgram(const QString &path)
{
    const QString cleaned = QDir::cleanPath(QDir::fromNativeSeparators(path));
    const QFileInfo found(cleaned);
    return cleaned.startsWith(QDir::cleanPath(QCoreApplication::applicationDirPath()) + QLatin1Char('/')) &&
           (found.isFile() || !found.exists());
}

} // namespace

int CheckService::begin(const char *logName, const QString &connectionId, const QAny &params) const
{
    const int number = m_numberOf(connectionId);
    qDebug() << logName << number << sessions::abridged(params);
    return number;
}

void CheckService::journal(Level level, const QString &message, const QAny &data)
{
    if (::logger())
        ::logger()->log(level, 0, message, data);
}

QAny CheckService::flag(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QAny CheckService::query(const QAny &params)
{
    return db() ? db()->select(params.toString()) : QAny(QAny::List);
}

bool CheckService::execute(const QAny &params)
{
    return db() && db()->exec(params.toString());
}

QAny CheckService::insertRow(const QAny &params)
{
    const QAny &rows = params.lookup(kTable);
    if (db() && db()->insert(params.lookup(kName).toString(), rows)) {
        journal(Information, QStringLiteral("Insert true"), params);
        return {{kResult, flag(true)}};
    }
    journal(Information, QStringLiteral("Insert false"));
    return {{kResult, flag(false)}, {QStringLiteral("TBL"), rows}};
}

QAny CheckService::recalculate(const QString &connectionId, const QAny &params)
{
    if (!db())
        return {};
    workers::ReadPool *pool = workers::readPool();
    KNet::RpcAnswer taken;
    if (pool && rpcController())
        taken = rpcController()->takeAnswer(this, connectionId);
    if (!taken)
        return DialogCalc3(*db()).recalc(params.deepCopy());
    const auto answer = std::make_shared<KNet::RpcAnswer>(std::move(taken));
    const auto size = calc::isSmallRecalc(params) ? workers::ReadPool::Size::Small : workers::ReadPool::Size::Large;
    const bool isTaken = pool->submit(
        size, connectionId, [request = params.deepCopy()](calc::Crew &crew) { return calc::recalcText(crew, request); },
        [answer](workers::Text text) { answer->giveText(std::move(text)); });
    if (!isTaken)
        answer->giveError(KNet::InvokeError, kBusy);
    return {};
}

QAny CheckService::storeFile(const QAny &params, qint64 *size)
{
    const QString folder =
        QStringLiteral("%1/%2").arg(QCoreApplication::applicationDirPath(), params.lookup(kDir).toString());
    const QString path = QStringLiteral("%1/%2").arg(folder, params.lookup(kFileName).toString());
    qint64 decoded = 0;
    // Deliberate: the caller does not learn of a failure; the warning line tells it.
    if (!isPlainBelowProgram(path)) {
        qWarning() << "CheckService::storeFile no plain file below the program's folder:" << sessions::abridged(path);
    } else {
        if (!QDir(folder).exists())
            QDir().mkdir(folder);
        FileTransfer::decode(params.lookup(kFile).toString(), path, &decoded);
    }
    if (size)
        *size = decoded;
    return {{kResult, flag(true)}, {QStringLiteral("file"), path}};
}

QString CheckService::fileName(const QAny &params)
{
    return QStringLiteral("%1/%2").arg(params.lookup(kDir).toString(), params.lookup(kFileName).toString());
}

QAny CheckService::readFile(const QAny &params, const char *logName)
{
    const QString path = fileName(params);
    qDebug().noquote() << QLatin1String(logName) + QStringLiteral(" file:") << sessions::abridged(path);
    QString content;
    if (!FileTransfer::encode(path, &content))
        return {};
    qDebug().noquote() << QLatin1String(logName) + QStringLiteral(" OK:");
    return {{QStringLiteral("DATA"), std::move(content)}};
}

} // namespace server::check
