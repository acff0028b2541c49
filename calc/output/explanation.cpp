#include "calc/output/explanation.h"

#include "calc/output/calcrecords.h"
#include "calc/output/eventuses.h"
#include "calc/output/storedvalues.h"

#include <cstring>

namespace calc::output {

using rules::CalcResult;
using rules::DayExplanation;
using rules::DayField;
using rules::DayResult;
using rules::DaySchedule;
using rules::Employee;
using rules::EmployeeResult;
using rules::Event;
using rules::Idle;
using rules::Pair;
using rules::PairEnd;
using rules::RuleStep;
using rules::ScheduleTime;

namespace {

const QString &fieldText(DayField field)
{
    static const QString texts[] = {QStringLiteral(""), QStringLiteral("DC"), QStringLiteral("IN"),
                                    QStringLiteral("OUT")};
    return texts[static_cast<int>(field)];
}

/// In the order of the enumeration.
const QString &whyText(Idle why)
{
    static const QString texts[] = {QStringLiteral("no settings"),   QStringLiteral("rules skipped"),
                                    QStringLiteral("after today"),   QStringLiteral("off"),
                                    QStringLiteral("no schedule"),   QStringLiteral("free day"),
                                    QStringLiteral("nothing to do"), QStringLiteral("below its limit")};
    return texts[static_cast<int>(why)];
}

QAny scheduleHash(const DayResult &day)
{
    if (!day.facts.schedule)
        return {};
    const DaySchedule &schedule = *day.facts.schedule;
    QAny hash{{QStringLiteral("SHIFT"), day.facts.shift}};
    const std::pair<const char *, ScheduleTime> times[] = {{"STARTB", schedule.startB},
                                                           {"STARTE", schedule.startE},
                                                           {"ENDB", schedule.endB},
                                                           {"ENDE", schedule.endE},
                                                           {"MINHOURS", schedule.minHours}};
    for (const auto &[key, time] : times) {
        if (time)
            hash.insert(QString::fromLatin1(key), *time);
    }
    return hash;
}

/// What stands in the settings under "SECTION/KEY", or in the day's schedule under a key.
QAny storedUnder(const char *setting, const Employee &employee, const DayResult &day)
{
    if (!setting)
        return {};
    const QString key = QString::fromLatin1(setting);
    if (std::strchr(setting, '/'))
        return employee.rules ? valueOf(employee.rules->stored.value(key)) : QAny();
    return day.facts.schedule ? valueOf(day.facts.schedule->stored.value(key)) : QAny();
}

QAny stepHash(const RuleStep &step, const Employee &employee, const DayResult &day)
{
    const bool hasValues = step.field != DayField::None;
    return {{QStringLiteral("RULE"), QString::fromLatin1(step.rule)},
            {QStringLiteral("FIELD"), fieldText(step.field)},
            {QStringLiteral("BEFORE"), hasValues ? QAny(step.before) : QAny()},
            {QStringLiteral("AFTER"), hasValues ? QAny(step.after) : QAny()},
            {QStringLiteral("SETTING"), QString::fromLatin1(step.setting ? step.setting : "")},
            {QStringLiteral("VALUE"), storedUnder(step.setting, employee, day)},
            {QStringLiteral("TEXT"), step.remark}};
}

QAny eventHash(int number, const Event &event, EventUse use)
{
    QAny hash{{QStringLiteral("N"), number},
              {QStringLiteral("ID"), event.id},
              {QStringLiteral("TIMESTAMP"), event.timestamp},
              {QStringLiteral("AC"), event.accessCode},
              {QStringLiteral("SOURCE"), event.source},
              {QStringLiteral("USE"), useText(use)}};
    if (event.stored != event.timestamp)
        hash.insert(QStringLiteral("STORED"), event.stored);
    return hash;
}

QAny resultHash(const DayResult &day)
{
    const rules::Amounts amounts = day.amountsAfter();
    return {{QStringLiteral("DELO"), day.after.workTime},
            {QStringLiteral("SKUPAJ"), amounts.total},
            {QStringLiteral("SALDO"), amounts.saldo ? QAny(*amounts.saldo) : QAny()},
            {QStringLiteral("PLUSMINUS"), amounts.plusMinus}};
}

/// The entries of one employee.
class EmployeeAccount
{
public:
    EmployeeAccount(const CalcResult &result, size_t position)
        : m_clock(result.inputs.period.clock), m_employee(result.inputs.employees[position]),
          m_result(result.employees[position]), m_uses(eventUses(m_employee, m_result.pairing, m_clock))
    {
    }

    QAny entry(size_t position)
    {
        const DayResult &day = m_result.days[position];
        QAny entry{{QStringLiteral("USER"), m_employee.user},           {QStringLiteral("NAME"), m_employee.name},
                   {QStringLiteral("DATE"), m_clock.midnight(day.day)}, {QStringLiteral("SCHEDULE"), scheduleHash(day)},
                   {QStringLiteral("EVENTS"), events(day.day)},         {QStringLiteral("PAIRS"), pairs(day.day)}};
        addSteps(entry, day, m_result.explanations[position]);
        entry.insert(QStringLiteral("RESULT"), resultHash(day));
        return entry;
    }

private:
    /// Also gives the events of the day their numbers.
    QAny events(int day)
    {
        QAny list(QAny::List);
        for (size_t i = 0; i < m_uses.size(); ++i) {
            if (m_uses[i].day != day)
                continue;
            m_uses[i].number = list.count() + 1;
            list.append(eventHash(m_uses[i].number, m_employee.events[i], m_uses[i].use));
        }
        return list;
    }

    QAny pairs(int day) const
    {
        QAny list(QAny::List);
        for (const Pair &pair : m_result.pairing.pairs) {
            if (pair.day != day || !pair.isComplete())
                continue;
            list.append(QAny{{QStringLiteral("N"), list.count() + 1},
                             {QStringLiteral("FROM"), numberOf(pair.arrival)},
                             {QStringLiteral("TO"), numberOf(pair.departure)},
                             {QStringLiteral("CATEGORY"), categoryName(pair.category())},
                             {QStringLiteral("SECONDS"), pair.length()}});
        }
        return list;
    }

    /// Null for an end that was made.
    QAny numberOf(const PairEnd &end) const
    {
        return end.isStored() ? QAny(m_uses[static_cast<size_t>(end.event)].number) : QAny();
    }

    void addSteps(QAny &entry, const DayResult &day, const DayExplanation &explanation) const
    {
        QAny steps(QAny::List);
        for (const RuleStep &step : explanation.steps)
            steps.append(stepHash(step, m_employee, day));
        QAny idle(QAny::List);
        for (const rules::IdleRule &rule : explanation.idle) {
            idle.append(QAny{{QStringLiteral("RULE"), QString::fromLatin1(rule.rule)},
                             {QStringLiteral("WHY"), whyText(rule.why)}});
        }
        entry.insert(QStringLiteral("STEPS"), steps);
        entry.insert(QStringLiteral("IDLE"), idle);
    }

    const rules::LocalClock &m_clock;
    const Employee &m_employee;
    const EmployeeResult &m_result;
    std::vector<UsedEvent> m_uses;
};

} // namespace

QAny explanationOf(const CalcResult &result)
{
    QAny list(QAny::List);
    if (!result.isExplained)
        return list;
    for (size_t i = 0; i < result.employees.size(); ++i) {
        EmployeeAccount account(result, i);
        for (size_t day = 0; day < result.employees[i].days.size(); ++day)
            list.append(account.entry(day));
    }
    return list;
}

} // namespace calc::output
