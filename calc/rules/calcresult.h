#pragma once

#include "calc/rules/calcerrors.h"
#include "calc/rules/calcinputs.h"
#include "calc/rules/pairing.h"
#include "calc/rules/workday.h"

#include <array>
#include <map>
#include <optional>
#include <vector>

namespace calc::rules {

/// What a day's pairs add up to, before the rules. Seconds, but for what is told otherwise.
struct DayTotals {
    std::array<qint64, kCategoryCount> categories{};
    qint64 presence = 0;
    qint64 night = 0;
    qint64 holiday = 0;                  ///< PRAZNIK credited
    std::optional<qint64> firstArrival;  ///< Unix seconds
    std::optional<qint64> lastDeparture; ///< Unix seconds
    int departures = 0;                  ///< number of them

    qint64 &of(Category category) { return categories[static_cast<size_t>(category)]; }
    qint64 of(Category category) const { return categories[static_cast<size_t>(category)]; }
};

/// The columns that day rows and sum rows have in common. Seconds; `workdays` is a number of days.
struct Amounts {
    std::array<qint64, kCategoryCount> categories{};
    qint64 night = 0;
    qint64 presence = 0;
    qint64 workdays = 0; ///< DELDAN
    qint64 holiday = 0;
    qint64 workToSaturday = 0; ///< DELPONSOB
    qint64 workOnSaturday = 0;
    qint64 workOnSunday = 0;
    qint64 workOnHoliday = 0;
    std::optional<qint64> saldo; ///< nothing on a day without a balance
    qint64 total = 0;            ///< SKUPAJ
    qint64 plusMinus = 0;

    Amounts &operator+=(const Amounts &other);
};

/// One employee's day.
struct DayResult {
    int day = 0; ///< of the clock
    DayFacts facts;
    DayTotals totals;
    DayValues before; ///< the rules
    DayValues after;
    bool emptySaldoBefore = false;
    bool emptySaldo = false;
    QStringList remarks; ///< OPOMBA

    /// The day's columns with these values: those before the rules or those after them.
    Amounts amountsBefore() const { return amounts(before, emptySaldoBefore); }
    Amounts amountsAfter() const { return amounts(after, emptySaldo); }
    bool isUnchanged() const { return before == after && remarks.isEmpty(); }

private:
    Amounts amounts(const DayValues &values, bool isSaldoEmpty) const;
};

/// Access codes with the first name that an event gives each; the name may be empty.
using CodeNames = std::map<QString, QString>;

/// One employee's period.
struct EmployeeResult {
    Pairing pairing;
    std::vector<DayResult> days; ///< one for each day of the period
    Amounts sums;
    std::array<int, Schedule::kShifts> daysInShift{}; ///< days worked in each shift
    int assignedDays = 0;                             ///< PRERAZ: days with a shift assignment
    CodeNames codes;                                  ///< ACSLIST; empty unless the settings ask for it
    std::vector<DayExplanation> explanations;         ///< one for each day where they are wanted, else none
};

/// A calculation: what it was given and what it made of it. All records and tables are made from this.
struct CalcResult {
    CalcInputs inputs;
    bool isFatal = true;                   ///< nothing was calculated, and the errors say why
    bool isExplained = false;              ///< the explanations are there
    std::vector<EmployeeResult> employees; ///< in the order of the inputs; pairs are numbered through
    CodeNames codes;                       ///< of all employees
    CalcErrors errors;
};

} // namespace calc::rules
