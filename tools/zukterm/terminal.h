#pragma once

#include "qany.h"
#include "tools/zukterm/terminalstore.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <deque>
#include <map>

namespace tools::zukterm {

struct FleetContext;

/// One simulated terminal or administration client: connects, logs in, sends its events, makes its calls, answers the
/// server's, and begins again when the connection is lost.
///
/// Events are sent in the order in which they came. An event stays with the terminal until it is answered. One whose
/// answer was lost is sent again after the next login, unless the server then says that it has it: the server lets a
/// number in again only when it has handled all that came on the old connection, so its word is the truth.
class Terminal : public QObject
{
    Q_OBJECT
public:
    enum class State {
        Idle,       ///< not begun
        Connecting, ///< not answered by the system
        LoggingIn,  ///< asked, or to be asked again on the same connection
        Working,    ///< logged in
        Lost,       ///< will connect again
        Ended,      ///< will not
    };

    Terminal(FleetContext &context, int number, QObject *parent);
    ~Terminal() override;

    int number() const { return m_number; }
    State state() const { return m_state; }
    TerminalStore &store() { return m_store; }

    void open();
    /// Takes over an event, as of stampEvent().
    void addEvent(const QAny &event);
    /// Asks the server something, so that its answer tells that it has handled all that came before; isBusy()
    /// meanwhile. Closing alone could cut off a long answer on its way.
    void confirm();
    /// Closes the connection gracefully.
    void close();

    /// Events that have no answer yet.
    qint64 openEvents() const;
    /// Logged in and waiting for an answer of any kind.
    bool isBusy() const;
    /// Nothing is left to do, or nothing can be done any more.
    bool isSettled() const;
    /// The server has asked for the rows that it asks for behind a login.
    bool wasAsked() const;

    // The controller's signals about this terminal's connection.
    void onConnected();
    void onDisconnected();
    void onConnectionError(const QString &text) { m_lossReason = text; }

    // The server's calls.
    QAny getLogs(const QAny &params);
    QAny getEvents(const QAny &params);
    QAny getPictures(const QAny &params);
    QAny ulkaCsvEvent(const QAny &params);
    QAny zukCmd(const QAny &params);

Q_SIGNALS:
    /// Something went on that may have settled this terminal.
    void progressed();

private:
    struct Flight {
        QAny event;
        QElapsedTimer sent;
    };
    using AnswerHandler = void (Terminal::*)(const QAny &answer);

    QString serviceName() const;
    void logIn();
    void onLogin(const QAny &answer);
    void retryLater();
    void onRetry();
    /// Gives the connection up, with a reason for people.
    void drop(const QString &reason);

    void proceed();
    void sendEvent(const QAny &event);
    void onEventAnswer(quint64 sequence, const QAny &answer);
    void checkDoubtful();
    void onDoubtfulAnswer(const QAny &answer);
    void sendLogLine();
    void onLogAnswer(const QAny &answer);
    void makeCall();
    void onCallAnswer(const QAny &answer);
    QAny offer(const char *method, Recording &recording, const QAny &params, qint64 *rows, qint64 *kept);

    /// Asks the server. Answers that never came are dealt with here: the handler gets what the server said.
    template <typename Handler> void ask(const QString &method, const QAny &params, Handler handler);
    void say(const QString &text);

    FleetContext &m_context;
    const int m_number;
    State m_state = State::Idle;
    TerminalStore m_store;
    QString m_connectionId;
    QString m_lossReason;
    QTimer m_retry;

    std::deque<QAny> m_queue;         // not sent
    std::map<quint64, Flight> m_sent; // by sequence, not answered
    std::deque<QAny> m_doubtful;      // their answer was lost
    quint64 m_nextFlight = 0;
    bool m_isChecking = false;

    std::deque<QAny> m_logLines; // not answered
    bool m_isLogging = false;
    int m_nextCall = 0;
    bool m_isCalling = false;
    bool m_isConfirming = false;

    bool m_wasLoggedIn = false;
    bool m_gaveLogs = false;
    bool m_gaveEvents = false;
};

} // namespace tools::zukterm
