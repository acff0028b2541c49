#pragma once

#include <QHash>
#include <QHostAddress>

#include <memory>

namespace page::http {

/// How many connections each address has. Loopback has as many as it likes: a proxy's all come from there.
class Places
{
public:
    explicit Places(int maxOfAddress) : m_max(maxOfAddress), m_taken(std::make_shared<Taken>()) {}

    /// Holds a place of the address until it is let go; may outlive this object.
    using Place = std::shared_ptr<void>;
    /// Null when the address has no more.
    Place enter(const QHostAddress &address)
    {
        const QHostAddress key = keyOf(address);
        if (key.isLoopback())
            return std::make_shared<char>();
        if (m_taken->value(key) >= m_max)
            return {};
        ++(*m_taken)[key];
        return {this, [taken = m_taken, key](void *) {
                    if (--(*taken)[key] == 0)
                        taken->remove(key);
                }};
    }

private:
    using Taken = QHash<QHostAddress, int>;

    /// Who has an IPv6 address has its whole network of 64 bits.
    static QHostAddress keyOf(const QHostAddress &address)
    {
        bool isIpv4 = false;
        const quint32 ipv4 = address.toIPv4Address(&isIpv4);
        if (isIpv4)
            return QHostAddress(ipv4);
        if (address.isLoopback())
            return address;
        Q_IPV6ADDR network = address.toIPv6Address();
        for (int i = 8; i < 16; ++i)
            network[i] = 0;
        return QHostAddress(network);
    }

    int m_max;
    std::shared_ptr<Taken> m_taken;
};

} // namespace page::http
