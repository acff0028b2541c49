#include "server/sessions/terminalservice.h"

#include "knetrpc/rpccall.h"
#include "knetrpc/rpccontroller.h"
#include "server/logger/logger.h"
#include "server/sessions/abridged.h"
#include "server/sessions/catchupreply.h"
#include "server/sessions/queuedanswer.h"
#include "server/sessions/terminalcatchup.h"
#include "server/sessions/updateterminallogsevent.h"

#include <QCoreApplication>
#include <QDebug>
#include <QPointer>

#include <algorithm>
#include <limits>

namespace server::sessions {

namespace {

const QString kIdKey = QStringLiteral("id");
const QString kLoggerToken = QStringLiteral("logger");

enum SessionError { WrongLogin = 3100, DuplicatedTerminal = 3200, TerminalNotConnected = 3300 };

QAny wrongLogin()
{
    return KNet::rpcError(WrongLogin, QStringLiteral("Wrong login parameters"));
}

QAny duplicatedTerminal(int terminal)
{
    return KNet::rpcError(DuplicatedTerminal, QStringLiteral("Duplicated terminal %1 connection").arg(terminal));
}

/// Deliberate: administration clients have the same text.
QAny notConnected(int terminal)
{
    return KNet::rpcError(TerminalNotConnected, QStringLiteral("main terminal %1 not connected").arg(terminal));
}

/// The name in a text of SLOT(); empty when it is none.
QByteArray slotName(const char *member)
{
    constexpr char kSlotCode = '0' + QSLOT_CODE;
    if (!member || *member != kSlotCode)
        return {};
    const QByteArray signature = QMetaObject::normalizedSignature(member + 1);
    return signature.left(signature.indexOf('('));
}

} // namespace

TerminalService::TerminalService(const TerminalRole &role, KNet::RpcController *controller, QObject *parent)
    : QObject(parent), m_role(role), m_controller(controller),
      m_updateTerminalLogs(static_cast<QEvent::Type>(QEvent::registerEventType())),
      m_keptReplies(line("catchUp"), kMaxKeptReplies)
{
    m_keptReplies.restore([this](const QAny &rescued) { return writeOf(CatchUpReply(m_role, rescued), {}); });
}

TerminalService::~TerminalService()
{
    m_keptReplies.flush();
}

QByteArray TerminalService::line(const char *what) const
{
    return QByteArray(m_role.className) + "::" + what;
}

QAny TerminalService::logIn(const QString &connectionId, const QAny &params)
{
    if (!params.isHash() || !params.lookup(kIdKey).isInteger())
        return wrongLogin();
    const qint64 number = params.lookup(kIdKey).asInteger();
    // One that does not fit would be another terminal's when cut. A negative one logs in, but its events and log lines
    // are refused: to every user of terminalNumber() it reads as "not logged in".
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
        return wrongLogin();
    const int terminal = static_cast<int>(number);
    if (!m_pendingConnections.contains(connectionId))
        return false;
    if (m_connectionIds.contains(terminal))
        return duplicatedTerminal(terminal);

    m_pendingConnections.remove(connectionId);
    m_terminalIds.insert(connectionId, terminal);
    m_connectionIds.insert(terminal, connectionId);
    // Before anything of this connection is stored: live events must not hide the ones that the terminal still holds.
    m_timesAtLogin.insert(terminal, timesToAskFrom(terminal));
    m_controller->addAuthorization(connectionId, kLoggerToken);
    m_controller->addAuthorization(connectionId, m_role.workToken);
    const QByteArray prefix = line("login");
    const QPointer<TerminalService> self(this);
    tellConnected(terminal);
    if (self)
        QCoreApplication::postEvent(this, new UpdateTerminalLogsEvent(m_updateTerminalLogs, terminal));
    qDebug() << prefix.constData() << connectionId << abridged(params);
    return true;
}

QAny TerminalService::sessionStatus(const QString &connectionId) const
{
    return {{QStringLiteral("loggedin"), m_terminalIds.contains(connectionId)}};
}

void TerminalService::addPending(const QString &connectionId)
{
    m_pendingConnections.insert(connectionId);
}

void TerminalService::endSession(const QString &connectionId)
{
    if (m_pendingConnections.remove(connectionId) || !m_terminalIds.contains(connectionId))
        return;
    const int terminal = m_terminalIds.take(connectionId);
    m_connectionIds.remove(terminal);
    m_timesAtLogin.remove(terminal);
    const QByteArray prefix = line("onDisconnectedConnection");
    tellDisconnected(terminal);
    qDebug() << prefix.constData() << connectionId;
}

void TerminalService::customEvent(QEvent *event)
{
    if (event->type() == m_updateTerminalLogs)
        catchUp(static_cast<UpdateTerminalLogsEvent *>(event)->terminal());
    else
        QObject::customEvent(event);
}

void TerminalService::catchUp(int terminal)
{
    if (!m_connectionIds.contains(terminal)) {
        if (m_role.tracesCatchUp)
            qDebug() << line("!connectionIds.contains(id)").constData();
        return;
    }
    // After a quick second login there are two events, and the first has begun the catch-up of that session.
    if (!m_timesAtLogin.contains(terminal))
        return;
    (new TerminalCatchUp(this, terminal, m_timesAtLogin.take(terminal)))->start();
}

NewestTimes TerminalService::newestTimes(int terminal) const
{
    const auto accepted = m_accepted.value(terminal).lock();
    NewestTimes times = accepted ? *accepted : NewestTimes();
    if (db()) {
        times.log = std::max(times.log, db()->lastLogTime(terminal));
        times.event = std::max(times.event, db()->lastEventTime(terminal));
    }
    return times;
}

/// The newest times that are known, or those of an earlier login whose catch-up has not come to its end: live events
/// have been stored since.
NewestTimes TerminalService::timesToAskFrom(int terminal)
{
    NewestTimes times = newestTimes(terminal);
    if (m_role.hasEvents && ::logger())
        ::logger()->noteStored(terminal, times.event);
    times.log = std::min(times.log, m_logsMissingFrom.value(terminal, times.log));
    m_logsMissingFrom.insert(terminal, times.log);
    if (m_role.hasEvents) {
        times.event = std::min(times.event, m_eventsMissingFrom.value(terminal, times.event));
        m_eventsMissingFrom.insert(terminal, times.event);
    }
    return times;
}

std::shared_ptr<const NewestTimes> TerminalService::noteAccepted(int terminal, const NewestTimes &times)
{
    std::weak_ptr<NewestTimes> &known = m_accepted[terminal];
    auto accepted = known.lock();
    if (!accepted)
        known = accepted = std::make_shared<NewestTimes>();
    accepted->log = std::max(accepted->log, times.log);
    accepted->event = std::max(accepted->event, times.event);
    return accepted;
}

storage::Write TerminalService::writeOf(const CatchUpReply &reply, const std::function<void(int stored)> &ended)
{
    const auto stored = std::make_shared<int>(0);
    storage::Write write;
    write.store = [reply, stored, known = noteAccepted(reply.terminal(), reply.newest())](DataBase &database,
                                                                                          storage::Delivery delivery) {
        return reply.store(database, delivery, stored.get());
    };
    write.told = [ended, stored](storage::Fate fate) {
        if (ended && fate != storage::Fate::Kept)
            ended(*stored);
    };
    write.name = [reply] { return reply.name(); };
    write.rescued = reply.rescued();
    return write;
}

bool TerminalService::keep(const CatchUpReply &reply, const std::function<void(int stored)> &ended)
{
    return m_keptReplies.enqueue(writeOf(reply, ended));
}

QAny TerminalService::callTerminal(int terminal, const QString &method, const QAny &params, int timeoutMs)
{
    if (!isConnected(terminal))
        return notConnected(terminal);
    KNet::RpcCall call(m_controller);
    return call.call(connectionId(terminal), method, params, timeoutMs);
}

QAny TerminalService::callTerminalAsync(int terminal, const QString &method, const QAny &params, int timeoutMs,
                                        QObject *receiver, const char *member)
{
    if (!isConnected(terminal))
        return notConnected(terminal);
    const QByteArray name = slotName(member);
    if (receiver && name.isEmpty()) {
        qWarning() << line("callTerminalAsync").constData() << "receiver member should be a SLOT";
        return false;
    }
    // The controller's child: the answer reaches the receiver also when this service has gone.
    auto *answer = new QueuedAnswer(receiver, name, m_controller);
    KNet::RpcCall(m_controller)
        .call(connectionId(terminal), method, params, answer, SLOT(onAnswer(QString, QAny)), timeoutMs);
    return true;
}

void TerminalService::disconnectTerminal(int terminal)
{
    if (isConnected(terminal))
        m_controller->abortConnection(connectionId(terminal));
}

void TerminalService::disconnectAll()
{
    // Each one that ends leaves the table, and who is told of it may end this service.
    const QPointer<KNet::RpcController> controller(m_controller);
    const QStringList ids = m_terminalIds.keys();
    for (const QString &id : ids) {
        if (controller)
            controller->abortConnection(id);
    }
}

QAny TerminalService::connections() const
{
    QAny list = QAny::sized(QAny::List, m_connectionIds.size());
    for (auto it = m_connectionIds.constBegin(); it != m_connectionIds.constEnd(); ++it) {
        qDebug() << it.key() << " : " << it.value();
        list.append({{QStringLiteral("KEY"), it.key()}, {QStringLiteral("VAL"), it.value()}});
    }
    return list;
}

} // namespace server::sessions
