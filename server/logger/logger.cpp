#include "server/logger/logger.h"

#include "knetrpc/rpccontroller.h"
#include "server/logger/eventstore.h"

#include <QNetworkInterface>

#include <memory>

using server::logger::LoggedInPeers;
namespace EventStore = server::logger::EventStore;
using storage::Status;

namespace {

Logger *theLogger = nullptr;

/// Found once for the life of the process; 0 while not found.
int cachedLine = 0;

constexpr quint32 kSiteNetwork = 0xC0A80000; // 192.168.0.0
constexpr quint32 kSiteMask = 0xFFFF0000;
constexpr quint32 kLastOctet = 0xFF;

/// Log lines with this entry id come from administration clients.
constexpr qint64 kAdministrationLogId = 200;

const QString kUser = QStringLiteral("USER");
const QString kTimestamp = QStringLiteral("TIMESTAMP");

/// The error of an event that would be lost at the end.
const QString kFull = QStringLiteral("Too many events wait");

int numberOn(const std::function<int(const QString &)> &peers, const QString &connectionId)
{
    return peers ? peers(connectionId) : -1;
}

Status addRow(DataBase &database, const QAny &event)
{
    return EventStore::addRow(database, event, EventStore::UserText::Quoted, [&event](QAny &row, const QAny &) {
        row.insert(QStringLiteral("REMARK"), event.lookup(QStringLiteral("ALLEVREMARK")).toString());
        row.insert(QStringLiteral("TAG"), 0);
    });
}

/// Unlike QNetworkInterface::allAddresses() also those of interfaces that are down, so that a server which starts
/// before its network still finds its line.
QList<QHostAddress> machineAddresses()
{
    QList<QHostAddress> addresses;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries)
            addresses.append(entry.ip());
    }
    return addresses;
}

} // namespace

Logger::Logger(LoggedInPeers peers, QObject *parent)
    : Logger(std::move(peers), machineAddresses, server::process::machineTime, parent)
{
}

Logger::Logger(LoggedInPeers peers, AddressLister addresses, server::process::Clock clock, QObject *parent)
    : QObject(parent), m_peers(std::move(peers)), m_addresses(std::move(addresses)), m_clock(std::move(clock)),
      m_keptWrites("Logger::event", kMaxKeptEvents)
{
    m_keptWrites.restore(eventWrite);
}

Logger::~Logger()
{
    m_keptWrites.flush();
}

QAny Logger::log(const QString &connectionId, const QAny &params)
{
    const qint64 id = params.lookup(QStringLiteral("ID")).toInteger();
    const auto &peers = id == kAdministrationLogId ? m_peers.administrationClient : m_peers.terminal;
    const int terminal = numberOn(peers, connectionId);
    if (terminal < 0 || !params.isHash() || !db())
        return false;
    const storage::LogRow row{terminal,
                              static_cast<int>(id),
                              params.lookup(QStringLiteral("LLEVEL")).toInt(),
                              params.lookup(QStringLiteral("LGROUP")).toInt(),
                              params.lookup(QStringLiteral("FTIMESTAMP")).toString().toLongLong(),
                              params.lookup(QStringLiteral("FMESSAGE")).toString(),
                              params.lookup(QStringLiteral("DATA"))};
    Write write;
    write.store = [row](DataBase &database, storage::Delivery delivery) {
        bool isThere = false;
        if (delivery == storage::Delivery::Again && database.hasLog(row, &isThere).mayPass())
            return Status(Status::Passing);
        return isThere ? Status() : database.insertLog(row);
    };
    write.name = [terminal, time = row.timestampMs] {
        return QStringLiteral("log line of %1 time %2").arg(terminal).arg(time);
    };
    write.isKept = false; // its sender learns of the failure
    return answer(connectionId, std::move(write), [](storage::Fate fate) { return fate == storage::Fate::Stored; });
}

QAny Logger::event(const QString &connectionId, const QAny &params)
{
    const int terminal = numberOn(m_peers.terminal, connectionId);
    if (terminal < 0)
        return false;
    const bool isOwn = params.lookup(QStringLiteral("TID")).toInteger() == terminal;
    const qint64 time = isOwn ? params.lookup(kTimestamp).toString().toLongLong() : 0;
    Write write = eventWrite(params);
    write.told = [this, terminal, time,
                  known = m_peers.noteEvent ? m_peers.noteEvent(terminal, time) : nullptr](storage::Fate fate) {
        if (fate != storage::Fate::Dropped)
            m_figures.noteAcknowledged(terminal, time, m_clock() / 1000);
    };
    // Also where it can never be stored: the terminal would only send it again.
    return answer(connectionId, std::move(write), [](storage::Fate fate) { return fate != storage::Fate::Dropped; });
}

/// What the caller is answered, now or when the fate of the write is known.
QAny Logger::answer(const QString &connectionId, Write write, bool (*resultOf)(storage::Fate fate))
{
    KNet::RpcAnswer later;
    if (rpcController())
        later = rpcController()->takeAnswer(this, connectionId, KNet::RpcController::Behind::Together);
    const bool isLater = bool(later);
    // Kept, if it waits behind others and is told nothing yet.
    const auto result =
        std::make_shared<std::pair<KNet::RpcAnswer, bool>>(std::move(later), resultOf(storage::Fate::Kept));
    write.told = [result, resultOf, noted = std::move(write.told)](storage::Fate fate) {
        if (noted)
            noted(fate);
        result->second = resultOf(fate);
        if (fate == storage::Fate::Dropped)
            result->first.giveError(KNet::InvokeError, kFull);
        else
            result->first.give(result->second);
    };
    if (isLater)
        m_keptWrites.gather(std::move(write));
    else
        m_keptWrites.submit(std::move(write));
    return result->second;
}

Logger::Write Logger::eventWrite(const QAny &params)
{
    Write write;
    write.store = [params](DataBase &database, storage::Delivery delivery) -> Status {
        const bool isAgain = delivery == storage::Delivery::Again;
        bool delivered = false;
        const Status asked = EventStore::wasDelivered(
            database, params, isAgain ? EventStore::Sender::Ourselves : EventStore::Sender::Peer, &delivered);
        if (asked.mayPass() || delivered)
            return asked;
        // Deliberate: where the event can never be stored, the journal step still runs.
        const Status inserted = EventStore::insert(database, params);
        if (inserted.mayPass())
            return inserted;
        const Status journaled = addRow(database, params);
        return journaled.mayPass() ? journaled : Status();
    };
    write.name = [params] {
        return QStringLiteral("user %1 time %2")
            .arg(params.lookup(kUser).toString(), params.lookup(kTimestamp).toString());
    };
    write.rescued = params;
    return write;
}

Status Logger::addAllEvent(const QAny &params)
{
    if (!db())
        return Status::Passing;
    return addRow(*db(), params);
}

Status Logger::log(int level, int group, const QString &message, const QAny &data)
{
    if (!db())
        return Status::Passing;
    return db()->insertLog(ownLine(), 0, level, group, m_clock(), message, data);
}

Status Logger::log(const QString &message)
{
    return log(0, 0, message, QAny());
}

void Logger::note(const QString &message)
{
    const storage::LogRow row{ownLine(), 0, 0, 0, m_clock(), message, QAny()};
    Write write;
    write.store = [row](DataBase &database, storage::Delivery) { return database.insertLog(row); };
    write.name = [time = row.timestampMs] { return QStringLiteral("own log line, time %1").arg(time); };
    write.isKept = false;
    m_keptWrites.gather(std::move(write));
}

int Logger::lineNumber(const QList<QHostAddress> &addresses)
{
    for (const QHostAddress &address : addresses) {
        bool isIpv4 = false;
        const quint32 value = address.toIPv4Address(&isIpv4);
        if (isIpv4 && (value & kSiteMask) == kSiteNetwork)
            return static_cast<int>(value & kLastOctet);
    }
    return 0;
}

int Logger::ownLine()
{
    if (cachedLine == 0)
        cachedLine = lineNumber(m_addresses());
    return cachedLine;
}

Logger *logger()
{
    return theLogger;
}

void setLogger(Logger *instance)
{
    theLogger = instance;
}
