#include "qanykeyset.h"

#include <QHashFunctions>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace {

/// The tree of shared key sets; edges are the keys.
struct SharedSets {
    std::mutex mutex;
    std::map<std::pair<const QAny::KeySet::Data *, QString>, QAny::KeySet::Data *> grown;
};

SharedSets &sharedSets()
{
    static auto *sets = new SharedSets; // outlives every value, also those of static storage
    return *sets;
}

} // namespace

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
    return qHash(key, static_cast<uint>(qGlobalQHashSeed()));
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

QAny::KeySet::Data *QAny::KeySet::Data::next(const QString &key)
{
    if (Data *expected = expectedNext(); expected && expected->m_keys.back() == key)
        return expected;
    if (count() >= kMaxSharedKeys || key.size() > kMaxSharedKeyLength)
        return nullptr;
    SharedSets &sets = sharedSets();
    const std::lock_guard<std::mutex> lock(sets.mutex);
    Data *&grown = sets.grown[{this, key}];
    if (!grown) {
        if (sets.grown.size() > static_cast<size_t>(kMaxSharedSets)) {
            sets.grown.erase({this, key});
            return nullptr;
        }
        grown = new Data(true);
        grown->m_keys.reserve(m_keys.size() + 1);
        grown->m_keys = m_keys;
        grown->m_keys.push_back(key);
        grown->rebuildIndex();
    }
    m_expected.store(grown, std::memory_order_release);
    return grown;
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
            if (Data *grown = m_data->next(key)) {
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
