#pragma once

#include "calc/rules/accesscode.h"

#include <QHash>
#include <QString>

#include <vector>

namespace tools::zukimport {

/// What a word of the input stands for.
struct WordMeaning {
    /// As it is stored, with its name: "101:Prihod".
    QString text;
    calc::rules::AccessCode code;
    /// The word is said on leaving, and the code names what the person leaves for.
    bool goesOut = false;
};

/// The words by which an input tells arrivals, departures and their reasons. Words are compared in any case.
class WordTable
{
public:
    /// Adds "WORD=CODE", where the code is 101 to 105 or 102:1 to 102:8, alone or with a name of its own
    /// ("102:1:Dopust"). The reason when it cannot, else empty. Words for going out to something take departures.
    QString add(const QString &definition, bool goesOut);
    /// IN is an arrival, OUT a departure: for an input whose words nobody named.
    void addDefaults();

    bool isEmpty() const { return m_words.isEmpty(); }
    /// Number of the word's meaning, the same for words that mean the same; -1 for an unknown word.
    int indexOf(const QString &word) const { return m_words.value(word.toUpper(), -1); }
    const WordMeaning &at(int index) const { return m_meanings[static_cast<size_t>(index)]; }

private:
    QHash<QString, int> m_words;
    std::vector<WordMeaning> m_meanings;
};

} // namespace tools::zukimport
