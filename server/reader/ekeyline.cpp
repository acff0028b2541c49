#include "server/reader/ekeyline.h"

#include <QTextCodec>

#include <algorithm>

namespace server::reader {

namespace {

constexpr char kSeparator = ';';
constexpr int kDateField = 3;

bool isShown(QChar character)
{
    return character == QLatin1Char('\t') || character.category() != QChar::Other_Control;
}

bool isAscii(const QByteArray &bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; });
}

QString decoded(const QByteArray &bytes)
{
    // The form for a QByteArray alone ends at a NUL.
    const auto asLatin1 = [&bytes] { return QString::fromLatin1(bytes.constData(), bytes.size()); };
    if (isAscii(bytes))
        return asLatin1();
    QTextCodec::ConverterState state;
    const QString text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars + state.remainingChars == 0 ? text : asLatin1();
}

} // namespace

EkeyLine::EkeyLine(const QByteArray &bytes) : m_text(textOf(bytes))
{
    const auto fields = m_text.splitRef(QLatin1Char(kSeparator));
    m_isComplete = fields.size() > kDateField;
    if (!m_isComplete)
        return;
    m_user = fields.at(0).trimmed().toString();
    m_finger = fields.at(1).trimmed().toString();
    m_reader = fields.at(2).trimmed().toString();
    m_date = fields.at(kDateField).trimmed().toString();
}

QString EkeyLine::textOf(const QByteArray &bytes)
{
    QString text = decoded(bytes);
    if (!std::all_of(text.cbegin(), text.cend(), isShown)) {
        std::replace_if(
            text.begin(), text.end(), [](QChar character) { return !isShown(character); },
            QChar(QChar::ReplacementCharacter));
    }
    return text;
}

QString EkeyLine::dateOf(const QByteArray &bytes)
{
    int begin = 0;
    for (int field = 0; field < kDateField; ++field) {
        begin = bytes.indexOf(kSeparator, begin) + 1;
        if (begin == 0)
            return {};
    }
    const int end = bytes.indexOf(kSeparator, begin);
    const int length = (end < 0 ? bytes.size() : end) - begin;
    const QByteArray field = QByteArray::fromRawData(bytes.constData() + begin, length);
    // What is not ASCII is in the encoding of the whole line.
    return isAscii(field) ? textOf(field).trimmed() : EkeyLine(bytes).date();
}

} // namespace server::reader
