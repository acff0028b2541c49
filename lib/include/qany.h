#pragma once

#include <QHash>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

class QDebug;
class QSqlQuery;

/// The dynamic value that crosses every boundary of the server: RPC parameters and results, database rows,
/// settings, calculation records.
///
/// A QAny is a handle. Scalars live in the handle; a List or Hash is a reference-counted record that copies of the
/// handle share: a change made through one handle (element assignment, append, insert, remove) is seen through all.
/// Assigning to a handle or clearing it rebinds that handle only. A write index on an Invalid or Null value gives
/// this handle a record of its own.
///
/// References returned by the writable operators stay valid until their element is removed or the record ends:
/// growing a record does not move its elements. A record must not be put into itself.
///
/// Threads: reference counts are atomic, contents are not. A value may go to another thread when the sender no longer
/// uses the record. Nothing throws.
class QAny
{
public:
    /// The numbers are fixed.
    enum Type { Invalid = 0, Null = 1, Bool = 2, Integer = 3, Double = 4, String = 5, List = 6, Hash = 7 };

    class KeySet;

    QAny() noexcept : m_type(Null) { m_data.integer = 0; }
    /// The empty payload of the kind: false, 0, 0.0, empty text, list or hash.
    QAny(Type type);
    QAny(bool value) noexcept : m_type(Bool) { m_data.integer = value ? 1 : 0; }
    template <typename T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>, int> = 0>
    QAny(T value) noexcept : m_type(Integer)
    {
        m_data.integer = static_cast<qint64>(value);
    }
    QAny(double value) noexcept : m_type(Double) { m_data.real = value; }
    QAny(const QString &text) noexcept : m_type(String) { new (&m_data.text) QString(text); }
    QAny(QString &&text) noexcept : m_type(String) { new (&m_data.text) QString(std::move(text)); }
    /// A String decoded from UTF-8.
    QAny(const char *utf8) : QAny(QString::fromUtf8(utf8)) {}
    /// A List of Strings.
    QAny(const QStringList &texts);
    /// A Hash of the given entries; of equal keys the last wins.
    QAny(std::initializer_list<std::pair<QString, QAny>> entries);
    /// Other pointers would silently become Bool.
    template <typename T> QAny(T *) = delete;

    QAny(const QAny &other) noexcept : m_type(other.m_type) { copyPayload(other); }
    QAny(QAny &&other) noexcept : m_type(other.m_type) { takePayload(other); }
    QAny &operator=(const QAny &other) noexcept
    {
        // A handle without a record has nothing to release, as most that are filled.
        if (m_type < String && this != &other) {
            m_type = other.m_type;
            copyPayload(other);
            return *this;
        }
        return replaceBy(QAny(other)); // first a copy: other may live inside what this handle releases
    }
    QAny &operator=(QAny &&other) noexcept
    {
        if (m_type < String && this != &other) {
            m_type = other.m_type;
            takePayload(other);
            return *this;
        }
        return this == &other ? *this : replaceBy(QAny(std::move(other)));
    }
    ~QAny() { release(); }

    void swap(QAny &other) noexcept;

    /// A List of the given elements.
    static QAny list(std::initializer_list<QAny> elements = {});
    /// An empty List or Hash with room for that many elements, in one piece of memory.
    static QAny sized(Type type, int capacity);
    /// A Hash that has every key of the set, each Null; filled quickest through slot().
    static QAny record(const KeySet &keys);

    Type type() const { return m_type; }
    bool isValid() const { return m_type != Invalid; }
    bool isNull() const { return m_type == Null; }
    bool isBool() const { return m_type == Bool; }
    bool isInteger() const { return m_type == Integer; }
    bool isDouble() const { return m_type == Double; }
    bool isString() const { return m_type == String; }
    bool isList() const { return m_type == List; }
    bool isHash() const { return m_type == Hash; }
    /// "Invalid", "Null", … "Hash".
    const char *typeName() const { return typeName(m_type); }
    /// "Unknown" for a number that is no kind.
    static const char *typeName(int type);

    /// Each conversion sets *ok true, or false when it does not apply; it then returns the neutral value.
    bool toBool(bool *ok = nullptr) const;
    qint64 toInteger(bool *ok = nullptr) const;
    int toInt(bool *ok = nullptr) const { return static_cast<int>(toInteger(ok)); }
    double toDouble(bool *ok = nullptr) const;
    QString toString(bool *ok = nullptr) const;

    /// Typed accessors for code that has tested the kind.
    bool asBool() const
    {
        Q_ASSERT(m_type == Bool);
        return m_data.integer != 0;
    }
    qint64 asInteger() const
    {
        Q_ASSERT(m_type == Integer);
        return m_data.integer;
    }
    double asDouble() const
    {
        Q_ASSERT(m_type == Double);
        return m_data.real;
    }
    const QString &asString() const
    {
        Q_ASSERT(m_type == String);
        return m_data.text;
    }

    /// Elements of a List, entries of a Hash, characters of a String; else 0.
    int count() const;
    QList<QAny> toList() const;
    QHash<QString, QAny> toHash() const;
    QStringList keys() const;
    /// Makes this handle Invalid; other handles of the record keep it.
    void clear()
    {
        release();
        m_type = Invalid;
    }
    /// Prepares a List or Hash for that many elements; other kinds are left alone.
    void reserve(int count);

    bool append(const QAny &value);
    bool append(QAny &&value);
    bool insert(const QString &key, const QAny &value) { return insert(key, QAny(value)); }
    bool insert(const QString &key, QAny &&value);
    bool insert(int index, QAny value);
    /// On a List the test is deliberately inverted (count < index): true beyond the end, false inside.
    bool contains(const QString &key) const;
    bool contains(int index) const;
    bool remove(const QString &key);
    bool remove(int index);

    QAny value(int index) const;
    QAny value(const QString &key) const { return lookup(key); }
    QAny value(const QString &key, const QAny &defaultValue) const;
    QAny &operator[](int index);
    const QAny &operator[](int index) const;
    QAny &operator[](const QString &key);
    const QAny &operator[](const QString &key) const;

    /// Like value(key), without a copy: the entry or the shared Null. Valid until the record changes.
    const QAny &lookup(const QString &key) const;
    /// Element of a List or value of a Hash by position, 0 ≤ position < count(). No check in release builds.
    const QAny &at(int position) const;
    QAny &slot(int position);
    /// Key of a Hash by position, 0 ≤ position < count().
    const QString &keyAt(int position) const;
    /// True when both handles share one List or Hash record.
    bool sharesRecordWith(const QAny &other) const;
    /// A value that shares no record with this one.
    QAny deepCopy() const;

    bool operator==(const QAny &other) const;
    bool operator!=(const QAny &other) const { return !(*this == other); }

    static QAny fromVariant(const QVariant &variant);
    QVariant toVariant() const;

    /// A List with one Hash per remaining row of an executed query, keyed by its field names.
    static QAny fromQuery(QSqlQuery &query);
    /// The same with every column decoded as bytes by the named text codec; an unknown codec reads as UTF-8.
    static QAny fromQuery(QSqlQuery &query, const QByteArray &codecName);

    /// Compact JSON text; null when it would be longer than the type can hold.
    QString toJson() const;
    QByteArray toJsonUtf8() const;
    /// The root value of a UTF-8 JSON text; Invalid when it is not one.
    static QAny fromJson(const QByteArray &utf8);
    static QAny fromJson(const QString &text) { return fromJson(text.toUtf8()); }

    /// The process-wide Null that read-only look-ups return.
    static const QAny &sharedNull();

    /// For the JSON reader: a key that other hashes built like this one have had next, when it equals the bytes; else
    /// null. Lives as long as the process. Spares decoding the same keys over and over; insert() knows it by its
    /// address.
    const QString *expectedKey(const char *utf8, int length) const;

private:
    class Record;
    struct ListRecord;
    struct HashRecord;

    union Payload {
        Payload() {}
        ~Payload() {}
        qint64 integer;
        double real;
        QString text;
        ListRecord *list;
        HashRecord *hash;
    };

    void copyPayload(const QAny &other) noexcept
    {
        if (m_type < String)
            m_data.integer = other.m_data.integer;
        else
            sharePayload(other);
    }
    void takePayload(QAny &other) noexcept
    {
        // All payloads are one relocatable machine word.
        static_assert(sizeof(Payload) == sizeof(qint64), "payload must stay one word");
        memcpy(static_cast<void *>(&m_data), static_cast<const void *>(&other.m_data), sizeof(Payload));
        other.m_type = Null;
        other.m_data.integer = 0;
    }
    void release() noexcept
    {
        if (m_type >= String)
            releasePayload();
    }
    void sharePayload(const QAny &other) noexcept;
    void releasePayload() noexcept;
    QAny &replaceBy(QAny &&taken) noexcept;
    void becomeList();
    void becomeHash();
    QAny *growTo(int index);
    static bool parseIndex(const QString &key, int *index);
    static void copyRecord(const ListRecord *l1, ListRecord *l2);
    static void copyRecord(const HashRecord *h1, HashRecord *h2);

    Type m_type;
    Payload m_data;
};

Q_DECLARE_TYPEINFO(QAny, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(QAny)

/// The keys that hashes of one kind have in common, in order. Hashes that are built alike share one such set, so that
/// a row costs its values only. Shared sets live as long as the process and their number and size are bounded; a
/// hash beyond the bounds owns its set. Thread-safe once constructed.
class QAny::KeySet
{
public:
    /// Finds or makes the shared set of these keys (all different).
    explicit KeySet(std::initializer_list<QString> keys);
    explicit KeySet(const QStringList &keys);
    ~KeySet();

    int count() const;
    /// Position of the key, or -1.
    int indexOf(const QString &key) const;
    const QString &at(int position) const;

    class Data;

private:
    friend class QAny;
    Q_DISABLE_COPY(KeySet)
    Data *m_data; // owned unless shared
};

QDebug operator<<(QDebug stream, const QAny &value);
