#pragma once

#include "attendancefile.h"
#include "knetrpc/rpccontroller.h"
#include "server/logger/logger.h"
#include "server/sessions/mainterminalservice.h"
#include "server/sessions/sessionpeers.h"
#include "storage/database.h"
#include "wireclient.h"

#include <QCoreApplication>

#include <string>
#include <string_view>
#include <vector>

/// A file as the server makes it, with the attendance tables.
inline void makeFile(const QString &file)
{
    DataBase database(file);
    fillAttendance(database, {});
}

/// A server with storage, sessions and logger, on any port, and the service "bench" by which the measurements ask it.
/// All of it lives as long as the application object.
inline KNet::RpcController *startSite(const QString &file, QObject *benchService)
{
    auto *controller = new KNet::RpcController(qApp);
    setRpcController(controller);
    setDb(new DataBase(file, qApp));
    setMainTerminalService(new MainTerminalService(controller, qApp));
    setLogger(new Logger(server::sessions::sessionPeers(), qApp));
    benchService->setParent(controller);
    controller->registerService(QStringLiteral("logger"), logger());
    controller->registerService(QStringLiteral("mainterminal"), mainTerminalService());
    controller->addServiceRequirement(QStringLiteral("logger"), QStringLiteral("logger"));
    controller->registerService(QStringLiteral("bench"), benchService);
    controller->listen(QHostAddress::LocalHost, 0);
    return controller;
}

/// A connection by which the measurements ask the server's service "bench".
class Control
{
public:
    explicit Control(quint16 port) : m_client(port, 1) {}

    /// The params are JSON text.
    qint64 ask(const char *method, const std::string &params = "null")
    {
        qint64 answer = 0;
        m_client.send(0, wireCall(1, std::string("bench.") + method, params));
        m_client.serve([&answer](int, std::string_view message) {
            constexpr std::string_view key = "\"result\":";
            const size_t at = message.find(key);
            if (at == std::string_view::npos)
                return false; // a ping
            answer = std::atoll(message.data() + at + key.size());
            return true;
        });
        return answer;
    }
    void waitFor(const char *method, const std::function<bool(qint64)> &reached)
    {
        while (!reached(ask(method))) {
        }
    }

private:
    WireClients m_client;
};

/// An event as a terminal tells it. No two have the same time.
inline std::string nextEvent(int terminal)
{
    static qint64 time = 1700000000;
    const std::string number = std::to_string(terminal);
    return R"({"USER":")" + number + R"(","FINGER":1,"TERMINAL":")" + number + R"(","TIMESTAMP":)" +
           std::to_string(++time) +
           R"(,"DESCRIPTION":"prihod","ACCESS_CODE":"101:Prihod","ID_TYPE":"F","UID":7,"TID":)" + number +
           R"(,"NAME":"Žagar Ana"})";
}

/// Terminals that log in and answer the server's calls.
class Terminals
{
public:
    /// Rows that each of them has not yet told the server.
    struct Held {
        int logs;
        int events;
    };

    Terminals(quint16 port, int first, int count, Held held) : m_clients(port, count), m_first(first)
    {
        for (int i = 0; i < count; ++i)
            m_held.push_back({logs(held.logs), events(number(i), held.events)});
    }

    WireClients &clients() { return m_clients; }
    int number(int client) const { return m_first + client; }

    /// Logs all in and answers, until all are caught up but the last ones, which never answer anything.
    void logIn(int silent)
    {
        for (int i = 0; i < m_clients.count(); ++i)
            m_clients.send(i, wireCall(1, "mainterminal.login", "{\"id\":" + std::to_string(number(i)) + '}'));
        int caughtUp = 0;
        const int answering = m_clients.count() - silent;
        m_clients.serve([&](int client, std::string_view message) {
            if (client < answering && has(message, "\"method\"")) {
                const bool last = has(message, "logger.getEvents");
                answer(client, message,
                       last ? m_held[static_cast<size_t>(client)].events : m_held[static_cast<size_t>(client)].logs);
                caughtUp += last ? 1 : 0;
            }
            return caughtUp == answering;
        });
    }

    /// Answers that many pings of each.
    void answerPings(int each)
    {
        int open = each * m_clients.count();
        m_clients.serve([&](int client, std::string_view message) {
            if (has(message, "<PING>")) {
                m_clients.send(client, R"({"knetrpc":"1.0","id":"<PONG>"})");
                --open;
            }
            return open <= 0;
        });
    }

    /// Each has one event on its way until that many are acknowledged.
    void sendEvents(int events)
    {
        int sent = 0;
        int acknowledged = 0;
        const auto next = [&](int client) {
            if (sent < events)
                m_clients.send(client, wireCall(++sent, "logger.event", nextEvent(number(client))));
        };
        for (int i = 0; i < m_clients.count(); ++i)
            next(i);
        m_clients.serve([&](int client, std::string_view message) {
            if (!has(message, "\"result\""))
                return false;
            ++acknowledged;
            next(client);
            return acknowledged == events;
        });
    }

private:
    struct HeldTexts {
        std::string logs;
        std::string events;
    };

    static bool has(std::string_view message, std::string_view text)
    {
        return message.find(text) != std::string_view::npos;
    }

    static std::string logs(int count)
    {
        std::string rows;
        for (int i = 0; i < count; ++i)
            rows += std::string(rows.empty() ? "" : ",") + R"({"ID":1,"FTIMESTAMP":")" +
                    std::to_string(1700000000000 + i) +
                    R"(","LLEVEL":0,"LGROUP":0,"FMESSAGE":"Terminal connected","DATA":null})";
        return '[' + rows + ']';
    }

    static std::string events(int terminal, int count)
    {
        std::string rows;
        for (int i = 0; i < count; ++i)
            rows += (rows.empty() ? "" : ",") + nextEvent(terminal);
        return '[' + rows + ']';
    }

    void answer(int client, std::string_view call, const std::string &result)
    {
        constexpr std::string_view key = "\"id\":\"";
        const size_t at = call.find(key) + key.size();
        std::string text = R"({"knetrpc":"1.0","id":")";
        text += call.substr(at, call.find('"', at) - at);
        m_clients.send(client, text + R"(","result":)" + result + '}');
    }

    WireClients m_clients;
    int m_first;
    std::vector<HeldTexts> m_held;
};
