#include "qanykeyset.h"

#include <QHashFunctions>
#include <QRandomGenerator>

#include <algorithm>
#include <cstring>
#include <mutex>

/// The tree of shared key sets: finds the set that grew from a given one by a given key. Finding takes no lock.
class SharedKeySets
{
public:
    using Data = QAny::KeySet::Data;

    static SharedKeySets &instance()
    {
        static auto *sets = new SharedKeySets; // outlives every value, also those of static storage
        return *sets;
    }

    /// Unit is a byte of ASCII text or a UTF-16 unit; both give the same number for the same text.
    template <typename Unit> quint32 hashOf(const Unit *text, int length) const
    {
        quint64 hash = m_seed;
        for (int i = 0; i < length; ++i)
            hash = (hash ^ text[i]) * kMixer;
        return static_cast<quint32>(hash >> 32);
    }
    quint32 hashOf(const QString &key) const
    {
        return hashOf(reinterpret_cast<const ushort *>(key.constData()), key.size());
    }

    template <typename Equals> Data *find(const Data *parent, quint32 hash, Equals equals) const
    {
        for (size_t slot = slotOf(parent, hash);; slot = (slot + 1) % kSlots) {
            Data *found = m_slots[slot].load(std::memory_order_acquire);
            if (!found || (found->m_parent == parent && found->m_lastHash == hash && equals(*found)))
                return found;
        }
    }

    /// Null when there are as many sets as there may be; the last ones are only for the program's own kinds of hashes.
    Data *findOrAdd(const Data *parent, const QString &key, bool isOwn)
    {
        const int most = isOwn ? Data::kMaxSharedSets : Data::kMaxForeignSets;
        const quint32 hash = hashOf(key);
        const auto equals = [&key](const Data &other) { return other.lastKey() == key; };
        if (Data *found = find(parent, hash, equals))
            return found;
        if (m_count.load(std::memory_order_relaxed) >= most)
            return nullptr;
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (Data *found = find(parent, hash, equals))
            return found; // added by another thread meanwhile
        if (m_count.load(std::memory_order_relaxed) >= most)
            return nullptr;
        m_count.fetch_add(1, std::memory_order_relaxed);
        auto *added = new Data(true);
        added->m_keys.reserve(parent->m_keys.size() + 1);
        added->m_keys = parent->m_keys;
        added->m_keys.push_back(key);
        added->rebuildIndex();
        added->m_parent = parent;
        added->m_lastHash = hash;
        if (std::all_of(key.begin(), key.end(), [](QChar c) { return c.unicode() < 0x80; }))
            added->m_lastAscii = key.toStdString();
        size_t slot = slotOf(parent, hash);
        while (m_slots[slot].load(std::memory_order_relaxed))
            slot = (slot + 1) % kSlots;
        m_slots[slot].store(added, std::memory_order_release);
        return added;
    }

private:
    static constexpr size_t kSlots = 2 * Data::kMaxSharedSets; // always some free ones, where a search ends
    static constexpr quint64 kMixer = 0x9e3779b97f4a7c15u;

    static size_t slotOf(const Data *parent, quint32 hash)
    {
        const quint64 mixed = (static_cast<quint64>(reinterpret_cast<quintptr>(parent)) ^ hash) * kMixer;
        return static_cast<size_t>(mixed >> 32) % kSlots;
    }

    std::mutex m_mutex;
    std::atomic<int> m_count{0};
    const quint64 m_seed = QRandomGenerator::global()->generate64(); // peers shall not be able to foresee collisions
    std::atomic<Data *> m_slots[kSlots] = {};
};

QAny::KeySet::Data *QAny::KeySet::Data::empty()
{
    static auto *root = new Data(true);
    return root;
}

QAny::KeySet::Data *QAny::KeySet::Data::privateCopy() const
{
    auto *copy = new Data(false);
    copy->m_keys = m_keys;
    copy->m_index = m_index;
    return copy;
}

uint QAny::KeySet::Data::hashOf(const QString &key)
{
    // Not qHash: of that one, equal under every seed, colliding keys can be worked out beforehand.
    return SharedKeySets::instance().hashOf(key);
}

int QAny::KeySet::Data::indexOf(const QString &key) const
{
    if (m_index.empty()) {
        for (size_t i = 0; i < m_keys.size(); ++i) {
            if (m_keys[i] == key)
                return static_cast<int>(i);
        }
        return -1;
    }
    const size_t mask = m_index.size() - 1;
    for (size_t slot = hashOf(key) & mask;; slot = (slot + 1) & mask) {
        const qint32 position = m_index[slot];
        if (position < 0)
            return -1;
        if (m_keys[static_cast<size_t>(position)] == key)
            return position;
    }
}

QAny::KeySet::Data *QAny::KeySet::Data::next(const QString &key, bool isOwn)
{
    if (Data *expected = expectedNext(); expected && expected->lastKey() == key)
        return expected;
    if (count() >= kMaxSharedKeys || key.size() > kMaxSharedKeyLength)
        return nullptr;
    Data *grown = SharedKeySets::instance().findOrAdd(this, key, isOwn);
    if (grown)
        m_expected.store(grown, std::memory_order_release);
    return grown;
}

QAny::KeySet::Data *QAny::KeySet::Data::known(const char *utf8, int length)
{
    if (!m_shared || length <= 0 || length > kMaxSharedKeyLength)
        return nullptr;
    const auto equals = [utf8, length](const Data &other) {
        return other.m_lastAscii.size() == static_cast<size_t>(length) &&
               memcmp(other.m_lastAscii.data(), utf8, static_cast<size_t>(length)) == 0;
    };
    if (Data *expected = expectedNext(); expected && equals(*expected))
        return expected;
    const SharedKeySets &sets = SharedKeySets::instance();
    Data *found = sets.find(this, sets.hashOf(reinterpret_cast<const uchar *>(utf8), length), equals);
    if (found)
        m_expected.store(found, std::memory_order_release);
    return found;
}

void QAny::KeySet::Data::append(const QString &key)
{
    Q_ASSERT(!m_shared);
    m_keys.push_back(key);
    if (m_keys.size() > static_cast<size_t>(kLinearKeys) && m_keys.size() * 2 <= m_index.size())
        enter(count() - 1);
    else
        rebuildIndex();
}

void QAny::KeySet::Data::removeAt(int position)
{
    Q_ASSERT(!m_shared);
    const size_t at = static_cast<size_t>(position);
    const size_t last = m_keys.size() - 1;
    if (m_index.empty()) {
        m_keys[at] = m_keys[last];
        m_keys.pop_back();
        return;
    }
    const size_t mask = m_index.size() - 1;
    const auto slotOf = [&](size_t wanted) {
        size_t slot = hashOf(m_keys[wanted]) & mask;
        while (m_index[slot] != static_cast<qint32>(wanted))
            slot = (slot + 1) & mask;
        return slot;
    };
    size_t hole = slotOf(at);
    if (at != last)
        m_index[slotOf(last)] = static_cast<qint32>(at);
    m_keys[at] = m_keys[last];
    m_keys.pop_back();
    // Close the gap, so that every probe sequence stays unbroken.
    m_index[hole] = -1;
    for (size_t slot = (hole + 1) & mask; m_index[slot] >= 0; slot = (slot + 1) & mask) {
        const size_t home = hashOf(m_keys[static_cast<size_t>(m_index[slot])]) & mask;
        if (((slot - home) & mask) >= ((slot - hole) & mask)) {
            m_index[hole] = m_index[slot];
            m_index[slot] = -1;
            hole = slot;
        }
    }
}

void QAny::KeySet::Data::rebuildIndex()
{
    m_index.clear();
    if (m_keys.size() <= static_cast<size_t>(kLinearKeys))
        return;
    size_t size = 32;
    while (size < m_keys.size() * 4)
        size *= 2;
    m_index.assign(size, -1);
    for (int i = 0; i < count(); ++i)
        enter(i);
}

void QAny::KeySet::Data::enter(int position)
{
    const size_t mask = m_index.size() - 1;
    size_t slot = hashOf(at(position)) & mask;
    while (m_index[slot] >= 0)
        slot = (slot + 1) & mask;
    m_index[slot] = position;
}

QAny::KeySet::KeySet(std::initializer_list<QString> keys) : KeySet(QStringList(keys)) {}

QAny::KeySet::KeySet(const QStringList &keys) : m_data(Data::empty())
{
    for (const QString &key : keys) {
        if (m_data->isShared()) {
            if (Data *grown = m_data->next(key, true)) {
                m_data = grown;
                continue;
            }
            m_data = m_data->privateCopy();
        }
        m_data->append(key);
    }
}

QAny::KeySet::~KeySet()
{
    if (!m_data->isShared())
        delete m_data;
}

int QAny::KeySet::count() const
{
    return m_data->count();
}

int QAny::KeySet::indexOf(const QString &key) const
{
    return m_data->indexOf(key);
}

const QString &QAny::KeySet::at(int position) const
{
    return m_data->at(position);
}
