#include "calc/rules/dayrules.h"

#include <QDebug>

using namespace calc::rules;

namespace {

const RuleSettings &noRules()
{
    static const RuleSettings none;
    return none;
}

} // namespace

const std::vector<DayRule> &Calc21sett::inOrder()
{
    static const std::vector<DayRule> rules{
        {"paidLunch", paidLunch},
        // against the schedule
        {"arrivalWarning", arrivalWarning},
        {"departureWarning", departureWarning},
        {"arrivalRounding", arrivalRounding},
        {"departureRounding", departureRounding},
        {"workBeforeWindow", workBeforeWindow},
        {"workAfterWindow", workAfterWindow},
        {"delayCompensation", delayCompensation},
        {"earlyArrival", earlyArrival},
        {"lateDeparture", lateDeparture},
        {"compensatedDelay", compensatedDelay},
        {"lunch", lunch},
        {"lunchCompensation", lunchCompensation},
        // of the working time
        {"workTimeRounding", workTimeRounding},
        {"maximumHours", maximumHours},
        {"dayFactor", dayFactor},
        {"floorAtZero", floorAtZero},
        // the hours check
        {"emptyDay", emptyDay},
        {"tooManyHours", tooManyHours},
        {"tooFewHours", tooFewHours},
        {"tooManyFreeHours", tooManyFreeHours},
        {"tooManyOverhours", tooManyOverhours},
        {"addedHours", addedHours},
    };
    return rules;
}

Calc21sett::Calc21sett(const RuleSettings *rules, bool noMetaSettings, bool trace)
    : m_rules(rules ? *rules : noRules()), m_isOn(rules != nullptr), m_noMetaSettings(noMetaSettings), m_trace(trace)
{
}

void Calc21sett::apply(WorkDay &day) const
{
    const bool skips = skipsRules(day.facts());
    for (const DayRule &rule : inOrder()) {
        day.beginRule(rule.name);
        if (!m_isOn)
            day.endRule(Idle::NoSettings);
        else
            day.endRule(skips ? Idle::RulesSkipped : rule.apply(m_rules, day));
    }
}

bool Calc21sett::skipsRules(const DayFacts &day) const
{
    const bool skips =
        m_rules.weighing == RuleSettings::Weighing::MetaPerType && day.hasMetaPeriod && !m_noMetaSettings;
    if (m_trace)
        qDebug() << "skipMpDay=" << skips << "noMetaSett=" << m_noMetaSettings;
    return skips;
}

bool Calc21sett::usesWindow(const DayFacts &day) const
{
    return day.schedule && day.schedule->hasWindow() && !isRuledOut(m_rules, day);
}

bool Calc21sett::countsMetaPairs() const
{
    return m_rules.weighing != RuleSettings::Weighing::MixType;
}

bool Calc21sett::hasEmptySaldo(const DayFacts &day, qint64 workTime) const
{
    if (day.isFuture || (m_rules.emptySaldo && !day.hasPairs))
        return true;
    return day.isFree && (workTime <= 0 || !m_rules.saldoForFree);
}
