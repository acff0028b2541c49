#pragma once

#include "calc/input/readrange.h"
#include "qany.h"

#include <vector>

namespace storage {
class Reader;
}

namespace calc::input {

/// The shift assignments that touch the planned days, by one position in both lists.
struct AssignmentRows {
    std::vector<rules::Assignment> assignments;
    QAny records{QAny::List}; ///< as read, for the form that clients get
};

AssignmentRows readAssignments(storage::Reader &database, const rules::LocalClock &clock, const ReadRange &range);

/// PRAZNIK text per day of the clock. False when the calendar has no row of the period.
bool readCalendar(storage::Reader &database, const rules::Period &period, const ReadRange &range,
                  std::vector<QString> *holidays);

} // namespace calc::input
