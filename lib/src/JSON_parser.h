#pragma once

#include <QtGlobal>

#include <string>

/// A character-level JSON syntax checker: a transition table over character classes with a stack of the open
/// containers. It keeps its state between pieces of any size, reports each syntactic event to one callback and knows
/// nothing of values. The root must be an object or an array; comments (/* */ and // up to the line feed) count as
/// whitespace. One text per instance.
class JSON_parser
{
public:
    /// Containers open at the same time; what needs more is an attack or a fault of the sender.
    static constexpr int kMaxDepth = 128;
    /// Bytes of one string or number: what a QString can hold.
    static constexpr qsizetype kMaxTokenBytes = 1000000000;

    enum class Event { ArrayBegin, ArrayEnd, ObjectBegin, ObjectEnd, Integer, Float, Null, True, False, String, Key };

    /// What an event carries: a number, or the decoded bytes of a text. The bytes are valid during the callback only;
    /// escapes are resolved to UTF-8, other bytes are as they came and may be malformed.
    struct Value {
        qint64 integer = 0; ///< saturated beyond 64 bits
        double real = 0.0;
        const char *text = nullptr;
        qsizetype length = 0;
    };

    /// False rejects the byte that completed the event.
    using Callback = bool (*)(void *receiver, Event event, const Value &value);

    enum class Outcome {
        Consumed, ///< every byte belongs to the text so far
        Complete, ///< the root's last byte was consumed; only told when asked to stop there
        Rejected, ///< the byte at *taken is wrong; the instance is of no further use
    };

    /// Raw controls: a text may hold control characters below 32 as they are, other than backspace, form feed, line
    /// feed, carriage return and tab.
    JSON_parser(Callback callback, void *receiver, bool takesRawControls)
        : m_callback(callback), m_receiver(receiver), m_takesRawControls(takesRawControls)
    {
    }

    /// Consumes the bytes up to the end, the first wrong byte or, on request, the byte that completes the root, and
    /// tells how many it consumed.
    Outcome feed(const char *bytes, qsizetype length, bool stopWhenComplete, qsizetype *taken);

    /// True when the text may end here.
    bool isAccepting() const;

private:
    bool emitEvent(Event event) { return m_callback(m_receiver, event, Value()); }
    bool emitText(const char *run, const char *end);
    bool emitNumber(const char *run, const char *end, bool isInteger);
    bool open(Event event);
    bool close(Event event);
    quint8 stateAfterValue() const;
    bool keep(const char *run, const char *end);
    void appendCodePoint(char32_t codePoint);
    quint8 takeHexQuad();
    void replaceLoneSurrogate();

    Callback m_callback;
    void *m_receiver;
    const bool m_takesRawControls;
    std::string m_text;           // what earlier pieces or escapes brought of the current string or number
    quint8 m_state = 0;           // the start state
    quint8 m_commentReturn = 0;   // state in which the current comment began
    bool m_textIsKey = false;     // the current string is a member's key
    char16_t m_hex = 0;           // digits of the current \u escape
    char16_t m_highSurrogate = 0; // an escaped one that waits for its other half
    int m_depth = 0;
    bool m_isObject[kMaxDepth] = {};
};
