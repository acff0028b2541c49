#pragma once

#include <QString>

#include <cstring>

namespace Json {

/// Decodes UTF-8 with replacement characters for what is malformed. The result is never a null string.
QString decoded(const char *utf8, qsizetype length);

/// Short texts that were read lately: the columns of a table repeat their texts over and over, and a repeated one
/// then shares its memory instead of being decoded and allocated again. A text has one place, where the latest stays.
class TextCache
{
public:
    /// Longer texts seldom repeat, and comparing them would cost more.
    static constexpr qsizetype kMaxBytes = 24;

    QString text(const char *utf8, qsizetype length)
    {
        if (length <= 0 || length > kMaxBytes)
            return decoded(utf8, length);
        Words words;
        memcpy(words.bytes, utf8, static_cast<size_t>(length));
        words.bytes[sizeof(words.bytes) - 1] = static_cast<char>(length);
        Entry &entry = m_entries[words.hash() % kEntries];
        if (!(entry.words == words)) {
            entry.words = words;
            entry.text = decoded(utf8, length);
        }
        return entry.text;
    }

private:
    static constexpr size_t kEntries = 512;

    /// The bytes, padded with zeros, and their number in the last one.
    struct Words {
        char bytes[kMaxBytes + 8] = {};

        quint64 word(int i) const
        {
            quint64 value;
            memcpy(&value, bytes + 8 * i, sizeof(value));
            return value;
        }
        bool operator==(const Words &other) const { return memcmp(bytes, other.bytes, sizeof(bytes)) == 0; }
        size_t hash() const
        {
            constexpr quint64 mixer = 0x9e3779b97f4a7c15u;
            quint64 mixed = word(3);
            for (int i = 0; i < 3; ++i) {
                mixed = (mixed ^ word(i)) * mixer;
                mixed ^= mixed >> 32;
            }
            return static_cast<size_t>(mixed);
        }
    };

    struct Entry {
        Words words; // of length 0, which is never looked for, until the entry is used
        QString text;
    };

    Entry m_entries[kEntries];
};

} // namespace Json
