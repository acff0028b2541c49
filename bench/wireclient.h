#pragma once

#include <QtGlobal>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <string_view>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

/// Finds the ends of JSON messages that follow one another without separators. Reads nothing else of them.
class MessageCutter
{
public:
    /// Bytes up to the end of the message in progress; 0 when it does not end among these.
    size_t cut(const char *bytes, size_t length)
    {
        for (size_t i = 0; i < length; ++i) {
            const char c = bytes[i];
            if (m_inText) {
                m_inText = m_escaped || c != '"';
                m_escaped = !m_escaped && c == '\\';
            } else if (c == '"') {
                m_inText = true;
            } else if (c == '{') {
                ++m_depth;
            } else if (c == '}' && --m_depth == 0) {
                return i + 1;
            }
        }
        return 0;
    }

private:
    int m_depth = 0;
    bool m_inText = false;
    bool m_escaped = false;
};

[[noreturn]] inline void giveUpMeasuring(const char *why)
{
    std::fprintf(stderr, "%s\n", why);
    std::exit(2);
}

/// Connected to a server on this machine; ends the process when there is none.
inline int connectedSocket(quint16 port)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        giveUpMeasuring("no connection");
    const int yes = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    return descriptor;
}

/// Many connections to one server, on bare sockets: what they send is ready before, and what they get is cut but not
/// read, so that the server is what a measurement waits for. A server that falls silent ends the process.
class WireClients
{
public:
    /// Gets each message; true ends serve() when what has arrived together is handled.
    using Handler = std::function<bool(int client, std::string_view message)>;

    static constexpr int kSilenceMs = 30000;

    WireClients(quint16 port, int count) : m_poll(epoll_create1(0)), m_clients(static_cast<size_t>(count))
    {
        for (int i = 0; i < count; ++i)
            open(port, i);
    }
    ~WireClients()
    {
        for (const Client &client : m_clients)
            close(client.socket);
        close(m_poll);
    }

    int count() const { return static_cast<int>(m_clients.size()); }

    void send(int index, std::string_view bytes)
    {
        Client &client = at(index);
        if (client.output.empty())
            bytes.remove_prefix(write(client, bytes));
        client.output += bytes;
        watchOutput(index);
    }

    void serve(const Handler &handler)
    {
        for (bool done = false; !done;) {
            epoll_event events[256];
            const int ready = epoll_wait(m_poll, events, 256, kSilenceMs);
            if (ready == 0)
                giveUpMeasuring("the server fell silent");
            for (int i = 0; i < ready; ++i) {
                const int index = static_cast<int>(events[i].data.u32);
                if (events[i].events & EPOLLOUT)
                    flush(index);
                if (events[i].events & ~EPOLLOUT)
                    done = receive(index, handler) || done;
            }
        }
    }

private:
    Q_DISABLE_COPY(WireClients)

    struct Client {
        int socket = -1;
        MessageCutter cutter;
        std::string input; // of a message that is not complete
        std::string output;
        size_t outputWritten = 0;
        bool watchesOutput = false;
    };

    Client &at(int index) { return m_clients[static_cast<size_t>(index)]; }

    void open(quint16 port, int index)
    {
        at(index).socket = connectedSocket(port);
        watch(index, EPOLL_CTL_ADD);
    }

    void watch(int index, int operation)
    {
        epoll_event event = {};
        event.events = at(index).watchesOutput ? EPOLLIN | EPOLLOUT : EPOLLIN;
        event.data.u32 = static_cast<quint32>(index);
        epoll_ctl(m_poll, operation, at(index).socket, &event);
    }

    static size_t write(const Client &client, std::string_view bytes)
    {
        const ssize_t written = ::send(client.socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (written < 0 && errno != EAGAIN)
            giveUpMeasuring("the server refuses");
        return written > 0 ? static_cast<size_t>(written) : 0;
    }

    void flush(int index)
    {
        Client &client = at(index);
        client.outputWritten += write(client, std::string_view(client.output).substr(client.outputWritten));
        if (client.outputWritten == client.output.size()) {
            client.output.clear();
            client.outputWritten = 0;
        }
        watchOutput(index);
    }

    void watchOutput(int index)
    {
        Client &client = at(index);
        if (client.watchesOutput != client.output.empty())
            return;
        client.watchesOutput = !client.watchesOutput;
        watch(index, EPOLL_CTL_MOD);
    }

    bool receive(int index, const Handler &handler)
    {
        Client &client = at(index);
        const ssize_t got = recv(client.socket, m_buffer, sizeof m_buffer, MSG_DONTWAIT);
        if (got == 0 || (got < 0 && errno != EAGAIN))
            giveUpMeasuring("the server closed a connection");
        bool done = false;
        const char *bytes = m_buffer;
        const char *const end = m_buffer + (got > 0 ? got : 0);
        while (const size_t length = client.cutter.cut(bytes, static_cast<size_t>(end - bytes))) {
            if (client.input.empty()) {
                done = handler(index, {bytes, length}) || done;
            } else {
                const std::string message = std::exchange(client.input, {}).append(bytes, length);
                done = handler(index, message) || done;
            }
            bytes += length;
        }
        client.input.append(bytes, end);
        return done;
    }

    int m_poll;
    std::vector<Client> m_clients;
    char m_buffer[256 * 1024];
};

/// A call as a terminal writes it; the params are JSON text.
inline std::string wireCall(qint64 id, const std::string &method, const std::string &params)
{
    return R"({"knetrpc":"1.0","id":")" + std::to_string(id) + R"(","method":")" + method + R"(","params":)" + params +
           '}';
}
