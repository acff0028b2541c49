#include "server/logger/logger.h"

#include "server/logger/eventstore.h"

#include <QNetworkInterface>

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

int numberOn(const std::function<int(const QString &)> &peers, const QString &connectionId)
{
    return peers ? peers(connectionId) : -1;
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
      m_keptEvents("Logger::event", kMaxKeptEvents)
{
}

Logger::~Logger()
{
    m_keptEvents.flush();
}

QAny Logger::log(const QString &connectionId, const QAny &params)
{
    const qint64 id = params.lookup(QStringLiteral("ID")).toInteger();
    const auto &peers = id == kAdministrationLogId ? m_peers.administrationClient : m_peers.terminal;
    const int terminal = numberOn(peers, connectionId);
    if (terminal < 0 || !params.isHash() || !db())
        return false;
    const Status written =
        db()->insertLog(terminal, static_cast<int>(id), params.lookup(QStringLiteral("LLEVEL")).toInt(),
                        params.lookup(QStringLiteral("LGROUP")).toInt(),
                        params.lookup(QStringLiteral("FTIMESTAMP")).toString().toLongLong(),
                        params.lookup(QStringLiteral("FMESSAGE")).toString(), params.lookup(QStringLiteral("DATA")));
    return bool(written);
}

QAny Logger::event(const QString &connectionId, const QAny &params)
{
    const int terminal = numberOn(m_peers.terminal, connectionId);
    if (terminal < 0)
        return false;
    const QString time = params.lookup(kTimestamp).toString();
    const bool isOwn = params.lookup(QStringLiteral("TID")).toInteger() == terminal;
    const auto known = m_peers.noteEvent ? m_peers.noteEvent(terminal, isOwn ? time.toLongLong() : 0) : nullptr;
    m_keptEvents.submit({[this, params, known](DataBase &database) { return storeEvent(database, params); },
                         {},
                         QStringLiteral("user %1 time %2").arg(params.lookup(kUser).toString(), time)});
    return true;
}

Status Logger::storeEvent(DataBase &database, const QAny &params)
{
    // Deliberate: where the event can never be stored, the journal step still runs.
    const Status inserted = EventStore::insert(database, params, EventStore::UserText::Quoted);
    if (inserted.mayPass() || addAllEvent(params).mayPass())
        return Status::Passing;
    return Status::Done;
}

Status Logger::addAllEvent(const QAny &params)
{
    if (!db())
        return Status::Passing;
    return EventStore::addRow(*db(), params, EventStore::UserText::Quoted, [&params](QAny &row, const QAny &) {
        row.insert(QStringLiteral("REMARK"), params.lookup(QStringLiteral("ALLEVREMARK")).toString());
        row.insert(QStringLiteral("TAG"), 0);
    });
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
