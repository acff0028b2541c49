#include "JSON_parser.h"

#include <QtAlgorithms>

#include <cfloat>
#include <charconv>
#include <initializer_list>
#include <iterator>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

/// What a byte can mean to the grammar.
enum Class : quint8 {
    Control, // below 32, no whitespace
    Space,
    Blank, // tab, carriage return: whitespace, yet not allowed in a string
    LineFeed,
    Quote,
    Backslash,
    Slash,
    Star,
    Comma,
    Colon,
    LeftBrace,
    RightBrace,
    LeftBracket,
    RightBracket,
    Plus,
    Minus,
    Point,
    Zero,
    Digit,  // 1 to 9
    Hex,    // the other letters of hexadecimal digits
    LowerA, // letters of escapes and literals
    LowerB,
    LowerE,
    UpperE,
    LowerF,
    LowerL,
    LowerN,
    LowerR,
    LowerS,
    LowerT,
    LowerU,
    Other,
    ClassCount
};

enum State : quint8 {
    Start,
    Done,
    ObjectBegun,
    KeyExpected,
    ColonExpected,
    ValueExpected,
    ArrayBegun,
    AfterElement,
    AfterMember,
    InString,
    InEscape,
    Hex1, // digits of a \u escape that are still to come count down to Hex4
    Hex2,
    Hex3,
    Hex4,
    AfterHigh, // an escaped high surrogate wants a low one
    AfterHighEscape,
    NumberMinus,
    IntegerZero,
    IntegerDigits,
    FractionPoint,
    FractionDigits,
    ExponentMark,
    ExponentSign,
    ExponentDigits,
    LiteralT,
    LiteralTr,
    LiteralTru,
    LiteralF,
    LiteralFa,
    LiteralFal,
    LiteralFals,
    LiteralN,
    LiteralNu,
    LiteralNul,
    CommentSlash,
    BlockComment,
    BlockCommentStar,
    LineComment,
    StateCount
};

/// A cell of the table is the next state or one of these.
enum Action : quint8 {
    Reject = StateCount,
    SkipSpaces,
    SkipPlain,
    SkipDigits,
    StartKey,
    StartString,
    EndString,
    StartEscape,
    SimpleEscape,
    HexDigit,
    LoneHigh,       // the byte after a lone high surrogate is plain: look at it again
    LoneHighEscape, // it is an escape of another kind
    StartMinus,
    StartZero,
    StartDigits,
    EndNumber, // the byte behind it is looked at again
    OpenObject,
    OpenArray,
    CloseObject,
    CloseArray,
    EndTrue,
    EndFalse,
    EndNull,
    StartComment,
    EndComment,
};

constexpr bool isHexLetter(int byte)
{
    return (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

struct Classes {
    quint8 of[256];
};

constexpr Classes makeClasses()
{
    Classes classes{};
    for (int byte = 0; byte < 256; ++byte) {
        const bool digit = byte >= '1' && byte <= '9';
        classes.of[byte] = byte < 32 ? Control : digit ? Digit : isHexLetter(byte) ? Hex : Other;
    }
    struct Named {
        char byte;
        Class kind;
    };
    constexpr Named named[] = {
        {' ', Space},     {'\t', Blank},     {'\r', Blank},      {'\n', LineFeed},    {'"', Quote},  {'\\', Backslash},
        {'/', Slash},     {'*', Star},       {',', Comma},       {':', Colon},        {'+', Plus},   {'-', Minus},
        {'{', LeftBrace}, {'}', RightBrace}, {'[', LeftBracket}, {']', RightBracket}, {'.', Point},  {'0', Zero},
        {'a', LowerA},    {'b', LowerB},     {'e', LowerE},      {'E', UpperE},       {'f', LowerF}, {'l', LowerL},
        {'n', LowerN},    {'r', LowerR},     {'s', LowerS},      {'t', LowerT},       {'u', LowerU},
    };
    for (const Named &one : named)
        classes.of[static_cast<uchar>(one.byte)] = one.kind;
    return classes;
}

struct Table {
    quint8 cell[StateCount][ClassCount];

    constexpr void on(int state, std::initializer_list<int> classes, int next)
    {
        for (const int kind : classes)
            cell[state][kind] = static_cast<quint8>(next);
    }
    constexpr void onAny(int state, int next)
    {
        for (int kind = 0; kind < ClassCount; ++kind)
            cell[state][kind] = static_cast<quint8>(next);
    }
};

constexpr void addLayout(Table &table)
{
    for (const int state :
         {Start, Done, ObjectBegun, KeyExpected, ColonExpected, ValueExpected, ArrayBegun, AfterElement, AfterMember}) {
        table.on(state, {Space, Blank, LineFeed}, SkipSpaces);
        table.on(state, {Slash}, StartComment);
    }
    table.on(CommentSlash, {Star}, BlockComment);
    table.on(CommentSlash, {Slash}, LineComment);
    table.onAny(BlockComment, BlockComment);
    table.on(BlockComment, {Star}, BlockCommentStar);
    table.onAny(BlockCommentStar, BlockComment);
    table.on(BlockCommentStar, {Star}, BlockCommentStar);
    table.on(BlockCommentStar, {Slash}, EndComment);
    table.onAny(LineComment, LineComment);
    table.on(LineComment, {LineFeed}, EndComment);
}

constexpr void addStructure(Table &table)
{
    for (const int state : {Start, ValueExpected, ArrayBegun}) {
        table.on(state, {LeftBrace}, OpenObject);
        table.on(state, {LeftBracket}, OpenArray);
    }
    for (const int state : {ValueExpected, ArrayBegun}) {
        table.on(state, {Quote}, StartString);
        table.on(state, {Minus}, StartMinus);
        table.on(state, {Zero}, StartZero);
        table.on(state, {Digit}, StartDigits);
        table.on(state, {LowerT}, LiteralT);
        table.on(state, {LowerF}, LiteralF);
        table.on(state, {LowerN}, LiteralN);
    }
    for (const int state : {ObjectBegun, KeyExpected})
        table.on(state, {Quote}, StartKey);
    table.on(ColonExpected, {Colon}, ValueExpected);
    table.on(AfterElement, {Comma}, ValueExpected);
    table.on(AfterMember, {Comma}, KeyExpected);
    for (const int state : {ArrayBegun, AfterElement})
        table.on(state, {RightBracket}, CloseArray);
    for (const int state : {ObjectBegun, AfterMember})
        table.on(state, {RightBrace}, CloseObject);
}

constexpr void addStrings(Table &table)
{
    table.onAny(InString, SkipPlain);
    table.on(InString, {Control, Blank, LineFeed}, Reject);
    table.on(InString, {Quote}, EndString);
    table.on(InString, {Backslash}, StartEscape);
    table.on(InEscape, {Quote, Backslash, Slash, LowerB, LowerF, LowerN, LowerR, LowerT}, SimpleEscape);
    table.on(InEscape, {LowerU}, Hex1);
    for (const int state : {Hex1, Hex2, Hex3, Hex4})
        table.on(state, {Zero, Digit, Hex, LowerA, LowerB, LowerE, UpperE, LowerF}, HexDigit);
    table.onAny(AfterHigh, LoneHigh);
    table.on(AfterHigh, {Backslash}, AfterHighEscape);
    table.onAny(AfterHighEscape, LoneHighEscape);
    table.on(AfterHighEscape, {LowerU}, Hex1);
}

constexpr void addNumbers(Table &table)
{
    table.on(NumberMinus, {Zero}, IntegerZero);
    table.on(NumberMinus, {Digit}, IntegerDigits);
    for (const int state : {IntegerDigits, FractionDigits, ExponentDigits})
        table.on(state, {Zero, Digit}, SkipDigits);
    for (const int state : {IntegerZero, IntegerDigits})
        table.on(state, {Point}, FractionPoint);
    table.on(FractionPoint, {Zero, Digit}, FractionDigits);
    for (const int state : {IntegerZero, IntegerDigits, FractionDigits})
        table.on(state, {LowerE, UpperE}, ExponentMark);
    table.on(ExponentMark, {Plus, Minus}, ExponentSign);
    for (const int state : {ExponentMark, ExponentSign})
        table.on(state, {Zero, Digit}, ExponentDigits);
    for (const int state : {IntegerZero, IntegerDigits, FractionDigits, ExponentDigits})
        table.on(state, {Space, Blank, LineFeed, Slash, Comma, RightBrace, RightBracket}, EndNumber);
}

constexpr void addLiterals(Table &table)
{
    table.on(LiteralT, {LowerR}, LiteralTr);
    table.on(LiteralTr, {LowerU}, LiteralTru);
    table.on(LiteralTru, {LowerE}, EndTrue);
    table.on(LiteralF, {LowerA}, LiteralFa);
    table.on(LiteralFa, {LowerL}, LiteralFal);
    table.on(LiteralFal, {LowerS}, LiteralFals);
    table.on(LiteralFals, {LowerE}, EndFalse);
    table.on(LiteralN, {LowerU}, LiteralNu);
    table.on(LiteralNu, {LowerL}, LiteralNul);
    table.on(LiteralNul, {LowerL}, EndNull);
}

constexpr Table makeTable()
{
    Table table{};
    for (int state = 0; state < StateCount; ++state)
        table.onAny(state, Reject);
    addLayout(table);
    addStructure(table);
    addStrings(table);
    addNumbers(table);
    addLiterals(table);
    return table;
}

constexpr Classes kClasses = makeClasses();
constexpr Table kTable = makeTable();

/// The one byte that leads on from a state behind a key or a value.
struct Separators {
    struct {
        qint16 byte;
        quint8 next;
    } behind[StateCount];
};

constexpr Separators makeSeparators()
{
    Separators separators{};
    for (auto &one : separators.behind)
        one.byte = -1;
    separators.behind[ColonExpected] = {':', kTable.cell[ColonExpected][Colon]};
    separators.behind[AfterElement] = {',', kTable.cell[AfterElement][Comma]};
    separators.behind[AfterMember] = {',', kTable.cell[AfterMember][Comma]};
    return separators;
}

constexpr Separators kSeparators = makeSeparators();

inline quint8 classOf(char byte)
{
    return kClasses.of[static_cast<uchar>(byte)];
}

inline bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

inline const char *spacesEnd(const char *p, const char *end)
{
    while (p != end && (*p == ' ' || *p == '\n' || *p == '\r' || *p == '\t'))
        ++p;
    return p;
}

inline const char *digitsEnd(const char *p, const char *end)
{
    while (p != end && isDigit(*p))
        ++p;
    return p;
}

/// The first byte of a string that needs a look: a quote, a backslash or a control character.
inline const char *plainEnd(const char *p, const char *end)
{
#ifdef __SSE2__
    const __m128i quotes = _mm_set1_epi8('"');
    const __m128i backslashes = _mm_set1_epi8('\\');
    const __m128i lastControls = _mm_set1_epi8(31);
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(bytes, lastControls), bytes);
        const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(bytes, quotes), _mm_cmpeq_epi8(bytes, backslashes));
        const int found = _mm_movemask_epi8(_mm_or_si128(controls, ends));
        if (found != 0)
            return p + qCountTrailingZeroBits(static_cast<quint32>(found));
    }
#endif
    while (p != end && kTable.cell[InString][classOf(*p)] == SkipPlain)
        ++p;
    return p;
}

/// What the writer does not escape of what it should.
inline bool isRawControl(char byte)
{
    return static_cast<uchar>(byte) < 32 && byte != '\b' && byte != '\f' && byte != '\n' && byte != '\r' &&
           byte != '\t';
}

qint64 integerOf(const char *text, qsizetype length)
{
    const bool negative = *text == '-';
    const char *p = negative ? text + 1 : text;
    const char *end = text + length;
    if (end - p <= std::numeric_limits<qint64>::digits10) {
        quint64 value = 0;
        for (; p != end; ++p)
            value = value * 10 + static_cast<quint64>(*p - '0');
        return negative ? -static_cast<qint64>(value) : static_cast<qint64>(value);
    }
    qint64 value = 0;
    if (std::from_chars(text, end, value).ec == std::errc::result_out_of_range)
        return negative ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
    return value;
}

/// A decimal number taken apart: mantissa · 10^exponent. Digits that do not fit are dropped; the mantissa is then far
/// beyond what a double holds exactly.
struct Decimal {
    quint64 mantissa = 0;
    qint64 exponent = 0;
    int digits = 0; // significant ones in the mantissa
    bool negative = false;

    Decimal(const char *p, const char *end) : negative(*p == '-')
    {
        if (negative)
            ++p;
        bool behindPoint = false;
        for (; p != end && (isDigit(*p) || *p == '.'); ++p) {
            if (*p == '.')
                behindPoint = true;
            else
                take(*p - '0', behindPoint);
        }
        if (p != end)
            takeExponent(p + 1, end);
    }

private:
    void take(int digit, bool behindPoint)
    {
        if (digits == std::numeric_limits<quint64>::digits10) {
            exponent += behindPoint ? 0 : 1;
            return;
        }
        mantissa = mantissa * 10 + static_cast<quint64>(digit);
        digits += mantissa != 0 ? 1 : 0;
        exponent -= behindPoint ? 1 : 0;
    }

    void takeExponent(const char *p, const char *end)
    {
        constexpr qint64 beyondAnyDouble = 4 * JSON_parser::kMaxTokenBytes;
        const bool minus = *p == '-';
        if (!isDigit(*p))
            ++p;
        qint64 stated = 0;
        for (; p != end && stated < beyondAnyDouble; ++p)
            stated = stated * 10 + (*p - '0');
        exponent += minus ? -stated : stated;
    }
};

/// Not strtod(): that one follows the locale's decimal comma.
double realOf(const char *text, qsizetype length)
{
    static constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr qint64 exactPower = 22;
    constexpr quint64 exactMantissa = quint64(1) << std::numeric_limits<double>::digits;
    const Decimal decimal(text, text + length);
    const double sign = decimal.negative ? -1.0 : 1.0;
    if (decimal.mantissa == 0)
        return sign * 0.0;
    // Both operands are exact, so that the one rounding is the right one.
    const bool exact = FLT_EVAL_METHOD == 0 && decimal.mantissa <= exactMantissa;
    if (exact && decimal.exponent >= -exactPower && decimal.exponent <= exactPower) {
        const double mantissa = sign * static_cast<double>(decimal.mantissa);
        return decimal.exponent < 0 ? mantissa / powers[-decimal.exponent] : mantissa * powers[decimal.exponent];
    }
    double value = 0.0;
    if (std::from_chars(text, text + length, value).ec == std::errc::result_out_of_range) {
        const bool tooLarge = decimal.digits + decimal.exponent > 0;
        return sign * (tooLarge ? std::numeric_limits<double>::infinity() : 0.0);
    }
    return value;
}

constexpr bool isHighSurrogate(char16_t unit)
{
    return (unit & 0xfc00) == 0xd800;
}

constexpr bool isLowSurrogate(char16_t unit)
{
    return (unit & 0xfc00) == 0xdc00;
}

constexpr char32_t kReplacement = 0xfffd;

char decodedEscape(char letter)
{
    switch (letter) {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return letter;
    }
}

char16_t hexValue(char digit)
{
    return static_cast<char16_t>(isDigit(digit) ? digit - '0' : (digit | 0x20) - 'a' + 10);
}

} // namespace

JSON_parser::Outcome JSON_parser::feed(const char *bytes, qsizetype length, bool stopWhenComplete, qsizetype *taken)
{
    const char *p = bytes;
    const char *const end = bytes + length;
    const char *run = p; // where the current string or number begins, or goes on, in these bytes
    quint8 state = m_state;
    bool ok = true;
    while (p != end) {
        const quint8 cell = kTable.cell[state][classOf(*p)];
        if (cell < StateCount) {
            state = cell;
            ++p;
            continue;
        }
        const char *next = p + 1;
        switch (cell) {
        case SkipSpaces:
            p = spacesEnd(p + 1, end);
            continue;
        case SkipPlain:
            p = plainEnd(p + 1, end);
            continue;
        case SkipDigits:
            p = digitsEnd(p + 1, end);
            continue;
        case StartKey:
        case StartString:
            m_textIsKey = cell == StartKey;
            run = p + 1;
            state = InString;
            p = plainEnd(run, end);
            continue;
        case EndString:
            ok = emitText(run, p);
            state = m_textIsKey ? static_cast<quint8>(ColonExpected) : stateAfterValue();
            break;
        case StartEscape:
            ok = keep(run, p);
            state = InEscape;
            break;
        case SimpleEscape:
            m_text.push_back(decodedEscape(*p));
            run = p + 1;
            state = InString;
            break;
        case HexDigit:
            m_hex = static_cast<char16_t>(m_hex << 4 | hexValue(*p));
            run = p + 1;
            state = state == Hex4 ? takeHexQuad() : static_cast<quint8>(state + 1);
            break;
        case LoneHigh:
            replaceLoneSurrogate();
            state = InString;
            continue;
        case LoneHighEscape:
            replaceLoneSurrogate();
            state = InEscape;
            continue;
        case StartMinus:
            run = p;
            state = NumberMinus;
            break;
        case StartZero:
            run = p;
            state = IntegerZero;
            break;
        case StartDigits:
            run = p;
            state = IntegerDigits;
            p = digitsEnd(p + 1, end);
            continue;
        case EndNumber:
            ok = emitNumber(run, p, state == IntegerZero || state == IntegerDigits);
            state = stateAfterValue();
            next = p;
            break;
        case OpenObject:
            ok = open(Event::ObjectBegin);
            state = ObjectBegun;
            break;
        case OpenArray:
            ok = open(Event::ArrayBegin);
            state = ArrayBegun;
            break;
        case CloseObject:
        case CloseArray:
            ok = close(cell == CloseObject ? Event::ObjectEnd : Event::ArrayEnd);
            state = stateAfterValue();
            if (ok && m_depth == 0 && stopWhenComplete) {
                m_state = state;
                *taken = p + 1 - bytes;
                return Outcome::Complete;
            }
            break;
        case EndTrue:
            ok = emitEvent(Event::True);
            state = stateAfterValue();
            break;
        case EndFalse:
            ok = emitEvent(Event::False);
            state = stateAfterValue();
            break;
        case EndNull:
            ok = emitEvent(Event::Null);
            state = stateAfterValue();
            break;
        case StartComment:
            m_commentReturn = state;
            state = CommentSlash;
            break;
        case EndComment:
            state = m_commentReturn;
            break;
        default:
            if (m_takesRawControls && state == InString && isRawControl(*p)) {
                p = plainEnd(p + 1, end);
                continue;
            }
            ok = false;
            break;
        }
        if (!ok) {
            *taken = p - bytes;
            return Outcome::Rejected;
        }
        p = next;
        // What nearly always follows a key or a value needs no further round.
        if (p != end && kSeparators.behind[state].byte == static_cast<uchar>(*p)) {
            state = kSeparators.behind[state].next;
            ++p;
        }
    }
    const bool inToken = state == InString || (state >= NumberMinus && state <= ExponentDigits);
    m_state = state;
    *taken = length;
    return !inToken || keep(run, end) ? Outcome::Consumed : Outcome::Rejected;
}

bool JSON_parser::isAccepting() const
{
    // The end of the text ends a line comment, too.
    return m_state == Done || (m_state == LineComment && m_commentReturn == Done);
}

quint8 JSON_parser::stateAfterValue() const
{
    if (m_depth == 0)
        return Done;
    return m_isObject[m_depth - 1] ? AfterMember : AfterElement;
}

bool JSON_parser::open(Event event)
{
    if (m_depth == kMaxDepth)
        return false;
    m_isObject[m_depth++] = event == Event::ObjectBegin;
    return emitEvent(event);
}

bool JSON_parser::close(Event event)
{
    --m_depth; // the state before it fits only this kind of container
    return emitEvent(event);
}

/// Puts aside what this piece brought of the current string or number.
bool JSON_parser::keep(const char *run, const char *end)
{
    if (end - run > kMaxTokenBytes - static_cast<qsizetype>(m_text.size()))
        return false;
    m_text.append(run, static_cast<size_t>(end - run));
    return true;
}

bool JSON_parser::emitText(const char *run, const char *end)
{
    const Event event = m_textIsKey ? Event::Key : Event::String;
    Value value;
    if (m_text.empty() && end - run <= kMaxTokenBytes) {
        value.text = run;
        value.length = end - run;
        return m_callback(m_receiver, event, value);
    }
    if (!keep(run, end))
        return false;
    value.text = m_text.data();
    value.length = static_cast<qsizetype>(m_text.size());
    const bool accepted = m_callback(m_receiver, event, value);
    m_text.clear();
    return accepted;
}

bool JSON_parser::emitNumber(const char *run, const char *end, bool isInteger)
{
    const bool kept = !m_text.empty();
    if (kept && !keep(run, end))
        return false;
    const char *text = kept ? m_text.data() : run;
    const qsizetype length = kept ? static_cast<qsizetype>(m_text.size()) : end - run;
    Value value;
    if (isInteger)
        value.integer = integerOf(text, length);
    else
        value.real = realOf(text, length);
    m_text.clear();
    return m_callback(m_receiver, isInteger ? Event::Integer : Event::Float, value);
}

void JSON_parser::appendCodePoint(char32_t codePoint)
{
    const auto push = [this](char32_t byte) { m_text.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        push(codePoint);
    } else if (codePoint < 0x800) {
        push(0xc0 | codePoint >> 6);
        push(0x80 | (codePoint & 0x3f));
    } else if (codePoint < 0x10000) {
        push(0xe0 | codePoint >> 12);
        push(0x80 | (codePoint >> 6 & 0x3f));
        push(0x80 | (codePoint & 0x3f));
    } else {
        push(0xf0 | codePoint >> 18);
        push(0x80 | (codePoint >> 12 & 0x3f));
        push(0x80 | (codePoint >> 6 & 0x3f));
        push(0x80 | (codePoint & 0x3f));
    }
}

void JSON_parser::replaceLoneSurrogate()
{
    m_highSurrogate = 0;
    appendCodePoint(kReplacement);
}

/// Decodes a complete \u escape and returns the state behind it.
quint8 JSON_parser::takeHexQuad()
{
    const char16_t unit = m_hex;
    m_hex = 0;
    if (m_highSurrogate != 0) {
        if (isLowSurrogate(unit)) {
            const char32_t high = m_highSurrogate;
            m_highSurrogate = 0;
            appendCodePoint(0x10000 + ((high - 0xd800) << 10) + (unit - 0xdc00u));
            return InString;
        }
        replaceLoneSurrogate();
    }
    if (isHighSurrogate(unit)) {
        m_highSurrogate = unit;
        return AfterHigh;
    }
    appendCodePoint(isLowSurrogate(unit) ? kReplacement : unit);
    return InString;
}
