#include "server/host/serverfigures.h"

#include "knetrpc/rpccontroller.h"
#include "server/host/metricstext.h"
#include "server/host/servicesstarter.h"
#include "server/logger/logger.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"
#include "server/web/echoserver.h"
#include "server/workers/readpool.h"
#include "storage/database.h"

#include <QFileInfo>

namespace server::host {

namespace {

void addEvents(const Logger &logger, int waiting, MetricsText *text)
{
    const logger::EventFigures &events = logger.eventFigures();
    text->metric("zuk_events_acknowledged_total", MetricsText::Counter, "Live events that were answered true.")
        .sample(static_cast<double>(events.acknowledged()));
    text->metric("zuk_events_waiting", MetricsText::Gauge, "Events and log lines that wait to be stored.")
        .sample(waiting);
    text->metric("zuk_terminal_last_event_timestamp_seconds", MetricsText::Gauge,
                 "Time of a terminal's newest event, of those that have logged in since the start.");
    for (const auto &[number, terminal] : events.terminals())
        text->sample("terminal", QByteArray::number(number), static_cast<double>(terminal.newest));
    text->metric("zuk_terminal_event_delay_seconds", MetricsText::Gauge,
                 "From the time of a terminal's last live event to its arrival; negative where its clock is ahead.");
    for (const auto &[number, terminal] : events.terminals())
        text->sample("terminal", QByteArray::number(number), static_cast<double>(terminal.delay));
}

void addConnections(MetricsText *text)
{
    text->metric("zuk_connections", MetricsText::Gauge,
                 "Connections: of all RPC peers, of the terminals and administration clients that have logged in, of "
                 "web clients.")
        .sample("kind", "rpc", rpcController()->connectionCount())
        .sample("kind", "terminal", mainTerminalService()->connections().count())
        .sample("kind", "administration", adminTerminalService()->connections().count())
        .sample("kind", "web", ServicesStarter::webServer()->clientCount());
}

void addFile(const DataBase &database, MetricsText *text)
{
    constexpr double kMsPerSecond = 1000;
    text->metric("zuk_database_open", MetricsText::Gauge, "1 while the file is open, else 0.")
        .sample(database.isOpen() ? 1 : 0);
    text->metric("zuk_last_commit_timestamp_seconds", MetricsText::Gauge, "When something was stored last, or 0.")
        .sample(static_cast<double>(database.lastCommit()) / kMsPerSecond);
    text->metric("zuk_wal_bytes", MetricsText::Gauge, "Size of the write-ahead log.")
        .sample(static_cast<double>(QFileInfo(database.filePath() + QStringLiteral("-wal")).size()));
}

void addCalculations(const workers::ReadPool::Figures &figures, MetricsText *text)
{
    text->metric("zuk_calculations_total", MetricsText::Counter,
                 "Work times, presence lists and balances that were worked out.")
        .sample(static_cast<double>(figures.answered));
    text->metric("zuk_calculation_seconds_total", MetricsText::Counter, "From the questions for them to the answers.")
        .sample(figures.seconds);
}

} // namespace

QByteArray serverFigures(double loopLateness)
{
    MetricsText text;
    addEvents(*::logger(), ::logger()->keptEvents().count(), &text);
    addFile(*db(), &text);
    text.metric("zuk_loop_lateness_seconds", MetricsText::Gauge,
                "How late the server's event loop was at worst since the last writing: how long a terminal waits.")
        .sample(loopLateness);
    addConnections(&text);
    addCalculations(workers::readPool()->figures(), &text);
    return text.text();
}

} // namespace server::host
