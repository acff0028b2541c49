#pragma once

#include "calc/rules/calcresult.h"

namespace calc::rules {

/// Brings the events of all employees into order and works out their times; to be done once, before the rest.
void completeEvents(CalcInputs &inputs);
/// Reports the employees without an event in the period.
void checkEvents(const CalcInputs &inputs, CalcErrors &errors);

/// The calculation from completed inputs to the result: pairs the events, applies the rules, adds up. Pure. The result
/// keeps the inputs; faults that were found before are handed in and stay in front.
CalcResult calculate(CalcInputs inputs, CalcErrors errors, bool isExplained);

} // namespace calc::rules
