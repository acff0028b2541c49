#pragma once

#include "wireclient.h"

#include <cstdint>
#include <string>

constexpr char kWebSocketRequest[] = "GET / HTTP/1.1\r\nHost: bench\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                                     "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\nSec-WebSocket-Version: 13\r\n\r\n";

/// A web client on a bare socket. Ends the process when the server does not keep to the protocol.
class WireWebClient
{
public:
    explicit WireWebClient(quint16 port, const std::string &handshake = kWebSocketRequest)
        : m_socket(connectedSocket(port))
    {
        sendAll(handshake);
        while (m_input.find("\r\n\r\n") == std::string::npos)
            receive();
        m_input.erase(0, m_input.find("\r\n\r\n") + 4);
    }
    ~WireWebClient() { close(m_socket); }

    /// One request, one answer.
    std::string ask(const std::string &request)
    {
        send(request);
        return next();
    }
    void send(const std::string &text) { sendAll(frame(text)); }
    /// The next text, when it is there.
    std::string next()
    {
        for (;;) {
            const size_t head = need(2) ? headLength() : 0;
            need(head);
            const size_t length = payloadLength();
            need(head + length);
            const bool isText = (m_input[0] & 0xf) == 1;
            std::string payload = m_input.substr(head, length);
            m_input.erase(0, head + length);
            if (isText)
                return payload;
        }
    }

private:
    Q_DISABLE_COPY(WireWebClient)

    /// A text, masked with zeros.
    static std::string frame(const std::string &text)
    {
        std::string bytes{'\x81'};
        if (text.size() < 126) {
            bytes += static_cast<char>(0x80 | text.size());
        } else {
            bytes += '\xfe';
            bytes += static_cast<char>(text.size() >> 8);
            bytes += static_cast<char>(text.size() & 0xff);
        }
        return bytes + std::string(4, '\0') + text;
    }

    unsigned char at(size_t i) const { return static_cast<unsigned char>(m_input[i]); }
    size_t headLength() const { return at(1) == 127 ? 10 : at(1) == 126 ? 4 : 2; }
    size_t payloadLength() const
    {
        if (headLength() == 2)
            return at(1);
        uint64_t length = 0;
        for (size_t i = 2; i < headLength(); ++i)
            length = length << 8 | at(i);
        return static_cast<size_t>(length);
    }

    bool need(size_t length)
    {
        while (m_input.size() < length)
            receive();
        return true;
    }
    void receive()
    {
        const ssize_t got = recv(m_socket, m_buffer, sizeof m_buffer, 0);
        if (got <= 0)
            giveUpMeasuring("the web server closed a connection");
        m_input.append(m_buffer, static_cast<size_t>(got));
    }
    void sendAll(const std::string &bytes)
    {
        if (::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
            giveUpMeasuring("the web server refuses");
    }

    int m_socket;
    std::string m_input;
    char m_buffer[64 * 1024];
};
