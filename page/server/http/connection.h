#pragma once

#include "page/server/http/handler.h"
#include "page/server/http/places.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>

class QTcpSocket;

namespace page::http {

/// What a connection asks of its server.
class Host
{
public:
    virtual Handler &handler() = 0;
    virtual Places &places() = 0;
    virtual const Limits &limits() const = 0;
    /// Has the socket, whose header is not read yet, go on as a web socket.
    virtual void upgrade(QTcpSocket *socket, const Request &request, const Places::Place &place) = 0;

protected:
    ~Host() = default;
};

/// The requests of one connection, one after the other: the next one is looked at when the answer has been taken. Owns
/// itself and its socket (until it is upgraded), and ends with it. Whatever is not exactly understood is refused, and
/// the connection then closed.
class Connection : public QObject
{
    Q_OBJECT
public:
    /// The place is that of the peer; the host must outlive it.
    Connection(QTcpSocket *socket, Host &host, Places::Place place);

private:
    enum class State {
        Idle,      ///< not a byte of the next request
        Head,      ///< begun
        Body,      ///< the header is whole
        Answering, ///< the handler has the request
        Sending,
        Lingering ///< refused: what comes is thrown away
    };

    void enter(State state, int timeMs);
    void look();
    void readHeaderOf(const QByteArray &bytes);
    void begin(int headerBytes);
    void considerUpgrade();
    void handle();
    void send(const Response &response, bool keepsConnection);
    void refuse(const Response &response);
    void noteSent();
    void endSending();
    void discard();
    void runOut();

    QTcpSocket *m_socket; // null when upgraded
    Host &m_host;
    const Places::Place m_place;
    Places::Place m_clientPlace; // of the one that a proxy asks for, while it asks
    State m_state = State::Idle;
    Request m_request;
    quint64 m_number = 0; // of the request
    bool m_isFirst = true;
    bool m_endsAfter = false;
    bool m_isRefused = false;
    int m_discarded = 0;
    QTimer m_timer;
};

} // namespace page::http
