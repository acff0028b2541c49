#include "knetrpc/rpcadaptor.h"

#include "knetrpc/rpcprotocol.h"

#include <QDebug>

namespace KNet {

namespace {

/// Of a name that a peer sent, in the diagnostics.
constexpr int kShownChars = 100;

} // namespace

RpcAdaptor::RpcAdaptor(QObject *service, QObject *parent) : QObject(parent), m_service(service)
{
    const QMetaObject *meta = service->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() != QMetaMethod::Slot || method.access() != QMetaMethod::Public)
            continue;
        const QByteArray signature = method.methodSignature();
        const int bracket = signature.indexOf('(');
        if (signature.mid(bracket) == "(QString,QAny)" && qstrcmp(method.typeName(), "QAny") == 0)
            m_methods.insert_or_assign(QString::fromLatin1(signature.left(bracket)), method);
    }
}

QAny RpcAdaptor::invokeMethod(const QString &connectionId, QStringView method, const QAny &params)
{
    const auto found = m_methods.find(method);
    if (found == m_methods.end()) {
        qWarning() << "KNet::RpcAdaptor::invokeMethod()"
                   << "no such method name" << method.left(kShownChars);
        return rpcError(NoSuchMethod);
    }
    const QMetaMethod slot = found->second; // the table may go while the slot runs
    QAny result;
    if (!m_service || !slot.invoke(m_service, Qt::DirectConnection, Q_RETURN_ARG(QAny, result),
                                   Q_ARG(QString, connectionId), Q_ARG(QAny, params))) {
        qWarning() << "KNet::RpcAdaptor::invokeMethod()"
                   << "error on invoke";
        return rpcError(InvokeError);
    }
    static const QAny::KeySet keys{QStringLiteral("result")};
    QAny body = QAny::record(keys);
    body.slot(0) = std::move(result);
    return body;
}

} // namespace KNet
