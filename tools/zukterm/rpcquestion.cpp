#include "tools/zukterm/rpcquestion.h"

#include "knetrpc/rpccall.h"

#include <utility>

namespace tools::zukterm {

RpcQuestion::RpcQuestion(QObject *parent, Handler handler) : QObject(parent), m_handler(std::move(handler)) {}

void RpcQuestion::ask(KNet::RpcController *controller, const QString &connectionId, const QString &method,
                      const QAny &params, int timeoutMs, QObject *parent, Handler handler)
{
    auto *question = new RpcQuestion(parent, std::move(handler));
    KNet::RpcCall(controller).call(connectionId, method, params, question, SLOT(onAnswer(QString, QAny)), timeoutMs);
}

void RpcQuestion::onAnswer(const QString &, const QAny &answer)
{
    deleteLater();
    const Handler handler = std::exchange(m_handler, nullptr);
    handler(answer);
}

} // namespace tools::zukterm
