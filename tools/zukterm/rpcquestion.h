#pragma once

#include "qany.h"

#include <QObject>
#include <QString>

#include <functional>

namespace KNet {
class RpcController;
}

namespace tools::zukterm {

/// A call of a peer's method whose answer goes to a function: exactly once unless its parent ends before, perhaps
/// already while it is being asked. Deletes itself behind the answer.
class RpcQuestion : public QObject
{
    Q_OBJECT
public:
    /// A result, or an error as of RpcCall.
    using Handler = std::function<void(const QAny &answer)>;

    /// The time-out is in ms, 0 for none.
    static void ask(KNet::RpcController *controller, const QString &connectionId, const QString &method,
                    const QAny &params, int timeoutMs, QObject *parent, Handler handler);

public Q_SLOTS:
    void onAnswer(const QString &connectionId, const QAny &answer);

private:
    RpcQuestion(QObject *parent, Handler handler);

    Handler m_handler;
};

} // namespace tools::zukterm
