#pragma once

#include "wirewebclient.h"

#include <memory>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

/// People who are signed in at the employees' page, each on a live connection of their own.
class PageCrowd
{
public:
    /// What a browser of each holds; the server keeps the session while nobody is connected.
    using Cookies = std::vector<std::string>;

    /// "zuk_session=…" of a user. Ends the process where the login fails.
    static std::string signIn(quint16 port, const std::string &user, const std::string &password)
    {
        const std::string form = "user=" + user + "&pass=" + password;
        const std::string answer =
            answerTo(port, "POST /login HTTP/1.1\r\nHost: bench\r\nConnection: close\r\nOrigin: " + origin(port) +
                               "\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                               std::to_string(form.size()) + "\r\n\r\n" + form);
        const size_t from = answer.find("zuk_session=");
        if (from == std::string::npos)
            giveUpMeasuring("the page refuses a login");
        return answer.substr(from, answer.find(';', from) - from);
    }

    PageCrowd(quint16 port, const Cookies &cookies)
    {
        for (const std::string &cookie : cookies)
            m_clients.push_back(std::make_unique<WireWebClient>(port, handshake(port, cookie)));
    }

    /// All ask at once; returns when the last of them has its answer. The ask is JSON text.
    void ask(const std::string &ask)
    {
        for (const auto &client : m_clients)
            client->send(ask);
        for (const auto &client : m_clients) {
            std::string text = client->next();
            while (text.find(R"("push":)") != std::string::npos)
                text = client->next();
            if (text.find(R"("ok":true)") == std::string::npos)
                giveUpMeasuring("the page refuses an ask");
        }
    }

private:
    Q_DISABLE_COPY(PageCrowd)

    static std::string origin(quint16 port) { return "http://127.0.0.1:" + std::to_string(port); }

    static std::string handshake(quint16 port, const std::string &cookie)
    {
        std::string request = kWebSocketRequest;
        request.replace(0, sizeof "GET /" - 1, "GET /live");
        request.resize(request.size() - 2); // the empty line
        return request + "Origin: " + origin(port) + "\r\nCookie: " + cookie + "\r\n\r\n";
    }

    /// All that comes until the server closes.
    static std::string answerTo(quint16 port, const std::string &request)
    {
        const int socket = connectedSocket(port);
        ::send(socket, request.data(), request.size(), MSG_NOSIGNAL);
        std::string answer;
        char buffer[4096];
        for (ssize_t got = 0; (got = recv(socket, buffer, sizeof buffer, 0)) > 0;)
            answer.append(buffer, static_cast<size_t>(got));
        close(socket);
        return answer;
    }

    std::vector<std::unique_ptr<WireWebClient>> m_clients;
};
