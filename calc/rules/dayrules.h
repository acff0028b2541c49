#pragma once

#include "calc/rules/rulefunctions.h"

#include <vector>

/// The day rules with one employee's settings: what they make of a day's arrival, departure and working time. Pure; a
/// plain value.
class Calc21sett
{
public:
    /// The settings are not owned and must outlive this object; null means that no rule is on. With noMetaSettings no
    /// day skips the rules because of its meta events. With trace every change is written to the debug output.
    Calc21sett(const calc::rules::RuleSettings *rules, bool noMetaSettings, bool trace);

    /// The rules in the order in which they are applied.
    static const std::vector<calc::rules::DayRule> &inOrder();

    /// Applies all rules; the day's working time must hold the work of its pairs.
    void apply(calc::rules::WorkDay &day) const;
    /// Whether arrival and departure of the day come from its presence inside the schedule's window alone.
    bool usesWindow(const calc::rules::DayFacts &day) const;
    /// Whether pairs with both ends MP count towards arrival and departure.
    bool countsMetaPairs() const;
    /// Whether the balance of a day with this working time is empty.
    bool hasEmptySaldo(const calc::rules::DayFacts &day, qint64 workTime) const;
    bool isTraced() const { return m_trace; }

private:
    bool skipsRules(const calc::rules::DayFacts &day) const;

    const calc::rules::RuleSettings &m_rules;
    bool m_isOn;
    bool m_noMetaSettings;
    bool m_trace;
};
