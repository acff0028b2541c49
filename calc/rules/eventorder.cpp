#include "calc/rules/eventorder.h"

#include <algorithm>

namespace calc::rules {

namespace {

bool pairsBefore(const Event &left, const Event &right)
{
    if (left.stored != right.stored)
        return left.stored < right.stored;
    if (left.code.isDeparture() != right.code.isDeparture())
        return left.code.isDeparture();
    if (left.isMeta != right.isMeta)
        return right.isMeta;
    return left.id < right.id;
}

bool isSameCode(const Event &left, const Event &right)
{
    const bool hasCode = left.code.isArrival() || left.code.isDeparture();
    return hasCode ? left.code == right.code : left.accessCode == right.accessCode;
}

bool isTapOfTerminal(const Event &event)
{
    return !event.isMeta && event.kind == EventKind::Terminal;
}

void markLast(std::vector<Event> &events)
{
    const auto last = std::find_if(events.rbegin(), events.rend(), [](const Event &event) { return !event.isDoubled; });
    if (last != events.rend())
        last->isLast = true;
}

} // namespace

void orderEvents(Employee &employee, const CalcInputs &inputs)
{
    std::vector<Event> &events = employee.events;
    sortByStoredTime(events);
    markDoubled(events);
    markSecondTaps(events, inputs.doubleTapSeconds);
    workOutTimes(events, inputs.settings, employee.timeZoneSeconds);
    const LocalClock &clock = inputs.period.clock;
    const auto isOutside = [&clock](const Event &event) { return clock.dayOf(event.timestamp) < 0; };
    events.erase(std::remove_if(events.begin(), events.end(), isOutside), events.end());
    markLast(events);
}

void sortByStoredTime(std::vector<Event> &events)
{
    if (!std::is_sorted(events.begin(), events.end(), pairsBefore))
        std::sort(events.begin(), events.end(), pairsBefore);
}

void markDoubled(std::vector<Event> &events)
{
    if (std::none_of(events.begin(), events.end(), [](const Event &event) { return event.isMeta; }))
        return;
    for (auto first = events.begin(); first != events.end();) {
        const qint64 time = first->stored;
        const auto end = std::find_if(first, events.end(), [time](const Event &event) { return event.stored != time; });
        for (auto meta = first; meta != end; ++meta) {
            meta->isDoubled = meta->isMeta && std::any_of(first, end, [&](const Event &event) {
                                  return !event.isMeta && isSameCode(event, *meta);
                              });
        }
        first = end;
    }
}

void markSecondTaps(std::vector<Event> &events, qint64 seconds)
{
    if (seconds <= 0)
        return;
    Event *before = nullptr;
    for (Event &event : events) {
        if (!event.takesPart())
            continue;
        if (before && isTapOfTerminal(*before) && isTapOfTerminal(event) && before->code == event.code &&
            event.stored - before->stored <= seconds)
            (event.code.isArrival() ? event : *before).isSecondTap = true;
        before = &event;
    }
}

void workOutTimes(std::vector<Event> &events, const CalcSettings &settings, qint64 timeZoneSeconds)
{
    for (Event &event : events) {
        event.timestamp = event.stored + (settings.isTz ? timeZoneSeconds : 0);
        if (settings.isRound30)
            event.timestamp = (event.timestamp + 30) / 60 * 60;
    }
}

} // namespace calc::rules
