#include "server/web/loginbrake.h"

#include <algorithm>
#include <chrono>

namespace server::web {

LoginBrake::LoginBrake(Clock clock, int maxNames) : m_clock(std::move(clock)), m_maxNames(maxNames) {}

qint64 LoginBrake::steadyTime()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

/// No name is that long, and none that begins like it.
QString LoginBrake::keyOf(const QString &name)
{
    constexpr int kMaxName = 256;
    return name.left(kMaxName).toCaseFolded();
}

bool LoginBrake::isBraked(const Record &record) const
{
    // The ring is full: the next place holds the oldest.
    return record.count == kFailures && m_clock() - record.failures.at(size_t(record.next)) < kWindowMs;
}

bool LoginBrake::allows(const QString &name)
{
    const auto record = m_names.find(keyOf(name));
    if (record == m_names.end())
        return true;
    if (isBraked(*record) && m_clock() - record->lastTried < kPaceMs)
        return false;
    record->lastTried = m_clock();
    return true;
}

LoginBrake::Record &LoginBrake::recordOf(const QString &key)
{
    const auto known = m_names.find(key);
    if (known != m_names.end())
        return *known;
    if (m_names.size() >= m_maxNames) {
        m_names.remove(m_ranks.begin()->second);
        m_ranks.erase(m_ranks.begin());
    }
    Record record;
    record.since = m_next++;
    m_ranks.emplace(rankOf(record), key);
    return *m_names.insert(key, record);
}

void LoginBrake::failed(const QString &name)
{
    const QString key = keyOf(name);
    Record &record = recordOf(key);
    m_ranks.erase(rankOf(record));
    record.failures.at(size_t(record.next)) = record.lastTried = m_clock();
    record.next = (record.next + 1) % kFailures;
    record.count = std::min(record.count + 1, kFailures);
    m_ranks.emplace(rankOf(record), key);
}

} // namespace server::web
