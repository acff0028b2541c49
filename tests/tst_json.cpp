#include "jsonparser.h"
#include "jsontext.h"

#include <QDebug>
#include <QRandomGenerator>
#include <QTest>

#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

/// A text of JSON and its value.
using Row = std::pair<QByteArray, QAny>;

constexpr qint64 kMost = std::numeric_limits<qint64>::max();
constexpr qint64 kLeast = std::numeric_limits<qint64>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Equal kinds and contents: QAny's own comparison lets 1 equal "1".
bool identical(const QAny &a, const QAny &b)
{
    if (a.type() != b.type() || a.count() != b.count())
        return false;
    for (int i = 0; i < a.count() && !a.isString(); ++i) {
        const QAny &other = a.isHash() ? b.lookup(a.keyAt(i)) : b.at(i);
        if (!identical(a.at(i), other))
            return false;
    }
    if (a.isDouble()) // with the sign of zero
        return a.asDouble() == b.asDouble() && std::signbit(a.asDouble()) == std::signbit(b.asDouble());
    return a.isList() || a.isHash() || a == b;
}

/// What became of a text that was fed in pieces.
struct Reading {
    bool accepted = false;
    qsizetype taken = 0; // up to the wrong byte, or all
    QAny value{QAny::Invalid};
};

Reading readInPieces(const QByteArray &text, int first, int further)
{
    Json::Parser parser;
    Reading reading;
    for (int piece = first; reading.taken < text.size(); piece = further) {
        // What follows a complete value in the same text goes byte by byte.
        const bool complete = parser.isComplete();
        // A copy of its own, so that a look beyond the piece shows.
        const QByteArray bytes = text.mid(static_cast<int>(reading.taken), complete ? 1 : piece);
        qsizetype taken = 0;
        const bool right =
            complete ? parser.feed(bytes.constData(), 1)
                     : parser.feedUntilComplete(bytes.constData(), bytes.size(), &taken) != Json::Parser::Rejected;
        reading.taken += complete && right ? 1 : taken;
        if (!right)
            return reading;
    }
    reading.accepted = parser.finish();
    reading.value = parser.result();
    return reading;
}

QAny read(const QByteArray &text)
{
    return QAny::fromJson(text);
}

/// The escaping as it is required, step by step over the whole text.
QString quoted(QString text)
{
    text.replace("\\", "\\\\").replace("\"", "\\\"").replace("\b", "\\b").replace("\f", "\\f");
    text.replace("\n", "\\n").replace("\r", "\\r").replace("\t", "\\t");
    return QStringLiteral("\"%1\"").arg(text);
}

QByteArray nested(int depth, const char *open, const char *close)
{
    return QByteArray(open).repeated(depth) + QByteArray(close).repeated(depth);
}

/// Rows that may share a line.
template <typename First, typename... More> std::vector<First> table(const First &first, const More &...more)
{
    return {first, more...};
}

QList<QByteArray> words(const char *text)
{
    return QByteArray(text).simplified().split(' ');
}

} // namespace

class tst_Json : public QObject
{
    Q_OBJECT

private slots:
    void grammar();
    void controlsAsWritten();
    void everyByteInEveryPlace();
    void nesting();
    void values();
    void realsAreNearest();
    void malformedUtf8();
    void lifeOfAReader();
    void emptyKeyIsRejectedAndLogged();
    void tokensOverManyPieces();
    void decimalCommaOfTheLocale();
    void writing();
    void stringsWrittenAsRequired();
    void doublesWrittenAsRequired();
    void roundTrip();
    void textsGrowInParts();
};

void tst_Json::grammar()
{
    // A caret stands before the wrong byte, or at the end of a text that just ends too early.
    QList<QByteArray> texts = words(R"(
        [] {} [[],{}] {"a":{},"b":[]} [true,false,null] {"a":1,"a":2}
        [0] [-0] [10] [-1] [0.0] [1.5e10] [1E+2] [1e-2] [0e0] [-0.0]
        [""] ["a"] ["\"\\\/\b\f\n\r\t\u0041"] ["\u00e9\uABCD\uabcd"]
        ["\ud800"] ["\udc00"] ["\ud800\ud800"] ["\ud800\n"] ["\ud800x"] ["\ud83d\ude00"]
        [/**/] [1/**/,2] [1/**/] {/**/"a"/**/:/**/1/**/,/**/"b":2} []/**/ []// /**/[] /***/[] /****/[]
        ^1 ^-1 ^"a" ^true ^null ^x ^] ^} ^, ^: [1,2]^] [^,1] [1,^] [1,^,2] [1^} [^} {^] {"a":1^]
        {^,} {"a":1,^} {"a"^} {"a"^,1} {"a":^:1} {"a":^} {^a:1} {^1:1} {^'a':1} ["a"^:1]
        [0^1] [-0^1] [^+1] [-^] [-^-1] [^.5] [1.^] [1.^e1] [1e^] [1e+^] [1e1^.5] [1.2^.3] [0^x10] [1^a]
        [^NaN] [^Infinity] [^inf] [tru^] [tru^E] [^True] [nul^1] [null^l] [false^y] [true^1]
        [^'a'] ["\^x"] ["\^U0041"] ["\u004^"] ["\u00^g0"] ["\ud800\^x"] ["\ud800\u12^"]
        /^[] [1/^x] ^*/[]
        [^ {^ [1^ [1,^ {"a^ {"a"^ {"a":^ {"a":1^ {"a":1,^ ["^ ["\^ ["\u00^ [tr^ [-^ [1.^ [[]^ []/^ []/*^ []/**^
        [/^ //[]^ /**/^)");
    texts +=
        {" \t\r\n[ \t\r\n] \t\r\n", "{ \"a\" : 1 , \"b\" : 2 }", "[ true , false , null ]", "[\"/*no*/ //comment\"]"};
    texts += {"[\"\x7f\"]", "[1 ]", "/*/ */[]", "//\n[]", "[//]\n]", "[1//\n]", "[]// end", "[]//\n"};
    texts += {"/* * / ** */[]", "// a\r still\n[]", "[1/*\n*//*x*/,//\n2]", QByteArray("/*\0*/[]", 7)};
    texts += {"^\xef\xbb\xbf[]", "^\f[]", "[] ^[]", "{} ^x", "[1 ^2]", "[\"a\" ^\"b\"]", "[^#\n]", "[]/^ "};
    texts += {"[\"a^\nb\"]", "[\"a^\tb\"]", "[\"^\x1f\"]", "{\"a^\x01\":1}", "[^\xc2\xa0]"};
    texts += {QByteArray("[\"^\0\"]", 6), QByteArray("[^\0]", 4), QByteArray("[1^\0]", 5)};
    texts += {"^", " ^", "[]//x\n/*^"};
    for (QByteArray text : qAsConst(texts)) {
        const QByteArray marked = text;
        const bool right = !marked.contains('^');
        const int takes = right ? text.size() : marked.indexOf('^');
        text.remove(takes, 1);
        const QAny whole = read(text);
        QVERIFY2(whole.isValid() == right, marked.constData());
        // Cut at every byte, and byte by byte.
        for (int cut = 1; cut <= text.size() + 1; ++cut) {
            const bool bytewise = cut > text.size();
            const Reading reading = readInPieces(text, bytewise ? 1 : cut, bytewise ? 1 : text.size());
            QVERIFY2(reading.accepted == right && reading.taken == takes, marked.constData());
            QVERIFY2(right ? identical(reading.value, whole) : !reading.value.isValid(), marked.constData());
        }
        Json::Parser parser;
        QVERIFY2(parser.feed(text.constData(), text.size()) == (takes == text.size()), marked.constData());
        QVERIFY2(parser.finish() == right, marked.constData());
    }
}

/// On request the reader takes back what the writer leaves as it is.
void tst_Json::controlsAsWritten()
{
    Json::Parser parser(Json::Parser::Controls::AsWritten);
    for (int control = 0; control < 32; ++control) {
        const QString text = QStringLiteral("a%1b").arg(QChar(control));
        const QByteArray written = QAny{{text, text}}.toJsonUtf8();
        QVERIFY2(parser.feed(written.constData(), written.size()) && parser.finish(), written.toHex().constData());
        QVERIFY(identical(parser.result(), QAny{{text, text}}));
        // Raw, what has an escape stays wrong, and all are wrong outside of a text.
        const bool hasEscape = QByteArray("\b\f\n\r\t").contains(static_cast<char>(control));
        const QByteArray raw = QByteArray("[\"\\ud800") + static_cast<char>(control) + "\"]";
        QCOMPARE(parser.feed(raw.constData(), raw.size()) && parser.finish(), !hasEscape);
        const QByteArray outside = QByteArray("[1") + static_cast<char>(control) + "]";
        QCOMPARE(parser.feed(outside.constData(), outside.size()) && parser.finish(),
                 QByteArray("\n\r\t").contains(static_cast<char>(control)));
    }
}

void tst_Json::everyByteInEveryPlace()
{
    const QByteArray layout = " \t\r\n/";
    const QByteArray value = layout + "{[\"-0123456789tfn";
    const QByteArray digits = "0123456789";
    QByteArray inString;
    for (int byte = 32; byte < 256; ++byte)
        inString.append(static_cast<char>(byte));
    using Place = std::pair<QByteArray, QByteArray>; // what stands before it and the bytes that may follow
    const auto rows = table(
        Place("", layout + "{["), Place("[", value + "]"), Place("[1,", value), Place("[[]", layout + ",]"),
        Place("{", layout + "\"}"), Place("{\"a\":1,", layout + "\""), Place("{\"a\"", layout + ":"),
        Place("{\"a\":", value), Place("{\"a\":[]", layout + ",}"), Place("[]", layout), Place("[\"\\", "\"\\/bfnrtu"),
        Place("[\"\\u0", digits + "abcdefABCDEF"), Place("[-", digits), Place("[0", layout + ".eE,]"),
        Place("[1", layout + digits + ".eE,]"), Place("[1.", digits), Place("[1.1", layout + digits + "eE,]"),
        Place("[1e", digits + "+-"), Place("[1e+", digits), Place("[1e1", layout + digits + ",]"),
        Place("{\"a\":0", layout + ".eE,}"), Place("[/", "/*"), Place("[t", "r"), Place("[f", "a"), Place("[n", "u"),
        Place("[\"", inString), Place("[\"\\ud800", inString));
    for (const auto &row : rows) {
        for (int byte = 0; byte < 256; ++byte) {
            const char next = static_cast<char>(byte);
            Json::Parser parser;
            QVERIFY(parser.feed(row.first.constData(), row.first.size()));
            QVERIFY2(parser.feed(&next, 1) == row.second.contains(next),
                     qPrintable(QString("%1 behind %2").arg(byte).arg(QString(row.first))));
        }
    }
}

void tst_Json::nesting()
{
    QVERIFY(read(nested(128, "[", "]")).isList());
    QVERIFY(read("{\"a\":" + nested(127, "[", "]") + "}").isHash());
    QVERIFY(read("[" + nested(127, "[", "]") + "," + nested(127, "[", "]") + "]").isList());
    qsizetype taken = 0;
    Json::Parser parser;
    const QByteArray deep = nested(129, "[", "]");
    QCOMPARE(parser.feedUntilComplete(deep.constData(), deep.size(), &taken), Json::Parser::Rejected);
    QCOMPARE(taken, qsizetype(128));
    QVERIFY(!read(nested(129, "{\"a\":", "}")).isValid());
    QVERIFY(!read(QByteArray(1000000, '[')).isValid());
}

void tst_Json::values()
{
    const auto utf8 = [](const char *text) { return QString::fromUtf8(text); };
    const QString bad(QChar(0xfffd));
#define REAL(number) Row(#number, number)
    const auto rows =
        table(Row("10", 10), Row("-0", 0), Row("1.0", 1.0), Row("1e2", 100.0), Row("true", true), Row("false", false),
              Row("null", QAny()), Row("9223372036854775807", kMost), Row("-9223372036854775808", kLeast),
              Row("9223372036854775806", kMost - 1), Row("999999999999999999", Q_INT64_C(999999999999999999)),
              Row("1000000000000000000", Q_INT64_C(1000000000000000000)), Row("9223372036854775808", kMost),
              Row("-9223372036854775809", kLeast), Row("100000000000000000000000000000", kMost), Row("\"\"", ""),
              Row(R"("a\"\\\/\b\f\n\r\tz")", "a\"\\/\b\f\n\r\tz"), Row(R"("\u0041\u010d\u20AC")", utf8("Ač€")),
              Row("\"\\ud83d\\ude00 😀\"", utf8("😀 😀")), Row(R"("\u0000x")", QString(QChar(0)) + 'x'),
              Row(R"("\ud800")", bad), Row(R"("\udc00a")", bad + 'a'), Row(R"("\ud800\u0041")", bad + 'A'),
              Row(R"("\ud800\ud83d\ude00")", bad + utf8("😀")), Row(R"("\ud800\ud800\n")", bad + bad + '\n'),
              Row(R"("\ude00\ud83d")", bad + bad), Row(R"("\ufeffa")", QString(QChar(0xfeff)) + 'a'),
              Row("\"\xef\xbb\xbf\xef\xbb\xbf\"", QString(2, QChar(0xfeff))),
              Row("\"Žužemberk, Črnomelj, Šmarje\"", utf8("Žužemberk, Črnomelj, Šmarje")),
              Row("\"sixteen letters!č and then some ascii more\"", utf8("sixteen letters!č and then some ascii more")),
              Row(R"({"a":1,"b":2,"a":{"c":3}})", QAny{{"a", QAny{{"c", 3}}}, {"b", 2}}),
              Row(R"({"\u010d":1,"č":2})", QAny{{utf8("č"), 2}}),
              Row(R"([1,[2,[]],{"k":[null]}])",
                  QAny::list({1, QAny::list({2, QAny(QAny::List)}), QAny{{"k", QAny::list({QAny()})}}})),
              REAL(0.1), REAL(-0.0), REAL(3.1415926535897931), REAL(123456789012345678.0), REAL(9007199254740993.0),
              REAL(9007199254740992.99999999999999999999), REAL(1e22), REAL(1e23), REAL(8.5e-23),
              REAL(1.7976931348623157e308), REAL(2.2250738585072014e-308), REAL(2.2250738585072011e-308), REAL(5e-324),
              REAL(0.000000000000000000000000000000000123456789012345678901234567890e40),
              REAL(1000000000000000000000000000000000000000000000000.0e-48), REAL(7.2057594037927933e+16),
              Row("1e400", kInfinity), Row("-1.5e309", -kInfinity), Row("1e-400", 0.0), Row("-1e-400", -0.0),
              Row("1e99999999999999999999999", kInfinity), Row("1e-99999999999999999999999", 0.0),
              Row("0e99999999999999999999999", 0.0), Row("0." + QByteArray(400, '0') + "1e401", 1.0),
              Row("1" + QByteArray(400, '0') + ".0e-400", 1.0), Row("1" + QByteArray(400, '0') + ".0", kInfinity));
#undef REAL
    for (const auto &row : rows) {
        const QByteArray asElement = "[" + row.first + "]";
        const QAny list = QAny::list({row.second});
        QVERIFY2(identical(read(asElement), list), row.first.constData());
        QVERIFY2(identical(read("{\"k\":" + row.first + "}"), QAny{{"k", row.second}}), row.first.constData());
        for (int cut = 1; cut < asElement.size(); ++cut)
            QVERIFY2(identical(readInPieces(asElement, cut, 1).value, list), row.first.constData());
    }
    QVERIFY(!read("[\"\"]").at(0).asString().isNull()); // else a statement would bind NULL
}

/// 17 digits name a double; every way of writing them must lead back to it.
void tst_Json::realsAreNearest()
{
    QRandomGenerator random(7);
    for (int i = 0; i < 20000; ++i) {
        const quint64 bits = random.generate64();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof(value));
        if (i % 2 == 0) // everyday sizes, too
            value = static_cast<double>(static_cast<qint64>(bits) >> (bits & 31)) / std::pow(10.0, bits >> 5 & 15);
        if (!std::isfinite(value))
            continue;
        const QByteArray text = QByteArray::number(value, i % 3 == 0 ? 'e' : 'g', i % 3 == 0 ? 16 : 17);
        const QAny number = read("[" + text + "]").at(0);
        QVERIFY2(number.toDouble() == value, text.constData());
    }
}

void tst_Json::malformedUtf8()
{
    const auto decoded = [](const QByteArray &text) { return QString::fromUtf8("x" + text).mid(1); };
    for (const QByteArray bytes :
         {"\x80",                                                     // a lone continuation
          "\xc0\x80", "\xe0\x80\xaf", "\xf0\x8f\xbf\xbf",             // longer than need be
          "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", // a surrogate, beyond Unicode, five bytes
          "\xe2\x82", "\xf0\x9f\x98", "\xc4z",                        // cut short
          "\xff\xfe"}) {
        for (const QByteArray before : {"", "\xef\xbb\xbf", "0123456789abcdefč"}) {
            const QByteArray text = "[\"" + before + bytes + "\",\"" + bytes + before + "\"]";
            const QAny value = read(text);
            QVERIFY2(value.count() == 2, bytes.toHex().constData());
            const QString first = value.at(0).asString();
            QVERIFY2(first.contains(QChar(0xfffd)) && first.startsWith(decoded(before)), bytes.toHex().constData());
            QVERIFY2(value.at(1).asString().endsWith(decoded(before)), bytes.toHex().constData());
            QVERIFY2(identical(readInPieces(text, 1, 1).value, value), bytes.toHex().constData());
            QVERIFY2(read("{\"" + before + bytes + "\":1}").isHash(), bytes.toHex().constData());
        }
    }
}

void tst_Json::lifeOfAReader()
{
    Json::Parser parser;
    QVERIFY(!parser.finish() && !parser.isComplete() && !parser.result().isValid());
    QVERIFY(parser.feed("", 0) && !parser.finish());

    // Complete with its last byte, not before.
    for (const char next : {'[', '0', ']'})
        QVERIFY(!parser.isComplete() && parser.feed(&next, 1));
    QVERIFY(parser.isComplete() && parser.finish());
    QCOMPARE(parser.result(), QAny::list({0}));

    // An early end drops what was read.
    QVERIFY(parser.feed("{\"a\":[", 6));
    QVERIFY(parser.result().isHash() && !parser.isComplete());
    QVERIFY(!parser.finish() && !parser.result().isValid());

    // The result outlives the end of its text and goes with the first byte of the next one.
    QVERIFY(parser.feed("[1]", 3) && parser.finish());
    QVERIFY(!parser.finish());
    QCOMPARE(parser.result(), QAny::list({1}));
    const QAny kept = parser.result();
    QVERIFY(parser.feed(" ", 1));
    QVERIFY(!parser.result().isValid() && !parser.isComplete() && !parser.finish());
    QCOMPARE(kept, QAny::list({1}));

    // A complete value that nobody finished stays complete; nothing more is taken.
    qsizetype taken = 9;
    QVERIFY(parser.feed("[2]", 3));
    QCOMPARE(parser.feedUntilComplete("[3]", 3, &taken), Json::Parser::Complete);
    QCOMPARE(taken, qsizetype(0));
    parser.reset();
    QVERIFY(!parser.isComplete() && !parser.finish());

    // An error leaves no trace.
    QVERIFY(!parser.feed("{\"a\":{\"b\":x", 11));
    QVERIFY(!parser.isComplete() && !parser.result().isValid() && !parser.finish());
    QVERIFY(parser.feed("[4]", 3) && parser.finish());
    QCOMPARE(parser.result(), QAny::list({4}));
}

void tst_Json::emptyKeyIsRejectedAndLogged()
{
    const struct {
        QByteArray text; // a caret before the byte that shows it
        QByteArray root;
    } rows[] = {{"{\"\":1^}", "({})"},
                {"{\"\":\"x^\"}", "({})"},
                {"{\"a\":1,\"\":^[]}", "({\"a\":1})"},
                {"[{\"\":nul^l}]", "([{}])"},
                {"{\"a\":\"" + QByteArray(1000, 'x') + "\",\"\":1^}", ", too long to show"}};
    for (const auto &row : rows) {
        const QByteArray kind = row.text.startsWith('[') ? "<List>" : "<Hash>";
        const QByteArray line = "Parser::parse() QAny" + kind + row.root + " error key= \"\"";
        const int wrongByte = row.text.indexOf('^');
        for (const int piece : {wrongByte, wrongByte + 1}) {
            QTest::ignoreMessage(QtDebugMsg, line.constData());
            const Reading reading = readInPieces(QByteArray(row.text).remove(wrongByte, 1), piece, 1);
            QCOMPARE(reading.taken, qsizetype(wrongByte));
            QVERIFY(!reading.accepted && !reading.value.isValid());
        }
    }
}

void tst_Json::tokensOverManyPieces()
{
    const QByteArray letters = QByteArray("abcč\\n\\u0161\\ud83d\\ude00\\\\").repeated(3000);
    const QString decoded = QString::fromUtf8("abcč\nš😀\\").repeated(3000);
    const QByteArray digits(100000, '7');
    const QByteArray text = "{\"" + letters + "\":[\"" + letters + "\"," + digits + "," + digits + ".5e-99999,-" +
                            digits + ", 0." + digits + "," + QByteArray("/* */").repeated(2000) + "1]}";
    const QAny expected{{decoded, QAny::list({decoded, kMost, 7.777777777777778, kLeast, 7.0 / 9.0, 1})}};
    for (const int piece : {1, 7, 4096, 1000000})
        QVERIFY(identical(readInPieces(text, piece, piece).value, expected));
}

void tst_Json::decimalCommaOfTheLocale()
{
    const QByteArray old = setlocale(LC_NUMERIC, nullptr);
    const char *found = nullptr;
    for (const char *name : {"sl_SI.UTF-8", "de_DE.UTF-8", "German_Germany"})
        found = found ? found : setlocale(LC_NUMERIC, name);
    if (!found)
        QSKIP("no locale with a decimal comma is installed");
    const QAny value = read("[1.5,1.23456789012345678901e30]");
    const QByteArray text = QAny(1234.5678912).toJsonUtf8();
    setlocale(LC_NUMERIC, old.constData());
    QVERIFY(identical(value, QAny::list({1.5, 1.23456789012345678901e30})));
    QCOMPARE(text, QByteArray("1234.5678912"));
}

void tst_Json::writing()
{
    const auto rows = table(
        Row("\"Invalid\"", QAny(QAny::Invalid)), Row("null", QAny()), Row("true", true), Row("false", false),
        Row("-9223372036854775808", kLeast), Row("0", 0), Row("0.5", 0.5), Row("1e+20", 1e20),
        Row("3.1415926535898", 3.14159265358979), Row("2", 2.0), // reads back as an Integer
        Row("inf", kInfinity), Row("-inf", -kInfinity),          // no JSON, yet the stated form
        Row("nan", std::numeric_limits<double>::quiet_NaN()), Row("[]", QAny(QAny::List)), Row("{}", QAny(QAny::Hash)),
        Row(R"([1,[],{},""])", QAny::list({1, QAny(QAny::List), QAny(QAny::Hash), ""})),
        Row(R"({"a":1,"b\n\"č":[null]})", QAny{{"a", 1}, {QString::fromUtf8("b\n\"č"), QAny::list({QAny()})}}),
        Row("\"/\"", "/"), Row(QByteArray("\"\0\"", 3), QString(QChar(0))),
        Row("\"?a?\"", QString(QChar(0xd800)) + 'a' + QChar(0xdc00)));
    for (const auto &row : rows) {
        QCOMPARE(row.second.toJsonUtf8(), row.first);
        QCOMPARE(row.second.toJson().toUtf8(), row.first);
    }
}

void tst_Json::stringsWrittenAsRequired()
{
    // One character of each sort at every place of texts of every length that a block of bytes can see.
    const ushort sorts[] = {0,      1,      8,      9,      0xb,    0xd,    0xe,    0x1f,  ' ',
                            '"',    '\\',   0x7f,   0x80,   0x10d,  0x122,  0x15c,  0x7ff, 0x800,
                            0x2022, 0x5c5c, 0xd7ff, 0xe000, 0xfeff, 0xffff, 0xd83d, 0xde00};
    for (const ushort sort : sorts) {
        for (int length = 1; length <= 36; ++length) {
            for (int place = 0; place < length; ++place) {
                QString text(length, 'a');
                text[place] = QChar(sort);
                if (place % 2 == 1)
                    text[place - 1] = QChar(0xd83d); // a pair with the low surrogate, else lone
                QCOMPARE(QAny(text).toJson(), quoted(text));
                QCOMPARE(QAny(text).toJsonUtf8(), quoted(text).toUtf8());
            }
        }
    }
    // A pair over the border of a piece, and growth many times over.
    for (const int before : {4094, 4095, 4096, 8191}) {
        const QString text = QString(before, QChar(0x20ac)) + QString::fromUtf8("😀\"") + QString(9000, '\n');
        QCOMPARE(QAny(text).toJsonUtf8(), quoted(text).toUtf8());
        QCOMPARE(QAny(text).toJson(), quoted(text));
    }
}

void tst_Json::doublesWrittenAsRequired()
{
    const auto check = [](double value) {
        const QString required = QStringLiteral("%1").arg(value, 0, 'g', 14);
        return QAny(value).toJson() == required &&
               QAny(-value).toJson() == QStringLiteral("%1").arg(-value, 0, 'g', 14) &&
               QAny(value).toJsonUtf8() == required.toUtf8();
    };
    for (const QByteArray &text :
         words("0 1e-5 9.9999e-5 1e-4 0.00012 1.00000000000005 99999999999999 99999999999999.5 "
               "1e14 1e15 0.3 0.30000000000000004 1e300 5e-324 1234567890.1234 "
               "12345678901.12345 0.99999999999999989 0.000099999999999999999 8.3333 "
               "9999999999.99995 0.33333333333333331 0.66666666666666663 33.333333333333336"))
        QVERIFY2(check(text.toDouble()), text.constData());
    QRandomGenerator random(3);
    for (int i = 0; i < 50000; ++i) {
        const qint64 number = static_cast<qint64>(random.generate64() >> (10 + random.bounded(54)));
        const double value = static_cast<double>(number) / std::pow(10.0, random.bounded(12));
        QVERIFY2(check(value), QByteArray::number(value, 'g', 17).constData());
    }
}

void tst_Json::roundTrip()
{
    QRandomGenerator random(11);
    QAny value{{"empty", QAny(QAny::Hash)}, {"list", QAny(QAny::List)}, {"shapes", QAny(QAny::List)}};
    // Texts and keys that repeat are shared inside.
    for (int i = 0; i < 1500; ++i) {
        const QString tail = QString::number(i % 700);
        value["list"].append(QAny{{"i", i * i},
                                  {"d", i + 0.5},
                                  {"t", QString::fromUtf8("č\"\\\n😀").repeated(i % 40)},
                                  {"n", i % 2 ? QAny() : QAny(true)},
                                  {"l", QAny::list({QAny::list({i})})},
                                  {"NAME", "n" + tail},
                                  {"LONG", "a text of more than twenty-four bytes " + tail},
                                  {"PAD", QString(i % 27, 'x')},
                                  {QString::fromUtf8("Č"), QString::fromUtf8("č") + tail},
                                  {"ZERO", QString(i % 5, QChar(0))}});
    }
    // Rows that rarely have the keys of the row before.
    for (int i = 0; i < 2000; ++i) {
        QAny row(QAny::Hash);
        const int members = random.bounded(4) == 0 ? random.bounded(200) : random.bounded(6);
        for (int k = 0; k < members; ++k)
            row.insert(QChar('a' + random.bounded(3)) + QString::number(k), QAny::list({k}));
        value["shapes"].append(row);
    }
    const QByteArray written = value.toJsonUtf8();
    const QByteArray text = QByteArray(written).replace('\0', "\\u0000");
    QVERIFY(identical(read(text), value));
    QCOMPARE(read(text).toJsonUtf8(), written);
    for (const int piece : {1, 3, 64, 1000})
        QVERIFY(identical(readInPieces(text, piece, piece).value, value));
    QVERIFY(identical(QAny::fromJson(QString::fromUtf8(text)), value));
}

void tst_Json::textsGrowInParts()
{
    JsonText rows;
    QAny list(QAny::List);
    for (int i = 0; i < 1000; ++i) { // beyond what is kept free at first
        const QAny row{{"N", i}, {"T", QString("č\"") + QString(i, 'x')}};
        list.append(row);
        rows.add(QLatin1String(i == 0 ? "[" : ","));
        rows.add(row);
    }
    rows.add(QLatin1String("]"));
    QCOMPARE(rows.size(), list.toJsonUtf8().size());
    JsonText twice;
    twice.add(rows, 0, rows.size());
    twice.add(rows, 1, 13);
    QCOMPARE(rows.taken(), list.toJsonUtf8());
    QCOMPARE(twice.taken(), list.toJsonUtf8() + list.toJsonUtf8().mid(1, 12));
    QCOMPARE(rows.size(), 0);
    rows.reserve(10000);
    rows.add(QAny{{"A", 1}, {"B", QAny::list()}});
    rows.extendHash({{"C", QAny{{"D", QAny()}}}, {"E", true}});
    QCOMPARE(rows.taken(), QByteArray(R"({"A":1,"B":[],"C":{"D":null},"E":true})"));
    QCOMPARE(rows.taken(), QByteArray());
}

QTEST_GUILESS_MAIN(tst_Json)
#include "tst_json.moc"
