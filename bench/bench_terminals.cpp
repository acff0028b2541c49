// A site's terminals on the server: what a connection and its keep-alive cost, events that are safe on the disk against
// a bare loop over the driver that flushes once for each, of one terminal and of many, also where a flush takes long; a
// whole site that comes back at once with and without silent terminals, and a login on a full file of log rows against
// an empty one. Prints each against its target, then the usual table; ends with 1 when a target is missed.

#include "alternating.h"
#include "baredriver.h"
#include "flushdelay.h"
#include "serverprocess.h"
#include "siteterminals.h"
#include "target.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int kSite = 1000;   ///< terminals
constexpr int kSilent = 10;   ///< of them, where some never answer
constexpr int kSweeps = 50;   ///< forced ones
constexpr int kCallers = 100; ///< terminals that send events
constexpr int kEvents = 1000; ///< of all of them in one round
constexpr int kSlowFlushMs = 10;
constexpr int kLogins = 20; ///< in one round
constexpr int kFullFile = 5000000;

/// What the measurements ask of the server and tell it.
class BenchService : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

public Q_SLOTS:
    QAny sweep(const QString &, const QAny &)
    {
        rpcController()->pingRemoteConnections();
        return 0;
    }
    /// Resident memory in KiB.
    QAny memory(const QString &, const QAny &)
    {
        QFile file(QStringLiteral("/proc/self/statm"));
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE) / 1024;
    }
    /// Journal rows that are on the disk: nothing stays open between two calls.
    QAny stored(const QString &, const QAny &)
    {
        return db()
            ->select(QStringLiteral("select max(ID) as N from allevents"))
            .lookup(QStringLiteral("0"))[QStringLiteral("N")]
            .toInteger();
    }
    QAny slowFlushes(const QString &, const QAny &)
    {
        setFlushDelay(kSlowFlushMs);
        return 0;
    }
    QAny fastFlushes(const QString &, const QAny &)
    {
        setFlushDelay(0);
        return 0;
    }
    QAny sessions(const QString &, const QAny &) { return mainTerminalService()->connections().count(); }
};

/// Memory and keep-alive of a site that is logged in.
bool measureConnections(const ServerProcess &server)
{
    constexpr double kSweepInterval = KNet::RpcController::kPingIntervalMs / 1000.0;
    constexpr useconds_t kLastPongs = 100000; // in microseconds, until the server has read them
    Control control(server.port());
    const qint64 before = control.ask("memory");
    Terminals terminals(server.port(), 1, kSite, {0, 0});
    terminals.logIn(0);
    const double each = static_cast<double>(control.ask("memory") - before) / kSite;

    const double busyBefore = server.cpuSeconds();
    for (int i = 0; i < kSweeps; ++i) {
        control.ask("sweep");
        terminals.answerPings(1);
    }
    usleep(kLastPongs);
    const double busy = (server.cpuSeconds() - busyBefore) / kSweeps / kSweepInterval * 100;
    const bool small = atMost("memory of a connected terminal", "KiB", each, 64, "");
    return atMost("pings to 1,000 terminals", "% of a core", busy, 1, "") && small;
}

/// A site of new terminals connects, logs in and tells what it holds.
double comeBack(const ServerProcess &server, Control &control, int terminals, int silent)
{
    constexpr Terminals::Held held{3, 2};
    static int first = 1;
    first += terminals;
    const qint64 expected = control.ask("stored") + qint64(terminals - silent) * held.events;
    const auto start = std::chrono::steady_clock::now();
    Terminals site(server.port(), first, terminals, held);
    site.logIn(silent);
    control.waitFor("stored", [expected](qint64 rows) { return rows >= expected; });
    return secondsSince(start);
}

bool measureSilent(const ServerProcess &server)
{
    constexpr size_t rounds = 5;
    Control control(server.port());
    const auto side = [&](int terminals, int silent) {
        return [&server, &control, terminals, silent] {
            const double seconds = comeBack(server, control, terminals, silent);
            control.waitFor("sessions", [](qint64 sessions) { return sessions == 0; });
            return seconds;
        };
    };
    const std::vector<double> seconds = alternatingMediansOf({side(kSite, kSilent), side(kSite - kSilent, 0)}, rounds);
    std::printf("990 terminals caught up beside 10 silent ones in %.2f s, alone in %.2f s\n", seconds[0], seconds[1]);
    return atMost("990 terminals come back beside 10 silent ones", "ratio", seconds[0] / seconds[1], 1.5,
                  "990 terminals come back alone");
}

double logInOneByOne(const ServerProcess &server, Control &control)
{
    constexpr Terminals::Held held{2, 1};
    double seconds = 0;
    {
        std::vector<std::unique_ptr<Terminals>> terminals;
        for (int i = 1; i <= kLogins; ++i) {
            const qint64 expected = control.ask("stored") + held.events;
            const auto start = std::chrono::steady_clock::now();
            terminals.push_back(std::make_unique<Terminals>(server.port(), i, 1, held));
            terminals.back()->logIn(0);
            control.waitFor("stored", [expected](qint64 rows) { return rows >= expected; });
            seconds += secondsSince(start);
        }
    }
    control.waitFor("sessions", [](qint64 sessions) { return sessions == 0; });
    return seconds / kLogins;
}

bool measureFullFile(const ServerProcess &full, const ServerProcess &empty)
{
    constexpr size_t rounds = 7;
    Control fullControl(full.port());
    Control emptyControl(empty.port());
    const std::vector<double> seconds = alternatingMediansOf(
        {[&] { return logInOneByOne(full, fullControl); }, [&] { return logInOneByOne(empty, emptyControl); }}, rounds);
    std::printf("login and catch-up on 5,000,000 log rows in %.2f ms, on none in %.2f ms\n", seconds[0] * 1e3,
                seconds[1] * 1e3);
    return atMost("login and catch-up on a file of 5,000,000 log rows", "ratio", seconds[0] / seconds[1], 1.2,
                  "on an empty file");
}

/// Events a second against those of the bare loop.
double eventsRatio(Terminals &terminals, BareEvents &bare, int events, int bareEvents)
{
    constexpr size_t rounds = 7;
    const std::vector<double> seconds =
        alternatingMedians({[&] { terminals.sendEvents(events); }, [&] { bare.store(bareEvents); }}, rounds);
    const double served = events / seconds[0];
    const double alone = bareEvents / seconds[1];
    std::printf("%.0f events/s acknowledged to %d terminals, bare %.0f\n", served, terminals.clients().count(), alone);
    return served / alone;
}

bool measureEvents(const ServerProcess &server, Terminals &terminals, BareEvents &bare)
{
    constexpr int kFew = 100;
    Control control(server.port());
    Terminals one(server.port(), kCallers + 1, 1, {0, 0});
    one.logIn(0);
    eventsRatio(one, bare, kFew, kFew); // told for comparison with other versions
    const char *const against = "a bare SQLite loop with a flush for each event";
    const bool many = atLeast("events per second acknowledged to 100 terminals", "ratio",
                              eventsRatio(terminals, bare, kEvents, kEvents), 1.5, against);
    control.ask("slowFlushes");
    setFlushDelay(kSlowFlushMs);
    const bool slow = atLeast("the same where a flush takes 10 ms longer", "ratio",
                              eventsRatio(terminals, bare, kEvents, kFew / 2), 20, against);
    control.ask("fastFlushes");
    setFlushDelay(0);
    return many && slow;
}

void registerSide(const char *name, const std::function<void()> &side)
{
    const auto run = [side](benchmark::State &state) {
        for (auto _ : state)
            side();
        state.SetItemsProcessed(state.iterations() * kEvents);
    };
    benchmark::RegisterBenchmark(name, run)->UseRealTime();
}

} // namespace

int main(int argc, char **argv)
{
    raiseDescriptorLimit();
    QTemporaryDir folder;
    const auto serverOf = [&folder](const char *name, int logRows = 0) {
        return std::make_unique<ServerProcess>([file = folder.filePath(name), logRows] {
            makeFile(file);
            if (logRows > 0)
                fillLogs(file, logRows);
            return startSite(file, new BenchService)->serverPort();
        });
    };
    const auto site = serverOf("site.db");
    const auto events = serverOf("events.db");
    const auto silent = serverOf("silent.db");
    const auto empty = serverOf("empty.db");
    const auto full = serverOf("full.db", kFullFile);

    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    makeFile(folder.filePath("bare.db"));
    BareEvents bare(folder.filePath("bare.db"));

    const bool connections = measureConnections(*site);
    Terminals callers(events->port(), 1, kCallers, {0, 0});
    callers.logIn(0);
    const bool stored = measureEvents(*events, callers, bare);
    const bool unaffected = measureSilent(*silent);
    const bool sizeless = measureFullFile(*full, *empty);

    registerSide("events", [&callers] { callers.sendEvents(kEvents); });
    registerSide("eventsBare", [&bare] { bare.store(kEvents); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return connections && stored && unaffected && sizeless ? 0 : 1;
}

#include "bench_terminals.moc"
