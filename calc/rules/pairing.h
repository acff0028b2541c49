#pragma once

#include "calc/rules/calcerrors.h"
#include "calc/rules/calcinputs.h"
#include "calc/rules/pair.h"

#include <vector>

namespace calc::rules {

/// What became of an employee's events.
struct Pairing {
    std::vector<Pair> pairs;   ///< of the days of the period, in order of time
    std::vector<Pair> deleted; ///< by an hour check
    std::vector<Pair> outside; ///< of days outside the period
    qint64 made = 0;           ///< how many pairs were numbered
};

/// Turns the events of employees into pairs. Pure; one object serves a whole run, from any thread at a time.
class EventPairing
{
public:
    /// The inputs are not owned and must outlive this object.
    explicit EventPairing(const CalcInputs &inputs) : m_inputs(inputs) {}

    /// The employee's events must be in order. Faults are added to the list; remarks are collected also of pairs
    /// outside the period, faults are not.
    Pairing pairsOf(const Employee &employee, CalcErrors &errors) const;

private:
    const CalcInputs &m_inputs;
};

/// What the steps of one employee's pairing share.
struct PairingRun {
    const CalcInputs &inputs;
    const Employee &employee;
    CalcErrors &errors;
    Pairing &result;

    const Period &period() const { return inputs.period; }
    const LocalClock &clock() const { return inputs.period.clock; }
    const CalcSettings &settings() const { return inputs.settings; }
    const Event &event(const PairEnd &end) const { return employee.events[static_cast<size_t>(end.event)]; }
    /// Of the employee on a day; not on one outside the period.
    void addFault(CalcErrors::Code code, const QString &text, int day) const;
};

// The steps, in their order.

/// Joins each arrival with the departure behind it and reports what has no other half.
void joinEvents(PairingRun &run);
/// Deletes the pairs of late arrivals and early departures, where the settings ask for it.
void deleteByHour(PairingRun &run);
/// Tells how pairs lie to midnight and to the period, where the settings ask for remarks.
void remarkPlaces(const PairingRun &run);
/// Inserts the automatic lunch of each day whose schedule has one and whose pairs have none.
void insertAutomaticLunches(PairingRun &run);
/// Measures what of each pair lies beyond its day, where the settings ask for it.
void measureBeyondDay(PairingRun &run);
/// Puts the pairs of days outside the period aside.
void keepPeriod(PairingRun &run);

} // namespace calc::rules
