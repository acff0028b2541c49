#include "calc/output/calcrecords.h"

namespace calc::output {

#define ZUK_KEY_TEXT(name, text) QStringLiteral(text),
#define ZUK_DEFINE_KEYS(space, list)                                                                                   \
    const QAny::KeySet &space::keys()                                                                                  \
    {                                                                                                                  \
        static const QAny::KeySet set{list(ZUK_KEY_TEXT)};                                                             \
        return set;                                                                                                    \
    }

ZUK_DEFINE_KEYS(ErrorKey, ZUK_ERROR_KEYS)
ZUK_DEFINE_KEYS(PairKey, ZUK_PAIR_KEYS)
ZUK_DEFINE_KEYS(DayKey, ZUK_DAY_KEYS)
ZUK_DEFINE_KEYS(SumKey, ZUK_SUM_KEYS)
ZUK_DEFINE_KEYS(JudgedDayKey, ZUK_JUDGED_DAY_KEYS)
ZUK_DEFINE_KEYS(AcsKey, ZUK_ACS_KEYS)

const QString &shiftName(int shift)
{
    static const QString names[] = {QStringLiteral("IZM1"), QStringLiteral("IZM2"), QStringLiteral("IZM3")};
    return names[shift - 1];
}

QAny categoryName(rules::Category category)
{
    if (category == rules::Category::None)
        return {};
    return DayKey::keys().at(DayKey::DELO + static_cast<int>(category));
}

} // namespace calc::output
