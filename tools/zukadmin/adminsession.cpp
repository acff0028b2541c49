#include "tools/zukadmin/adminsession.h"

#include "knetrpc/rpccall.h"
#include "tools/zukadmin/transferprogress.h"

#include <algorithm>
#include <limits>

AdminSession::AdminSession(int timeoutMs) : m_timeoutMs(timeoutMs)
{
    // We asked for whatever comes, and a large answer may take longer than any time-out while nothing else comes.
    KNet::RpcLimits limits;
    limits.maxMessageBytes = std::numeric_limits<qint64>::max();
    limits.maxMessageValues = std::numeric_limits<qint64>::max();
    limits.maxUnreadBytes = std::numeric_limits<qint64>::max();
    limits.activityTimeoutMs = 0;
    m_controller.setLimits(limits);
    m_controller.registerService(QStringLiteral("logger"), &m_logger);
    QObject::connect(&m_controller, &KNet::RpcController::error, &m_logger,
                     [this](const QString &, const QString &text) { m_networkError = text; });
}

QString AdminSession::open(const QString &host, quint16 port, int number)
{
    const int timeoutMs = std::min(m_timeoutMs, kConnectTimeoutMs);
    if (!m_controller.connectToHost(host, port, m_connectionId, timeoutMs)) {
        if (m_networkError.isEmpty())
            m_networkError = QStringLiteral("no connection within %1 s").arg(timeoutMs / 1000.0);
        return QStringLiteral("%1:%2: %3").arg(host, QString::number(port), m_networkError);
    }
    const QAny answer = call(QStringLiteral("adminterminal.login"), {{QStringLiteral("id"), number}});
    if (answer.isBool() && answer.asBool())
        return {};
    const QString reason = KNet::rpcErrorCode(answer) != 0 ? KNet::rpcErrorText(answer) : answer.toJson();
    return QStringLiteral("login as %1 refused: %2").arg(QString::number(number), reason);
}

QAny AdminSession::call(const QString &method, const QAny &params)
{
    const TransferProgress progress(method.section(QLatin1Char('.'), 1), [this] { return bytesReceived(); });
    return callSilently(method, params);
}

QAny AdminSession::callSilently(const QString &method, const QAny &params)
{
    return KNet::RpcCall(&m_controller).call(m_connectionId, method, params, m_timeoutMs);
}
