#include "calc/input/readrange.h"

namespace calc::input {

rules::Period ReadRange::periodOf(QDate first, QDate last, const rules::CalcSettings &settings)
{
    const int spare = static_cast<int>(settings.nearSeconds() / rules::LocalClock::kDaySeconds) + kSpareDays;
    rules::Period period;
    period.firstDate = first;
    period.lastDate = last;
    period.clock = rules::LocalClock(first.addDays(-spare), last.addDays(spare));
    period.firstDay = spare;
    period.lastDay = spare + static_cast<int>(first.daysTo(last));
    period.start = period.clock.midnight(period.firstDay);
    period.end = period.clock.midnight(period.lastDay + 1) - 1;
    return period;
}

ReadRange ReadRange::of(const rules::Period &period, const rules::CalcSettings &settings)
{
    const rules::LocalClock &clock = period.clock;
    const qint64 near = settings.nearSeconds();
    const qint64 shift = settings.isTz ? kMaxShiftSeconds : 0;
    ReadRange range;
    range.firstEvent = period.start - near;
    range.lastEvent = period.end + near;
    range.firstPlanned = clock.midnight(clock.dayOf(range.firstEvent - shift) - 1);
    range.lastPlanned = clock.midnight(clock.dayOf(range.lastEvent + shift) + 1) - 1;
    return range;
}

} // namespace calc::input
