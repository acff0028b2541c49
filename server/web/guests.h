#pragma once

#include <QHash>
#include <QMap>

class QTcpSocket;

namespace server::web {

/// The connections without a login, and which of them has been so longest. Pointers are identities alone.
class Guests
{
public:
    /// From here on it is without one. Does nothing to one that already is.
    void add(QTcpSocket *socket)
    {
        if (m_since.contains(socket))
            return;
        m_since.insert(socket, m_next);
        m_byAge.insert(m_next++, socket);
    }
    /// Has logged in, or is gone.
    void remove(QTcpSocket *socket)
    {
        const auto since = m_since.find(socket);
        if (since == m_since.end())
            return;
        m_byAge.remove(*since);
        m_since.erase(since);
    }
    /// Null when there is none.
    QTcpSocket *longest() const { return m_byAge.isEmpty() ? nullptr : m_byAge.first(); }

private:
    QHash<QTcpSocket *, quint64> m_since;
    QMap<quint64, QTcpSocket *> m_byAge;
    quint64 m_next = 0;
};

} // namespace server::web
