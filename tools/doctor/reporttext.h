#pragma once

#include "qany.h"
#include "tools/doctor/findings.h"

namespace tools::doctor {

/// For people: the findings, worst first, with what to do, and what was not seen. Holds no control characters but line
/// ends.
QString reportText(const Report &report);
/// {"EXAMINED", "CHECKS", "FINDINGS": [{"CHECK","SEVERITY","WHAT","REMEDY","WHICH"}], "UNSEEN": [text], "FAULT"}
QAny reportRecord(const Report &report);

/// For monitoring: 0 nothing found, 1 not examined or not to the end, 3 something to look at soon, 4 to act on now.
/// What is to act on goes before that it could not be examined further.
int exitCodeOf(const Report &report);

} // namespace tools::doctor
