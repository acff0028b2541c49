#pragma once

#include "calc/rules/calcresult.h"
#include "qany.h"

namespace calc::output {

/// The account of every day: a List with one Hash per employee and day of the period, in the order of DAYS: {USER,
/// NAME, DATE, SCHEDULE, EVENTS, PAIRS, STEPS, IDLE, RESULT}. Empty for a result without explanations.
QAny explanationOf(const rules::CalcResult &result);

} // namespace calc::output
