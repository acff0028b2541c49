#pragma once

#include "knetrpc/rpcprotocol.h"
#include "qany.h"

#include <QByteArray>
#include <QPointer>
#include <QString>

#include <vector>

namespace KNet {

class RpcConnection;

/// How the calls of a connection that come behind one whose answer is taken are treated.
enum class RpcBehind {
    Wait,     ///< until the answer has been given
    Together, ///< as Wait, but for calls of the same service, which are dispatched as well: it stores them in one
              ///< transaction, for example
};

/// The answer of a call, taken away from the slot that was called (RpcController::takeAnswer), to be given later.
///
/// Lives on the controller's thread; a worker's result has to be brought there. One that ends without having been given
/// answers error 10120, so that no caller waits for ever. It may outlive connection, service and controller: giving it
/// then does nothing. Giving may send, which may end the connection and with it whatever hears of that.
class RpcAnswer
{
public:
    /// Nothing was taken.
    RpcAnswer() noexcept;
    RpcAnswer(RpcAnswer &&other) noexcept;
    RpcAnswer &operator=(RpcAnswer &&other) noexcept;
    ~RpcAnswer();

    /// Whether it was taken and has not been given yet.
    explicit operator bool() const { return m_number != 0; }

    /// Each of them once at most; a further one does nothing.
    void give(const QAny &result);
    /// The JSON text of the result, in pieces that follow one another: made on another thread, for example. They are
    /// not copied. No bytes at all are null; more than 2 GiB become error 10120.
    void giveText(std::vector<QByteArray> pieces);
    /// The call's "error" member.
    void giveError(int code, const QString &message);
    void giveError(RpcErrorCode code);

private:
    friend class RpcConnection;
    friend class RpcController;

    Q_DISABLE_COPY(RpcAnswer)
    /// Of nobody when the connection has gone.
    RpcAnswer(RpcConnection *connection, quint64 number, const QString &callId);

    struct Taken {
        RpcConnection *connection;
        quint64 number;
        explicit operator bool() const { return connection != nullptr; }
    };
    Taken take();

    QPointer<RpcConnection> m_connection;
    quint64 m_number = 0; // the connection's, of this answer; 0: nothing to give
    QString m_callId;
};

} // namespace KNet
