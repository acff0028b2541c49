#include "knetrpc/rpcmessage.h"

#include "knetrpc/rpcprotocol.h"

#include <QDebug>

#include <numeric>

namespace KNet {

namespace {

const QString kProtocolKey = QStringLiteral("knetrpc");
const QString kProtocolVersion = QStringLiteral("1.0");
const QString kIdKey = QStringLiteral("id");
const QString kMethodKey = QStringLiteral("method");
const QString kParamsKey = QStringLiteral("params");
const QString kResultKey = QStringLiteral("result");
const QString kErrorKey = QStringLiteral("error");
const QString kCodeKey = QStringLiteral("code");
const QString kPing = QStringLiteral("<PING>");
const QString kPong = QStringLiteral("<PONG>");

bool isMissing(const QAny &member)
{
    return &member == &QAny::sharedNull();
}

QByteArray bareMessage(const QString &id)
{
    return QAny{{kProtocolKey, kProtocolVersion}, {kIdKey, id}}.toJsonUtf8();
}

void readAnswer(const QAny &message, RpcMessage *read)
{
    const QAny &result = message.lookup(kResultKey);
    const QAny &error = message.lookup(kErrorKey);
    if (!isMissing(result) && result.isValid())
        read->response = result;
    else if (error.isHash() && error.lookup(kCodeKey).isInteger())
        read->response = {{kErrorKey, error}};
    else
        return;
    read->kind = RpcMessage::Answer;
}

/// Empty when it is too long.
QByteArray message(const QAny::KeySet &keys, const QString &id, const QAny &body)
{
    QAny message = QAny::record(keys);
    message.slot(0) = kProtocolVersion;
    message.slot(1) = id;
    message.slot(2) = body;
    return message.toJsonUtf8();
}

QByteArray tooLong(const QString &id)
{
    qWarning() << "KNet::RpcController::respond() answer too long for one message";
    return RpcText::answer(id, rpcError(InvokeError));
}

} // namespace

RpcMessage RpcMessage::read(const QAny &message)
{
    RpcMessage read;
    if (!message.isHash())
        return read;
    const QAny &protocol = message.lookup(kProtocolKey);
    if (!protocol.isString() || protocol.asString() != kProtocolVersion) // nothing else has this text
        return read;
    const QAny &id = message.lookup(kIdKey);
    const bool isNotification = id.isNull() || !id.isValid();
    if (isMissing(id) || (!isNotification && !id.isString() && !id.isInteger()))
        return read;
    read.id = id.toString();
    const QAny &method = message.lookup(kMethodKey);
    if (read.id == kPing) {
        read.kind = Ping;
    } else if (read.id == kPong) {
        read.kind = Pong;
    } else if (method.isString()) {
        read.kind = isNotification ? Notification : Call;
        read.method = &method.asString();
        read.params = &message.lookup(kParamsKey);
    } else {
        readAnswer(message, &read);
    }
    return read;
}

namespace RpcText {

const QByteArray &ping()
{
    static const QByteArray text = bareMessage(kPing);
    return text;
}

const QByteArray &pong()
{
    static const QByteArray text = bareMessage(kPong);
    return text;
}

QByteArray call(const QString &id, const QString &method, const QAny &params)
{
    const QAny message{{kProtocolKey, kProtocolVersion}, {kMethodKey, method}, {kParamsKey, params}, {kIdKey, id}};
    QByteArray json = message.toJsonUtf8();
    if (json.isEmpty())
        qWarning() << "KNet::RpcConnection::send() too long for one message";
    return json;
}

QByteArray answer(const QString &id, const QAny &body)
{
    static const QAny::KeySet errorKeys{kProtocolKey, kIdKey, kErrorKey};
    if (body.contains(kResultKey))
        return result(id, body.at(0));
    return message(errorKeys, id, body.at(0));
}

QByteArray result(const QString &id, const QAny &value)
{
    static const QAny::KeySet resultKeys{kProtocolKey, kIdKey, kResultKey};
    QByteArray json = message(resultKeys, id, value);
    if (json.isEmpty())
        return tooLong(id);
    return json;
}

std::vector<QByteArray> result(const QString &id, std::vector<QByteArray> value)
{
    const qint64 length = std::accumulate(value.cbegin(), value.cend(), Q_INT64_C(0),
                                          [](qint64 sum, const QByteArray &piece) { return sum + piece.size(); });
    const QByteArray head = R"({"knetrpc":"1.0","id":)" + QAny(id).toJsonUtf8() + R"(,"result":)";
    if (head.size() + length + 1 > kMaxAnswerBytes)
        return {tooLong(id)};
    value.insert(value.begin(), head);
    value.push_back(length > 0 ? QByteArrayLiteral("}") : QByteArrayLiteral("null}"));
    return value;
}

} // namespace RpcText

} // namespace KNet
