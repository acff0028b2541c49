#pragma once

#include "server/check/checkservice.h"

#include <QHash>

/// What a logged-in administration client may do with the server; the service "admincheck".
class AdminCheckService : public server::check::CheckService
{
    Q_OBJECT
public:
    /// Commands of one client that may wait for terminals at a time; all clients share RpcCall::kMaxNestedCalls.
    static constexpr int kMaxWaitingCommands = 16;

    explicit AdminCheckService(QObject *parent = nullptr);

Q_SIGNALS:
    void started(int id);
    void finished(int id);

public Q_SLOTS:
    QAny query(const QString &connectionId, const QAny &params);
    QAny exec(const QString &connectionId, const QAny &params);
    QAny insert(const QString &connectionId, const QAny &params);
    QAny update(const QString &connectionId, const QAny &params);
    QAny addFile(const QString &connectionId, const QAny &params);
    QAny loadFile(const QString &connectionId, const QAny &params);
    QAny restartService(const QString &connectionId, const QAny &params);
    QAny recalc(const QString &connectionId, const QAny &params);
    QAny version(const QString &connectionId, const QAny &params);
    QAny zukCmd(const QString &connectionId, const QAny &params);
    QAny zukConnected(const QString &connectionId, const QAny &params);

private:
    QHash<QString, int> m_waitingCommands; // by connection
};

/// The process's service; null before start and after stop. Only ServicesStarter (or a test) sets it.
AdminCheckService *adminCheckService();
void setAdminCheckService(AdminCheckService *service);
