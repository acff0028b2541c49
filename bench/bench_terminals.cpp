// A site's terminals on the server: what a connection and its keep-alive cost, events that are safe on the disk against
// a bare loop over the driver that flushes once for each, of one terminal and of many, also where a flush takes long; a
// whole site that comes back at once with and without silent terminals, and a login on a full file of log rows against
// an empty one. Prints each against its target, then the usual table; ends with 1 when a target is missed.

#include "alternating.h"
#include "baredriver.h"
#include "bareserver.h"
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
constexpr int kLoneFlushMs = 1;
constexpr double kLoneTarget = 0.83; ///< nine tenths of what it was when each event had a flush of its own
constexpr int kLogins = 20;          ///< in one round
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
    QAny flushDelay(const QString &, const QAny &ms)
    {
        setFlushDelay(static_cast<int>(ms.toInteger()));
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

quint16 startLone(const QString &file)
{
    makeFile(file);
    replaceFlushes(kLoneFlushMs);
    return startSite(file, new BenchService)->serverPort();
}

/// A bare server that stores an event's rows before it answers.
quint16 startBareLone(const QString &file)
{
    makeFile(file);
    replaceFlushes(kLoneFlushMs);
    const auto bare = std::make_shared<BareEvents>(file);
    return startBare([bare] { return reading([bare](const QAny &) { bare->store(1); }); });
}

/// One terminal, whose events share their flushes with no others. On both sides a flush takes a fixed time.
bool measureLone(const ServerProcess &server, const ServerProcess &bareServer)
{
    constexpr size_t rounds = 51;
    constexpr int kLoneEvents = 50;
    Terminals one(server.port(), 1, 1, {0, 0});
    one.logIn(0);
    Terminals bareOne(bareServer.port(), 1, 1, {0, 0});
    const std::vector<double> seconds =
        alternatingMedians({[&] { one.sendEvents(kLoneEvents); }, [&] { bareOne.sendEvents(kLoneEvents); }}, rounds);
    std::printf("%.0f events/s acknowledged to a lone terminal, by a bare server %.0f\n", kLoneEvents / seconds[0],
                kLoneEvents / seconds[1]);
    return atLeast("events per second acknowledged to a lone terminal, a flush taking 1 ms", "ratio",
                   seconds[1] / seconds[0], kLoneTarget, "a bare TCP server that stores each event with a flush");
}

/// Events a second, acknowledged to all terminals, to one and stored by the bare loop, where a flush takes longer.
struct Rates {
    double all;
    double one;
    double bare;
};

Rates ratesWith(int delayMs, const ServerProcess &server, Terminals &all, BareEvents &bare)
{
    constexpr size_t rounds = 5;
    const int few = delayMs < 5 ? 200 : 40;
    Control control(server.port());
    Terminals one(server.port(), kCallers + 1, 1, {0, 0});
    one.logIn(0);
    control.ask("flushDelay", std::to_string(delayMs));
    setFlushDelay(delayMs);
    const std::vector<double> seconds = alternatingMedians(
        {[&] { all.sendEvents(kEvents); }, [&] { one.sendEvents(few); }, [&] { bare.store(few); }}, rounds);
    control.ask("flushDelay", "0");
    setFlushDelay(0);
    const Rates rates{kEvents / seconds[0], few / seconds[1], few / seconds[2]};
    std::printf("a flush of %d ms more: %.0f events/s acknowledged to 100 terminals, %.0f to one, bare %.0f\n", delayMs,
                rates.all, rates.one, rates.bare);
    tellPoint("events of 100 terminals by delay", delayMs, rates.all);
    tellPoint("events of one terminal by delay", delayMs, rates.one);
    tellPoint("events of a bare loop by delay", delayMs, rates.bare);
    return rates;
}

bool measureEvents(const ServerProcess &server, Terminals &terminals, BareEvents &bare)
{
    const char *const against = "a bare SQLite loop with a flush for each event";
    bool met = true;
    for (const int delayMs : {0, 1, 2, 5, 10, 20}) {
        const Rates rates = ratesWith(delayMs, server, terminals, bare);
        if (delayMs == 0) {
            tellFigure("Events of 100 terminals acknowledged, each safe on the disk", "per second", rates.all);
            met = atLeast("events per second acknowledged to 100 terminals", "ratio", rates.all / rates.bare, 1.5,
                          against) &&
                  met;
        }
        if (delayMs == kSlowFlushMs)
            met = atLeast("the same where a flush takes 10 ms longer", "ratio", rates.all / rates.bare, 20, against) &&
                  met;
    }
    return met;
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
    const ServerProcess lone([file = folder.filePath("lone.db")] { return startLone(file); });
    const ServerProcess bareLone([file = folder.filePath("barelone.db")] { return startBareLone(file); });

    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    makeFile(folder.filePath("bare.db"));
    BareEvents bare(folder.filePath("bare.db"));

    const bool connections = measureConnections(*site);
    Terminals callers(events->port(), 1, kCallers, {0, 0});
    callers.logIn(0);
    const bool undelayed = measureLone(lone, bareLone);
    const bool stored = measureEvents(*events, callers, bare);
    const bool unaffected = measureSilent(*silent);
    const bool sizeless = measureFullFile(*full, *empty);

    registerSide("events", [&callers] { callers.sendEvents(kEvents); });
    registerSide("eventsBare", [&bare] { bare.store(kEvents); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return connections && undelayed && stored && unaffected && sizeless ? 0 : 1;
}

#include "bench_terminals.moc"
