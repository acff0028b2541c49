#include "rpcprotocol.h"

namespace KNet {

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
    const QAny error{{QStringLiteral("code"), code}, {QStringLiteral("message"), message}};
    return {{QStringLiteral("error"), error}};
}

QAny rpcError(RpcErrorCode code)
{
    return rpcError(code, rpcErrorText(code));
}

} // namespace KNet
