#pragma once

#include <QHash>
#include <QSet>
#include <QString>

#include <map>

class QObject;

namespace server::web {

/// The tags with which clients have logged in. Of too many the oldest goes whose clients are all gone, and when there
/// is none such the oldest.
class KnownTags
{
public:
    /// In UTF-16 units.
    static constexpr int kMaxLength = 256;
    static constexpr int kMaxTags = 100000;

    explicit KnownTags(int maxTags = kMaxTags) : m_maxTags(maxTags) {}

    /// A client has logged in with it. The client is an identity.
    void add(const QString &tag, const QObject *client);
    /// For every client that uses it.
    void remove(const QString &tag);
    /// Its tags stay known.
    void clientIsGone(const QObject *client);
    bool contains(const QString &tag) const { return m_tags.contains(tag); }
    int count() const { return m_tags.size(); }

private:
    using ByAge = std::map<quint64, QString>;
    struct Tag {
        quint64 age;
        QSet<const QObject *> clients;
    };

    ByAge &shelfOf(const Tag &tag) { return tag.clients.isEmpty() ? m_left : m_used; }

    int m_maxTags;
    quint64 m_next = 0;
    QHash<QString, Tag> m_tags;
    QHash<const QObject *, QSet<QString>> m_tagsOf; // of clients that are there
    ByAge m_used;
    ByAge m_left; // nobody who logged in with them is there
};

} // namespace server::web
