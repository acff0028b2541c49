#include "calc/output/records.h"

#include "calc/output/calcrecords.h"
#include "calc/output/employeerecords.h"

namespace calc::output {

using rules::CalcErrors;
using rules::CalcResult;
using rules::EmployeeResult;
using rules::Event;

namespace {

const QString &codeText(CalcErrors::Code code)
{
    static const QString texts[] = {QStringLiteral("NAP"), QStringLiteral("ATP"), QStringLiteral("OPC"),
                                    QStringLiteral("OPO"), QStringLiteral("SPO")};
    return texts[static_cast<int>(code)];
}

/// A row of its own: the one that was read stays as it is.
QAny withAssignments(const QAny &employee, const QAny &assigned)
{
    QAny row(QAny::Hash);
    for (int i = 0; i < employee.count(); ++i)
        row.insert(employee.keyAt(i), employee.at(i));
    row.insert(QStringLiteral("PRERAZ"), assigned);
    return row;
}

/// The lists of the result.
class Lists
{
public:
    explicit Lists(const CalcResult &result)
    {
        const int employees = static_cast<int>(result.employees.size());
        const int days = employees * result.inputs.period.dayCount();
        for (QAny *list : {&m_days, &m_daysBefore})
            list->reserve(days);
        for (QAny *list : {&m_calc, &m_calcBefore, &m_sums})
            list->reserve(employees);
    }

    void add(const CalcResult &result, size_t position)
    {
        const EmployeeRecords records(result, position);
        const EmployeeLists lists = records.lists(m_noRemarks);
        for (int day = 0; day < lists.days.count(); ++day) {
            m_days.append(lists.days.at(day));
            m_daysBefore.append(lists.daysBefore.at(day));
        }
        m_calc.append(records.judgedEntry(lists.pairs, lists.judged));
        m_calcBefore.append(records.entry(lists.pairs));
        m_sums.append(records.sum());
    }

    QAny toRecords(const CalcResult &result) const
    {
        QAny records(QAny::Hash);
        if (!result.isFatal) {
            records.insert(QStringLiteral("CALC"), m_calc);
            records.insert(QStringLiteral("CALCsum"), m_sums);
            records.insert(QStringLiteral("DAYS"), m_days);
            records.insert(QStringLiteral("CALCorg"), m_calcBefore);
            records.insert(QStringLiteral("DAYSorg"), m_daysBefore);
            records.insert(QStringLiteral("ACSLIST"), codeList(result.codes));
        }
        records.insert(QStringLiteral("ERR"), errorRecords(result.errors));
        return records;
    }

private:
    QAny m_calc{QAny::List};
    QAny m_sums{QAny::List};
    QAny m_days{QAny::List};
    QAny m_calcBefore{QAny::List};
    QAny m_daysBefore{QAny::List};
    QAny m_noRemarks{QAny::List};
};

} // namespace

void giveUp(CalcResult &result, size_t employee)
{
    result.employees[employee] = EmployeeResult();
    std::vector<Event>().swap(result.inputs.employees[employee].events);
}

QAny recordsOf(const CalcResult &result)
{
    Lists lists(result);
    for (size_t i = 0; i < result.employees.size(); ++i)
        lists.add(result, i);
    return lists.toRecords(result);
}

QAny recordsOf(CalcResult &&result)
{
    Lists lists(result);
    for (size_t i = 0; i < result.employees.size(); ++i) {
        lists.add(result, i);
        giveUp(result, i);
    }
    return lists.toRecords(result);
}

QAny errorRecords(const CalcErrors &errors)
{
    QAny list(QAny::List);
    list.reserve(static_cast<int>(errors.entries().size()));
    for (const CalcErrors::Entry &entry : errors.entries()) {
        QAny record = QAny::record(ErrorKey::keys());
        record.slot(ErrorKey::CODE) = codeText(entry.code);
        record.slot(ErrorKey::NAPAKA) = entry.text;
        if (entry.user != 0 || !entry.name.isEmpty()) {
            record.slot(ErrorKey::USER) = entry.user;
            record.slot(ErrorKey::NAME) = entry.name;
        }
        if (entry.date != 0)
            record.slot(ErrorKey::DATESTAMP) = entry.date;
        list.append(std::move(record));
    }
    return list;
}

QAny pairRecords(const CalcResult &result, size_t employee)
{
    return EmployeeRecords(result, employee).pairs();
}

void addClientRows(const CalcResult &result, size_t employee, const QAny &pairs, const ReadRows &rows,
                   ClientLists &lists)
{
    for (int i = 0; i < pairs.count(); ++i)
        lists.pairs.append(pairs.at(i));
    const rules::Employee &person = result.inputs.employees[employee];
    const EmployeeRecords maker(result, employee);
    for (const Event &event : person.events) {
        if (!event.isDoubled)
            lists.events.append(maker.eventRecord(event));
    }
    QAny assigned(QAny::List);
    for (const int row : person.assignments)
        assigned.append(rows.assignments.at(row));
    lists.employees.append(withAssignments(rows.employees.at(static_cast<int>(employee)), assigned));
}

QAny clientForm(const CalcResult &result, const QAny &records, const ReadRows &rows)
{
    ClientLists lists;
    const QAny &calc = records.lookup(QStringLiteral("CALC"));
    for (size_t i = 0; i < result.employees.size(); ++i)
        addClientRows(result, i, calc.at(static_cast<int>(i)).lookup(QStringLiteral("PAIRS")), rows, lists);
    return {{QStringLiteral("PAIRS"), lists.pairs},
            {QStringLiteral("EMPLO"), lists.employees},
            {QStringLiteral("DATA"), lists.events},
            {QStringLiteral("PRERAZ"), rows.assignments}};
}

} // namespace calc::output
