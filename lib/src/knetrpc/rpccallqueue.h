#pragma once

#include "knetrpc/rpcanswer.h"
#include "qany.h"

#include <QString>

#include <deque>
#include <vector>

namespace KNet {

/// What is under way of the calls of one connection: the answers that slots have taken away, in the order in which they
/// have to leave, and the calls that wait behind them.
class RpcCallQueue
{
public:
    using Message = std::vector<QByteArray>; ///< its text, in pieces

    struct Call {
        QString id;
        QString method;
        QAny params;
        qint64 bytes; ///< of memory, as the bound counts them
    };

    /// An answer to be given; never 0.
    quint64 take(const QObject *service, RpcBehind behind);
    /// The message of an answer that was taken; nothing when it is not awaited.
    void give(quint64 number, Message message);
    /// One that goes out behind those that were taken.
    void append(Message message);
    /// The first one leaves if it has been given. False when there is none.
    bool next(Message *message);

    /// Whether answers are to be given, so that further ones have to line up.
    bool isOpen() const { return !m_answers.empty(); }
    /// Whether a call of the service has to wait; if asked, not behind answers that were taken to wait.
    bool holds(const QObject *service, bool ignoresWaits) const;

    void push(Call call);
    Call pop();
    bool hasWaiting() const { return !m_calls.empty(); }
    const Call &front() const { return m_calls.front(); }
    /// Of the waiting calls.
    qint64 waitingBytes() const { return m_waitingBytes; }

    void dropWaiting();
    void clear();

private:
    struct Answer {
        RpcBehind behind;
        bool given;
        Message message;
    };
    void close(Answer *answer);

    std::deque<Answer> m_answers; // the first one is not given, but while they leave
    quint64 m_first = 1;          // number of the first one
    int m_waits = 0;              // to be given, taken to wait
    int m_togethers = 0;          // to be given, taken together by m_service
    const QObject *m_service = nullptr;
    std::deque<Call> m_calls;
    qint64 m_waitingBytes = 0;
};

} // namespace KNet
