#pragma once

#include "page/server/asks.h"
#include "page/server/http/handler.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

class QTcpSocket;

namespace page {

/// Bounds on one web socket. Times in ms. Tests shorten them.
struct LiveLimits {
    /// An ask is some hundred bytes; the longest brings a reason. Who sends more is disconnected.
    quint64 maxMessageBytes = 64 * 1024;
    /// Who has left so much of answers, pushes and pongs unread when the next is due is disconnected.
    qint64 maxUnreadBytes = 4 * 1024 * 1024;
    /// A client that has not answered the last ping when the next is due has gone.
    int pingMs = 30000;
    /// Between looks at the file and at the sessions, while somebody is connected.
    int lookMs = 1000;
    /// Between looks at the people who are signed in where the file does not change.
    int personsMs = 60000;
    /// After its close frame a socket is given so long.
    int closeGraceMs = 5000;
};

/// One web socket of somebody who is signed in. Owns the socket; is owned by its parent. Main thread.
class LiveConnection : public QObject
{
    Q_OBJECT
public:
    /// For the page: it shall ask for the password.
    static constexpr int kCloseSignedOut = 4401;

    LiveConnection(const http::Upgraded &upgraded, const Services &services, Sessions::Key session,
                   const LiveLimits &limits, QObject *parent);
    ~LiveConnection() override;

    const Sessions::Key &session() const { return m_session; }
    void send(const QByteArray &text);
    /// Says so and closes. Nothing is sent or heard from here on.
    void signOut();

    /// Tells one who is not signed in, and ends the socket, which must not have another owner.
    static void turnAway(QWebSocket *socket, const LiveLimits &limits);

signals:
    /// It is of no more use; to be deleted later.
    void gone();
    /// Its session is over.
    void unknown();
    /// It has changed the file.
    void written();

private:
    void boundSocket();
    void ping();

    QWebSocket *m_socket;
    server::web::ClientLine *m_line;
    QPointer<QTcpSocket> m_tcpSocket; // as long as it is there, so is the line
    const Sessions::Key m_session;
    const LiveLimits m_limits;
    Asks m_asks;
    QTimer m_ping;
    bool m_hasAnswered = true;
    bool m_isOver = false;
};

} // namespace page
