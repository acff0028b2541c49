#pragma once

#include "calc/rules/calcresult.h"

#include <optional>
#include <vector>

namespace report {

/// What of a day the register tells, made from the pairs of its events alone. Durations are seconds of whole minutes:
/// the seconds of an event's time are left out, so that whoever subtracts the times shown gets the durations shown.
struct WorkRecord {
    std::optional<qint64> arrival;   ///< seconds since the day's midnight as the clock shows them; of the first work
    std::optional<qint64> departure; ///< of the last; nothing where it was not recorded
    qint64 hours = 0;                ///< at work in all, with the break as far as it is paid
    std::optional<qint64> regular;   ///< of these, what the schedule asks for; nothing for who has no schedule
    std::optional<qint64> beyond;    ///< the rest
    qint64 night = 0;                ///< of the hours between 23:00 and 06:00
    qint64 sunday = 0;               ///< of the hours on a Sunday, from midnight to midnight
    qint64 holiday = 0;              ///< likewise on a public holiday
    qint64 breaks = 0;               ///< in all, also what is not paid
    qint64 freeHoliday = 0;          ///< what a public holiday credits and was not worked
    bool isHalf = false;             ///< an arrival or a departure is missing
    /// By kind of work or absence.
    std::array<qint64, calc::rules::kCategoryCount> categories{};

    qint64 of(calc::rules::Category category) const { return categories[static_cast<size_t>(category)]; }
    WorkRecord &operator+=(const WorkRecord &other);
};

/// Whether its time is work: at the place, on an errand, in the field, at home.
bool isWork(calc::rules::Category category);

/// The pairs of one day, whole: what an automatic lunch has split is one pair again, for nobody went.
using DayPairs = std::vector<calc::rules::Pair>;
/// By day of the period.
std::vector<DayPairs> pairsByDay(const calc::rules::CalcInputs &inputs, const calc::rules::Employee &employee,
                                 const std::vector<calc::rules::Pair> &pairs);

WorkRecord workRecordOf(const calc::rules::CalcInputs &inputs, const calc::rules::Employee &employee,
                        const calc::rules::DayResult &day, const DayPairs &pairs);

} // namespace report
