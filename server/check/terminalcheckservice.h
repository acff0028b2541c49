#pragma once

#include "server/check/checkservice.h"
#include "server/process/clock.h"

/// What a logged-in attendance terminal may do with the server; the service "terminalcheck".
class TerminalCheckService : public server::check::CheckService
{
    Q_OBJECT
public:
    explicit TerminalCheckService(QObject *parent = nullptr);
    /// With another source of the time that terminals take over.
    explicit TerminalCheckService(server::process::Clock clock, QObject *parent = nullptr);

Q_SIGNALS:
    void started(int id);
    void finished(int id);

public Q_SLOTS:
    QAny query(const QString &connectionId, const QAny &params);
    QAny exec(const QString &connectionId, const QAny &params);
    // Deliberate: these three store nothing and say so, instead of "No such method".
    QAny save(const QString &connectionId, const QAny &params);
    QAny savehold(const QString &connectionId, const QAny &params);
    QAny saveQrCustomer(const QString &connectionId, const QAny &params);
    QAny insert(const QString &connectionId, const QAny &params);
    QAny timeSync(const QString &connectionId, const QAny &params);
    QAny recalc(const QString &connectionId, const QAny &params);
    QAny krneki(const QString &connectionId, const QAny &params);
    QAny ping(const QString &connectionId, const QAny &params);
    QAny loadFile(const QString &connectionId, const QAny &params);
    QAny addFile(const QString &connectionId, const QAny &params);

private:
    server::process::Clock m_clock;
};

/// The process's service; null before start and after stop. Only ServicesStarter (or a test) sets it.
TerminalCheckService *terminalCheckService();
void setTerminalCheckService(TerminalCheckService *service);
