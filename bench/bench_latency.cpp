// How long a terminal waits for its acknowledgement and a web client for its month, on an idle server and while a
// company's year is recalculated; and what the way to the web client's socket adds to the time inside the server.
// Prints each against its target; ends with 1 when a target is missed.

#include "calc/calc21.h"
#include "filledcompany.h"
#include "latency.h"
#include "server/web/readings.h"
#include "serverprocess.h"
#include "storage/readconnection.h"
#include "wirewebclient.h"

#include <QDir>
#include <QTemporaryDir>

#include <atomic>
#include <thread>

namespace {

constexpr int kEmployees = 1000;
constexpr int kIdleSamples = 1000;
const QDate kStart(2025, 1, 1);
const QDate kEnd(2025, 12, 31);

const char kYear[] = R"({"STARTDATE":"1.1.2025","ENDDATE":"31.12.2025"})";
const char kMonth[] = R"({"STARTDATE":"1.3.2025","ENDDATE":"31.3.2025","USER":"7"})";

/// Of a web client.
Samples monthsOf(const Ports &ports, Clock::time_point zero, const std::atomic<bool> &stop, int most,
                 std::chrono::milliseconds pause)
{
    WireWebClient client(ports.web);
    client.ask(R"({"type":"getUser","tag":"t","data":{"user":"ana","pass":"ana"}})");
    const std::string month = std::string(R"({"type":"getWTime","tag":"t","data":)") + kMonth + '}';
    return sample(zero, stop, most, pause, [&] { client.ask(month); });
}

struct Latencies {
    Samples events;
    Samples months;
};

/// Terminals and web clients side by side, until `work` has ended or each has asked often enough.
Latencies measure(const Ports &ports, Clock::time_point zero, int most, const std::function<void()> &work)
{
    constexpr std::chrono::milliseconds kPause(4);
    static int terminals = 0;
    const int terminal = ++terminals;
    std::atomic<bool> stop{false};
    Latencies told;
    std::thread events([&] {
        Peer peer(ports.rpc, "mainterminal", terminal);
        told.events = sample(zero, stop, most, kPause, [&] { peer.ask("logger.event", eventOf(terminal)); });
    });
    std::thread months([&] { told.months = monthsOf(ports, zero, stop, most, kPause); });
    if (work) {
        work();
        stop = true;
    }
    events.join();
    months.join();
    return told;
}

/// Median in ms of one month down to its text, as a worker of the server makes it.
double monthInside(const QString &file)
{
    storage::ReadConnection reader(file);
    const QAny request{{QStringLiteral("data"), QAny::fromJson(QByteArray(kMonth))}};
    Samples samples;
    for (int i = 0; i < kIdleSamples; ++i) {
        const Clock::time_point start = Clock::now();
        reader.beginRead();
        server::web::workTimeAnswer(reader, request, QDate(2026, 6, 1)).toJsonUtf8();
        reader.endRead();
        samples.tookMs.push_back(msSince(start));
    }
    return samples.percentile(0.5);
}

bool compare(const Latencies &idle, const Latencies &busy, const Samples &alone, double inside)
{
    tell("events, idle", idle.events);
    tell("events, while a year is recalculated", busy.events);
    tell("web months, idle", idle.months);
    tell("web months, while a year is recalculated", busy.months);
    tell("web months of a client alone", alone);
    std::printf("a month inside the server %.2f ms\n", inside);
    const bool acknowledged =
        atMost("acknowledgements while a year of 1,000 employees is recalculated, p99", "ratio",
               busy.events.percentile(0.99) / idle.events.percentile(0.99), 5, "p99 of the same on the idle server");
    const bool bounded = atMost("longest acknowledgement meanwhile", "ms", busy.events.percentile(1), 100, "");
    const bool months =
        atMost("web months meanwhile, p99", "ratio", busy.months.percentile(0.99) / idle.months.percentile(0.99), 10,
               "p99 of the same on the idle server");
    const bool atOnce = atMost("a web month at the socket, median", "ms", alone.percentile(0.5), 1.5 * inside + 1,
                               "1.5 times the same inside the server, and 1 ms");
    return acknowledged && bounded && months && atOnce;
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("site.db"));
    const ServerProcess server([&file] {
        {
            DataBase database(file);
            makeCompany(database, kEmployees, kStart, kEnd);
        }
        return startServer(file);
    });
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    const Ports ports = portsOf(server, file);

    const Clock::time_point zero = Clock::now();
    const Latencies idle = measure(ports, zero, kIdleSamples, {});
    size_t length = 0;
    const Clock::time_point start = Clock::now();
    const Latencies busy = measure(ports, zero, INT_MAX, [&] {
        Peer client(ports.rpc, "adminterminal", 1);
        length = client.ask("admincheck.recalc", kYear);
    });
    const double yearSeconds = msSince(start) / 1e3;
    const Samples alone = monthsOf(ports, zero, false, kIdleSamples, std::chrono::milliseconds(0));
    std::printf("a year of %d employees, %.0f MB\n", kEmployees, static_cast<double>(length) / 1e6);
    tellFigure("A year of 1,000 employees recalculated, while terminals and web clients are served", "s", yearSeconds);
    tellFigure("Longest wait for an acknowledgement meanwhile", "ms", busy.events.percentile(1));
    return compare(idle, busy, alone, monthInside(file)) ? 0 : 1;
}
