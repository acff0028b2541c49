#pragma once

#include "qany.h"

#include <QUrl>
#include <QWebSocket>

namespace tools::zukweb {

/// One connection to the server's web port, one question at a time. Blocks in an event loop of its own until the
/// answer, the end of the connection or the time-out.
class WebSession
{
public:
    enum Outcome {
        Answered,
        Refused, ///< answered, but the answer's result is not true
        Failed,  ///< no connection or no answer
    };

    explicit WebSession(int timeoutMs);

    Outcome open(const QUrl &url);
    Outcome logIn(const QString &user, const QString &password);
    Outcome ask(const QString &type, const QAny &data);
    /// Takes back the login, so that the server forgets this session's tag.
    void logOut();

    /// "data" of the last answer.
    const QAny &data() const { return m_data; }
    /// Why the last step did not end as Answered.
    const QString &error() const { return m_error; }

private:
    template <typename Signal> bool waitFor(Signal signal);

    QWebSocket m_socket;
    QString m_tag;
    QString m_received;
    QAny m_data;
    QString m_error;
    int m_timeoutMs;
};

} // namespace tools::zukweb
