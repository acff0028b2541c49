// Whatever a peer sends, in whatever pieces, and whenever it goes: the server must handle it to the end, keep nothing
// of the connection, and go on serving others.

#include "driver.h"
#include "knetrpc/rpccall.h"
#include "knetrpc/rpccontroller.h"

#include <QCoreApplication>
#include <QTcpSocket>
#include <QTimer>

namespace {

/// What a stranger can reach without a login.
class Service : public QObject
{
    Q_OBJECT
public:
    explicit Service(KNet::RpcController *controller) : m_controller(controller) {}

public Q_SLOTS:
    QAny echo(const QString &, const QAny &params) { return params; }
    /// Asks the peer, and waits for its answer or its end.
    QAny ask(const QString &id, const QAny &params)
    {
        return KNet::RpcCall(m_controller).call(id, "far.ask", params, 0);
    }
    QAny leave(const QString &id, const QAny &) { return m_controller->closeConnection(id); }
    QAny abort(const QString &id, const QAny &) { return m_controller->abortConnection(id); }

private:
    KNet::RpcController *m_controller;
};

class Site
{
public:
    Site() : m_service(&m_controller)
    {
        m_controller.registerService("test", &m_service);
        m_controller.registerService("closed", &m_service);
        m_controller.addServiceRequirement("closed", "token");
        QObject::connect(&m_controller, &KNet::RpcController::incoming, &m_controller, [this] { ++m_open; });
        QObject::connect(&m_controller, &KNet::RpcController::disconnected, &m_controller, [this] { --m_open; });
        require(m_controller.listen(QHostAddress::LocalHost, 0), "no port");
    }

    /// The first byte says how long the pieces are, and whether the peer reads and goes politely.
    void check(const char *bytes, int length)
    {
        const int manner = length > 0 ? static_cast<uint8_t>(bytes[0]) : 0;
        const int piece = manner / 4 == 0 ? length : manner / 4;
        QTcpSocket peer;
        peer.connectToHost(QHostAddress::LocalHost, m_controller.serverPort());
        require(peer.waitForConnected(), "no connection");
        runUntil([this] { return m_open == 1; }, "not accepted");
        // By events: a service that waits runs its loop above us on the stack.
        int at = 1;
        QTimer step;
        QObject::connect(&step, &QTimer::timeout, &step, [&] {
            if (at < length) {
                peer.write(bytes + at, qMin(piece, length - at));
                peer.flush();
                at += piece;
                if (manner & 1)
                    peer.readAll();
                return;
            }
            step.stop();
            if (manner & 2)
                peer.abort();
            else
                peer.disconnectFromHost();
        });
        step.start(0);
        runUntil([this] { return m_open == 0 && !m_controller.hasWaitingCalls(); }, "a connection stays");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private:
    KNet::RpcController m_controller;
    Service m_service;
    int m_open = 0;
};

} // namespace

void check(const QByteArray &input)
{
    static Site site;
    site.check(input.constData(), input.size());
}

#include "fuzz_rpc.moc"
