#pragma once

#include "calc/input/calcrequest.h"
#include "calc/rules/calcinputs.h"
#include "qany.h"

namespace storage {
class Reader;
}

namespace calc::input {

/// The column expression of an employee's name, as the request orders its parts.
const QString &nameColumn(bool firstNameFirst);

/// Appends the employees that the request asks for, active ones unless it wants all, in its order, with their settings
/// and schedules, each distinct text read once. Their rows as read go to the list, for the form that clients get; null
/// when that is not wanted.
void readEmployees(storage::Reader &database, const CalcRequest &request, std::vector<rules::Employee> *employees,
                   QAny *records);

} // namespace calc::input
