#include "calc/rules/workday.h"

#include <QDebug>

#include <cstdlib>

namespace calc::rules {

WorkDay::WorkDay(const DayFacts &facts, const DayClock &clock, const DayValues &values, bool trace,
                 DayExplanation *explanation)
    : m_facts(facts), m_clock(clock), m_values(values), m_trace(trace), m_explanation(explanation)
{
}

qint64 WorkDay::extra() const
{
    return m_extraLeft ? *m_extraLeft : m_values.out->instant - shown(*schedule()->endE).instant;
}

void WorkDay::beginRule(const char *name)
{
    m_rule = name;
    m_ruleRemark.clear();
    m_firstStep = m_explanation ? m_explanation->steps.size() : 0;
}

void WorkDay::endRule(Idle why)
{
    if (!m_explanation)
        return;
    std::vector<RuleStep> &steps = m_explanation->steps;
    if (steps.size() == m_firstStep && m_ruleRemark.isEmpty())
        m_explanation->idle.push_back({m_rule, why});
    else if (steps.size() == m_firstStep)
        steps.push_back({m_rule, DayField::None, 0, 0, m_remarkSetting, m_ruleRemark});
    else
        steps[m_firstStep].remark = m_ruleRemark;
}

void WorkDay::moveIn(qint64 instant, const char *setting)
{
    const qint64 before = m_values.in->clock;
    m_values.in = m_clock.at(instant);
    change(DayField::In, before, m_values.in->clock, setting);
}

void WorkDay::moveOut(qint64 instant, const char *setting)
{
    const qint64 before = m_values.out->clock;
    m_values.out = m_clock.at(instant);
    change(DayField::Out, before, m_values.out->clock, setting);
}

void WorkDay::changeWorkTime(qint64 first, qint64 second, const char *setting)
{
    const qint64 before = m_values.workTime;
    m_values.workTime += first + second;
    if (m_trace) {
        traceChange(first);
        if (second != 0)
            traceChange(second);
    }
    change(DayField::WorkTime, before, m_values.workTime, setting);
}

void WorkDay::traceChange(qint64 seconds) const
{
    qDebug().noquote() << (seconds < 0 ? QStringLiteral("DČ-=%1") : QStringLiteral("DČ+=%1")).arg(std::llabs(seconds));
}

void WorkDay::change(DayField field, qint64 before, qint64 after, const char *setting)
{
    if (m_explanation && before != after)
        m_explanation->steps.push_back({m_rule, field, before, after, setting, QString()});
}

void WorkDay::remark(const QString &text, const char *setting)
{
    m_remarks.append(text);
    m_ruleRemark = text;
    m_remarkSetting = setting;
}

void WorkDay::warn(const QString &text, const char *setting)
{
    remark(text, setting);
    m_warnings.append(text);
}

} // namespace calc::rules
