#include "server/web/knowntags.h"

namespace server::web {

void KnownTags::add(const QString &tag, const QObject *client)
{
    auto known = m_tags.find(tag);
    if (known == m_tags.end()) {
        if (m_tags.size() >= m_maxTags)
            remove(QString((m_left.empty() ? m_used : m_left).begin()->second));
        known = m_tags.insert(tag, {m_next++, {}});
    }
    shelfOf(*known).erase(known->age);
    known->clients.insert(client);
    m_used.emplace(known->age, tag);
    m_tagsOf[client].insert(tag);
}

void KnownTags::remove(const QString &tag)
{
    const auto known = m_tags.find(tag);
    if (known == m_tags.end())
        return;
    for (const QObject *client : qAsConst(known->clients)) {
        const auto tags = m_tagsOf.find(client);
        tags->remove(tag);
        if (tags->isEmpty())
            m_tagsOf.erase(tags);
    }
    shelfOf(*known).erase(known->age);
    m_tags.erase(known);
}

void KnownTags::clientIsGone(const QObject *client)
{
    const QSet<QString> tags = m_tagsOf.take(client);
    for (const QString &tag : tags) {
        Tag &known = m_tags[tag];
        known.clients.remove(client);
        if (!known.clients.isEmpty())
            continue;
        m_used.erase(known.age);
        m_left.emplace(known.age, tag);
    }
}

} // namespace server::web
