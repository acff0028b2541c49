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

/// Rows as they were read; empty unless the form for clients is wanted.
struct ReadRows {
    QAny employees{QAny::List}; ///< in the order of the result
    QAny assignments{QAny::List};
};

/// The lists of the form that clients get on request.
struct ClientLists {
    QAny pairs{QAny::List};
    QAny employees{QAny::List}; ///< with their assignments
    QAny events{QAny::List};
};

/// Adds what an employee, by position in the result, has of the form. The pairs are those of its records.
void addClientRows(const rules::CalcResult &result, size_t employee, const QAny &pairs, const ReadRows &rows,
                   ClientLists &lists);
/// The form: {PAIRS, EMPLO, DATA, PRERAZ}. PAIRS are those of the records, DATA the events.
QAny clientForm(const rules::CalcResult &result, const QAny &records, const ReadRows &rows);

} // namespace calc::output
