#pragma once

#include "checkservice.h"

/// What a logged-in attendance terminal may do with the server; the service "terminalcheck".
class TerminalCheckService : public CheckService
{
    Q_OBJECT
public:
    explicit TerminalCheckService(QObject *parent = nullptr);

Q_SIGNALS:
    void started(int id);
    void finished(int id);

public Q_SLOTS:
    QAny query(QString connectionId, QAny params);
    QAny exec(QString connectionId, QAny params);
    // Deliberate: these three store nothing and say so, instead of "No such method".
    QAny save(QString connectionId, QAny params);
    QAny savehold(QString connectionId, QAny params);
    QAny saveQrCustomer(QString connectionId, QAny params);
    QAny insert(QString connectionId, QAny params);
    QAny timeSync(QString connectionId, QAny params);
    QAny recalc(QString connectionId, QAny params);
    QAny krneki(QString connectionId, QAny params);
    QAny ping(QString connectionId, QAny params);
    QAny loadFile(QString connectionId, QAny params);
    QAny addFile(QString connectionId, QAny params);
};

/// The process's service; null before start and after stop. Only ServicesStarter (or a test) sets it.
TerminalCheckService *terminalCheckService();
void setTerminalCheckService(TerminalCheckService *service);
