#pragma once

#include <QHash>
#include <QMap>

#include <algorithm>

class QTcpSocket;

namespace server::web {

/// The connections without a login, which of them has been so longest, and what they hold of the server's memory.
/// Pointers are identities alone.
class Guests
{
public:
    /// What all of them together may hold.
    static constexpr qint64 kMaxBytes = 32 * 1024 * 1024;

    /// From here on it is without one. Does nothing to one that already is.
    void add(QTcpSocket *socket)
    {
        if (m_guests.contains(socket))
            return;
        m_guests.insert(socket, {m_next, 0});
        m_byAge.insert(m_next++, socket);
    }
    /// Has logged in, or is gone.
    void remove(QTcpSocket *socket)
    {
        const auto guest = m_guests.find(socket);
        if (guest == m_guests.end())
            return;
        m_byAge.remove(guest->since);
        m_bytes -= guest->bytes;
        m_guests.erase(guest);
    }
    /// Null when there is none.
    QTcpSocket *longest() const { return m_byAge.isEmpty() ? nullptr : m_byAge.first(); }

    /// What it holds now. Of no interest for one with a login.
    void setBytes(QTcpSocket *socket, qint64 bytes)
    {
        const auto guest = m_guests.find(socket);
        if (guest == m_guests.end())
            return;
        m_bytes += bytes - guest->bytes;
        guest->bytes = bytes;
    }
    /// The one that holds most when they hold too much; else null.
    QTcpSocket *tooLarge() const
    {
        if (m_bytes <= kMaxBytes)
            return nullptr;
        const auto largest = std::max_element(m_guests.cbegin(), m_guests.cend(),
                                              [](const Guest &a, const Guest &b) { return a.bytes < b.bytes; });
        return largest.key();
    }

private:
    struct Guest {
        quint64 since;
        qint64 bytes;
    };

    QHash<QTcpSocket *, Guest> m_guests;
    QMap<quint64, QTcpSocket *> m_byAge;
    quint64 m_next = 0;
    qint64 m_bytes = 0;
};

} // namespace server::web
