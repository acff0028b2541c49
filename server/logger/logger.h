#pragma once

#include "qany.h"
#include "server/logger/eventfigures.h"
#include "server/logger/loggedinpeers.h"
#include "server/process/clock.h"
#include "storage/database.h"
#include "storage/keptwrites.h"

#include <QHostAddress>
#include <QList>
#include <QObject>

#include <functional>

/// The service "logger": stores the attendance events and log lines that logged-in peers push, and writes the server's
/// own rows of `logs`. Owned by ServicesStarter, ends before the database; called on the main thread.
///
/// Events and log lines of all peers that are there when the event loop comes round share one transaction, and are
/// answered behind it. A call that did not come through the process's RPC controller is stored at once.
///
/// An event that cannot be stored for a passing reason is kept and stored later; what cannot be stored even when the
/// logger ends is left in the rescue file. An event that is delivered twice is stored once.
class Logger : public QObject
{
    Q_OBJECT
public:
    /// All addresses of this machine, in the order in which the system lists them.
    using AddressLister = std::function<QList<QHostAddress>()>;

    /// Events that are kept; more are dropped, each with a warning line. Far more than a site has in a day.
    static constexpr int kMaxKeptEvents = 100000;

    /// Stores for these peers.
    explicit Logger(server::logger::LoggedInPeers peers = {}, QObject *parent = nullptr);
    /// With other sources of the machine's addresses and of the time that stamps the server's rows.
    Logger(server::logger::LoggedInPeers peers, AddressLister addresses,
           server::process::Clock clock = server::process::machineTime, QObject *parent = nullptr);
    ~Logger() override;

    /// One row, stamped now, under the server's own line and entry id 0. Without a database nothing is written.
    storage::Status log(int level, int group, const QString &message, const QAny &data);
    /// The same with level 0, group 0 and Null data.
    storage::Status log(const QString &message);

    /// The same, stored together with what the terminals send, for who cannot hold them up by a flush of its own: soon,
    /// and never if the file then refuses it, with a warning line.
    void note(const QString &message);

    /// Writes the journal row of an event that was just stored, as part of the caller's transaction. Passing when
    /// another attempt is worth while.
    storage::Status addAllEvent(const QAny &params);

    /// Events and log lines that wait to be stored.
    storage::KeptWrites &keptEvents() { return m_keptWrites; }

    const server::logger::EventFigures &eventFigures() const { return m_figures; }
    /// The file has an event of that terminal and time.
    void noteStored(int terminal, qint64 time) { m_figures.noteStored(terminal, time); }

    /// Last octet of the first address in 192.168.0.0/16; 0 when there is none.
    static int lineNumber(const QList<QHostAddress> &addresses);

public Q_SLOTS:
    /// Stores a log line of the caller's. False when it is not logged in, or the line is not stored.
    QAny log(const QString &connectionId, const QAny &params);
    /// Stores an attendance event and its journal row. False when the caller is no logged-in terminal; otherwise true,
    /// after the event was stored or kept, or when it can never be.
    QAny event(const QString &connectionId, const QAny &params);

private:
    using Write = storage::Write;

    int ownLine();
    QAny answer(const QString &connectionId, Write write, bool (*resultOf)(storage::Fate fate));
    static Write eventWrite(const QAny &params);

    server::logger::LoggedInPeers m_peers;
    AddressLister m_addresses;
    server::process::Clock m_clock;
    server::logger::EventFigures m_figures;
    storage::KeptWrites m_keptWrites; // last: its end tells writes their fates
};

/// The process's logger; null before start and after stop. Only ServicesStarter (or a test) sets it.
Logger *logger();
void setLogger(Logger *instance);
