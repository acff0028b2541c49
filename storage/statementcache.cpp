#include "storage/statementcache.h"

namespace storage {

StatementCache::Lease::~Lease()
{
    m_entry->query.finish();
    m_entry->lent = false;
}

StatementCache::Lease StatementCache::lease(const QString &sql)
{
    const auto known = m_entries.constFind(sql);
    if (known != m_entries.constEnd() && !known.value()->lent) {
        known.value()->lent = true;
        known.value()->lastUse = ++m_uses;
        return Lease(known.value(), true);
    }
    auto entry = std::make_shared<Entry>(m_connection);
    entry->query.setForwardOnly(true);
    entry->lent = true;
    entry->lastUse = ++m_uses;
    const bool prepared = entry->query.prepare(sql);
    // A "*" is expanded when the statement is compiled. If another process then adds a column, SQLite compiles it anew
    // with more columns than the driver has counted; so such a statement is compiled for each run.
    if (prepared && known == m_entries.constEnd() && !sql.contains(QLatin1Char('*'))) {
        makeRoom();
        m_entries.insert(sql, entry);
    }
    return Lease(std::move(entry), prepared);
}

void StatementCache::makeRoom()
{
    if (m_entries.size() < kCapacity)
        return;
    auto oldest = m_entries.begin();
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
        if (it.value()->lastUse < oldest.value()->lastUse)
            oldest = it;
    }
    m_entries.erase(oldest);
}

} // namespace storage
