#pragma once

#include "qany.h"

#include <memory>
#include <vector>

class JSON_parser;

namespace Json {

class TextCache;

/// A push reader that turns UTF-8 JSON text into a QAny. It is fed in pieces of any size and knows after each whether
/// a whole value has been read. The root is an object or an array; at most 128 containers may be
/// open; comments count
/// as whitespace; an object member with an empty key is rejected; of members with one key the last wins.
///
/// Used by one thread at a time. Nothing throws.
class Parser
{
public:
    enum Feed {
        NeedsMore, ///< all bytes were taken, the value is not complete
        Complete,  ///< the value is complete; finish() and result() follow
        Rejected,  ///< the first byte that was not taken is wrong; the reader has been reset
    };

    /// What a string may hold of the control characters below 32.
    enum class Controls {
        Escaped,  ///< none as it is
        AsWritten ///< those that our writer leaves as they are: all but backspace, form feed, line feed, carriage
                  ///< return and tab
    };

    explicit Parser(Controls controls = Controls::Escaped);
    ~Parser();
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    /// Takes all bytes; false at the first wrong one, with the reader reset. Begins a new value after finish(), reset()
    /// or a false; behind a complete value that was not finished, only whitespace and comments are right.
    bool feed(const char *bytes, qsizetype length);
    /// Like feed(), but stops behind the byte that completes the value. Tells how many bytes it took; the rest belongs
    /// to the next value.
    Feed feedUntilComplete(const char *bytes, qsizetype length, qsizetype *taken);
    /// True from the byte that completes the root on, until something else is fed after finish().
    bool isComplete() const { return m_open.empty() && m_root.isValid(); }
    /// Ends the text: true when it was one complete value, which result() then holds. Otherwise the reader is reset.
    bool finish();
    /// The root; Invalid while there is none.
    QAny result() const { return m_root; }
    void reset();
    /// Values read so far of a text that is not finished, containers included. Small ones cost many times their text.
    qint64 valueCount() const { return m_values; }

private:
    struct Events;

    static constexpr int kMaxDepth = 128; // containers open at the same time

    const QString &pendingKey() const { return m_sharedKey ? *m_sharedKey : m_key; }
    Feed advance(const char *bytes, qsizetype length, bool stopWhenComplete, qsizetype *taken);
    bool attach(QAny &&value);
    bool open(QAny::Type type);
    bool close(QAny::Type type, const char *mismatch);
    bool takeKey(const char *utf8, qsizetype length);
    QString text(const char *utf8, qsizetype length);
    void clearKey();
    void endText();
    QDebug complaint() const;

    const Controls m_controls;
    std::unique_ptr<JSON_parser> m_machine; // exists while a text is being read
    std::vector<QAny> m_open;               // the containers that are still open, outermost first
    QString m_key;                          // of the member whose value comes next; empty when none
    const QString *m_sharedKey = nullptr;   // the same where hashes share the key; it then stands for m_key
    quint8 m_usualCount[kMaxDepth] = {};    // elements of the container that was read last at each depth
    QAny m_root;
    std::unique_ptr<TextCache> m_textCache;
    int m_texts = 0; // strings of this text before the cache
    qint64 m_values = 0;
    qint64 m_fed = 0; // bytes that this text may consist of
};

} // namespace Json
