#pragma once

#include "knetrpc/rpccontroller.h"
#include "server/check/admincheckservice.h"
#include "server/logger/logger.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"
#include "server/sessions/sessionpeers.h"
#include "server/web/echoserver.h"
#include "server/workers/filereaders.h"
#include "server/workers/readpool.h"
#include "serverprocess.h"
#include "storage/database.h"
#include "target.h"
#include "wireclient.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

// How long a peer waits for the whole server.

using Clock = std::chrono::steady_clock;

struct Ports {
    quint16 rpc;
    quint16 web;
};

inline double msSince(Clock::time_point start)
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
inline quint16 startServer(const QString &file)
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
    auto *pool = new server::workers::ReadPool(std::make_unique<server::workers::FileReaders>(file), {}, qApp);
    server::workers::setReadPool(pool);
    auto *web = new EchoServer(0, qApp);
    web->setReadPool(pool);
    QFile webPort(file + ".web"); // for portsOf()
    if (webPort.open(QIODevice::WriteOnly))
        webPort.write(QByteArray::number(web->serverPort()));
    return controller->serverPort();
}

/// Of a process that runs startServer().
inline Ports portsOf(const ServerProcess &server, const QString &file)
{
    QFile webPort(file + ".web");
    if (!webPort.open(QIODevice::ReadOnly))
        qFatal("no port of the web server");
    return {server.port(), static_cast<quint16>(webPort.readAll().toInt())};
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

inline std::string eventOf(int terminal)
{
    static std::atomic<qint64> time{1700000000};
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

inline void tell(const char *what, const Samples &samples)
{
    std::printf("%s: %zu, p50 %.2f ms, p99 %.2f ms, longest %.2f ms\n", what, samples.tookMs.size(),
                samples.percentile(0.5), samples.percentile(0.99), samples.percentile(1));
    for (size_t i = 0; i < samples.tookMs.size(); ++i)
        tellPoint(what, samples.beganAt[i], samples.tookMs[i]);
}
