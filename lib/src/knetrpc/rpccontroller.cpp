#include "knetrpc/rpccontroller.h"

#include "knetrpc/idgenerator.h"
#include "knetrpc/rpcadaptor.h"
#include "knetrpc/rpccall.h"
#include "knetrpc/rpcconnection.h"
#include "knetrpc/rpcpendingcall.h"
#include "knetrpc/rpcserver.h"

#include <QDebug>
#include <QPointer>

#include <utility>

namespace KNet {

namespace {

const QString kProtocolKey = QStringLiteral("knetrpc");
const QString kProtocolVersion = QStringLiteral("1.0");
const QString kIdKey = QStringLiteral("id");
const QString kMethodKey = QStringLiteral("method");
const QString kParamsKey = QStringLiteral("params");
const QString kResultKey = QStringLiteral("result");
const QString kErrorKey = QStringLiteral("error");
const QString kCodeKey = QStringLiteral("code");
const QString kPing = QStringLiteral("<PING>");
const QString kPong = QStringLiteral("<PONG>");

/// Behind a longer pause than this between two sweeps the event loop was blocked: answers that came meanwhile wait to
/// be read, and get one more interval for it.
constexpr int kBlockedSweepMs = 10 * RpcController::kSweepIntervalMs;

QByteArray bareMessage(const QString &id)
{
    return QAny{{kProtocolKey, kProtocolVersion}, {kIdKey, id}}.toJsonUtf8();
}

} // namespace

RpcController::RpcController(QObject *parent) : QObject(parent)
{
    // Queued: a timer does not fire again while its handler is on the stack, and a receiver may run the event loop.
    connect(&m_sweepTimer, &QTimer::timeout, this, &RpcController::timeoutPendingCalls, Qt::QueuedConnection);
    connect(&m_pingTimer, &QTimer::timeout, this, &RpcController::pingRemoteConnections, Qt::QueuedConnection);
    m_sweepTimer.start(kSweepIntervalMs);
    m_pingTimer.start(kPingIntervalMs);
    m_lastSweep.start();
}

RpcController::~RpcController()
{
    m_sweepTimer.stop();
    m_pingTimer.stop();
    close();
    endWaitingCalls();
    for (const auto &service : std::exchange(m_services, {}))
        delete service.second;
    const auto connections = std::exchange(m_connections, {});
    for (RpcConnection *connection : connections) {
        if (connection->detach())
            delete connection;
    }
    qDeleteAll(std::exchange(m_pendingCalls, {}));
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

bool RpcController::registerService(const QString &name, QObject *service)
{
    if (adaptorOf(name))
        return false;
    m_services.emplace(name, new RpcAdaptor(service, this));
    return true;
}

bool RpcController::unregisterService(const QString &name)
{
    RpcAdaptor *adaptor = adaptorOf(name);
    if (!adaptor)
        return false;
    m_services.erase(name);
    adaptor->deleteLater();
    return true;
}

void RpcController::addServiceRequirement(const QString &service, const QString &token)
{
    RpcAdaptor *adaptor = adaptorOf(service);
    if (adaptor && !adaptor->requirements().contains(token))
        adaptor->requirements().append(token);
}

void RpcController::removeServiceRequirement(const QString &service, const QString &token)
{
    if (RpcAdaptor *adaptor = adaptorOf(service))
        adaptor->requirements().removeAll(token);
}

void RpcController::addAuthorization(const QString &connectionId, const QString &token)
{
    if (RpcConnection *connection = m_connections.value(connectionId))
        connection->authorizations().insert(token);
}

void RpcController::removeAuthorization(const QString &connectionId, const QString &token)
{
    if (RpcConnection *connection = m_connections.value(connectionId))
        connection->authorizations().remove(token);
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

bool RpcController::sendCall(const QString &connectionId, const QString &method, const QAny &params, QObject *receiver,
                             const QString &memberName, int timeout, QString *callId)
{
    RpcConnection *connection = m_connections.value(connectionId);
    if (!connection)
        return false;
    const QString id = IdGenerator::calls().next();
    const QPointer<RpcController> self(this);
    const QPointer<QObject> target(receiver);
    if (!connection->send(
            {{kProtocolKey, kProtocolVersion}, {kMethodKey, method}, {kParamsKey, params}, {kIdKey, id}}) ||
        !self)
        return false;
    if (callId)
        *callId = id;
    m_pendingCalls.insert(
        id, new RpcPendingCall(connectionId, id, target, memberName, timeout < 0 ? m_defaultTimeout : timeout));
    return true;
}

RpcController::Wait RpcController::beginWait(RpcCall *call)
{
    if (m_refusesWaits)
        return Wait::Ended;
    if (m_waiting.size() >= RpcCall::kMaxNestedCalls) {
        qWarning() << "KNet::RpcController::beginWait()" << m_waiting.size() << "synchronous calls wait already";
        return Wait::Refused;
    }
    m_waiting.append(call);
    return Wait::Begun;
}

void RpcController::endWait(RpcCall *call)
{
    m_waiting.removeOne(call);
}

void RpcController::endWaitingCalls()
{
    m_refusesWaits = true;
    for (RpcCall *call : qAsConst(m_waiting))
        call->cancel();
}

void RpcController::forgetCall(const QString &callId)
{
    delete m_pendingCalls.take(callId);
}

bool RpcController::handleMessage(RpcConnection *connection, const QAny &message)
{
    if (!message.isHash())
        return false;
    const QAny &protocol = message.lookup(kProtocolKey);
    if (!protocol.isString() || protocol.asString() != kProtocolVersion) // nothing else has this text
        return false;
    const QAny &id = message.lookup(kIdKey);
    if (&id == &QAny::sharedNull()) // there is none
        return false;
    const bool isNotification = id.isNull() || !id.isValid();
    if (!isNotification && !id.isString() && !id.isInteger())
        return false;
    const QString idText = id.toString();
    if (idText == kPing) {
        static const QByteArray pong = bareMessage(kPong);
        return connection->sendText(pong);
    }
    if (idText == kPong) {
        m_pinged.remove(connection->connectionId());
        return true;
    }
    const QAny &method = message.lookup(kMethodKey);
    if (method.isString()) {
        if (!isNotification)
            return handleCall(connection, idText, method.asString(), message.lookup(kParamsKey));
        handleNotification(connection, method.asString(), message.lookup(kParamsKey));
        return true;
    }
    const QAny &result = message.lookup(kResultKey);
    if (&result != &QAny::sharedNull() && result.isValid()) {
        handleAnswer(connection, idText, result);
        return true;
    }
    const QAny &error = message.lookup(kErrorKey);
    if (!error.isHash() || !error.lookup(kCodeKey).isInteger())
        return false;
    handleAnswer(connection, idText, {{kErrorKey, error}});
    return true;
}

RpcAdaptor *RpcController::adaptorOf(QStringView service) const
{
    const auto found = m_services.find(service);
    return found == m_services.end() ? nullptr : found->second;
}

/// Null, with the reason, when the service is unknown or the connection lacks a token that it requires.
RpcAdaptor *RpcController::authorizedAdaptor(RpcConnection *connection, QStringView service,
                                             RpcErrorCode *refusal) const
{
    RpcAdaptor *adaptor = adaptorOf(service);
    if (!adaptor) {
        *refusal = NoSuchService;
        return nullptr;
    }
    for (const QString &token : qAsConst(*adaptor).requirements()) {
        if (!connection->authorizations().contains(token)) {
            *refusal = NotAuthorized;
            return nullptr;
        }
    }
    return adaptor;
}

bool RpcController::handleCall(RpcConnection *connection, const QString &id, const QString &method, const QAny &params)
{
    const QString connectionId = connection->connectionId(); // the connection may end while the service runs
    const int dot = method.indexOf(QLatin1Char('.'));
    RpcErrorCode refusal = NoSuchService;
    RpcAdaptor *adaptor = dot < 0 ? nullptr : authorizedAdaptor(connection, QStringView(method).left(dot), &refusal);
    if (!adaptor)
        return respond(connectionId, id, rpcError(refusal));
    const QPointer<RpcController> self(this);
    const QAny body = adaptor->invokeMethod(connectionId, QStringView(method).mid(dot + 1), params);
    return self && respond(connectionId, id, body);
}

void RpcController::handleNotification(RpcConnection *connection, const QString &method, const QAny &params)
{
    const int dot = method.indexOf(QLatin1Char('.'));
    RpcErrorCode refusal = NoSuchService;
    RpcAdaptor *adaptor = dot < 0 ? nullptr : authorizedAdaptor(connection, QStringView(method).left(dot), &refusal);
    // Deliberate: the name begins with the dot, so notifications reach no service method.
    if (adaptor)
        adaptor->invokeMethod(connection->connectionId(), QStringView(method).mid(dot), params);
}

/// The body has one member, the result or the error.
bool RpcController::respond(const QString &connectionId, const QString &id, const QAny &body)
{
    static const QAny::KeySet resultKeys{kProtocolKey, kIdKey, kResultKey};
    static const QAny::KeySet errorKeys{kProtocolKey, kIdKey, kErrorKey};
    RpcConnection *connection = m_connections.value(connectionId);
    if (!connection)
        return false;
    QAny message = QAny::record(body.contains(kResultKey) ? resultKeys : errorKeys);
    message.slot(0) = kProtocolVersion;
    message.slot(1) = id;
    message.slot(2) = body.at(0);
    const QByteArray json = message.toJsonUtf8();
    if (!json.isEmpty())
        return connection->sendText(json);
    qWarning() << "KNet::RpcController::respond() answer too long for one message";
    return respond(connectionId, id, rpcError(InvokeError));
}

void RpcController::handleAnswer(RpcConnection *connection, const QString &id, const QAny &response)
{
    const auto found = m_pendingCalls.find(id);
    if (found == m_pendingCalls.end() || (*found)->connectionId() != connection->connectionId())
        return;
    const std::unique_ptr<RpcPendingCall> call(*found);
    m_pendingCalls.erase(found);
    call->sendResponse(call->connectionId(), response); // the connection's own id may end in the receiver
}

void RpcController::completeLostCalls(const QString &connectionId)
{
    for (auto call = m_pendingCalls.begin(); call != m_pendingCalls.end();) {
        if ((*call)->connectionId() != connectionId) {
            ++call;
            continue;
        }
        m_completions.push_back({std::unique_ptr<RpcPendingCall>(*call), ConnectionClosed});
        call = m_pendingCalls.erase(call);
    }
    complete();
}

void RpcController::timeoutPendingCalls()
{
    // Once only: a loop that is blocked over and over has time-outs all the same.
    m_sweepSkipped = m_lastSweep.restart() > kBlockedSweepMs && !m_sweepSkipped;
    if (m_sweepSkipped)
        return;
    for (auto call = m_pendingCalls.begin(); call != m_pendingCalls.end();) {
        if (!(*call)->hasTimedOut()) {
            ++call;
            continue;
        }
        m_completions.push_back({std::unique_ptr<RpcPendingCall>(*call), CallTimeout});
        call = m_pendingCalls.erase(call);
    }
    complete();
}

/// Tells the receivers of failed calls. One that runs the event loop does not hold up the others: the next sweep goes
/// on with them.
void RpcController::complete()
{
    const QPointer<RpcController> self(this);
    while (self && !m_completions.empty()) {
        const Completion completion = std::move(m_completions.front());
        m_completions.pop_front();
        completion.call->sendError(completion.code, rpcErrorText(completion.code));
    }
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
    static const QByteArray ping = bareMessage(kPing);
    const QPointer<RpcController> self(this);
    const QStringList ids = m_connections.keys();
    for (const QString &id : ids) {
        RpcConnection *connection = m_connections.value(id);
        if (!connection || !connection->isIncoming())
            continue;
        if (connection->sendText(ping) && self)
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
