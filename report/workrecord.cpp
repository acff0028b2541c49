#include "report/workrecord.h"

#include <algorithm>

namespace report {

using calc::rules::CalcInputs;
using calc::rules::Category;
using calc::rules::DayResult;
using calc::rules::LocalClock;
using calc::rules::Pair;
using calc::rules::PairEnd;

namespace {

constexpr qint64 kMinute = 60;
constexpr qint64 kNightStart = 23 * 3600;
constexpr qint64 kNightEnd = (24 + 6) * 3600;
constexpr int kSunday = 7;

qint64 minuteOf(qint64 instant)
{
    return instant - instant % kMinute;
}

struct Span {
    qint64 from = 0;
    qint64 to = 0;

    qint64 length() const { return std::max<qint64>(0, to - from); }
    qint64 within(qint64 begin, qint64 end) const { return Span{std::max(from, begin), std::min(to, end)}.length(); }
};

Span spanOf(const Pair &pair)
{
    return {minuteOf(pair.arrival.timestamp), minuteOf(pair.departure.timestamp)};
}

/// Sorts a span of hours by when they were.
void judgeHours(const CalcInputs &inputs, Span span, WorkRecord &record)
{
    const LocalClock &clock = inputs.period.clock;
    record.hours += span.length();
    const int first = std::max(clock.dayOf(span.from), 0);
    for (int day = std::max(first - 1, 0); day < clock.dayCount() && clock.midnight(day) < span.to; ++day) {
        record.night += span.within(clock.instantOf(day, kNightStart), clock.instantOf(day, kNightEnd));
        const qint64 ofDay = span.within(clock.midnight(day), clock.midnight(day + 1));
        if (clock.weekday(day) == kSunday)
            record.sunday += ofDay;
        if (!inputs.holiday(day).isEmpty())
            record.holiday += ofDay;
    }
}

void noteEnds(const LocalClock &clock, int day, const DayPairs &pairs, WorkRecord &record)
{
    const Pair *first = nullptr;
    const Pair *last = nullptr;
    for (const Pair &pair : pairs) {
        record.isHalf = record.isHalf || !pair.isComplete();
        if (pair.isComplete() && !isWork(pair.category()))
            continue;
        first = first ? first : &pair;
        last = &pair;
    }
    if (first && first->arrival.isPresent())
        record.arrival = clock.clockSeconds(minuteOf(first->arrival.timestamp), day);
    if (last && last->departure.isPresent())
        record.departure = clock.clockSeconds(minuteOf(last->departure.timestamp), day);
}

void splitBySchedule(const calc::rules::Employee &employee, const calc::rules::DayFacts &facts, WorkRecord &record)
{
    if (!employee.schedule)
        return;
    record.regular = facts.isWorkingDay() ? std::min(record.hours, facts.minHours()) : 0;
    record.beyond = record.hours - *record.regular;
}

void addSome(std::optional<qint64> &sum, const std::optional<qint64> &value)
{
    if (value)
        sum = sum.value_or(0) + *value;
}

} // namespace

WorkRecord &WorkRecord::operator+=(const WorkRecord &other)
{
    hours += other.hours;
    addSome(regular, other.regular);
    addSome(beyond, other.beyond);
    night += other.night;
    sunday += other.sunday;
    holiday += other.holiday;
    breaks += other.breaks;
    freeHoliday += other.freeHoliday;
    for (size_t i = 0; i < categories.size(); ++i)
        categories[i] += other.categories[i];
    return *this;
}

bool isWork(Category category)
{
    return category == Category::Delo || category == Category::Sluzbeno || category == Category::Teren ||
           category == Category::OdDoma;
}

std::vector<DayPairs> pairsByDay(const CalcInputs &inputs, const calc::rules::Employee &employee,
                                 const std::vector<Pair> &pairs)
{
    std::vector<DayPairs> days(static_cast<size_t>(inputs.period.dayCount()));
    for (const Pair &pair : pairs) {
        // The part before the lunch is made whole below; the one behind it is no pair of its own.
        if (pair.arrival.origin == PairEnd::Origin::LunchEnd)
            continue;
        DayPairs &day = days[static_cast<size_t>(pair.day - inputs.period.firstDay)];
        day.push_back(pair);
        PairEnd &departure = day.back().departure;
        if (departure.origin == PairEnd::Origin::LunchStart) {
            departure.origin = PairEnd::Origin::Stored;
            departure.timestamp = employee.events[static_cast<size_t>(departure.event)].timestamp;
        }
    }
    return days;
}

WorkRecord workRecordOf(const CalcInputs &inputs, const calc::rules::Employee &employee, const DayResult &day,
                        const DayPairs &pairs)
{
    WorkRecord record;
    noteEnds(inputs.period.clock, day.day, pairs, record);
    qint64 paidBreak = day.facts.schedule ? day.facts.schedule->lunch.value_or(0) : 0;
    for (const Pair &pair : pairs) {
        const Category category = pair.category();
        if (category == Category::None)
            continue;
        Span span = spanOf(pair);
        record.categories[static_cast<size_t>(category)] += span.length();
        if (isWork(category)) {
            judgeHours(inputs, span, record);
        } else if (category == Category::Malica) {
            record.breaks += span.length();
            span.to = std::min(span.to, span.from + paidBreak);
            paidBreak -= span.length();
            judgeHours(inputs, span, record);
        }
    }
    splitBySchedule(employee, day.facts, record);
    if (day.facts.isPublicHoliday)
        record.freeHoliday = std::max<qint64>(0, day.totals.holiday - record.hours);
    return record;
}

} // namespace report
