#pragma once

#include "calcrows.h"

/// The calculation of a period, in which what must hold of every one holds: it is the same with and without an
/// explanation, the explanation leads from each day's row before the rules to the one behind them, the days add up to
/// the sums of the period, and the tables show these.
CalcRun soundRun(const CalcRows &rows, const QString &from, const QString &to, const QString &settings);
