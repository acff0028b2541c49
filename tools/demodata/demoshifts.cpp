#include "tools/demodata/demoshifts.h"

namespace tools::demodata {

const QVector<DemoShiftGroup> &demoShiftGroups()
{
    static const QVector<DemoShiftGroup> groups = {
        {"IZM-A", Rhythm::ThreeShift, 0}, {"IZM-B", Rhythm::ThreeShift, 1}, {"IZM-C", Rhythm::ThreeShift, 2},
        {"NEP-A", Rhythm::Continuous, 0}, {"NEP-B", Rhythm::Continuous, 1}, {"NEP-C", Rhythm::Continuous, 2},
        {"NEP-D", Rhythm::Continuous, 3},
    };
    return groups;
}

int shiftOf(const DemoShiftGroup &group, QDate day)
{
    // The Julian day 0 was a Monday.
    const qint64 julian = day.toJulianDay();
    if (group.rhythm == Rhythm::ThreeShift)
        return static_cast<int>((julian / 7 + group.offset) % 3) + 1;
    constexpr int turn = 2;
    const int phase = static_cast<int>((julian / turn + group.offset) % 4);
    return phase == 3 ? 0 : phase + 1;
}

} // namespace tools::demodata
