#include "knetrpc/rpccontroller.h"

#include "knetrpc/idgenerator.h"
#include "knetrpc/rpccall.h"
#include "knetrpc/rpcconnection.h"
#include "knetrpc/rpcmessage.h"
#include "knetrpc/rpcserver.h"

#include <QDebug>
#include <QPointer>

#include <utility>

namespace KNet {

RpcController::RpcController(QObject *parent) : QObject(parent), m_services(this), m_pendingCalls(this)
{
    // Queued: a timer does not fire again while its handler is on the stack, and a receiver may run the event loop.
    connect(&m_sweepTimer, &QTimer::timeout, this, &RpcController::timeoutPendingCalls, Qt::QueuedConnection);
    connect(&m_pingTimer, &QTimer::timeout, this, &RpcController::pingRemoteConnections, Qt::QueuedConnection);
    m_sweepTimer.start(kSweepIntervalMs);
    m_pingTimer.start(kPingIntervalMs);
}

RpcController::~RpcController()
{
    m_sweepTimer.stop();
    m_pingTimer.stop();
    close();
    endWaitingCalls();
    m_services.clear();
    const auto connections = std::exchange(m_connections, {});
    for (RpcConnection *connection : connections) {
        if (connection->detach())
            delete connection;
    }
}

bool RpcController::listen(quint16 port)
{
    return listen(QHostAddress::Any, port);
}

bool RpcController::listen(const QHostAddress &address, quint16 port)
{
    close();
    m_server = new RpcServer(this);
    const bool listening = m_server->listen(address, port);
    m_listenError = listening ? QString() : m_server->errorString();
    return listening;
}

bool RpcController::isListening() const
{
    return m_server && m_server->isListening();
}

quint16 RpcController::serverPort() const
{
    return m_server ? m_server->serverPort() : 0;
}

void RpcController::close()
{
    if (m_server)
        std::exchange(m_server, nullptr)->retire();
}

void RpcController::flush()
{
    const QStringList ids = m_connections.keys(); // a failure ends a connection
    for (const QString &id : ids) {
        if (RpcConnection *connection = m_connections.value(id))
            connection->flushOutput();
    }
}

bool RpcController::registerService(const QString &name, QObject *service)
{
    return m_services.add(name, service);
}

bool RpcController::unregisterService(const QString &name)
{
    return m_services.remove(name);
}

void RpcController::addServiceRequirement(const QString &service, const QString &token)
{
    RpcAdaptor *adaptor = m_services.adaptorOf(service);
    if (adaptor && !adaptor->requirements().contains(token))
        adaptor->requirements().append(token);
}

void RpcController::removeServiceRequirement(const QString &service, const QString &token)
{
    if (RpcAdaptor *adaptor = m_services.adaptorOf(service))
        adaptor->requirements().removeAll(token);
}

void RpcController::addAuthorization(const QString &connectionId, const QString &token)
{
    if (RpcConnection *connection = m_connections.value(connectionId))
        connection->addAuthorization(token);
}

void RpcController::removeAuthorization(const QString &connectionId, const QString &token)
{
    if (RpcConnection *connection = m_connections.value(connectionId))
        connection->removeAuthorization(token);
}

QSet<QString> RpcController::authorizations(const QString &connectionId) const
{
    const RpcConnection *connection = m_connections.value(connectionId);
    return connection ? connection->authorizations() : QSet<QString>();
}

void RpcController::setConnectionName(const QString &connectionId, const QString &name)
{
    if (RpcConnection *connection = m_connections.value(connectionId))
        connection->setName(name);
}

QString RpcController::connectionName(const QString &connectionId) const
{
    const RpcConnection *connection = m_connections.value(connectionId);
    return connection ? connection->name() : QString();
}

QString RpcController::connectionIdByName(const QString &name) const
{
    for (const RpcConnection *connection : m_connections) {
        if (connection->name() == name)
            return connection->connectionId();
    }
    return QString();
}

QHostAddress RpcController::peerAddress(const QString &connectionId) const
{
    const RpcConnection *connection = m_connections.value(connectionId);
    return connection ? connection->peerAddress() : QHostAddress();
}

qint64 RpcController::bytesToWrite(const QString &connectionId) const
{
    const RpcConnection *connection = m_connections.value(connectionId);
    return connection ? connection->queuedBytes() : 0;
}

qint64 RpcController::bytesOfMessageInProgress(const QString &connectionId) const
{
    const RpcConnection *connection = m_connections.value(connectionId);
    return connection ? connection->bytesOfMessageInProgress() : 0;
}

bool RpcController::closeConnection(const QString &connectionId)
{
    RpcConnection *connection = m_connections.value(connectionId);
    if (!connection)
        return false;
    connection->closeConnection();
    return true;
}

bool RpcController::abortConnection(const QString &connectionId)
{
    RpcConnection *connection = m_connections.value(connectionId);
    if (!connection)
        return false;
    connection->abortConnection();
    return true;
}

RpcConnection *RpcController::addConnection(bool incoming)
{
    auto *connection = new RpcConnection(this, incoming, m_limits);
    m_connections.insert(connection->connectionId(), connection);
    return connection;
}

bool RpcController::connectToHost(const QString &host, quint16 port, QString &connectionId, int timeoutMs)
{
    RpcConnection *connection = addConnection(false);
    const QString id = connection->connectionId();
    connectionId = id;
    const QPointer<RpcController> self(this);
    connection->connectToHost(host, port, QIODevice::ReadWrite);
    if (timeoutMs < 1)
        return true;
    if (connection->waitForConnected(timeoutMs))
        return true;
    if (self)
        closeConnection(id);
    return false;
}

void RpcController::incomingConnection(qintptr socketDescriptor)
{
    auto connection = std::make_unique<RpcConnection>(this, true, m_limits);
    if (!connection->setSocketDescriptor(socketDescriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite)) {
        qWarning() << "KNet::RpcController::incomingConnection() can't set socket descriptor"
                   << connection->errorString();
        return;
    }
    connection->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    const QString id = connection->connectionId();
    m_connections.insert(id, connection.release());
    Q_EMIT incoming(id);
}

void RpcController::timeoutPendingCalls()
{
    m_pendingCalls.sweep();
}

/// Neither that connection nor this object need exist afterwards.
void RpcController::noteStranger(RpcConnection *connection, qint64 before, qint64 now)
{
    m_strangers.change(connection, before, now);
    if (now <= before || m_limits.maxStrangersBytes <= 0 || m_strangers.bytes() <= m_limits.maxStrangersBytes)
        return;
    RpcConnection *largest = m_strangers.largest(); // grew as much at least, so one is enough
    qWarning() << "KNet::RpcController::noteStranger() more than" << m_limits.maxStrangersBytes
               << "bytes of peers without a token," << m_strangers.largestBytes() << "of them of peer"
               << largest->peerAddress().toString() << largest->peerPort();
    largest->abortConnection();
}

void RpcController::removeConnection(RpcConnection *connection)
{
    const QString id = connection->connectionId();
    m_connections.remove(id);
    m_pinged.remove(id);
    connection->retire();
    Q_EMIT disconnected(id);
}

void RpcController::pingRemoteConnections()
{
    const QPointer<RpcController> self(this);
    const QStringList ids = m_connections.keys();
    for (const QString &id : ids) {
        RpcConnection *connection = m_connections.value(id);
        if (!connection || !connection->isIncoming())
            continue;
        if (connection->sendText(RpcOutput::Ping, RpcText::ping()) && self)
            m_pinged.insert(id);
        if (!self)
            return;
    }
}

} // namespace KNet

namespace {

KNet::RpcController *theController = nullptr;

} // namespace

KNet::RpcController *rpcController()
{
    return theController;
}

void setRpcController(KNet::RpcController *controller)
{
    theController = controller;
}
