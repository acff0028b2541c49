#pragma once

#include "outcome.h"

/// What is wrong with the accounts of a calculation that was explained: steps that do not lead from a day's row before
/// the rules to the one behind them, a rule that is told twice or not at all, pairs or events that the row does not
/// count. Empty when each of them adds up.
QString accountFault(const CalcRun &run);
