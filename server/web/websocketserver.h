#pragma once

#include "qany.h"
#include "webmetods.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QWebSocketServer>

class QWebSocket;

/// What the plain and the TLS web server have in common: the listening server, the client sockets and the road of a
/// message from its socket through the web methods and back. Without signals and slots of its own; the concrete
/// servers declare them and hand over here.
///
/// Lives on the main thread. A handler of one of the signals may close sockets, run the event loop or delete the
/// server; what was in progress then ends without an answer. To allow this, messages and ends of connections come
/// through the event queue, in their order: no socket's own code is below a handler on the stack.
class WebSocketServer : public QObject
{
public:
    /// A request is a few hundred bytes; the bound keeps one client from filling the memory. A socket that sends a
    /// longer message is closed with one warning line.
    static constexpr quint64 kMaxMessageBytes = 16 * 1024 * 1024;
    /// A client that has left more than this of its answers unread when another is due is dropped with a warning.
    static constexpr qint64 kMaxUnreadBytes = 256 * 1024 * 1024;
    /// A closing socket that has not gone by then is aborted.
    static constexpr int kCloseGraceMs = 5000;

    ~WebSocketServer() override;

    bool isListening() const;
    /// Port on which the server really listens; 0 when it does not.
    quint16 serverPort() const;

protected:
    /// The prefix stands before the debug lines that differ between the servers.
    WebSocketServer(const QString &name, QWebSocketServer::SslMode mode, const char *linePrefix, QObject *parent);

    QWebSocketServer &server() { return m_server; }
    bool listen(quint16 port);
    /// Closes the server and deletes the client sockets. The concrete destructor calls it.
    void shutDown();

    void acceptPending();
    void answerText(QWebSocket *socket, const QString &message);
    void echoBinary(QWebSocket *socket, const QByteArray &message);
    void forget(QWebSocket *socket);

    /// Connects the socket's messages and its end to the concrete server's slots, all of them queued.
    virtual void connectClient(QWebSocket *socket) = 0;
    virtual void tellRequest(const QAny &request) = 0;
    virtual void tellEvent(const QString &event) = 0;
    virtual void tellAnswer(const QAny &answer) = 0;

private:
    /// Noted at the connection: a socket that has gone no longer knows its peer.
    struct Peer {
        QString address;
        quint16 port = 0;
    };

    QByteArray named(const char *text) const;
    void boundClient(QWebSocket *socket, const Peer &peer);
    bool hasRoomFor(QWebSocket *socket) const;

    QWebSocketServer m_server;
    QHash<QWebSocket *, Peer> m_clients; // owned
    webMetods m_methods;
    QByteArray m_linePrefix;
};
