#pragma once

#include "calc/rules/calcinputs.h"

namespace calc::rules {

/// Brings the events of an employee into the order in which they are paired, finds those that take no part, and works
/// out the times that are calculated with. Events whose shifted time leaves the clock are dropped.
void orderEvents(Employee &employee, const CalcInputs &inputs);

// The steps of it, in their order.

/// By stored time; at equal times departures first, then the journal's events, then the lower id.
void sortByStoredTime(std::vector<Event> &events);
/// A hand-entered event that the journal holds already (same time and code) is doubled.
void markDoubled(std::vector<Event> &events);
/// Terminal events of one code that follow one another directly, each within so many seconds of the one before, are
/// taps of one passage: of arrivals the first counts, of departures the last.
void markSecondTaps(std::vector<Event> &events, qint64 seconds);
/// Shifted by the zone where the settings ask for it, then rounded to whole minutes. Never changes the order.
void workOutTimes(std::vector<Event> &events, const CalcSettings &settings, qint64 timeZoneSeconds);

} // namespace calc::rules
