#include "logger.h"

#include "database.h"

#include <QDateTime>
#include <QNetworkInterface>

namespace {

Logger *theLogger = nullptr;

/// Found once for the life of the process; 0 while not found.
int cachedLine = 0;

constexpr quint32 kSiteNetwork = 0xC0A80000; // 192.168.0.0
constexpr quint32 kSiteMask = 0xFFFF0000;
constexpr quint32 kLastOctet = 0xFF;

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

Logger::Logger(QObject *parent) : Logger(machineAddresses, parent) {}

Logger::Logger(AddressLister addresses, QObject *parent) : QObject(parent), m_addresses(std::move(addresses)) {}

void Logger::log(int level, int group, const QString &message, const QAny &data)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (db())
        db()->insertLog(ownLine(), 0, level, group, now, message, data);
}

void Logger::log(const QString &message)
{
    log(0, 0, message, QAny());
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
