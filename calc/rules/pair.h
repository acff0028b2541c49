#pragma once

#include "calc/rules/event.h"

namespace calc::rules {

/// One end of a pair: an event, or what stands for it. The event is a position in the employee's list.
struct PairEnd {
    enum class Origin : quint8 {
        Missing,
        Stored,     ///< the event itself
        Generated,  ///< an arrival made for a departure, which is the event
        LunchStart, ///< an automatic lunch begins; the event is the departure that closes the whole pair
        LunchEnd    ///< an automatic lunch is over; no event
    };

    Origin origin = Origin::Missing;
    AccessCode code;
    int event = -1;
    qint64 timestamp = 0; ///< Unix seconds

    bool isPresent() const { return origin != Origin::Missing; }
    bool isStored() const { return origin == Origin::Stored; }
};

/// An arrival joined with the departure that closes it; one of them may be missing.
struct Pair {
    qint64 number = 0;         ///< counted per employee, from 1
    int day = 0;               ///< of the clock; the day of the arrival, without one that of the departure
    bool isMarked = false;     ///< the arrival was generated and is to be marked
    bool isMetaPeriod = false; ///< both ends are MP events; parts of a split pair keep it
    PairEnd arrival;
    PairEnd departure;
    qint64 outsideDay = 0; ///< seconds beyond the day or the period

    bool isComplete() const { return arrival.isPresent() && departure.isPresent(); }
    /// Time at work: complete and closed by "102" or "102:3".
    bool isPresence() const { return isComplete() && departure.code.isPresence(); }
    Category category() const { return isComplete() ? departure.code.category() : Category::None; }
    /// Seconds; 0 for an incomplete pair.
    qint64 length() const { return isComplete() ? departure.timestamp - arrival.timestamp : 0; }
    bool overlaps(qint64 from, qint64 to) const { return arrival.timestamp < to && departure.timestamp > from; }
};

} // namespace calc::rules
