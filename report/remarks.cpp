#include "report/remarks.h"

#include "report/text.h"

#include <algorithm>
#include <iterator>

namespace report {

namespace {

struct Remark {
    const char *said;
    Text told;
};

constexpr Remark kRemarks[] = {
    {"delo izven urnika PRI", {"čas pred urnikom ne šteje", "time before the schedule does not count"}},
    {"delo izven urnika PRI-INT", {"čas pred urnikom šteje delno", "time before the schedule counts in part"}},
    {"delo izven urnika ODH", {"čas po urniku ne šteje", "time after the schedule does not count"}},
    {"delo izven urnika ODH-INT", {"čas po urniku šteje", "time after the schedule counts"}},
    {"Zaokrožitev delovnega časa", {"zaokroženo", "rounded"}},
    {"Kompenzacija zamude IN", {"prihod zaokrožen", "arrival rounded"}},
    {"Kompenzacija zamude OUT", {"odhod zaokrožen", "departure rounded"}},
    {"Kompenzacija Zamude", {"nadomeščena zamuda", "delay made up for"}},
    {"kompenzacija zamude", {"nadomeščena zamuda", "delay made up for"}},
    {"Kompenzacija Predolge malice", {"nadomeščena predolga malica", "long lunch made up for"}},
    {"Maksimalne ure delovnega časa", {"največ ur na dan", "maximum hours"}},
    {"Premalo delovnih ur!", {"premalo delovnih ur", "too few hours"}},
    {"Ni delovnih ur!", {"ni delovnih ur", "no hours"}},
    {"Ni delovnih ur", {"ni delovnih ur", "no hours"}},
    {"Prepozen prihod", {"prepozen prihod", "late arrival"}},
    {"Prezgoden prihod", {"prezgoden prihod", "early arrival"}},
    {"Prepozen odhod", {"prepozen odhod", "late departure"}},
    {"Prezgoden odhod", {"prezgoden odhod", "early departure"}},
    {"Predolga malica!", {"predolga malica", "lunch too long"}},
    {"Preveč delovnih ur!", {"preveč delovnih ur", "too many hours"}},
    {"Preveč prostih ur!", {"preveč prostih ur", "too many free hours"}},
    {"Preveč nadur!", {"preveč nadur", "too much overtime"}},
    {"prihod po 18h", {"prihod po 18h", "arrival after 18:00"}},
    {"odhod pred 8 zjutraj", {"odhod pred 8 zjutraj", "departure before 8:00"}},
    {"Ni urnika!", {"ni urnika", "no schedule"}},
    {"Ni nastavitev!", {"ni nastavitev", "no calculation settings"}},
    {"Ni dogodkov za obdobje!", {"ni dogodkov za obdobje", "no events in this period"}},
    {"Ni dogodkov za izbrano obdobje!", {"ni dogodkov za izbrano obdobje", "no events in this period"}},
    {"Ni Prihoda!", {"ni prihoda", "no arrival"}},
    {"Ni Izhoda!", {"ni odhoda", "no departure"}},
    {"Dvodnevni par", {"dvodnevni par", "pair over two days"}},
    {"Dvodnevni par - začetek obdobja", {"dvodnevni par, začetek obdobja", "pair over two days, begin of the period"}},
    {"Dvodnevni par - konec obdobja", {"dvodnevni par, konec obdobja", "pair over two days, end of the period"}},
    {"Celoten par pred obdobjem", {"celoten par pred obdobjem", "whole pair before the period"}},
    {"Celoten par za obdobjem", {"celoten par za obdobjem", "whole pair behind the period"}},
    {"Nepopoln par pred obdobjem-samo prihod",
     {"nepopoln par pred obdobjem, samo prihod", "half pair before the period, arrival alone"}},
    {"Nepopoln par pred obdobjem-samo odhod",
     {"nepopoln par pred obdobjem, samo odhod", "half pair before the period, departure alone"}},
    {"Nepopoln par za obdobjem-samo prihod",
     {"nepopoln par za obdobjem, samo prihod", "half pair behind the period, arrival alone"}},
    {"Nepopoln par za obdobjem-samo odhod",
     {"nepopoln par za obdobjem, samo odhod", "half pair behind the period, departure alone"}},
    {"Zadnji dogodek ni izhod!", {"zadnji dogodek ni odhod", "the last event is no departure"}},
};

/// Without what is no word at its end: " 36933 23400", "-2-1-0".
QString withoutNumbers(const QString &remark)
{
    const auto isOfNumber = [](QChar unit) { return unit.isDigit() || unit.isSpace() || unit == QLatin1Char('-'); };
    const auto end = std::find_if_not(remark.crbegin(), remark.crend(), isOfNumber).base();
    return remark.left(static_cast<int>(std::distance(remark.cbegin(), end)));
}

QString remarkText(const QString &remark, Language language)
{
    const QString said = withoutNumbers(remark);
    const auto *known = std::find_if(std::begin(kRemarks), std::end(kRemarks),
                                     [&said](const Remark &each) { return said == QString::fromUtf8(each.said); });
    return known == std::end(kRemarks) ? remark : known->told.in(language);
}

} // namespace

QStringList remarkTexts(const QStringList &remarks, Language language)
{
    QStringList texts;
    for (const QString &remark : remarks)
        texts += remarkText(remark, language);
    texts.removeDuplicates();
    return texts;
}

} // namespace report
