#pragma once

#include "qany.h"
#include "server/web/clientacceptor.h"
#include "server/web/inbox.h"
#include "server/web/readingturn.h"
#include "server/web/webmetods.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QTimer>
#include <QWebSocketServer>

#include <optional>
#include <vector>

class QTcpSocket;
class QWebSocket;

namespace server::workers {
class ReadPool;
}

namespace server::web {

/// What the plain and the TLS web server have in common: the listening server, the client sockets and the road of a
/// message from its socket through the web methods and back. Without signals and slots of its own; the concrete
/// servers declare them and hand over here.
///
/// Lives on the main thread. A handler of one of the signals may close sockets, run the event loop or delete the
/// server; what was in progress then ends without an answer. To allow this, messages and ends of connections wait in
/// a queue of their client, in their order, for a turn of the event loop: no socket's own code is below a handler on
/// the stack, and no client keeps the others waiting for more than kMaxMessagesPerTurn of its messages. Nor do all of
/// them together keep the terminals waiting for more than kMaxTurnNs and the message that is being answered; of what
/// they send no more is read at once than a ReadingTurn lets. A client whose queue is full is not read until a part of
/// it is worked off; that it has left is noticed all the same. Where the clients without a login hold too much memory
/// together, the one goes that holds most.
///
/// With a pool, answers that are only read are worked out by it, down to their text. What such a client sends
/// meanwhile waits, so that its answers come in the order of its requests. When the client goes, its reading is given
/// up and what waits behind is handled as if it had been answered, but for further readings. A request that the pool
/// has no room for is answered "Busy!". The signal of an answer from the pool carries what its text says, and is made
/// only where something is connected to it.
class WebSocketServer : public QObject
{
public:
    /// A request is a few hundred bytes; the bound keeps one client from filling the memory. A socket that sends a
    /// longer message is closed with one warning line.
    static constexpr quint64 kMaxMessageBytes = 16 * 1024 * 1024;
    /// The same before its login.
    static constexpr quint64 kMaxGuestMessageBytes = 1024 * 1024;
    /// What one client may have answered before the others' turn comes.
    static constexpr int kMaxMessagesPerTurn = 64;
    /// What a turn of all clients takes, but for its last message. The steps of a terminal's event, its reading, its
    /// commit and its acknowledgement, may each have to wait for one.
    static constexpr qint64 kMaxTurnNs = 500000;
    /// Behind a turn that was cut off: lets everything be read that has come, which a timer of 0 may overtake.
    static constexpr int kBreathMs = 1;
    /// A client that has left more than this of its answers and pongs unread when another is due is dropped with a
    /// warning.
    static constexpr qint64 kMaxUnreadBytes = 256 * 1024 * 1024;
    /// The same before its login.
    static constexpr qint64 kMaxGuestUnreadBytes = 16 * 1024 * 1024;
    /// A longer answer is not given.
    static constexpr qint64 kMaxAnswerBytes = 64 * 1024 * 1024;
    /// How often logins that are held are tried again, and clients that are not read looked at.
    static constexpr int kHeldLookMs = 50;
    static constexpr int kRestLookMs = 1000;
    /// A closing socket that has not gone by then is aborted.
    static constexpr int kCloseGraceMs = 5000;

    ~WebSocketServer() override;

    bool isListening() const;
    int clientCount() const { return m_clients.size(); }
    /// For requests from here on; without one (null) everything is answered on the main thread. Not owned; may go, or
    /// be stopped, before this object: clients that it reads for then get no answer any more.
    void setReadPool(server::workers::ReadPool *pool);
    /// Port on which the server really listens; 0 when it does not.
    quint16 serverPort() const;

protected:
    /// The prefix stands before the debug lines that differ between the servers.
    WebSocketServer(const QString &name, QWebSocketServer::SslMode mode, const char *linePrefix, QObject *parent);

    /// Does not listen itself: takes the connections that the acceptor accepts.
    QWebSocketServer &server() { return m_server; }
    ClientAcceptor &acceptor() { return m_acceptor; }
    bool listen(quint16 port);
    /// Closes the server and deletes the client sockets. The concrete destructor calls it.
    void shutDown();

    void acceptPending();
    /// What a client sent, and its end, to be handled at its turn.
    void receiveText(QWebSocket *socket, const QString &message);
    void receiveBinary(QWebSocket *socket, const QByteArray &message);
    void receiveEnd(QWebSocket *socket);

    /// Connects the socket's messages and its end to the concrete server's slots.
    virtual void connectClient(QWebSocket *socket) = 0;
    virtual void tellRequest(const QAny &request) = 0;
    virtual void tellEvent(const QString &event) = 0;
    virtual void tellAnswer(const QAny &answer) = 0;
    /// Whether anything is connected to the signal of tellAnswer().
    virtual bool isAnswerHeard() const = 0;

private:
    /// Noted at the connection: a socket that has gone no longer knows its peer.
    struct Peer {
        QString address;
        quint16 port = 0;
    };

    struct Client {
        Peer peer;
        QPointer<QTcpSocket> socket; ///< below the web socket
        ClientLine *line = nullptr;  ///< the same, as long as it is there
        Inbox waiting;
        std::optional<QAny> held; ///< a login that may not be tried yet; what waits has to
        bool isReading = false;   ///< the pool works for it; what waits has to
        bool isEnding = false;    ///< nobody is there for answers any more
        bool isDue = false;       ///< stands in the row for the turns
        bool isGuest = true;      ///< has not logged in

        bool isBlocked() const { return isReading || held; }
    };

    QByteArray named(const char *text) const;
    void addClient(QWebSocket *socket, const Peer &peer);
    void receive(QWebSocket *socket, const Message &message);
    void makeDue(QWebSocket *socket);
    void takeTurn();
    void workOff(const QPointer<QWebSocket> &socket, const QElapsedTimer &turn);
    void readOn(QWebSocket *socket);
    void lookAtResting();
    void lookAtHeld();
    void handle(QWebSocket *socket, const Message &message);
    void boundClient(QWebSocket *socket, const Peer &peer);
    void setBounds(QWebSocket *socket, bool isGuest);
    void noteLogin(QWebSocket *socket);
    void noteBytes(QWebSocket *socket);
    void dropLargestGuest();
    void forget(QWebSocket *socket);

    // How a message is answered.
    void answerText(QWebSocket *socket, const QString &message);
    void answerRequest(QWebSocket *socket, const QAny &request);
    bool readLater(QWebSocket *socket, webMetods::Reading reading);
    void leave(QWebSocket *socket);
    void giveReading(QWebSocket *socket, const std::vector<QByteArray> &pieces);
    void giveAnswer(QWebSocket *socket, const QAny &answer);
    void giveText(QWebSocket *socket, const QString &text);
    void echoBinary(QWebSocket *socket, const QByteArray &message);
    bool hasRoomFor(QWebSocket *socket) const;

    QWebSocketServer m_server;
    ReadingTurn m_reading;
    ClientAcceptor m_acceptor;
    QHash<QWebSocket *, Client> m_clients; // sockets are owned
    QQueue<QPointer<QWebSocket>> m_due;    // whose messages wait for a turn, in the order of their turns
    QQueue<QPointer<QWebSocket>> m_held;   // whose logins wait, in the order in which they came
    QTimer m_turn;                         // single shot: somebody is due
    QTimer m_heldLook;                     // runs while there are such
    QTimer m_restLook;
    webMetods m_methods;
    QPointer<server::workers::ReadPool> m_pool;
    QByteArray m_linePrefix;
};

} // namespace server::web
