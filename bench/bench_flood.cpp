// How long a terminal waits for its acknowledgement while web clients without a login send as fast as they can:
// requests that are looked up in the file, texts that are no requests, and pings. Prints each against the same on the
// idle server; ends with 1 when a target is missed.

#include "attendancefile.h"
#include "latency.h"
#include "webflood.h"

#include <QTemporaryDir>

namespace {

constexpr int kSamples = 1000;
constexpr int kClients = 20;
constexpr int kFrames = 1000; ///< before a flood repeats itself

struct Flood {
    const char *name;
    std::string frames;
};

/// So many names that none is held up for its failed logins.
std::string logins()
{
    constexpr int kNames = 100000;
    std::string frames;
    for (int i = 0; i < kNames; ++i)
        frames += WebFlood::frame(1, R"({"type":"getUser","tag":"t","data":{"user":"nobody)" + std::to_string(i) +
                                         R"(","pass":"x"}})");
    return frames;
}

std::string repeated(const std::string &frame)
{
    std::string frames;
    for (int i = 0; i < kFrames; ++i)
        frames += frame;
    return frames;
}

Samples acknowledgements(const Ports &ports)
{
    static const Clock::time_point zero = Clock::now();
    static int terminals = 0;
    const std::atomic<bool> stop{false};
    const int terminal = ++terminals;
    Peer peer(ports.rpc, "mainterminal", terminal);
    return sample(zero, stop, kSamples, std::chrono::milliseconds(4),
                  [&] { peer.ask("logger.event", eventOf(terminal)); });
}

bool compare(const Ports &ports, const Flood &flood)
{
    const Samples idle = acknowledgements(ports);
    const WebFlood sending(ports.web, kClients, flood.frames);
    sleep(1); // until all of it flows
    const Samples busy = acknowledgements(ports);
    const std::string name = std::string("acknowledgements beside a flood of ") + flood.name;
    tell("acknowledgements, idle", idle);
    tell(name.c_str(), busy);
    return atMost((name + ", p99").c_str(), "ratio", busy.percentile(0.99) / idle.percentile(0.99), 3,
                  "p99 of the same on the idle server");
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("site.db"));
    const ServerProcess server([&file] {
        {
            DataBase database(file);
            fillAttendance(database, {});
        }
        return startServer(file);
    });
    const QCoreApplication application(argc, argv);
    const Ports ports = portsOf(server, file);
    bool met = true;
    for (const Flood &flood : {Flood{"logins", logins()}, Flood{"empty texts", repeated(WebFlood::frame(1, ""))},
                               Flood{"pings", repeated(WebFlood::frame(9, ""))}})
        met = compare(ports, flood) && met;
    return met ? 0 : 1;
}
