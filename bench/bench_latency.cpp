// How long a terminal waits for its acknowledgement and a web client for its month, on an idle server and while a
// company's year is recalculated; and what the way to the web client's socket adds to the time inside the server.
// Prints each against its target; ends with 1 when a target is missed.

#include "calc/calc21.h"
#include "knetrpc/rpccontroller.h"
#include "server/check/admincheckservice.h"
#include "server/logger/logger.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"
#include "server/sessions/sessionpeers.h"
#include "server/web/echoserver.h"
#include "server/web/readings.h"
#include "server/workers/filereaders.h"
#include "server/workers/readpool.h"
#include "serverprocess.h"
#include "storage/readconnection.h"
#include "target.h"
#include "tools/demodata/democompany.h"
#include "wirewebclient.h"

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using server::workers::FileReaders;
using server::workers::ReadPool;

constexpr int kEmployees = 1000;
constexpr int kIdleSamples = 1000;
const QDate kStart(2025, 1, 1);
const QDate kEnd(2025, 12, 31);

const char kYear[] = R"({"STARTDATE":"1.1.2025","ENDDATE":"31.12.2025"})";
const char kMonth[] = R"({"STARTDATE":"1.3.2025","ENDDATE":"31.3.2025","USER":"7"})";

struct Ports {
    quint16 rpc;
    quint16 web;
};

double msSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// What samples took, in ms, and when they began, in s since a common moment.
struct Samples {
    std::vector<double> tookMs;
    std::vector<double> beganAt;

    double percentile(double share) const
    {
        std::vector<double> sorted = tookMs;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::min(sorted.size() - 1, static_cast<size_t>(share * static_cast<double>(sorted.size())))];
    }
};

/// The whole server but for its fixed port.
quint16 startServer(const QString &file)
{
    auto *controller = new KNet::RpcController(qApp);
    setRpcController(controller);
    setDb(new DataBase(file, qApp));
    setLogger(new Logger(server::sessions::sessionPeers(), qApp));
    setMainTerminalService(new MainTerminalService(controller, qApp));
    setAdminTerminalService(new AdminTerminalService(controller, qApp));
    controller->registerService(QStringLiteral("logger"), logger());
    controller->registerService(QStringLiteral("mainterminal"), mainTerminalService());
    controller->registerService(QStringLiteral("adminterminal"), adminTerminalService());
    controller->registerService(QStringLiteral("admincheck"), new AdminCheckService(qApp));
    controller->listen(QHostAddress::LocalHost, 0);
    auto *pool = new ReadPool(std::make_unique<FileReaders>(file), ReadPool::Wanted(), qApp);
    server::workers::setReadPool(pool);
    auto *web = new EchoServer(0, qApp);
    web->setReadPool(pool);
    // The measuring process asks for it under the server's own one.
    QFile(file + ".web").open(QIODevice::WriteOnly);
    QFile port(file + ".web");
    if (port.open(QIODevice::WriteOnly))
        port.write(QByteArray::number(web->serverPort()));
    return controller->serverPort();
}

/// A peer on a bare socket that asks one thing at a time.
class Peer
{
public:
    Peer(quint16 port, const std::string &login, int number) : m_clients(port, 1)
    {
        ask(login + ".login", "{\"id\":" + std::to_string(number) + '}');
    }

    /// The length of the answer.
    size_t ask(const std::string &method, const std::string &params)
    {
        size_t length = 0;
        m_clients.send(0, wireCall(++m_calls, method, params));
        const std::string id = "\"id\":\"" + std::to_string(m_calls) + '"';
        m_clients.serve([&](int client, std::string_view message) {
            if (message.find("\"method\"") != std::string_view::npos && message.size() < kLongestCall)
                answer(client, message);
            else if (message.size() >= kLongestCall || message.find(id) != std::string_view::npos)
                length = message.size();
            return length > 0;
        });
        return length;
    }

private:
    static constexpr size_t kLongestCall = 1000;

    /// The server asks for rows of the time before: there are none.
    void answer(int client, std::string_view call)
    {
        const size_t id = call.find("\"id\":\"") + 6;
        const std::string text = R"({"knetrpc":"1.0","result":[],"id":")";
        m_clients.send(client, text + std::string(call.substr(id, call.find('"', id) - id)) + "\"}");
    }

    WireClients m_clients;
    qint64 m_calls = 0;
};

std::string eventOf(int terminal)
{
    static std::atomic<qint64> time{1800000000};
    const std::string number = std::to_string(terminal);
    return R"({"USER":"7","TIMESTAMP":)" + std::to_string(++time) + R"(,"ACCESS_CODE":"101:Prihod","TID":)" + number +
           R"(,"TERMINAL":")" + number + R"("})";
}

/// Asks over and over, with a pause, until told to stop or often enough.
template <typename Ask>
Samples sample(Clock::time_point zero, const std::atomic<bool> &stop, int most, std::chrono::milliseconds pause,
               Ask ask)
{
    Samples samples;
    while (!stop && static_cast<int>(samples.tookMs.size()) < most) {
        const Clock::time_point start = Clock::now();
        ask();
        samples.tookMs.push_back(msSince(start));
        samples.beganAt.push_back(std::chrono::duration<double>(start - zero).count());
        std::this_thread::sleep_for(pause);
    }
    return samples;
}

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

void tell(const char *what, const Samples &samples)
{
    std::printf("%s: %zu, p50 %.2f ms, p99 %.2f ms, longest %.2f ms\n", what, samples.tookMs.size(),
                samples.percentile(0.5), samples.percentile(0.99), samples.percentile(1));
    for (size_t i = 0; i < samples.tookMs.size(); ++i)
        tellPoint(what, samples.beganAt[i], samples.tookMs[i]);
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

void makeCompany(const QString &file)
{
    DataBase database(file);
    DemoOptions options;
    options.employees = kEmployees;
    options.start = kStart;
    options.end = kEnd;
    const QString fault = tools::demodata::generateDemoCompany(database, options);
    if (!fault.isEmpty())
        qFatal("%s", qPrintable(fault));
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("site.db"));
    const ServerProcess server([&file] {
        makeCompany(file);
        return startServer(file);
    });
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    QFile webPort(file + ".web");
    webPort.open(QIODevice::ReadOnly);
    const Ports ports{server.port(), static_cast<quint16>(webPort.readAll().toInt())};

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
