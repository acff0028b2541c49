#include "jsontext.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

/// The letter behind the backslash for a character that is escaped, else 0. Other control characters are deliberately
/// written as they are.
constexpr char escapeOf(ushort unit)
{
    switch (unit) {
    case '\\':
        return '\\';
    case '"':
        return '"';
    case '\b':
        return 'b';
    case '\f':
        return 'f';
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

/// Grows its text as the values come; Text is QByteArray for UTF-8 or QString.
template <typename Text, typename Unit> class Output
{
public:
    /// Room for that many more units.
    Unit *room(int units)
    {
        if (m_capacity - m_used < units)
            grow(units);
        return m_begin + m_used;
    }
    void usedUpTo(const Unit *end) { m_used = static_cast<int>(end - m_begin); }
    void put(char ascii)
    {
        *room(1) = static_cast<uchar>(ascii);
        ++m_used;
    }
    void put(const char *ascii, int length)
    {
        Unit *out = room(length);
        for (int i = 0; i < length; ++i)
            out[i] = static_cast<uchar>(ascii[i]);
        m_used += length;
    }
    /// Null when the text would be longer than its type can hold.
    Text taken()
    {
        if (m_overflowed)
            return Text();
        m_text.resize(m_used);
        return std::move(m_text);
    }
    int used() const { return m_used; }
    const Unit *begin() const { return m_begin; }
    Unit *begin() { return m_begin; }
    void dropLast() { --m_used; }
    void putBytes(const Unit *units, int count)
    {
        memcpy(room(count), units, sizeof(Unit) * static_cast<size_t>(count));
        m_used += count;
    }

private:
    static constexpr int kFirstCapacity = 256;

    void grow(int units)
    {
        constexpr qint64 most = std::numeric_limits<int>::max() / static_cast<int>(sizeof(Unit)) - 64;
        if (m_used > most - units) {
            // What follows is written over the beginning.
            m_overflowed = true;
            m_used = 0;
        }
        if (m_capacity - m_used >= units)
            return;
        const qint64 needed = qint64(m_used) + units;
        const qint64 wanted = qMax(needed, qMin(most, qMax<qint64>(kFirstCapacity, qint64(m_capacity) * 2)));
        m_text.resize(static_cast<int>(wanted));
        m_capacity = m_text.size();
        m_begin = reinterpret_cast<Unit *>(m_text.data());
    }

    Text m_text;
    Unit *m_begin = nullptr;
    int m_capacity = 0;
    int m_used = 0;
    bool m_overflowed = false;
};

/// What a character below kWide becomes in the output: one unit or two. Two are always stored, so that no branch
/// depends on the text; the next character overwrites what was too much.
template <typename Unit> struct Form {
    Unit units[2];
    quint16 length;
};

template <typename Unit> struct Forms {
    /// From here on, UTF-8 needs three bytes and UTF-16 no second unit.
    static constexpr uint kWide = sizeof(Unit) == 1 ? 0x800 : 0x80;

    Form<Unit> of[kWide];
};

template <typename Unit> constexpr Forms<Unit> makeForms()
{
    Forms<Unit> forms{};
    for (uint unit = 0; unit < Forms<Unit>::kWide; ++unit) {
        const char letter = escapeOf(static_cast<ushort>(unit));
        if (letter != 0)
            forms.of[unit] = {{'\\', static_cast<uchar>(letter)}, 2};
        else if (unit < 0x80)
            forms.of[unit] = {{static_cast<Unit>(unit), 0}, 1};
        else
            forms.of[unit] = {{static_cast<Unit>(0xc0 | unit >> 6), static_cast<Unit>(0x80 | (unit & 0x3f))}, 2};
    }
    return forms;
}

template <typename Unit> constexpr Forms<Unit> kForms = makeForms<Unit>();

template <typename Unit> inline Unit *putForm(uint unit, Unit *out)
{
    const Form<Unit> &form = kForms<Unit>.of[unit];
    memcpy(out, form.units, sizeof(form.units));
    return out + form.length;
}

/// Where the source and the output of a text have come to.
template <typename Unit> struct Progress {
    const ushort *p;
    Unit *out;
};

/// Writes the character at p; a surrogate brings its other half, which lies before textEnd.
template <typename Unit> inline Progress<Unit> putCharacter(const ushort *p, const ushort *textEnd, Unit *out)
{
    const auto put = [&out](uint unit) { *out++ = static_cast<Unit>(unit); };
    const uint unit = *p++;
    if (unit < Forms<Unit>::kWide)
        return {p, putForm(unit, out)};
    if (sizeof(Unit) > 1) {
        put(unit);
    } else if (!QChar::isSurrogate(unit)) {
        put(0xe0 | unit >> 12);
        put(0x80 | (unit >> 6 & 0x3f));
        put(0x80 | (unit & 0x3f));
    } else if (QChar::isHighSurrogate(unit) && p != textEnd && QChar::isLowSurrogate(*p)) {
        const uint codePoint = QChar::surrogateToUcs4(static_cast<ushort>(unit), *p++);
        put(0xf0 | codePoint >> 18);
        put(0x80 | (codePoint >> 12 & 0x3f));
        put(0x80 | (codePoint >> 6 & 0x3f));
        put(0x80 | (codePoint & 0x3f));
    } else {
        put('?'); // a lone surrogate, as QString::toUtf8() has it
    }
    return {p, out};
}

/// Writes the characters that begin in [p, end); there is room for the worst case.
template <typename Unit>
Progress<Unit> putCharacters(const ushort *p, const ushort *end, const ushort *textEnd, Unit *out)
{
    Progress<Unit> at{p, out};
#ifdef __SSE2__
    constexpr int step = 8;
    const __m128i beyondAscii = _mm_set1_epi16(static_cast<short>(0xff80));
    const __m128i beyondForms = _mm_set1_epi16(static_cast<short>(~(Forms<Unit>::kWide - 1)));
    const __m128i quotes = _mm_set1_epi8('"');
    const __m128i backslashes = _mm_set1_epi8('\\');
    const __m128i lastEscapedControls = _mm_set1_epi8('\r');
    const __m128i zeros = _mm_setzero_si128();
    constexpr int all = 0xffff;
    while (end - at.p >= step) {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at.p));
        const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(units, beyondAscii), zeros);
        const __m128i bytes = _mm_packus_epi16(units, units);
        const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(bytes, lastEscapedControls), bytes);
        const __m128i marks = _mm_or_si128(_mm_cmpeq_epi8(bytes, quotes), _mm_cmpeq_epi8(bytes, backslashes));
        if (_mm_movemask_epi8(ascii) == all && _mm_movemask_epi8(_mm_or_si128(controls, marks)) == 0) {
            if constexpr (sizeof(Unit) == 1)
                _mm_storel_epi64(reinterpret_cast<__m128i *>(at.out), bytes);
            else
                _mm_storeu_si128(reinterpret_cast<__m128i *>(at.out), units);
            at = {at.p + step, at.out + step};
        } else if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(units, beyondForms), zeros)) == all) {
            for (int i = 0; i < step; ++i)
                at.out = putForm(at.p[i], at.out);
            at.p += step;
        } else {
            for (const ushort *blockEnd = at.p + step; at.p < blockEnd;)
                at = putCharacter(at.p, textEnd, at.out);
        }
    }
#endif
    while (at.p < end)
        at = putCharacter(at.p, textEnd, at.out);
    return at;
}

template <typename Text, typename Unit> class Writer
{
public:
    void write(const QAny &value)
    {
        switch (value.type()) {
        case QAny::Invalid:
            return m_out.put("\"Invalid\"", 9);
        case QAny::Null:
            return m_out.put("null", 4);
        case QAny::Bool:
            return value.asBool() ? m_out.put("true", 4) : m_out.put("false", 5);
        case QAny::Integer:
            return writeInteger(value.asInteger());
        case QAny::Double:
            return writeDouble(value.asDouble());
        case QAny::String:
            return writeText(value.asString());
        case QAny::List:
            return writeList(value);
        case QAny::Hash:
            return writeHash(value);
        }
        m_out.put("Unknown", 7);
    }

    Text taken() { return m_out.taken(); }
    Output<Text, Unit> &out() { return m_out; }

private:
    void writeList(const QAny &list)
    {
        m_out.put('[');
        for (int i = 0, count = list.count(); i < count; ++i) {
            if (i > 0)
                m_out.put(',');
            write(list.at(i));
        }
        m_out.put(']');
    }

    void writeHash(const QAny &hash)
    {
        m_out.put('{');
        for (int i = 0, count = hash.count(); i < count; ++i) {
            if (i > 0)
                m_out.put(',');
            writeText(hash.keyAt(i));
            m_out.put(':');
            write(hash.at(i));
        }
        m_out.put('}');
    }

    void writeText(const QString &text)
    {
        // Room for the worst case is made piece by piece, so that a long text does not cost many times its size.
        constexpr int pieceLength = 4096;
        constexpr int mostPerUnit = sizeof(Unit) == 1 ? 3 : 2;
        constexpr int pairAtPieceEnd = 1;
        const auto *p = reinterpret_cast<const ushort *>(text.constData());
        const ushort *const end = p + text.size();
        m_out.put('"');
        while (p != end) {
            const ushort *const pieceEnd = p + qMin<qptrdiff>(end - p, pieceLength);
            Unit *const out = m_out.room(static_cast<int>(pieceEnd - p) * mostPerUnit + pairAtPieceEnd);
            const Progress<Unit> at = putCharacters(p, pieceEnd, end, out);
            p = at.p;
            m_out.usedUpTo(at.out);
        }
        m_out.put('"');
    }

    void writeInteger(qint64 value)
    {
        char digits[24];
        const char *end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
        m_out.put(digits, static_cast<int>(end - digits));
    }

    void writeDouble(double value)
    {
        if (!writeShortDecimal(value)) {
            const QByteArray text = QByteArray::number(value, 'g', kPrecision);
            m_out.put(text.constData(), text.size());
        }
    }

    /// Writes a number of few decimals, as hours and money are, without the long way of finding its digits. What is
    /// the double nearest to a decimal of at most 14 digits reads as that decimal when rounded to 14 digits.
    bool writeShortDecimal(double value)
    {
        constexpr double limit = 1e14; // from here, and below 0.0001, the form has an exponent
        static constexpr int powers[] = {1, 10, 100, 1000, 10000};
        const double size = std::fabs(value);
        if (FLT_EVAL_METHOD != 0 || !(size < limit))
            return false;
        for (int decimals = 0; decimals <= 4; ++decimals) {
            const double scaled = std::floor(size * powers[decimals] + 0.5);
            if (scaled >= limit)
                return false;
            if (scaled / powers[decimals] != size)
                continue;
            if (value < 0)
                m_out.put('-');
            const auto number = static_cast<qint64>(scaled);
            writeInteger(number / powers[decimals]);
            if (decimals > 0) {
                // One more power of ten in front keeps the leading zeros.
                char digits[24];
                const qint64 fraction = number % powers[decimals] + powers[decimals];
                std::to_chars(digits, digits + sizeof(digits), fraction);
                digits[0] = '.';
                m_out.put(digits, decimals + 1);
            }
            return true;
        }
        return false;
    }

    static constexpr int kPrecision = 14;

    Output<Text, Unit> m_out;
};

} // namespace

QString QAny::toJson() const
{
    Writer<QString, ushort> writer;
    writer.write(*this);
    return writer.taken();
}

QByteArray QAny::toJsonUtf8() const
{
    Writer<QByteArray, uchar> writer;
    writer.write(*this);
    return writer.taken();
}

class JsonText::Private : public Writer<QByteArray, uchar>
{
};

JsonText::JsonText() : d(std::make_unique<Private>()) {}

JsonText::JsonText(JsonText &&) noexcept = default;

JsonText &JsonText::operator=(JsonText &&) noexcept = default;

JsonText::~JsonText() = default;

void JsonText::reserve(int bytes)
{
    d->out().room(bytes - size());
}

void JsonText::add(const QAny &value)
{
    d->write(value);
}

void JsonText::add(QLatin1String text)
{
    d->out().put(text.data(), text.size());
}

void JsonText::add(const JsonText &other, int from, int end)
{
    Q_ASSERT(&other != this);
    d->out().putBytes(other.d->out().begin() + from, end - from);
}

void JsonText::extendHash(const QAny &more)
{
    d->out().dropLast();
    const int seam = size();
    add(more);
    if (seam < size())
        d->out().begin()[seam] = ',';
}

int JsonText::size() const
{
    return d->out().used();
}

QByteArray JsonText::taken()
{
    QByteArray text = d->taken();
    *d = Private();
    text.squeeze(); // it was given room for more
    return text;
}
