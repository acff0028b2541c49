#pragma once

#include "calc/rules/rulesettings.h"
#include "calc/rules/workday.h"

namespace calc::rules {

/// A rule looks at the day, changes it through the day's own functions, and returns why it did nothing; what it
/// returns after a change or a remark is not looked at. Each writes at most one remark.
using RuleFunction = Idle (*)(const RuleSettings &settings, WorkDay &day);

struct DayRule {
    const char *name;
    RuleFunction apply;
};

/// What a rule returns that has done something.
constexpr Idle kDone = Idle::NothingToDo;

/// The rules that compare with the schedule leave free days alone unless the settings ask for them.
inline bool isRuledOut(const RuleSettings &settings, const DayFacts &day)
{
    return day.isFree && !settings.scheduleForFree;
}

// lunchrules.cpp

/// Adds the lunch taken to the working time where the lunch rule runs: a lunch up to the allowed one is paid.
Idle paidLunch(const RuleSettings &settings, WorkDay &day);
/// Takes off what the lunch was longer than allowed, and warns beyond the tolerance.
Idle lunch(const RuleSettings &settings, WorkDay &day);
/// Moves the departure earlier by the excess of the lunch, as far as it lies behind the schedule's window.
Idle lunchCompensation(const RuleSettings &settings, WorkDay &day);

// warningrules.cpp

/// Warns of an arrival before or after the arrival window.
Idle arrivalWarning(const RuleSettings &settings, WorkDay &day);
/// Warns of a departure before or after the departure window.
Idle departureWarning(const RuleSettings &settings, WorkDay &day);

// intervalrules.cpp

/// Moves the arrival up to the next interval boundary.
Idle arrivalRounding(const RuleSettings &settings, WorkDay &day);
/// Moves the departure down to the last interval boundary.
Idle departureRounding(const RuleSettings &settings, WorkDay &day);

// windowrules.cpp

/// Takes off presence that lies wholly before the schedule's window.
Idle workBeforeWindow(const RuleSettings &settings, WorkDay &day);
/// Takes off presence that lies wholly after it.
Idle workAfterWindow(const RuleSettings &settings, WorkDay &day);
/// Makes up a late arrival by the time behind the window.
Idle delayCompensation(const RuleSettings &settings, WorkDay &day);
/// Cuts an arrival before the window, to its start or to whole thresholds.
Idle earlyArrival(const RuleSettings &settings, WorkDay &day);
/// Cuts a departure after the window, to its end or to whole thresholds.
Idle lateDeparture(const RuleSettings &settings, WorkDay &day);
/// Takes the compensated delay off again where the time after the window counts.
Idle compensatedDelay(const RuleSettings &settings, WorkDay &day);

// worktimerules.cpp

/// Rounds the working time down to whole steps.
Idle workTimeRounding(const RuleSettings &settings, WorkDay &day);
/// Cuts the working time to the limit.
Idle maximumHours(const RuleSettings &settings, WorkDay &day);
/// Multiplies the working time by the day's factor.
Idle dayFactor(const RuleSettings &settings, WorkDay &day);
/// No working time is below nothing.
Idle floorAtZero(const RuleSettings &settings, WorkDay &day);

// hourrules.cpp: the hours check, not on days to come

Idle emptyDay(const RuleSettings &settings, WorkDay &day);
Idle tooManyHours(const RuleSettings &settings, WorkDay &day);
Idle tooFewHours(const RuleSettings &settings, WorkDay &day);
Idle tooManyFreeHours(const RuleSettings &settings, WorkDay &day);
Idle tooManyOverhours(const RuleSettings &settings, WorkDay &day);
/// Adds hours to a day with work.
Idle addedHours(const RuleSettings &settings, WorkDay &day);

} // namespace calc::rules
