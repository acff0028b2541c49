#pragma once

#include "page/server/filewatch.h"
#include "page/server/liveconnection.h"
#include "page/server/presenceboard.h"

#include <QObject>
#include <QTimer>
#include <QVector>

#include <memory>

namespace page {

/// All web sockets, and what is pushed to them: each hears only of those whom its person may see. While somebody is
/// connected the file is looked at every second; when it has changed, the pool looks at the people who are signed in
/// and at who is present, and what is new is pushed. Main thread.
class LiveHub : public QObject
{
public:
    /// The services must outlive it.
    LiveHub(const Services &services, const QString &databasePath, const LiveLimits &limits);
    ~LiveHub() override;

    /// One whose session is not there is told so, and closed.
    void add(const http::Upgraded &upgraded, const Sessions::Key &session);
    /// Ends the session and all its web sockets.
    void signOut(const Sessions::Key &session);
    /// Tells all that the program ends. Before their sockets go.
    void shut();

private:
    struct Refreshed;

    void remove(LiveConnection *connection);
    void sayHello(LiveConnection &connection, const OfficeDoor::Person &person);
    void toAll(const QByteArray &text);

    void look();
    void lookAtSessions();
    void lookAtDay();
    void lookAtFile();

    void refresh();
    void end(const Refreshed &refreshed);
    void takePersons(const Refreshed &refreshed);
    void pushChange(const OfficeDoor::Change &change);

    const Services &m_services;
    const LiveLimits m_limits;
    FileWatch m_file;
    PresenceBoard m_board;
    QVector<LiveConnection *> m_connections; // children
    OfficeDoor::Change m_change;             // that nobody has been told of
    QDate m_today;
    bool m_isDue = false;        // the people are to be looked at
    bool m_isRefreshing = false; // the pool does so
    QTimer m_look;               // runs while somebody is connected
    QTimer m_persons;            // likewise
};

} // namespace page
