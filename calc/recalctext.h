#pragma once

#include "qany.h"

#include <QByteArray>
#include <QDate>

#include <vector>

namespace calc {

class Crew;

/// The JSON text of what DialogCalc3::recalc() answers to the request (see there), in pieces that follow one another:
/// together they are the UTF-8 text of the whole answer, whose members stand in the order EXPLAIN, CALC21, CALC, PACK,
/// TIME. It is the same for every crew, but for TIME. Empty when the calculation was cancelled.
///
/// Called by the crew's leader. The request is only read. For `today` see Calc21.
std::vector<QByteArray> recalcText(Crew &crew, const QAny &request, QDate today = {});

/// Whether the request is one employee's period of a month or so, which takes some milliseconds.
bool isSmallRecalc(const QAny &request);

} // namespace calc
