#pragma once

#include <QtGlobal>

#include <map>

namespace server::logger {

/// What is known of the events since the server's start, for who watches it. Main thread only.
class EventFigures
{
public:
    /// Of a terminal's events, in Unix seconds.
    struct Terminal {
        qint64 newest = 0; ///< the newest one's own time
        qint64 delay = 0;  ///< from the time of the last live one to its arrival: a clock that is off, or a slow way
    };
    /// Whoever reaches the port can log in under any number.
    static constexpr size_t kMaxTerminals = 10000;

    /// A live event was answered true at a time.
    void noteAcknowledged(int terminal, qint64 time, qint64 now)
    {
        ++m_acknowledged;
        if (time <= 0)
            return;
        noteStored(terminal, time);
        if (const auto known = m_terminals.find(terminal); known != m_terminals.end())
            known->second.delay = now - time;
    }
    /// The file has an event of that time.
    void noteStored(int terminal, qint64 time)
    {
        const auto known = m_terminals.find(terminal);
        if (known != m_terminals.end())
            known->second.newest = qMax(known->second.newest, time);
        else if (time > 0 && m_terminals.size() < kMaxTerminals)
            m_terminals[terminal].newest = time;
    }

    quint64 acknowledged() const { return m_acknowledged; }
    const std::map<int, Terminal> &terminals() const { return m_terminals; }

private:
    quint64 m_acknowledged = 0;
    std::map<int, Terminal> m_terminals;
};

} // namespace server::logger
