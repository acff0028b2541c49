#include "jsonparser.h"

#include <QDebug>
#include <QRandomGenerator>
#include <QTest>

#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr int kAccepted = -1;
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
    QAny value;
};

Reading readInPieces(const QByteArray &text, qsizetype first, qsizetype further)
{
    Json::Parser parser;
    Reading reading;
    qsizetype piece = first;
    while (reading.taken < text.size()) {
        // A copy of its own, so that a look beyond the piece shows.
        const QByteArray bytes = text.mid(static_cast<int>(reading.taken), static_cast<int>(piece));
        Json::Parser::Feed fed = Json::Parser::NeedsMore;
        for (qsizetype at = 0; at < bytes.size();) {
            qsizetype taken = 0;
            fed = parser.feedUntilComplete(bytes.constData() + at, bytes.size() - at, &taken);
            at += taken;
            reading.taken += taken;
            if (fed == Json::Parser::Rejected)
                return reading;
            if (fed == Json::Parser::Complete) {
                // What follows a complete value in the same text goes byte by byte.
                for (; at < bytes.size(); ++at, ++reading.taken) {
                    if (!parser.feed(bytes.constData() + at, 1))
                        return reading;
                }
            }
        }
        piece = further;
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

} // namespace

class tst_Json : public QObject
{
    Q_OBJECT

private slots:
    void grammar_data();
    void grammar();
    void everyByteInEveryPlace_data();
    void everyByteInEveryPlace();
    void nesting();
    void values_data();
    void values();
    void reals_data();
    void reals();
    void realsAreNearest();
    void malformedUtf8_data();
    void malformedUtf8();
    void completeWithItsLastByte();
    void messagesOneAfterAnother();
    void lifeOfAReader();
    void emptyKeyIsRejectedAndLogged();
    void longRootIsNotLogged();
    void tokensOverManyPieces();
    void repeatedTextsAndKeys();
    void rowsOfChangingShape();
    void decimalCommaOfTheLocale();
    void writing_data();
    void writing();
    void stringsWrittenAsRequired();
    void doublesWrittenAsRequired();
    void longTextsWritten();
    void roundTrip();
};

void tst_Json::grammar_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("wrongByte"); // its position; the length where the text just ends too early
    const auto good = [](const char *text) { QTest::newRow(text) << QByteArray(text) << kAccepted; };
    const auto bad = [](const char *text, int wrongByte) { QTest::newRow(text) << QByteArray(text) << wrongByte; };
    const auto part = [](const char *text) { QTest::newRow(text) << QByteArray(text) << int(strlen(text)); };

    for (const char *text : {"[]",
                             "{}",
                             " \t\r\n[ \t\r\n] \t\r\n",
                             "[[],{}]",
                             "{\"a\":{},\"b\":[]}",
                             "{ \"a\" : 1 , \"b\" : 2 }",
                             "[true,false,null]",
                             "[ true , false , null ]",
                             "[0]",
                             "[-0]",
                             "[10]",
                             "[-1]",
                             "[0.0]",
                             "[1.5e10]",
                             "[1E+2]",
                             "[1e-2]",
                             "[0e0]",
                             "[-0.0]",
                             "[1 ]",
                             "[\"\"]",
                             "[\"a\"]",
                             "[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u0041\"]",
                             "[\"\\u00e9\\uABCD\\uabcd\"]",
                             "[\"\x7f\"]",
                             "[\"/*no*/ //comment\"]",
                             "{\"a\":1,\"a\":2}",
                             "[\"\\ud800\"]",
                             "[\"\\udc00\"]",
                             "[\"\\ud800\\ud800\"]",
                             "[\"\\ud800\\n\"]",
                             "[\"\\ud800x\"]",
                             "[\"\\ud83d\\ude00\"]"})
        good(text);
    for (const char *text :
         {"/**/[]", "[]/**/", "[/**/]", "[1/**/,2]", "[1/**/]", "{/**/\"a\"/**/:/**/1/**/,/**/\"b\":2}", "/***/[]",
          "/****/[]", "/*/ */[]", "/* * / ** */[]", "//\n[]", "[//]\n]", "[1//\n]", "[]//", "[]// end", "[]//\n",
          "// a\r still\n[]", "[1/*\n*//*x*/,//\n2]"})
        good(text);
    QTest::newRow("NUL in a comment") << QByteArray("/*\0*/[]", 7) << kAccepted;

    for (const char *text : {"1", "-1", "\"a\"", "true", "null", "x", "\xef\xbb\xbf[]", "]", "}", ",", ":", "\f[]"})
        bad(text, 0);
    bad("[1,2]]", 5);
    bad("[] []", 3);
    bad("{} x", 3);
    bad("[,1]", 1);
    bad("[1,]", 3);
    bad("[1,,2]", 3);
    bad("[1 2]", 3);
    bad("[1}", 2);
    bad("[}", 1);
    bad("{]", 1);
    bad("{\"a\":1]", 6);
    bad("{,}", 1);
    bad("{\"a\":1,}", 7);
    bad("{\"a\"}", 4);
    bad("{\"a\",1}", 4);
    bad("{\"a\"::1}", 5);
    bad("{\"a\":}", 5);
    bad("{a:1}", 1);
    bad("{1:1}", 1);
    bad("{'a':1}", 1);
    bad("[\"a\":1]", 4);
    bad("[\"a\" \"b\"]", 5);
    bad("[01]", 2);
    bad("[-01]", 3);
    bad("[+1]", 1);
    bad("[-]", 2);
    bad("[--1]", 2);
    bad("[.5]", 1);
    bad("[1.]", 3);
    bad("[1.e1]", 3);
    bad("[1e]", 3);
    bad("[1e+]", 4);
    bad("[1e1.5]", 4);
    bad("[1.2.3]", 4);
    bad("[0x10]", 2);
    bad("[1a]", 2);
    bad("[NaN]", 1);
    bad("[Infinity]", 1);
    bad("[inf]", 1);
    bad("[tru]", 4);
    bad("[truE]", 4);
    bad("[True]", 1);
    bad("[nul1]", 4);
    bad("[nulll]", 5);
    bad("[falsey]", 6);
    bad("[true1]", 5);
    bad("['a']", 1);
    bad("[\"\\x\"]", 3);
    bad("[\"\\U0041\"]", 3);
    bad("[\"\\u004\"]", 7);
    bad("[\"\\u00g0\"]", 6);
    bad("[\"\\ud800\\x\"]", 9);
    bad("[\"\\ud800\\u12\"]", 12);
    bad("[\"a\nb\"]", 3);
    bad("[\"a\tb\"]", 3);
    bad("[\"\x1f\"]", 2);
    bad("{\"a\x01\":1}", 3);
    bad("/[]", 1);
    bad("[/]", 2);
    bad("[1/x]", 3);
    bad("[#\n]", 1);
    bad("[]/ ", 3);
    bad("*/[]", 0);
    QTest::newRow("NUL in a string") << QByteArray("[\"\0\"]", 5) << 2;
    QTest::newRow("NUL between values") << QByteArray("[\0]", 3) << 1;
    QTest::newRow("NUL for a separator") << QByteArray("[1\0]", 4) << 2;
    QTest::newRow("byte beyond ASCII") << QByteArray("[\xc2\xa0]") << 1;

    for (const char *text :
         {"",      " ",        "[",   "{",  "[1",  "[1,", "{\"a", "{\"a\"", "{\"a\":", "{\"a\":1", "{\"a\":1,", "[\"",
          "[\"\\", "[\"\\u00", "[tr", "[-", "[1.", "[[]", "/**/", "[]/",    "[]/*",    "[]/**",    "[]//x\n/*", "//[]"})
        part(text);
}

void tst_Json::grammar()
{
    QFETCH(QByteArray, text);
    QFETCH(int, wrongByte);
    const QAny whole = read(text);
    QCOMPARE(whole.isValid(), wrongByte == kAccepted);
    // Cut at every byte, and byte by byte.
    for (qsizetype cut = 1; cut <= text.size() + 1; ++cut) {
        const qsizetype further = cut > text.size() ? 1 : text.size();
        const Reading reading = readInPieces(text, cut > text.size() ? 1 : cut, further);
        QCOMPARE(reading.accepted, wrongByte == kAccepted);
        QCOMPARE(reading.taken, wrongByte == kAccepted ? qsizetype(text.size()) : qsizetype(wrongByte));
        QVERIFY(identical(reading.value, reading.accepted ? whole : QAny(reading.value.type())));
    }
    Json::Parser parser;
    QCOMPARE(parser.feed(text.constData(), text.size()), wrongByte == kAccepted || wrongByte == text.size());
    QCOMPARE(parser.finish(), wrongByte == kAccepted);
}

void tst_Json::everyByteInEveryPlace_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("allowed"); // the bytes that may follow it
    const QByteArray layout = " \t\r\n/";
    const QByteArray value = layout + "{[\"-0123456789tfn";
    const QByteArray digits = "0123456789";
    const auto row = [](const char *before, const QByteArray &allowed) {
        QTest::newRow(before) << QByteArray(before) << allowed;
    };
    row("", layout + "{[");
    row("[", value + "]");
    row("[1,", value);
    row("[[]", layout + ",]");
    row("{", layout + "\"}");
    row("{\"a\":1,", layout + "\"");
    row("{\"a\"", layout + ":");
    row("{\"a\":", value);
    row("{\"a\":[]", layout + ",}");
    row("[]", layout);
    row("[\"\\", "\"\\/bfnrtu");
    row("[\"\\u0", digits + "abcdefABCDEF");
    row("[-", digits);
    row("[0", layout + ".eE,]");
    row("[1", layout + digits + ".eE,]");
    row("[1.", digits);
    row("[1.1", layout + digits + "eE,]");
    row("[1e", digits + "+-");
    row("[1e+", digits);
    row("[1e1", layout + digits + ",]");
    row("{\"a\":0", layout + ".eE,}");
    row("[/", "/*");
    row("[t", "r");
    row("[f", "a");
    row("[n", "u");
    QByteArray inString;
    for (int byte = 32; byte < 256; ++byte)
        inString.append(static_cast<char>(byte));
    row("[\"", inString);
    row("[\"\\ud800", inString);
}

void tst_Json::everyByteInEveryPlace()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, allowed);
    for (int byte = 0; byte < 256; ++byte) {
        const char next = static_cast<char>(byte);
        Json::Parser parser;
        QVERIFY(parser.feed(before.constData(), before.size()));
        QVERIFY2(parser.feed(&next, 1) == allowed.contains(next), qPrintable(QString::number(byte)));
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

void tst_Json::values_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QAny>("value");
    const auto row = [](const char *text, const QAny &value) { QTest::newRow(text) << QByteArray(text) << value; };
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    row("10", 10);
    row("-0", 0);
    row("1.0", 1.0);
    row("1e2", 100.0);
    row("9223372036854775807", most);
    row("-9223372036854775808", least);
    row("9223372036854775806", most - 1);
    row("999999999999999999", Q_INT64_C(999999999999999999));
    row("1000000000000000000", Q_INT64_C(1000000000000000000));
    row("9223372036854775808", most);
    row("-9223372036854775809", least);
    row("100000000000000000000000000000", most);
    row("true", true);
    row("false", false);
    row("null", QAny());
    row("\"\"", QString(""));
    row("\"a\\\"\\\\\\/\\b\\f\\n\\r\\tz\"", QString("a\"\\/\b\f\n\r\tz"));
    row("\"\\u0041\\u010d\\u20AC\"", QString::fromUtf8("Ač€"));
    row("\"\\ud83d\\ude00 \xf0\x9f\x98\x80\"", QString::fromUtf8("😀 😀"));
    row("\"\\u0000x\"", QString(QChar(0)) + 'x');
    row("\"\\ud800\"", QString(QChar(0xfffd)));
    row("\"\\udc00a\"", QString(QChar(0xfffd)) + 'a');
    row("\"\\ud800\\u0041\"", QString(QChar(0xfffd)) + 'A');
    row("\"\\ud800\\ud83d\\ude00\"", QString(QChar(0xfffd)) + QString::fromUtf8("😀"));
    row("\"\\ud800\\ud800\\n\"", QString(2, QChar(0xfffd)) + '\n');
    row("\"\\ude00\\ud83d\"", QString(2, QChar(0xfffd)));
    row("\"\\ufeffa\"", QString(QChar(0xfeff)) + 'a');
    row("\"\xef\xbb\xbf\xef\xbb\xbf\"", QString(2, QChar(0xfeff)));
    row("\"Žužemberk, Črnomelj, Šmarje\"", QString::fromUtf8("Žužemberk, Črnomelj, Šmarje"));
    row("\"sixteen letters!č and then some ascii more\"",
        QString::fromUtf8("sixteen letters!č and then some ascii more"));
    row("{\"a\":1,\"b\":2,\"a\":{\"c\":3}}", QAny{{"a", QAny{{"c", 3}}}, {"b", 2}});
    row("{\"\\u010d\":1,\"č\":2}", QAny{{QString::fromUtf8("č"), 2}});
    row("[1,[2,[]],{\"k\":[null]}]",
        QAny::list({1, QAny::list({2, QAny(QAny::List)}), QAny{{"k", QAny::list({QAny()})}}}));
}

void tst_Json::values()
{
    QFETCH(QByteArray, text);
    QFETCH(QAny, value);
    const QByteArray asElement = "[" + text + "]";
    QVERIFY(identical(read(asElement), QAny::list({value})));
    QVERIFY(identical(read("{\"k\":" + text + "}"), QAny{{"k", value}}));
    for (int cut = 1; cut < asElement.size(); ++cut)
        QVERIFY(identical(readInPieces(asElement, cut, 1).value, QAny::list({value})));
    if (value.isString())
        QVERIFY(!read(asElement).at(0).asString().isNull()); // else a statement would bind NULL
}

void tst_Json::reals_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<double>("value");
#define REAL(number) QTest::newRow(#number) << QByteArray(#number) << double(number)
    REAL(0.1);
    REAL(-0.0);
    REAL(3.1415926535897931);
    REAL(123456789012345678.0);
    REAL(9007199254740993.0);
    REAL(9007199254740992.99999999999999999999);
    REAL(1e22);
    REAL(1e23);
    REAL(8.5e-23);
    REAL(1.7976931348623157e308);
    REAL(2.2250738585072014e-308);
    REAL(2.2250738585072011e-308);
    REAL(5e-324);
    REAL(0.000000000000000000000000000000000123456789012345678901234567890e40);
    REAL(1000000000000000000000000000000000000000000000000.0e-48);
    REAL(7.2057594037927933e+16);
#undef REAL
    QTest::newRow("too large") << QByteArray("1e400") << kInfinity;
    QTest::newRow("too large, negative") << QByteArray("-1.5e309") << -kInfinity;
    QTest::newRow("too small") << QByteArray("1e-400") << 0.0;
    QTest::newRow("too small, negative") << QByteArray("-1e-400") << -0.0;
    QTest::newRow("exponent of many digits") << QByteArray("1e99999999999999999999999") << kInfinity;
    QTest::newRow("negative one") << QByteArray("1e-99999999999999999999999") << 0.0;
    QTest::newRow("zero with an exponent") << QByteArray("0e99999999999999999999999") << 0.0;
    QTest::newRow("long and small") << QByteArray("0." + QByteArray(400, '0') + "1e401") << 1.0;
    QTest::newRow("long and large") << QByteArray("1" + QByteArray(400, '0') + ".0e-400") << 1.0;
}

void tst_Json::reals()
{
    QFETCH(QByteArray, text);
    QFETCH(double, value);
    QVERIFY(identical(read("[" + text + "]"), QAny::list({value})));
    QVERIFY(identical(readInPieces("[" + text + "]", 2, 3).value, QAny::list({value})));
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

void tst_Json::malformedUtf8_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("lone continuation") << QByteArray("\x80");
    QTest::newRow("overlong") << QByteArray("\xc0\x80");
    QTest::newRow("overlong slash") << QByteArray("\xe0\x80\xaf");
    QTest::newRow("overlong four bytes") << QByteArray("\xf0\x8f\xbf\xbf");
    QTest::newRow("surrogate") << QByteArray("\xed\xa0\x80");
    QTest::newRow("beyond Unicode") << QByteArray("\xf4\x90\x80\x80");
    QTest::newRow("five bytes") << QByteArray("\xf8\x88\x80\x80\x80");
    QTest::newRow("cut short") << QByteArray("\xe2\x82");
    QTest::newRow("four bytes cut short") << QByteArray("\xf0\x9f\x98");
    QTest::newRow("lead before ASCII") << QByteArray("\xc4z");
    QTest::newRow("no UTF-8 byte") << QByteArray("\xff\xfe");
}

void tst_Json::malformedUtf8()
{
    QFETCH(QByteArray, bytes);
    for (const QByteArray &before : {QByteArray(), QByteArray("\xef\xbb\xbf"), QByteArray("0123456789abcdefč")}) {
        const QByteArray text = "[\"" + before + bytes + "\",\"" + bytes + before + "\"]";
        const QAny value = read(text);
        QCOMPARE(value.count(), 2);
        QVERIFY(value.at(0).asString().contains(QChar(0xfffd)));
        QVERIFY(value.at(0).asString().startsWith(QString::fromUtf8("x" + before).mid(1)));
        QVERIFY(value.at(1).asString().endsWith(QString::fromUtf8("x" + before).mid(1)));
        QVERIFY(identical(readInPieces(text, 1, 1).value, value));
        QVERIFY(read("{\"" + before + bytes + "\":1}").isHash());
    }
}

void tst_Json::completeWithItsLastByte()
{
    const QByteArray text = "{\"a\":1}";
    Json::Parser parser;
    for (int i = 0; i < text.size(); ++i) {
        QVERIFY(!parser.isComplete());
        QVERIFY(parser.feed(text.constData() + i, 1));
    }
    QVERIFY(parser.isComplete());
    QVERIFY(parser.finish());
    QVERIFY(identical(parser.result(), QAny{{"a", 1}}));
}

void tst_Json::messagesOneAfterAnother()
{
    const QByteArray stream = "{\"n\":1}{\"n\":2}[3] \n{\"n\":4}/**/{}";
    const QList<QByteArray> expected = {"{\"n\":1}", "{\"n\":2}", "[3]", "{\"n\":4}", "{}"};
    for (int piece = 1; piece <= stream.size(); ++piece) {
        Json::Parser parser;
        QList<QByteArray> found;
        for (int begin = 0; begin < stream.size(); begin += piece) {
            const QByteArray bytes = stream.mid(begin, piece);
            for (qsizetype at = 0; at < bytes.size();) {
                qsizetype taken = 0;
                const auto fed = parser.feedUntilComplete(bytes.constData() + at, bytes.size() - at, &taken);
                QVERIFY(fed != Json::Parser::Rejected);
                at += taken;
                if (fed == Json::Parser::Complete) {
                    QVERIFY(parser.finish());
                    found.append(parser.result().toJsonUtf8());
                } else {
                    QCOMPARE(at, qsizetype(bytes.size()));
                }
            }
        }
        QCOMPARE(found, expected);
    }
}

void tst_Json::lifeOfAReader()
{
    Json::Parser parser;
    QVERIFY(!parser.finish());
    QVERIFY(!parser.isComplete() && !parser.result().isValid());
    QVERIFY(parser.feed("", 0));
    QVERIFY(!parser.finish());

    // An early end drops what was read.
    QVERIFY(parser.feed("{\"a\":[", 6));
    QVERIFY(parser.result().isHash() && !parser.isComplete());
    QVERIFY(!parser.finish());
    QVERIFY(!parser.result().isValid());

    // The result outlives the end of its text and goes with the first byte of the next one.
    QVERIFY(parser.feed("[1]", 3) && parser.finish());
    QVERIFY(!parser.finish());
    QCOMPARE(parser.result(), QAny::list({1}));
    const QAny kept = parser.result();
    QVERIFY(parser.feed(" ", 1));
    QVERIFY(!parser.result().isValid() && !parser.isComplete());
    QVERIFY(!parser.finish());
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
        QByteArray text;
        qsizetype wrongByte;
        const char *root;
    } rows[] = {{"{\"\":1}", 5, "QAny<Hash>({})"},
                {"{\"\":\"x\"}", 6, "QAny<Hash>({})"},
                {"{\"a\":1,\"\":[]}", 10, "QAny<Hash>({\"a\":1})"},
                {"[{\"\":null}]", 8, "QAny<List>([{}])"}};
    for (const auto &row : rows) {
        const QByteArray line = QByteArray("Parser::parse() ") + row.root + " error key= \"\"";
        QTest::ignoreMessage(QtDebugMsg, line.constData());
        qsizetype taken = 0;
        Json::Parser parser;
        QCOMPARE(parser.feedUntilComplete(row.text.constData(), row.text.size(), &taken), Json::Parser::Rejected);
        QCOMPARE(taken, row.wrongByte);
        QVERIFY(!parser.result().isValid());
    }
}

void tst_Json::longRootIsNotLogged()
{
    QTest::ignoreMessage(QtDebugMsg, "Parser::parse() QAny<Hash>, too long to show error key= \"\"");
    Json::Parser parser;
    const QByteArray begin = "{\"a\":\"" + QByteArray(1000000, 'x') + "\"";
    QVERIFY(parser.feed(begin.constData(), begin.size()));
    QVERIFY(!parser.feed(",\"\":1}", 6));
    QTest::ignoreMessage(QtDebugMsg, "Parser::parse() QAny<Hash>, too long to show error key= \"\"");
    const QByteArray whole = begin + ",\"\":1}";
    QVERIFY(!parser.feed(whole.constData(), whole.size()));
}

void tst_Json::tokensOverManyPieces()
{
    const QByteArray letters = QByteArray("abcč\\n\\u0161\\ud83d\\ude00\\\\").repeated(3000);
    QString decoded = QString::fromUtf8("abcč\nš😀\\").repeated(3000);
    const QByteArray digits(100000, '7');
    const QByteArray text = "{\"" + letters + "\":[\"" + letters + "\"," + digits + "," + digits + ".5e-99999,-" +
                            digits + ", 0." + digits + "," + QByteArray("/* */").repeated(2000) + "1]}";
    for (const int piece : {1, 7, 4096, 1000000}) {
        const QAny value = readInPieces(text, piece, piece).value;
        QCOMPARE(value.keys(), QStringList{decoded});
        const QAny &list = value.at(0);
        QCOMPARE(list.at(0).asString(), decoded);
        QCOMPARE(list.at(1).asInteger(), std::numeric_limits<qint64>::max());
        QCOMPARE(list.at(2).asDouble(), 7.777777777777778);
        QCOMPARE(list.at(3).asInteger(), std::numeric_limits<qint64>::min());
        QCOMPARE(list.at(4).asDouble(), 7.0 / 9.0);
        QCOMPARE(list.at(5).asInteger(), qint64(1));
    }
}

/// Texts and keys that repeat are shared inside; each must still be its own.
void tst_Json::repeatedTextsAndKeys()
{
    QAny rows(QAny::List);
    for (int i = 0; i < 4000; ++i) {
        const QString tail = QString::number(i % 700);
        rows.append(QAny{{"NAME", "n" + tail},
                         {"LONG", "a text of more than twenty-four bytes " + tail},
                         {"PAD", QString(i % 27, 'x')},
                         {"Č", QString::fromUtf8("č") + tail},
                         {"ZERO", QString(i % 5, QChar(1))},
                         {"E", ""}});
    }
    const QByteArray text = rows.toJsonUtf8().replace("\x01", "\\u0000");
    QAny expected = rows.deepCopy();
    for (int i = 0; i < expected.count(); ++i)
        expected[i]["ZERO"] = QString(i % 5, QChar(0));
    const QAny value = read(text);
    QVERIFY(identical(value, expected));
    // A repeated text is a value like any other.
    QAny changed = value.at(0).deepCopy();
    changed["NAME"] = changed["NAME"].toString() + "!";
    QCOMPARE(value.at(700)["NAME"].asString(), QStringLiteral("n0"));
}

void tst_Json::rowsOfChangingShape()
{
    QRandomGenerator random(11);
    QAny rows(QAny::List);
    for (int i = 0; i < 2000; ++i) {
        QAny row(QAny::Hash);
        const int members = random.bounded(4) == 0 ? random.bounded(200) : random.bounded(6);
        for (int k = 0; k < members; ++k)
            row.insert(QChar('a' + random.bounded(3)) + QString::number(k), QAny::list({k}));
        rows.append(row);
    }
    const QByteArray text = rows.toJsonUtf8();
    QVERIFY(identical(read(text), rows));
    QVERIFY(identical(readInPieces(text, 1, 1).value, rows));
    QCOMPARE(read(text).toJsonUtf8(), text);
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

void tst_Json::writing_data()
{
    QTest::addColumn<QAny>("value");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char *text, const QAny &value) { QTest::newRow(text) << value << QByteArray(text); };
    row("\"Invalid\"", QAny(QAny::Invalid));
    row("null", QAny());
    row("true", true);
    row("false", false);
    row("-9223372036854775808", std::numeric_limits<qint64>::min());
    row("0", 0);
    row("2", 2.0); // reads back as an Integer
    row("0.5", 0.5);
    row("1e+20", 1e20);
    row("3.1415926535898", 3.14159265358979);
    row("inf", kInfinity); // no JSON, yet the stated form
    row("-inf", -kInfinity);
    row("nan", std::numeric_limits<double>::quiet_NaN());
    row("[]", QAny(QAny::List));
    row("{}", QAny(QAny::Hash));
    row("[1,[],{},\"\"]", QAny::list({1, QAny(QAny::List), QAny(QAny::Hash), ""}));
    row("{\"a\":1,\"b\\n\\\"č\":[null]}", QAny{{"a", 1}, {QString::fromUtf8("b\n\"č"), QAny::list({QAny()})}});
    row("\"\\t\\\"\"", "\t\"");
    row("\"\\\\n\"", "\\n");
    row("\"\\b\\f\\n\\r\\t/\x0b\x01\x1f\x7f\"", "\b\f\n\r\t/\x0b\x01\x1f\x7f");
    row("\"čŠž€😀\"", QString::fromUtf8("čŠž€😀"));
    QTest::newRow("NUL stays raw") << QAny(QString(QChar(0))) << QByteArray("\"\0\"", 3);
    QTest::newRow("lone surrogates") << QAny(QString(QChar(0xd800)) + 'a' + QChar(0xdc00)) << QByteArray("\"?a?\"");
}

void tst_Json::writing()
{
    QFETCH(QAny, value);
    QTEST(value.toJsonUtf8(), "text");
    QTEST(value.toJson().toUtf8(), "text");
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
}

void tst_Json::doublesWrittenAsRequired()
{
    const auto check = [](double value) {
        const QString required = QStringLiteral("%1").arg(value, 0, 'g', 14);
        return QAny(value).toJson() == required &&
               QAny(-value).toJson() == QStringLiteral("%1").arg(-value, 0, 'g', 14) &&
               QAny(value).toJsonUtf8() == required.toUtf8();
    };
    for (const double value : {0.0,
                               1e-5,
                               9.9999e-5,
                               1e-4,
                               0.00012,
                               1.00000000000005,
                               99999999999999.0,
                               99999999999999.5,
                               1e14,
                               1e15,
                               0.3,
                               0.1 + 0.2,
                               1e300,
                               5e-324,
                               1234567890.1234,
                               12345678901.12345,
                               0.99999999999999989,
                               0.000099999999999999999,
                               9999999999.99995,
                               1.0 / 3,
                               2.0 / 3,
                               100.0 / 3,
                               8.3333})
        QVERIFY2(check(value), QByteArray::number(value, 'g', 17).constData());
    QRandomGenerator random(3);
    for (int i = 0; i < 50000; ++i) {
        const qint64 number = static_cast<qint64>(random.generate64() >> (10 + random.bounded(54)));
        const double value = static_cast<double>(number) / std::pow(10.0, random.bounded(12));
        QVERIFY2(check(value), QByteArray::number(value, 'g', 17).constData());
    }
}

void tst_Json::longTextsWritten()
{
    // A pair over the border of a piece, and growth many times over.
    for (const int before : {4094, 4095, 4096, 8191}) {
        const QString text = QString(before, QChar(0x20ac)) + QString::fromUtf8("😀\"") + QString(9000, '\n');
        QCOMPARE(QAny(text).toJsonUtf8(), quoted(text).toUtf8());
        QCOMPARE(QAny(text).toJson(), quoted(text));
    }
}

void tst_Json::roundTrip()
{
    QAny value{{"empty", QAny(QAny::Hash)}, {"list", QAny(QAny::List)}};
    for (int i = 0; i < 500; ++i) {
        value["list"].append(QAny{{"i", i * i * i},
                                  {"d", i + 0.5},
                                  {"t", QString::fromUtf8("č\"\\\n😀").repeated(i % 40)},
                                  {"n", i % 2 ? QAny() : QAny(true)},
                                  {"l", QAny::list({QAny::list({i})})}});
    }
    const QByteArray text = value.toJsonUtf8();
    QVERIFY(identical(read(text), value));
    for (const int piece : {1, 3, 64, 1000})
        QVERIFY(identical(readInPieces(text, piece, piece).value, value));
    QVERIFY(identical(QAny::fromJson(value.toJson()), value));
}

QTEST_GUILESS_MAIN(tst_Json)
#include "tst_json.moc"
