#pragma once

#include "qany.h"
#include "server/sessions/terminalrole.h"
#include "storage/database.h"
#include "storage/write.h"

#include <QString>

namespace server::sessions {

/// What a terminal answered to the catch-up: log lines or events that the server did not have at the login. A value.
class CatchUpReply
{
public:
    enum Kind { LogLines, Events };

    /// The elements of the list that can be rows; a warning line tells of the others. The role must outlive the reply.
    CatchUpReply(const TerminalRole &role, int terminal, Kind kind, const QAny &list);
    /// From what rescued() gave.
    CatchUpReply(const TerminalRole &role, const QAny &rescued);

    int terminal() const { return m_terminal; }
    int count() const { return m_rows.count(); }
    /// Newest times of its rows that are found again by terminal; 0 for none.
    NewestTimes newest() const;
    /// For diagnostic lines.
    QString name() const;
    QAny rescued() const;

    /// Stores the rows that are not there already, as a whole. Tells how many.
    storage::Status store(DataBase &database, storage::Delivery delivery, int *stored) const;

private:
    storage::Status storeLogs(DataBase &database, int *stored) const;
    storage::Status storeEvents(DataBase &database, storage::Delivery delivery, int *stored) const;
    storage::LogRow logRow(const QAny &line) const;

    const TerminalRole *m_role;
    int m_terminal;
    Kind m_kind;
    QAny m_rows{QAny::List};
};

} // namespace server::sessions
