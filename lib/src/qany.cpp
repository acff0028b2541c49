#include "qany.h"

#include "qanykeyset.h"

#include <QAtomicInt>
#include <QDebug>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

/// What List and Hash have in common: the reference count and the values, which lie in blocks, so that growing adds a
/// block and moves nothing: references stay valid. The first block holds m_firstCapacity values and lies behind the
/// record itself where their number was known; each further one holds as many as all before it.
class QAny::Record
{
public:
    Record(const Record &) = delete;
    Record &operator=(const Record &) = delete;

    /// Makes a record whose first block lies behind it; destroy() ends it.
    template <typename R> static R *create(int capacity)
    {
        const size_t size = sizeof(R) + sizeof(QAny) * static_cast<size_t>(capacity);
        auto *record = new (::operator new(size)) R;
        record->m_isFirstBehind = capacity > 0;
        record->m_first = capacity > 0 ? reinterpret_cast<QAny *>(record + 1) : nullptr;
        record->m_firstCapacity = record->m_capacity = capacity;
        return record;
    }
    template <typename R> static void destroy(R *record)
    {
        record->clear();
        record->~R();
        ::operator delete(record);
    }

    int count() const { return m_count; }
    QAny &at(int i) { return i < m_firstCapacity ? m_first[i] : further(i); }
    const QAny &at(int i) const { return const_cast<Record *>(this)->at(i); }

    /// Only an empty record can still choose the size of its first block.
    void reserve(int count)
    {
        if (!m_first && count > 0)
            allocateFirst(count);
    }

    template <typename... Args> QAny &emplace(Args &&...args)
    {
        if (m_count == m_capacity)
            addBlock();
        auto *place = new (static_cast<void *>(&at(m_count))) QAny(std::forward<Args>(args)...);
        ++m_count;
        return *place;
    }

    void removeLast()
    {
        --m_count;
        at(m_count).~QAny();
    }

    QAtomicInt references{1};

protected:
    Record() = default;
    ~Record() = default;

private:
    static constexpr int kMinCapacity = 4;

    static QAny *allocate(int capacity)
    {
        return static_cast<QAny *>(::operator new(sizeof(QAny) * static_cast<size_t>(capacity)));
    }

    void allocateFirst(int capacity)
    {
        m_first = allocate(capacity);
        m_firstCapacity = m_capacity = capacity;
    }

    /// Number of the further block that begins at or before this position, counted from 0.
    int blockOf(int i) const { return 31 - static_cast<int>(qCountLeadingZeroBits(quint32(i / m_firstCapacity))); }

    QAny &further(int i)
    {
        const int block = blockOf(i);
        return m_further[static_cast<size_t>(block)][i - (m_firstCapacity << block)];
    }

    void addBlock()
    {
        if (!m_first) {
            allocateFirst(kMinCapacity);
            return;
        }
        // The table of blocks doubles its size; the blocks stay where they are.
        const int block = blockOf(m_capacity);
        if ((block & (block - 1)) == 0) {
            auto table = std::make_unique<QAny *[]>(static_cast<size_t>(qMax(1, block * 2)));
            std::copy_n(m_further.get(), block, table.get());
            m_further = std::move(table);
        }
        m_further[static_cast<size_t>(block)] = allocate(m_capacity);
        m_capacity *= 2;
    }

    void clear()
    {
        for (int i = 0, end = qMin(m_count, m_firstCapacity); i < end; ++i)
            m_first[i].~QAny();
        if (!m_isFirstBehind)
            ::operator delete(m_first);
        for (int start = m_firstCapacity, block = 0; start < m_capacity; start *= 2, ++block) {
            QAny *values = m_further[static_cast<size_t>(block)];
            for (int i = 0, end = qMin(m_count - start, start); i < end; ++i)
                values[i].~QAny();
            ::operator delete(values);
        }
    }

    int m_count = 0;
    int m_capacity = 0;
    int m_firstCapacity = 0;
    bool m_isFirstBehind = false;
    QAny *m_first = nullptr;
    std::unique_ptr<QAny *[]> m_further;
};

struct QAny::ListRecord : Record {
};

struct QAny::HashRecord : Record {
    ~HashRecord()
    {
        if (!keys->isShared())
            delete keys;
    }

    /// Appends a key that is not present yet.
    QAny &add(const QString &key, QAny &&value)
    {
        if (KeySet::Data *grown = keys->isShared() ? keys->next(key) : nullptr) {
            keys = grown;
        } else {
            ownKeys();
            keys->append(key);
        }
        return emplace(std::move(value));
    }

    void ownKeys()
    {
        if (keys->isShared())
            keys = keys->privateCopy();
    }

    KeySet::Data *keys = KeySet::Data::empty();
};

QAny::QAny(Type type) : m_type(type)
{
    m_data.integer = 0;
    switch (type) {
    case Invalid:
    case Null:
    case Bool:
    case Integer:
        break;
    case Double:
        m_data.real = 0.0;
        break;
    case String:
        new (&m_data.text) QString;
        break;
    case List:
        m_data.list = Record::create<ListRecord>(0);
        break;
    case Hash:
        m_data.hash = Record::create<HashRecord>(0);
        break;
    }
}

QAny::QAny(const QStringList &texts) : QAny(sized(List, texts.size()))
{
    for (const QString &text : texts)
        m_data.list->emplace(text);
}

QAny::QAny(std::initializer_list<std::pair<QString, QAny>> entries)
    : QAny(sized(Hash, static_cast<int>(entries.size())))
{
    for (const auto &[key, value] : entries)
        insert(key, value);
}

QAny QAny::list(std::initializer_list<QAny> elements)
{
    QAny result = sized(List, static_cast<int>(elements.size()));
    for (const QAny &element : elements)
        result.append(element);
    return result;
}

QAny QAny::sized(Type type, int capacity)
{
    QAny result;
    if (type == List)
        result.m_data.list = Record::create<ListRecord>(capacity);
    else if (type == Hash)
        result.m_data.hash = Record::create<HashRecord>(capacity);
    else
        return QAny(type);
    result.m_type = type;
    return result;
}

QAny QAny::record(const KeySet &keys)
{
    const int count = keys.count();
    QAny result = sized(Hash, count);
    HashRecord &hash = *result.m_data.hash;
    hash.keys = keys.m_data->isShared() ? keys.m_data : keys.m_data->privateCopy();
    for (int i = 0; i < count; ++i)
        hash.emplace();
    return result;
}

QAny &QAny::replaceBy(QAny &&taken) noexcept
{
    swap(taken);
    return *this;
}

void QAny::swap(QAny &other) noexcept
{
    std::swap(m_type, other.m_type);
    Payload held;
    constexpr size_t size = sizeof(Payload);
    memcpy(static_cast<void *>(&held), static_cast<const void *>(&m_data), size);
    memcpy(static_cast<void *>(&m_data), static_cast<const void *>(&other.m_data), size);
    memcpy(static_cast<void *>(&other.m_data), static_cast<const void *>(&held), size);
}

void QAny::sharePayload(const QAny &other) noexcept
{
    switch (m_type) {
    case String:
        new (&m_data.text) QString(other.m_data.text);
        break;
    case List:
        m_data.list = other.m_data.list;
        m_data.list->references.ref();
        break;
    case Hash:
        m_data.hash = other.m_data.hash;
        m_data.hash->references.ref();
        break;
    default:
        m_data.integer = other.m_data.integer;
        break;
    }
}

void QAny::releasePayload() noexcept
{
    switch (m_type) {
    case String:
        m_data.text.~QString();
        break;
    case List:
        // The only handle left needs no atomic step to know it.
        if (m_data.list->references.loadAcquire() == 1 || !m_data.list->references.deref())
            Record::destroy(m_data.list);
        break;
    case Hash:
        if (m_data.hash->references.loadAcquire() == 1 || !m_data.hash->references.deref())
            Record::destroy(m_data.hash);
        break;
    default:
        break;
    }
}

const char *QAny::typeName(int type)
{
    static constexpr const char *names[] = {"Invalid", "Null", "Bool", "Integer", "Double", "String", "List", "Hash"};
    return type >= Invalid && type <= Hash ? names[type] : "Unknown";
}

namespace {

inline void report(bool *ok, bool applies)
{
    if (ok)
        *ok = applies;
}

/// Truncated toward zero; a value beyond 64 bits gives the nearest limit, not a number gives 0.
qint64 truncated(double value)
{
    if (std::isnan(value))
        return 0;
    constexpr double limit = 9223372036854775808.0;
    if (value >= limit)
        return std::numeric_limits<qint64>::max();
    if (value < -limit)
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(value);
}

} // namespace

bool QAny::toBool(bool *ok) const
{
    report(ok, true);
    switch (m_type) {
    case Bool:
    case Integer:
        return m_data.integer != 0;
    case Double:
        return m_data.real != 0.0;
    case String:
        if (asString().compare(QLatin1String("true"), Qt::CaseInsensitive) == 0)
            return true;
        report(ok, asString().compare(QLatin1String("false"), Qt::CaseInsensitive) == 0);
        return false;
    default:
        report(ok, false);
        return false;
    }
}

qint64 QAny::toInteger(bool *ok) const
{
    report(ok, true);
    switch (m_type) {
    case Bool:
    case Integer:
        return m_data.integer;
    case Double:
        return truncated(m_data.real);
    case String:
        return asString().toLongLong(ok, 10);
    default:
        report(ok, false);
        return 0;
    }
}

double QAny::toDouble(bool *ok) const
{
    report(ok, true);
    switch (m_type) {
    case Bool:
    case Integer:
        return static_cast<double>(m_data.integer);
    case Double:
        return m_data.real;
    case String:
        return asString().toDouble(ok);
    default:
        report(ok, false);
        return 0.0;
    }
}

QString QAny::toString(bool *ok) const
{
    report(ok, true);
    switch (m_type) {
    case Bool:
        return m_data.integer ? QStringLiteral("true") : QStringLiteral("false");
    case Integer:
        return QString::number(m_data.integer);
    case Double:
        return QString::number(m_data.real, 'g', 14);
    case String:
        return asString();
    default:
        report(ok, false);
        return {};
    }
}

int QAny::count() const
{
    switch (m_type) {
    case String:
        return m_data.text.size();
    case List:
        return m_data.list->count();
    case Hash:
        return m_data.hash->count();
    default:
        return 0;
    }
}

QList<QAny> QAny::toList() const
{
    QList<QAny> result;
    if (m_type != List)
        return result;
    const Record &values = *m_data.list;
    result.reserve(values.count());
    for (int i = 0; i < values.count(); ++i)
        result.append(values.at(i));
    return result;
}

QHash<QString, QAny> QAny::toHash() const
{
    QHash<QString, QAny> result;
    if (m_type != Hash)
        return result;
    const HashRecord &hash = *m_data.hash;
    result.reserve(hash.count());
    for (int i = 0; i < hash.count(); ++i)
        result.insert(hash.keys->at(i), hash.at(i));
    return result;
}

QStringList QAny::keys() const
{
    QStringList result;
    if (m_type != Hash)
        return result;
    const KeySet::Data &keys = *m_data.hash->keys;
    result.reserve(keys.count());
    for (int i = 0; i < keys.count(); ++i)
        result.append(keys.at(i));
    return result;
}

void QAny::reserve(int count)
{
    if (m_type == List)
        m_data.list->reserve(count);
    else if (m_type == Hash)
        m_data.hash->reserve(count);
}

bool QAny::append(const QAny &value)
{
    if (m_type != List)
        return false;
    m_data.list->emplace(value);
    return true;
}

bool QAny::append(QAny &&value)
{
    if (m_type != List)
        return false;
    m_data.list->emplace(std::move(value));
    return true;
}

bool QAny::insert(const QString &key, QAny &&value)
{
    if (m_type != Hash)
        return false;
    HashRecord &hash = *m_data.hash;
    KeySet::Data *expected = hash.keys->expectedNext();
    if (expected && &expected->lastKey() == &key) {
        hash.keys = expected;
        hash.emplace(std::move(value));
        return true;
    }
    const int position = expected && expected->lastKey() == key ? -1 : hash.keys->indexOf(key);
    if (position >= 0)
        hash.at(position) = std::move(value);
    else
        hash.add(key, std::move(value));
    return true;
}

bool QAny::insert(int index, QAny value)
{
    if (m_type != List || index < 0 || index > count())
        return false;
    Record &values = *m_data.list;
    values.emplace(std::move(value));
    for (int i = values.count() - 1; i > index; --i)
        values.at(i).swap(values.at(i - 1));
    return true;
}

bool QAny::parseIndex(const QString &key, int *index)
{
    bool ok = false;
    *index = key.toInt(&ok, 10);
    return ok;
}

bool QAny::contains(const QString &key) const
{
    if (m_type == Hash)
        return m_data.hash->keys->indexOf(key) >= 0;
    int index = 0;
    return m_type == List && parseIndex(key, &index) && contains(index);
}

bool QAny::contains(int index) const
{
    if (m_type == List)
        return count() < index; // deliberately inverted: peers rely on arrays passing as "has no such key"
    return m_type == Hash && contains(QString::number(index));
}

bool QAny::remove(const QString &key)
{
    if (m_type == List) {
        int index = 0;
        return parseIndex(key, &index) && remove(index);
    }
    if (m_type != Hash)
        return false;
    HashRecord &hash = *m_data.hash;
    const int position = hash.keys->indexOf(key);
    if (position < 0)
        return false;
    hash.ownKeys();
    hash.keys->removeAt(position);
    hash.at(position).swap(hash.at(hash.count() - 1));
    hash.removeLast();
    return true;
}

bool QAny::remove(int index)
{
    if (m_type == Hash)
        return remove(QString::number(index));
    if (m_type != List || index < 0 || index >= count())
        return false;
    Record &values = *m_data.list;
    for (int i = index; i + 1 < values.count(); ++i)
        values.at(i).swap(values.at(i + 1));
    values.removeLast();
    return true;
}

QAny QAny::value(int index) const
{
    switch (m_type) {
    case List:
        return index >= 0 && index < count() ? at(index) : sharedNull();
    case Hash:
        return lookup(QString::number(index));
    case String:
        return index >= 0 && index < count() ? QAny(QString(asString().at(index))) : sharedNull();
    default:
        return sharedNull();
    }
}

const QAny &QAny::lookup(const QString &key) const
{
    if (m_type == Hash) {
        const int position = m_data.hash->keys->indexOf(key);
        return position >= 0 ? m_data.hash->at(position) : sharedNull();
    }
    int index = 0;
    if (m_type == List && parseIndex(key, &index) && index >= 0 && index < count())
        return at(index);
    return sharedNull();
}

QAny QAny::value(const QString &key, const QAny &defaultValue) const
{
    const QAny &found = lookup(key);
    return &found == &sharedNull() ? defaultValue : found;
}

void QAny::becomeList()
{
    *this = QAny(List);
}

void QAny::becomeHash()
{
    *this = QAny(Hash);
}

QAny *QAny::growTo(int index)
{
    Record &values = *m_data.list;
    while (values.count() <= index)
        values.emplace();
    return &values.at(index);
}

QAny &QAny::operator[](int index)
{
    if (index >= 0) {
        if (m_type == Invalid || m_type == Null)
            becomeList();
        if (m_type == List)
            return *growTo(index);
        if (m_type == Hash)
            return (*this)[QString::number(index)];
    }
    qWarning() << "QAny::operator[] invalid index=" << index << "or type=" << typeName();
    return *this;
}

const QAny &QAny::operator[](int index) const
{
    if (index >= 0) {
        if (m_type == List)
            return index < count() ? at(index) : sharedNull();
        if (m_type == Hash)
            return lookup(QString::number(index));
    }
    qWarning() << "QAny::operator[] invalid index=" << index << "or type=" << typeName();
    return sharedNull();
}

QAny &QAny::operator[](const QString &key)
{
    if (m_type == Invalid || m_type == Null)
        becomeHash();
    if (m_type == Hash) {
        HashRecord &hash = *m_data.hash;
        const int position = hash.keys->indexOf(key);
        return position >= 0 ? hash.at(position) : hash.add(key, {});
    }
    int index = 0;
    if (m_type == List && parseIndex(key, &index) && index >= 0)
        return *growTo(index);
    qWarning() << "QAny::operator[] invalid type=" << typeName();
    return *this;
}

const QAny &QAny::operator[](const QString &key) const
{
    if (m_type != Hash && m_type != List) {
        qWarning() << "QAny::operator[] invalid key=" << key << "or type=" << typeName();
        return sharedNull();
    }
    return lookup(key);
}

const QAny &QAny::at(int position) const
{
    Q_ASSERT(m_type == List || m_type == Hash);
    Q_ASSERT(position >= 0 && position < count());
    return m_type == List ? m_data.list->at(position) : m_data.hash->at(position);
}

QAny &QAny::slot(int position)
{
    return const_cast<QAny &>(at(position));
}

const QString &QAny::keyAt(int position) const
{
    Q_ASSERT(m_type == Hash);
    return m_data.hash->keys->at(position);
}

bool QAny::sharesRecordWith(const QAny &other) const
{
    return m_type == other.m_type && ((m_type == List && m_data.list == other.m_data.list) ||
                                      (m_type == Hash && m_data.hash == other.m_data.hash));
}

void QAny::copyRecord(const ListRecord *l1, ListRecord *l2)
{
    Q_ASSERT(l1 && l2);
    for (int i = 0; i < l1->count(); ++i)
        l2->emplace(l1->at(i).deepCopy());
}

void QAny::copyRecord(const HashRecord *h1, HashRecord *h2)
{
    Q_ASSERT(h1 && h2);
    h2->keys = h1->keys->isShared() ? h1->keys : h1->keys->privateCopy();
    for (int i = 0; i < h1->count(); ++i)
        h2->emplace(h1->at(i).deepCopy());
}

QAny QAny::deepCopy() const
{
    switch (m_type) {
    case Invalid:
    case Null:
    case Bool:
    case Integer:
    case Double:
    case String:
        return *this;
    case List: {
        QAny copy = sized(List, count());
        copyRecord(m_data.list, copy.m_data.list);
        return copy;
    }
    case Hash: {
        QAny copy = sized(Hash, count());
        copyRecord(m_data.hash, copy.m_data.hash);
        return copy;
    }
    }
    Q_ASSERT(false);
    return {};
}

bool QAny::operator==(const QAny &other) const
{
    bool ok = false;
    switch (m_type) {
    case Invalid:
    case Null:
        return m_type == other.m_type;
    case Bool: {
        const bool right = other.toBool(&ok);
        return ok && asBool() == right;
    }
    case Integer: {
        const qint64 right = other.toInteger(&ok);
        return ok && asInteger() == right;
    }
    case Double: {
        const double right = other.toDouble(&ok);
        return ok && asDouble() == right;
    }
    case String: {
        const QString right = other.toString(&ok);
        return ok && asString() == right;
    }
    case List:
        if (!other.isList() || count() != other.count())
            return false;
        for (int i = 0; i < count(); ++i) {
            if (at(i) != other.at(i))
                return false;
        }
        return true;
    case Hash:
        if (!other.isHash() || count() != other.count())
            return false;
        for (int i = 0; i < count(); ++i) {
            const int position = other.m_data.hash->keys->indexOf(keyAt(i));
            if (position < 0 || at(i) != other.at(position))
                return false;
        }
        return true;
    }
    return false;
}

const QAny &QAny::sharedNull()
{
    static const QAny null;
    return null;
}

const QString *QAny::expectedKey(const char *utf8, int length) const
{
    if (m_type != Hash)
        return nullptr;
    const KeySet::Data *next = m_data.hash->keys->known(utf8, length);
    return next ? &next->lastKey() : nullptr;
}

QDebug operator<<(QDebug stream, const QAny &value)
{
    const QDebugStateSaver saver(stream);
    stream.nospace().noquote() << "QAny<" << value.typeName() << ">(" << value.toJson() << ")";
    return stream;
}
