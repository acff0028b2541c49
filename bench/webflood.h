#pragma once

#include "wirewebclient.h"

#include <csignal>
#include <string>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Web clients without a login that send the same frames over and over, as fast as they are taken, and read whatever
/// comes; one that the server cuts off comes again. In a process of its own, of low priority, as a flood comes from
/// another machine. Ends with this object.
class WebFlood
{
public:
    WebFlood(quint16 port, int clients, const std::string &frames)
    {
        if ((m_process = fork()) < 0)
            std::abort();
        if (m_process == 0)
            run(port, clients, frames);
    }
    ~WebFlood()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }

    /// A masked frame.
    static std::string frame(unsigned char code, const std::string &payload)
    {
        std::string bytes{static_cast<char>(0x80 | code), static_cast<char>(0x80 | payload.size())};
        return bytes + std::string(4, '\0') + payload;
    }

private:
    Q_DISABLE_COPY(WebFlood)

    struct Client {
        int socket = -1;
        size_t sent = 0; // of the frames
    };

    [[noreturn]] static void run(quint16 port, int count, const std::string &frames)
    {
        constexpr int kLowest = 19;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (nice(kLowest) == -1)
            std::perror("nice");
        const int poll = epoll_create1(0);
        std::vector<Client> clients(static_cast<size_t>(count));
        for (Client &client : clients)
            connect(poll, port, &client);
        for (;;) {
            epoll_event events[64];
            const int ready = epoll_wait(poll, events, 64, -1);
            for (int i = 0; i < ready; ++i) {
                Client &client = *static_cast<Client *>(events[i].data.ptr);
                if (serve(frames, &client))
                    continue;
                close(client.socket);
                connect(poll, port, &client);
            }
        }
    }

    static void connect(int poll, quint16 port, Client *client)
    {
        client->socket = connectedSocket(port);
        client->sent = 0;
        ::send(client->socket, kWebSocketRequest, sizeof kWebSocketRequest - 1, MSG_NOSIGNAL);
        epoll_event event = {};
        event.events = EPOLLIN | EPOLLOUT;
        event.data.ptr = client;
        epoll_ctl(poll, EPOLL_CTL_ADD, client->socket, &event);
    }

    /// False when the connection has ended.
    static bool serve(const std::string &frames, Client *client)
    {
        static char buffer[64 * 1024];
        constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
        const ssize_t got = recv(client->socket, buffer, sizeof buffer, kFlags);
        if (got == 0 || (got < 0 && errno != EAGAIN))
            return false;
        const ssize_t gone = ::send(client->socket, frames.data() + client->sent, frames.size() - client->sent, kFlags);
        if (gone < 0 && errno != EAGAIN)
            return false;
        client->sent = (client->sent + static_cast<size_t>(gone > 0 ? gone : 0)) % frames.size();
        return true;
    }

    pid_t m_process = 0;
};
