#pragma once

#include "qany.h"

#include <atomic>
#include <string>
#include <vector>

/// The keys of a hash, in order, with an index once they are many. Either shared (made by the process-wide tree of
/// key sets, never changed and never deleted) or owned by one hash, which may change it.
class QAny::KeySet::Data
{
public:
    /// A hash of more keys, or with a longer key, owns its set.
    static constexpr int kMaxSharedKeys = 96;
    static constexpr int kMaxSharedKeyLength = 64;
    /// Peers choose the keys of what they send, and shared sets are never freed.
    static constexpr int kMaxSharedSets = 8192;
    /// So many of them may come from such keys; the rest is kept for the sets that the program names itself.
    static constexpr int kMaxForeignSets = 6144;

    /// The shared set without keys, from which all others grow.
    static Data *empty();
    /// A set of the same keys that its caller owns.
    Data *privateCopy() const;

    bool isShared() const { return m_shared; }
    int count() const { return static_cast<int>(m_keys.size()); }
    const QString &at(int position) const { return m_keys[static_cast<size_t>(position)]; }
    int indexOf(const QString &key) const;

    const QString &lastKey() const { return m_keys.back(); }

    /// The shared set of these keys and this further one, which must be new; null beyond the bounds.
    Data *next(const QString &key, bool isOwn = false);
    /// The same for an ASCII key by its bytes; null also when there is no such set yet.
    Data *known(const char *utf8, int length);
    /// The set that grew last from this one, or null. Its last key is the likeliest next one.
    Data *expectedNext() const { return m_expected.load(std::memory_order_acquire); }

    /// For private sets only: adds a new key at the end; removes one by putting the last in its place.
    void append(const QString &key);
    void removeAt(int position);

private:
    static constexpr int kLinearKeys = 8;

    friend class SharedKeySets;

    explicit Data(bool shared) : m_shared(shared) {}
    static uint hashOf(const QString &key);
    void rebuildIndex();
    void enter(int position);

    std::vector<QString> m_keys;
    std::vector<qint32> m_index; // open addressing, -1 = free; empty while the keys are few
    std::atomic<Data *> m_expected{nullptr};
    const Data *m_parent = nullptr; // of a shared set: the one without the last key
    quint32 m_lastHash = 0;         // the hash of that key
    std::string m_lastAscii;        // and its bytes; empty when it is not all ASCII
    const bool m_shared;
};
