#pragma once

#include <QString>

#include <vector>

namespace calc::rules {

/// A value of a day that rules change.
enum class DayField {
    None,     ///< the rule only warned
    WorkTime, ///< DČ, seconds
    In,       ///< arrival, seconds since the day's midnight as the clock shows them
    Out       ///< departure, likewise
};

/// Why a rule did nothing on a day; in the order in which the first that fits is told.
enum class Idle { NoSettings, RulesSkipped, AfterToday, Off, NoSchedule, FreeDay, NothingToDo, BelowLimit };

/// One change that a rule made, or its warning.
struct RuleStep {
    const char *rule; ///< the rule's name; a literal
    DayField field;
    qint64 before;
    qint64 after;
    const char *setting; ///< "SECTION/KEY" of the settings or the key of a schedule time; null without one; a literal
    QString remark;      ///< that the rule wrote, in its first step alone
};

/// A rule that wrote no step.
struct IdleRule {
    const char *rule; ///< a literal
    Idle why;
};

/// What the rules did on a day, and which of them had nothing to do, in the order of the rules.
struct DayExplanation {
    std::vector<RuleStep> steps;
    std::vector<IdleRule> idle;
};

} // namespace calc::rules
