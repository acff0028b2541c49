#pragma once

#include "calc/rules/calcerrors.h"
#include "calc/rules/calcinputs.h"
#include "qany.h"

namespace storage {
class Reader;
}

namespace calc::input {

/// A longer period (a hundred years) is refused before anything is worked out for its days.
constexpr qint64 kMaxPeriodDays = 36600;
/// So many days of employees are calculated at once, 1,000 employees' year; more is refused, since result and answer
/// take about 5 KB each.
constexpr qint64 kMaxEmployeeDays = 400000;
/// So many days of employees are explained; for more the explanation is empty.
constexpr qint64 kMaxExplainedDays = 5000;

/// What was read for a calculation.
struct CalcRead {
    bool isFatal = true; ///< nothing can be calculated; the errors say why
    bool isExplained = false;
    rules::CalcInputs inputs;
    rules::CalcErrors errors;
    // As read, for the form that clients get; filled only where it is wanted.
    QAny employees{QAny::List};
    QAny assignments{QAny::List};
};

/// Reads what the request asks for. Days after `today` (local) are in the future. With rows the rows as read are kept
/// too.
CalcRead readInputs(storage::Reader &database, const QAny &request, QDate today, bool withRows);

} // namespace calc::input
