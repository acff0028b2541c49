#pragma once

#include "qany.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

namespace KNet {
class RpcController;
}

/// What the sessions of attendance terminals and of administration clients have in common: the tables that tie a
/// terminal number to its connection, the login, the catch-up behind it, and the road by which the server calls a
/// terminal. Without signals and slots of its own: the concrete services declare them, because remote methods are
/// found in the concrete class alone, and hand over here.
///
/// Lives on the controller's thread, which must outlive it. Errors are values: {"error": {"code", "message"}}.
class TerminalService : public QObject
{
public:
    /// How long a terminal may take to answer a call of the server's.
    static constexpr int kCallTimeoutMs = 15000;

    ~TerminalService() override;

    /// Number of the terminal that is logged in on the connection, or -1.
    int terminalNumber(const QString &connectionId) const;
    bool isConnected(int terminal) const;
    /// Calls the terminal and runs the event loop until the answer is there; an error as of RpcCall, or 3300.
    QAny callTerminal(int terminal, const QString &method, const QAny &params, int timeoutMs);
    /// Returns at once: true, or the error 3300. The answer reaches the receiver's slot (QAny answer, QString
    /// connectionId), named with SLOT(), as a queued call; without a receiver it is dropped.
    QAny callTerminalAsync(int terminal, const QString &method, const QAny &params, int timeoutMs,
                           QObject *receiver = nullptr, const char *member = nullptr);
    /// Aborts the terminal's connection; its session is over when this returns.
    void disconnectTerminal(int terminal);
    void disconnectAll();
    /// One {"KEY": terminal number, "VAL": connection id} for each that is logged in.
    QAny connections() const;

protected:
    TerminalService(KNet::RpcController *controller, QObject *parent);

private:
    KNet::RpcController *m_controller;
    QSet<QString> m_pendingConnections;
    QHash<QString, int> m_terminalIds;
    QHash<int, QString> m_connectionIds;
};
