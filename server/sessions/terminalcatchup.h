#pragma once

#include "qany.h"
#include "server/sessions/terminalrole.h"

#include <QObject>
#include <QString>

namespace server::sessions {

class TerminalService;

/// One catch-up: asks a terminal that has logged in for the log lines, then for the events, that are newer than what
/// the server had at the login, and stores them. Each reply is stored as a whole, together with those of other
/// terminals that have come in the meantime, or kept by the service until it can be. Waits for nothing in an event loop
/// of its own, so those of all terminals go on side by side.
///
/// A child of its service; deletes itself at its end. A session that ends meanwhile ends it: what has arrived is
/// stored, nothing more is asked.
class TerminalCatchUp : public QObject
{
    Q_OBJECT
public:
    TerminalCatchUp(TerminalService *service, int terminal, const NewestTimes &timesAtLogin);

    void start();

private Q_SLOTS:
    void onLogs(const QString &connectionId, const QAny &answer);
    void onEvents(const QString &connectionId, const QAny &answer);

private:
    void ask(const QString &method, const QAny &params, const char *member);
    void askEvents();
    void endLogs(int stored);

    TerminalService &m_service;
    const TerminalRole &m_role;
    int m_terminal;
    QString m_connectionId;
    NewestTimes m_timesAtLogin;
};

} // namespace server::sessions
