#pragma once

#include "page/server/http/connection.h"

#include <QHash>
#include <QTcpServer>
#include <QWebSocketServer>

namespace Net {
class Acceptor;
}

namespace page::http {

/// One listening port for requests and web sockets. Lives on its thread, where it calls the handler, which is not
/// owned and must outlive it.
class HttpServer : public QTcpServer, private Host
{
    Q_OBJECT
public:
    explicit HttpServer(Handler &handler, const Limits &limits = {}, QObject *parent = nullptr);
    /// Ends all connections that are no web sockets yet.
    ~HttpServer() override;

    /// Port 0 lets the system choose.
    bool open(const QHostAddress &address, quint16 port);

protected:
    void incomingConnection(qintptr handle) override;

private:
    /// What one that is becoming a web socket came with, by the peer's port.
    struct Upgrading {
        QTcpSocket *socket;
        server::web::ClientLine *line;
        Request request;
    };

    Handler &handler() override { return m_handler; }
    Places &places() override { return m_places; }
    const Limits &limits() const override { return m_limits; }
    void upgrade(QTcpSocket *socket, const Request &request, const Places::Place &place) override;

    void turnAway(QTcpSocket *socket);
    void acceptUpgraded();

    Handler &m_handler;
    const Limits m_limits;
    Places m_places;
    int m_open = 0; // connections
    Net::Acceptor *m_acceptor = nullptr;
    QWebSocketServer m_webSockets;
    QMultiHash<quint16, Upgrading> m_upgrading;
};

} // namespace page::http
