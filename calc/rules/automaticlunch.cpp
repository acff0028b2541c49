#include "calc/rules/pairing.h"

#include <QDebug>

namespace calc::rules {

namespace {

bool isWanted(const DaySchedule *schedule)
{
    return schedule && schedule->automaticLunch && schedule->automaticLunchStart && schedule->lunch.value_or(0) > 0;
}

/// Ends the pair at the lunch's start and begins another one at its end; false where the lunch does not lie within.
bool splitByLunch(PairingRun &run, size_t index, const DaySchedule &schedule)
{
    const Pair whole = run.result.pairs[index];
    const qint64 start = run.clock().instantOf(whole.day, *schedule.automaticLunchStart);
    const qint64 end = start + *schedule.lunch;
    if (!whole.isPresence() || whole.arrival.timestamp >= start || whole.departure.timestamp <= end)
        return false;
    if (run.settings().isDebug)
        qDebug() << "---------------- DODAJ MALICO";
    Pair after = whole;
    after.number = ++run.result.made;
    after.arrival = {PairEnd::Origin::LunchEnd, {}, -1, end};
    after.isMarked = false;
    // The first part keeps the access code, so that its time stays in its category.
    run.result.pairs[index].departure = {PairEnd::Origin::LunchStart, whole.departure.code, whole.departure.event,
                                         start};
    run.result.pairs.insert(run.result.pairs.begin() + static_cast<std::ptrdiff_t>(index) + 1, after);
    return true;
}

} // namespace

void insertAutomaticLunches(PairingRun &run)
{
    const std::vector<Pair> &pairs = run.result.pairs;
    for (size_t first = 0; first < pairs.size();) {
        const int day = pairs[first].day;
        size_t end = first;
        bool hasLunch = false;
        for (; end < pairs.size() && pairs[end].day == day; ++end)
            hasLunch = hasLunch || pairs[end].category() == Category::Malica;
        const DaySchedule *schedule = run.employee.daySchedule(run.clock(), day);
        for (size_t i = first; !hasLunch && isWanted(schedule) && i < end; ++i) {
            if (splitByLunch(run, i, *schedule)) {
                ++end;
                break;
            }
        }
        first = end;
    }
}

} // namespace calc::rules
