// Calls through the RPC library against bare TCP servers that do no more than they must: one that reads the same
// messages with the same reader, and one that only cuts and echoes them. Prints the ratios, then the usual table; ends
// with 1 when a target is missed.

#include "alternating.h"
#include "bareserver.h"
#include "knetrpc/rpccontroller.h"
#include "serverprocess.h"
#include "target.h"
#include "wireclient.h"

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

constexpr double kTarget = 0.6; ///< calls per second, ours to the bare server's
constexpr size_t kRounds = 15;
constexpr int kPipelined = 20000;
constexpr int kTerminals = 100;
constexpr int kRoundTrips = 200; ///< of each terminal

class AnswerService : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

public Q_SLOTS:
    QAny answer(const QString &, const QAny &) { return true; }
};

quint16 startOurs()
{
    auto *controller = new KNet::RpcController(qApp);
    controller->registerService(QStringLiteral("bench"), new AnswerService(controller));
    controller->listen(QHostAddress::LocalHost, 0);
    return controller->serverPort();
}

std::string call(int id)
{
    return wireCall(id, "bench.answer", R"({"USER":17,"TIMESTAMP":1700000000})");
}

/// Many calls on one connection, without waiting for answers.
class Pipeline
{
public:
    explicit Pipeline(quint16 port) : m_client(port, 1)
    {
        for (int i = 0; i < kPipelined; ++i)
            m_calls += call(i);
    }
    void operator()()
    {
        int answers = 0;
        m_client.send(0, m_calls);
        m_client.serve([&answers](int, std::string_view) { return ++answers == kPipelined; });
    }

private:
    WireClients m_client;
    std::string m_calls;
};

/// Many connections, each of which waits for its answer before it calls again.
class RoundTrips
{
public:
    explicit RoundTrips(quint16 port) : m_clients(port, kTerminals), m_call(call(1)) {}
    void operator()()
    {
        constexpr int kCalls = kTerminals * kRoundTrips;
        int calls = kTerminals;
        int answers = 0;
        for (int i = 0; i < kTerminals; ++i)
            m_clients.send(i, m_call);
        m_clients.serve([this, &calls, &answers](int client, std::string_view) {
            if (calls < kCalls) {
                ++calls;
                m_clients.send(client, m_call);
            }
            return ++answers == kCalls;
        });
    }

private:
    WireClients m_clients;
    std::string m_call;
};

bool compare(const char *name, int calls, const ServerProcess &ours, const std::function<void()> &callOurs,
             const ServerProcess &bare, const std::function<void()> &callBare, const char *bareName)
{
    callOurs(); // whatever is made once
    callBare();
    const double oursBefore = ours.cpuSeconds();
    const double bareBefore = bare.cpuSeconds();
    const std::vector<double> seconds = alternatingMedians({callOurs, callBare}, kRounds);
    const double microseconds = 1e6 / kRounds / calls;
    std::printf("%.0f calls/s of %.2f us processor time, bare %.0f of %.2f us\n", calls / seconds[0],
                (ours.cpuSeconds() - oursBefore) * microseconds, calls / seconds[1],
                (bare.cpuSeconds() - bareBefore) * microseconds);
    return atLeast(name, "ratio", seconds[1] / seconds[0], kTarget, bareName);
}

void registerSide(const char *name, int calls, const std::function<void()> &side)
{
    const auto run = [calls, side](benchmark::State &state) {
        for (auto _ : state)
            side();
        state.SetItemsProcessed(state.iterations() * calls);
    };
    benchmark::RegisterBenchmark(name, run)->UseRealTime();
}

} // namespace

int main(int argc, char **argv)
{
    raiseDescriptorLimit();
    const ServerProcess oursPipelined(startOurs); // each with the connections of one measurement
    const ServerProcess oursSingle(startOurs);
    const ServerProcess bareReader([] { return startBare([] { return reading(); }); });
    const ServerProcess bareEcho([] { return startBare(echoing); });
    Pipeline pipeline(oursPipelined.port());
    Pipeline pipelineBare(bareReader.port());
    RoundTrips roundTrips(oursSingle.port());
    RoundTrips roundTripsBare(bareEcho.port());

    constexpr int kCalls = kTerminals * kRoundTrips;
    const bool pipelined =
        compare("calls per second, pipelined on one connection", kPipelined, oursPipelined, std::ref(pipeline),
                bareReader, std::ref(pipelineBare), "a bare TCP server with the same JSON reader");
    const bool single =
        compare("calls per second, one at a time on each of 100 connections", kCalls, oursSingle, std::ref(roundTrips),
                bareEcho, std::ref(roundTripsBare), "a bare TCP server that echoes");

    registerSide("pipelined", kPipelined, std::ref(pipeline));
    registerSide("pipelinedBare", kPipelined, std::ref(pipelineBare));
    registerSide("roundTrips", kCalls, std::ref(roundTrips));
    registerSide("roundTripsBare", kCalls, std::ref(roundTripsBare));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return pipelined && single ? 0 : 1;
}

#include "bench_rpc.moc"
