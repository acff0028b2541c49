#pragma once

#include "checkservice.h"

/// What a logged-in administration client may do with the server; the service "admincheck".
class AdminCheckService : public CheckService
{
    Q_OBJECT
public:
    explicit AdminCheckService(QObject *parent = nullptr);

Q_SIGNALS:
    void started(int id);
    void finished(int id);

public Q_SLOTS:
    QAny query(QString connectionId, QAny params);
    QAny exec(QString connectionId, QAny params);
    QAny insert(QString connectionId, QAny params);
    QAny update(QString connectionId, QAny params);
    QAny addFile(QString connectionId, QAny params);
    QAny loadFile(QString connectionId, QAny params);
    QAny restartService(QString connectionId, QAny params);
    QAny recalc(QString connectionId, QAny params);
    QAny version(QString connectionId, QAny params);
    QAny zukCmd(QString connectionId, QAny params);
    QAny zukConnected(QString connectionId, QAny params);
};

/// The process's service; null before start and after stop. Only ServicesStarter (or a test) sets it.
AdminCheckService *adminCheckService();
void setAdminCheckService(AdminCheckService *service);
