#include "knetrpc/rpcprotocol.h"

namespace KNet {

namespace {

const QString kErrorKey = QStringLiteral("error");
const QString kCodeKey = QStringLiteral("code");
const QString kMessageKey = QStringLiteral("message");

} // namespace

QString rpcErrorText(RpcErrorCode code)
{
    switch (code) {
    case NoSuchService:
        return QStringLiteral("No such service");
    case NoSuchMethod:
        return QStringLiteral("No such method");
    case InvokeError:
        return QStringLiteral("Remote invoke error");
    case NotAuthorized:
        return QStringLiteral("Not authorized");
    case ConnectionError:
        return QStringLiteral("Connection error");
    case ConnectionClosed:
        return QStringLiteral("Connection closed");
    case CallTimeout:
        return QStringLiteral("Timeout");
    }
    return QString();
}

QAny rpcError(int code, const QString &message)
{
    const QAny error{{kCodeKey, code}, {kMessageKey, message}};
    return {{kErrorKey, error}};
}

QAny rpcError(RpcErrorCode code)
{
    return rpcError(code, rpcErrorText(code));
}

int rpcErrorCode(const QAny &answer)
{
    return answer.lookup(kErrorKey).lookup(kCodeKey).toInt();
}

QString rpcErrorText(const QAny &answer)
{
    const QAny &error = answer.lookup(kErrorKey);
    return error.lookup(kCodeKey).toString() + QLatin1Char(' ') + error.lookup(kMessageKey).toString();
}

} // namespace KNet
