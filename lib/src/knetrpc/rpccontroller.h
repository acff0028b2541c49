#pragma once

#include "knetrpc/rpcanswer.h"
#include "knetrpc/rpccallqueue.h"
#include "knetrpc/rpcpendingcalls.h"
#include "knetrpc/rpcprotocol.h"
#include "knetrpc/rpcservices.h"
#include "knetrpc/rpcstrangers.h"
#include "qany.h"

#include <QHostAddress>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QVector>

namespace KNet {

class RpcCall;
class RpcConnection;
class RpcServer;

/// The one object through which a program uses the protocol, as a server, as a client or as both: it listens, owns all
/// connections, knows the services, dispatches calls to their slots and routes answers to outgoing calls (RpcCall).
///
/// Single-threaded: everything happens on its thread. A service slot may run the event loop; connections, services and
/// this object itself may end in it. Connections are known by their id outside this library. Nothing throws.
class RpcController : public QObject
{
    Q_OBJECT
public:
    static constexpr int kSweepIntervalMs = 100;
    static constexpr int kPingIntervalMs = 5000;
    static constexpr int kDefaultTimeoutMs = 30000;

    explicit RpcController(QObject *parent = nullptr);
    /// Deletes adaptors, connections and pending calls without completing them; synchronous calls that wait return
    /// Null.
    ~RpcController() override;

    /// Listens on all addresses, IPv4 and IPv6. Port 0 takes any free one. False, with errorString(), when it cannot.
    bool listen(quint16 port);
    bool listen(const QHostAddress &address, quint16 port);
    bool isListening() const;
    /// Port on which we really listen; 0 when we do not.
    quint16 serverPort() const;
    /// Why the latest listen failed.
    QString errorString() const { return m_listenError; }
    /// Stops listening. Connections stay.
    void close();
    /// Hands over to the system what it takes at once of all that waits to be sent: before connections are aborted.
    void flush();

    const RpcLimits &limits() const { return m_limits; }
    /// For connections made from now on.
    void setLimits(const RpcLimits &limits) { m_limits = limits; }

    /// False if the name is taken. The service is not owned.
    bool registerService(const QString &name, QObject *service);
    bool unregisterService(const QString &name);
    /// Of an unknown service: nothing happens.
    void addServiceRequirement(const QString &service, const QString &token);
    void removeServiceRequirement(const QString &service, const QString &token);

    using Behind = RpcBehind;
    /// Takes away the answer of the call that the service's slot is being called for, to be given later: what the slot
    /// returns then is not used. Once at most. Invalid when this object did not call the slot: a direct invocation
    /// returns its value. So
    ///
    ///     if (RpcAnswer answer = controller->takeAnswer(this, connectionId)) {
    ///         …keep the answer…
    ///         return {};
    ///     }
    ///     return …
    ///
    /// The answers of a connection leave in the order of its calls. Meanwhile its further calls wait (Behind says
    /// which); answers of the peer, pings and pongs are handled at once, and so are all other connections. A slot that
    /// runs an event loop first lets later calls overtake this one. A slot that calls another one of its own service
    /// for the same connection hands its answer on.
    ///
    /// When the peer goes, its waiting calls are still dispatched, before disconnected(): at once behind answers taken
    /// to Wait, behind those taken Together when they have been given, or after RpcLimits::closeGraceMs. When we close
    /// the connection they are dropped.
    RpcAnswer takeAnswer(const QObject *service, const QString &connectionId, Behind behind = Behind::Wait);

    /// Of an unknown connection: nothing happens, or the empty value.
    void addAuthorization(const QString &connectionId, const QString &token);
    void removeAuthorization(const QString &connectionId, const QString &token);
    QSet<QString> authorizations(const QString &connectionId) const;
    void setConnectionName(const QString &connectionId, const QString &name);
    QString connectionName(const QString &connectionId) const;
    /// The first connection of that name; empty when there is none.
    QString connectionIdByName(const QString &name) const;
    QHostAddress peerAddress(const QString &connectionId) const;
    /// How far messages are that take long, in bytes: what waits for the system to take it for sending, and what has
    /// come of a message that is not complete.
    qint64 bytesToWrite(const QString &connectionId) const;
    qint64 bytesOfMessageInProgress(const QString &connectionId) const;

    /// False for an unknown connection. A connected one is closed gracefully, any other at once.
    bool closeConnection(const QString &connectionId);
    /// The same without grace: disconnected() has been emitted when it returns.
    bool abortConnection(const QString &connectionId);
    /// Opens a connection and stores its id. With a time-out below 1 ms true at once, and connected() or error() tells
    /// later; otherwise blocks up to that long and tells whether it is connected.
    bool connectToHost(const QString &host, quint16 port, QString &connectionId, int timeoutMs);

    /// For RpcCall: sends a call and keeps its record. False when the connection is unknown or refuses the write. A
    /// negative time-out takes the default, 0 none. Stores the call's id unless that is null.
    bool sendCall(const QString &connectionId, const QString &method, const QAny &params, QObject *receiver,
                  const QString &memberName, int timeout, QString *callId = nullptr);

    /// Whether a synchronous call waits, so that its caller is on the stack.
    int connectionCount() const { return m_connections.size(); }
    bool hasWaitingCalls() const { return !m_waiting.isEmpty(); }
    /// Ends all waits (the calls return Null) and refuses further synchronous calls: the program is about to stop.
    void endWaitingCalls();

Q_SIGNALS:
    void incoming(QString connectionId);
    void connected(QString connectionId);
    void disconnected(QString connectionId);
    void error(QString connectionId, QString errorText);

public Q_SLOTS:
    void timeoutPendingCalls();
    void pingRemoteConnections();

private:
    friend class RpcCall;
    friend class RpcConnection;
    friend class RpcServer;

    enum class Wait { Begun, Refused, Ended };

    /// A call whose slot is on the stack.
    struct Dispatch {
        const QObject *service;
        const QPointer<RpcConnection> &connection;
        const QString &connectionId;
        const QString &callId;
        int loopLevel;
        Dispatch *outer;
        bool isTaken;
    };

    // For RpcServer.
    void incomingConnection(qintptr socketDescriptor);

    // For RpcConnection.
    /// False when the connection is to be closed. Neither it nor this object need exist afterwards.
    bool handleMessage(const QPointer<RpcConnection> &connection, const QAny &message, qint64 bytes);
    /// The same for a call that may be dispatched now.
    bool dispatch(const QPointer<RpcConnection> &connection, const QString &callId, const QString &method,
                  const QAny &params);
    /// Whether a call of the method has to wait behind answers of the connection that are still to be given.
    bool mustWait(const RpcConnection *connection, const QString &method) const;
    void completeLostCalls(const QString &connectionId) { m_pendingCalls.lose(connectionId); }
    void removeConnection(RpcConnection *connection);
    void noteStranger(RpcConnection *connection, qint64 before, qint64 now);

    // For RpcCall.
    Wait beginWait(RpcCall *call);
    void endWait(RpcCall *call);
    void forgetCall(const QString &callId);

    void handleNotification(const RpcConnection *connection, const QString &method, const QAny &params);
    RpcConnection *addConnection(bool incoming);

    RpcServer *m_server = nullptr;
    QString m_listenError;
    RpcLimits m_limits;
    int m_defaultTimeout = kDefaultTimeoutMs;
    QTimer m_sweepTimer;
    QTimer m_pingTimer;
    RpcServices m_services;
    QMap<QString, RpcConnection *> m_connections;
    RpcStrangers m_strangers;
    RpcPendingCalls m_pendingCalls;
    QSet<QString> m_pinged;
    QVector<RpcCall *> m_waiting;   // synchronous, outermost first
    Dispatch *m_dispatch = nullptr; // the innermost
    bool m_refusesWaits = false;
};

} // namespace KNet

/// The process's controller; null before start and after stop. Only ServicesStarter (or a test) sets it.
KNet::RpcController *rpcController();
void setRpcController(KNet::RpcController *controller);
