#include "tools/zukimport/wordtable.h"

#include <algorithm>

namespace tools::zukimport {

namespace {

struct CodeName {
    const char *code;
    const char *name;
};

/// The codes that the calculation knows, with the names that terminals show.
constexpr CodeName kCodes[] = {
    {"101", "Prihod"},       {"102", "Odhod"},   {"102:1", "Dopust"},    {"102:2", "Bolniška"},
    {"102:3", "Prisotnost"}, {"102:4", "Teren"}, {"102:5", "Saldo ure"}, {"102:6", "Izredni dopust"},
    {"102:7", "Od doma"},    {"102:8", "Drugo"}, {"103", "Malica"},      {"104", "Službeno"},
    {"105", "Zasebno"},
};

} // namespace

QString WordTable::add(const QString &definition, bool goesOut)
{
    const int sign = definition.lastIndexOf(QLatin1Char('='));
    const QString word = definition.left(sign).trimmed().toUpper();
    if (sign <= 0 || word.isEmpty())
        return QStringLiteral("\"%1\" is not WORD=CODE").arg(definition);

    WordMeaning meaning;
    meaning.text = definition.mid(sign + 1).trimmed();
    meaning.code = calc::rules::AccessCode(meaning.text);
    meaning.goesOut = goesOut;
    const QString code = meaning.code.text();
    const auto *known = std::find_if(std::begin(kCodes), std::end(kCodes),
                                     [&code](const CodeName &entry) { return code == QLatin1String(entry.code); });
    const bool named = meaning.text.startsWith(code + QLatin1Char(':'));
    if (known == std::end(kCodes) || !(named || meaning.text == code))
        return QStringLiteral("\"%1\": the code must be 101 to 105 or 102:1 to 102:8").arg(definition);
    if (goesOut && !meaning.code.isDeparture())
        return QStringLiteral("\"%1\": one goes out to what a departure names").arg(definition);
    if (!named)
        meaning.text = code + QLatin1Char(':') + QString::fromUtf8(known->name);

    const auto same = std::find_if(m_meanings.begin(), m_meanings.end(), [&meaning](const WordMeaning &other) {
        return other.code == meaning.code && other.goesOut == meaning.goesOut;
    });
    const int index = static_cast<int>(same - m_meanings.begin());
    if (same == m_meanings.end())
        m_meanings.push_back(meaning);
    if (m_words.value(word, index) != index)
        return QStringLiteral("\"%1\": the word has another meaning already").arg(definition);
    m_words.insert(word, index);
    return {};
}

void WordTable::addDefaults()
{
    add(QStringLiteral("IN=101"), false);
    add(QStringLiteral("OUT=102"), false);
}

} // namespace tools::zukimport
