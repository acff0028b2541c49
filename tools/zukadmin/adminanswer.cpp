#include "tools/zukadmin/adminanswer.h"

#include "knetrpc/rpcprotocol.h"
#include "tools/common/jsonoutput.h"

QString faultOfAnswer(const QAny &answer, const QString &refusal)
{
    if (KNet::rpcErrorCode(answer) != 0)
        return KNet::rpcErrorText(answer);
    const QAny &error = answer.lookup(QStringLiteral("ERROR"));
    if (error.isString())
        return error.asString();
    if (answer.lookup(QStringLiteral("result")).toString() != QLatin1String("false"))
        return {};
    const QString message = answer.lookup(QStringLiteral("msg")).toString();
    return message.isEmpty() ? refusal : message;
}

CommandResult resultOf(const QAny &answer, const QString &fault, AdminOptions::Format format, const QByteArray &text)
{
    if (format == AdminOptions::Format::Json)
        return {KNet::rpcErrorCode(answer) != 0 ? QByteArray() : jsonOutput(answer), fault};
    return {fault.isEmpty() ? text : QByteArray(), fault};
}
