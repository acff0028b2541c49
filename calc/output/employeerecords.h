#pragma once

#include "calc/rules/calcresult.h"
#include "qany.h"

namespace calc::output {

/// The lists that one employee's records stand in. A day that the rules left alone is one handle in both lists of days.
struct EmployeeLists {
    QAny pairs{QAny::List};
    QAny days{QAny::List};
    QAny daysBefore{QAny::List}; ///< the rules
    QAny judged{QAny::List};     ///< what the rules made of the days
};

/// ACSLIST of these codes.
QAny codeList(const rules::CodeNames &codes);

/// Makes the records of one employee, by position in the result, which must outlive it.
class EmployeeRecords
{
public:
    EmployeeRecords(const rules::CalcResult &result, size_t position)
        : m_period(result.inputs.period), m_clock(result.inputs.period.clock),
          m_employee(result.inputs.employees[position]), m_result(result.employees[position])
    {
    }

    QAny pairs() const;
    /// Days without remarks share the empty list.
    EmployeeLists lists(const QAny &noRemarks) const;
    /// The row of CALCsum.
    QAny sum() const;
    /// The row of CALCorg.
    QAny entry(const QAny &pairList) const;
    /// What the row of CALC has behind that.
    QAny judgedPart(const QAny &days) const;
    /// The row of CALC.
    QAny judgedEntry(const QAny &pairList, const QAny &days) const;
    QAny eventRecord(const rules::Event &event) const;

private:
    QAny dayRow(const rules::DayResult &day, const rules::DayValues &values, const rules::Amounts &amounts,
                const QAny &remarks) const;
    QAny judgedDay(const rules::DayResult &day, const QAny &remarks) const;
    QAny pairRecord(const rules::Pair &pair) const;
    void fillEnd(QAny &record, const rules::PairEnd &end, int second) const;

    const rules::Period &m_period;
    const rules::LocalClock &m_clock;
    const rules::Employee &m_employee;
    const rules::EmployeeResult &m_result;
};

} // namespace calc::output
