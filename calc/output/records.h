#pragma once

#include "calc/rules/calcresult.h"
#include "qany.h"

namespace calc::output {

/// The calculation's result as records: CALC, CALCsum, DAYS, CALCorg, DAYSorg, ACSLIST and ERR; after a fatal error
/// only ERR. Records that stand in several of these lists are shared handles.
QAny recordsOf(const rules::CalcResult &result);
/// The same, giving up the result employee by employee: of a large company both together would take half as much memory
/// again.
QAny recordsOf(rules::CalcResult &&result);
/// Gives up what an employee has of the result, by position, when it is written.
void giveUp(rules::CalcResult &result, size_t employee);

/// The fault list: a List of {CODE, NAPAKA, USER, NAME, DATESTAMP}; what does not apply is Null.
QAny errorRecords(const rules::CalcErrors &errors);
/// The pairs of one employee, by position in the result: records of their own that nobody shares.
QAny pairRecords(const rules::CalcResult &result, size_t employee);

/// The form that clients get on request: {PAIRS, EMPLO, DATA, PRERAZ}. PAIRS are those of the records, DATA the events;
/// the rows of employees and assignments are handed in as they were read.
QAny clientForm(const rules::CalcResult &result, const QAny &records, const QAny &employees, const QAny &assignments);

} // namespace calc::output
