#pragma once

#include "qany.h"
#include "server/sessions/terminalrole.h"
#include "storage/keptwrites.h"

#include <QEvent>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>

namespace KNet {
class RpcController;
}

namespace server::sessions {

class CatchUpReply;

/// What the sessions of attendance terminals and of administration clients have in common: the tables that tie a
/// terminal number to its connection, the login, the catch-up behind it, and the road by which the server calls a
/// terminal. Without signals and slots of its own: the concrete services declare them, because remote methods are
/// found in the concrete class alone, and hand over here.
///
/// Lives on the controller's thread; controller and database must outlive it. Errors are values: {"error": {"code",
/// "message"}}.
class TerminalService : public QObject
{
public:
    /// How long a terminal may take to answer a call of the server's.
    static constexpr int kCallTimeoutMs = 15000;
    /// Replies of the catch-up that are kept while the file refuses them; each is a terminal's.
    static constexpr int kMaxKeptReplies = 10000;

    /// What is still kept of catch-ups is stored now or lost.
    ~TerminalService() override;

    /// Number of the terminal that is logged in on the connection, or -1.
    int terminalNumber(const QString &connectionId) const { return m_terminalIds.value(connectionId, -1); }
    bool isConnected(int terminal) const { return m_connectionIds.contains(terminal); }
    /// Connection of the terminal; empty when it is not logged in.
    QString connectionId(int terminal) const { return m_connectionIds.value(terminal); }

    /// Calls the terminal and runs the event loop until the answer is there; an error as of RpcCall, or 3300.
    QAny callTerminal(int terminal, const QString &method, const QAny &params, int timeoutMs);
    /// Returns at once: true, or the error 3300. The answer reaches the receiver's slot (QAny answer, QString
    /// connectionId), named with SLOT(), as a queued call; without a receiver it is dropped. False, with a warning
    /// line, when the member is no slot.
    QAny callTerminalAsync(int terminal, const QString &method, const QAny &params, int timeoutMs,
                           QObject *receiver = nullptr, const char *member = nullptr);
    /// Aborts the terminal's connection; its session is over when this returns.
    void disconnectTerminal(int terminal);
    void disconnectAll();
    /// One {"KEY": terminal number, "VAL": connection id} for each that is logged in.
    QAny connections() const;

    /// What was accepted of the terminal and is not stored yet counts as known at its next login, so that it is not
    /// fetched once more: as long as somebody holds what this returns.
    std::shared_ptr<const NewestTimes> noteAccepted(int terminal, const NewestTimes &times);
    /// Replies of catch-ups that wait to be stored.
    storage::KeptWrites &keptReplies() { return m_keptReplies; }

protected:
    /// The role must outlive the service.
    TerminalService(const TerminalRole &role, KNet::RpcController *controller, QObject *parent);

    QAny logIn(const QString &connectionId, const QAny &params);
    QAny sessionStatus(const QString &connectionId) const;
    void addPending(const QString &connectionId);
    void endSession(const QString &connectionId);

    virtual void tellConnected(int terminal) = 0;
    virtual void tellDisconnected(int terminal) = 0;

    void customEvent(QEvent *event) override;

private:
    friend class TerminalCatchUp;

    storage::Write writeOf(const CatchUpReply &reply, const std::function<void(int stored)> &ended);
    /// Has a reply stored, and tells how many of its rows were, once it has come to that. False when too many wait.
    bool keep(const CatchUpReply &reply, const std::function<void(int stored)> &ended);

    QByteArray line(const char *what) const;
    NewestTimes newestTimes(int terminal) const;
    NewestTimes timesToAskFrom(int terminal);
    void catchUp(int terminal);

    const TerminalRole &m_role;
    KNet::RpcController *m_controller;
    QEvent::Type m_updateTerminalLogs;
    QSet<QString> m_pendingConnections;
    QHash<QString, int> m_terminalIds;
    QMap<int, QString> m_connectionIds;
    QHash<int, NewestTimes> m_timesAtLogin; // of terminals whose catch-up has not begun
    QHash<int, qint64> m_logsMissingFrom;   // of terminals whose latest catch-up brought no list of them
    QHash<int, qint64> m_eventsMissingFrom;
    QHash<int, std::weak_ptr<NewestTimes>> m_accepted;
    storage::KeptWrites m_keptReplies;
};

} // namespace server::sessions
