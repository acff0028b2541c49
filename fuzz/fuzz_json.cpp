// Whatever the bytes are: the reader must come to the same verdict, at the same byte and with the same value, however
// they are cut into pieces; and what it accepts must survive being written and read again.

#include "driver.h"
#include "jsonparser.h"

#include <cmath>

namespace {

struct Reading {
    Json::Parser::Feed last = Json::Parser::NeedsMore;
    qsizetype taken = 0;
    bool finished = false;
    QAny value;
};

/// The text up to its first complete value, in pieces whose lengths follow from the seed; 0 stands for one piece.
Reading read(const char *bytes, qsizetype length, quint32 seed)
{
    Json::Parser parser;
    Reading reading;
    while (reading.taken < length && reading.last == Json::Parser::NeedsMore) {
        const qsizetype left = length - reading.taken;
        if (seed != 0)
            seed = seed * 1664525u + 1013904223u;
        const qsizetype piece = seed == 0 ? left : qMin<qsizetype>(left, 1 + (seed >> 24) % 40);
        qsizetype taken = 0;
        reading.last = parser.feedUntilComplete(bytes + reading.taken, piece, &taken);
        reading.taken += taken;
    }
    reading.finished = parser.finish();
    reading.value = parser.result();
    return reading;
}

/// Infinite numbers have no JSON form that could be read again.
bool isFinite(const QAny &value)
{
    if (value.isDouble())
        return std::isfinite(value.asDouble());
    if (!value.isList() && !value.isHash())
        return true;
    for (int i = 0; i < value.count(); ++i) {
        if (!isFinite(value.at(i)))
            return false;
    }
    return true;
}

} // namespace

void check(const QByteArray &input)
{
    const char *const bytes = input.constData();
    const qsizetype length = input.size();
    const Reading whole = read(bytes, length, 0);
    const QByteArray text = whole.value.toJsonUtf8();
    require(whole.finished == (whole.last == Json::Parser::Complete), "complete, but not finished, or the reverse");
    require(whole.finished == whole.value.isValid(), "a value without its end, or the reverse");
    require(text == whole.value.toJson().toUtf8(), "the two forms of the text differ");
    for (const quint32 seed : {1u, 77u, 4242u}) {
        const Reading pieces = read(bytes, length, seed);
        require(pieces.last == whole.last && pieces.taken == whole.taken, "another verdict in pieces");
        require(pieces.value.toJsonUtf8() == text, "another value in pieces");
    }
    if (!whole.finished || !isFinite(whole.value))
        return;
    const Reading again = read(text.constData(), text.size(), 0);
    require(again.finished && again.taken == text.size(), "what was written is not read");
    require(again.value.toJsonUtf8() == text, "what was written reads as another value");
}
