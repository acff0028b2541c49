#pragma once

#include "calc/rules/calcinputs.h"

namespace calc::input {

/// What is read for a period, in Unix seconds.
struct ReadRange {
    /// Days of the clock beyond what is read: shifted events and windows after midnight stay inside it.
    static constexpr int kSpareDays = 3;
    /// Nobody's zone is further away.
    static constexpr qint64 kMaxShiftSeconds = 2 * rules::LocalClock::kDaySeconds;

    qint64 firstEvent = 0;
    qint64 lastEvent = 0;
    /// Shift assignments and the calendar of these days decide how a day is judged: also the day before the first one
    /// that is read, so that a day does not depend on where the period begins.
    qint64 firstPlanned = 0;
    qint64 lastPlanned = 0;

    /// The period of these dates, its clock reaching as far as is read, and the range.
    static rules::Period periodOf(QDate first, QDate last, const rules::CalcSettings &settings);
    static ReadRange of(const rules::Period &period, const rules::CalcSettings &settings);
};

} // namespace calc::input
