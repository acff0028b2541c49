#pragma once

#include "calc/rules/calcresult.h"

#include <QString>

#include <vector>

namespace calc::output {

/// What became of an event.
enum class EventUse {
    Arrival,
    Departure,
    OtherHalfMissing,
    SecondTap,
    Doubled,           ///< a hand-entered event that the journal holds too
    DeletedByHour,     ///< its pair was deleted by an hour check
    NoCode,            ///< no arrival and no departure
    OutsideOfThePeriod ///< its pair's day is
};

struct UsedEvent {
    EventUse use = EventUse::NoCode;
    int day = 0;    ///< of the clock; the day that its pair belongs to, without a pair in the period its own
    int number = 0; ///< within its day, from 1; given by who lists it
};

/// "arrival", "second tap" and so on.
const QString &useText(EventUse use);

/// What became of each of the employee's events, by position.
std::vector<UsedEvent> eventUses(const rules::Employee &employee, const rules::Pairing &pairing,
                                 const rules::LocalClock &clock);

} // namespace calc::output
