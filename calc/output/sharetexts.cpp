#include "calc/output/sharetexts.h"

#include "calc/output/employeerecords.h"
#include "calc/output/tables.h"
#include "jsontext.h"

namespace calc::output {

using rules::CalcResult;

namespace {

const QLatin1String kComma(",");

void addElements(const QAny &list, JsonText &text)
{
    for (int i = 0; i < list.count(); ++i) {
        text.add(kComma);
        text.add(list.at(i));
    }
}

} // namespace

/// The lists of one share as they grow.
class ShareWriter::Lists
{
public:
    JsonText &of(ListName name) { return m_texts[static_cast<size_t>(name)]; }

    void addRecords(const EmployeeRecords &records, const EmployeeLists &lists)
    {
        addEntries(records, lists);
        addDays(lists);
        of(ListName::CalcSum).add(kComma);
        of(ListName::CalcSum).add(records.sum());
    }

    void addClientLists(const ClientLists &lists)
    {
        addElements(lists.pairs, of(ListName::ClientPairs));
        addElements(lists.employees, of(ListName::ClientEmployees));
        addElements(lists.events, of(ListName::ClientEvents));
    }

    /// The rows of one table of an employee, which are no more needed then.
    template <typename AddRows> void addRows(ListName name, AddRows addRowsTo)
    {
        QAny rows(QAny::List);
        addRowsTo(rows);
        addElements(rows, of(name));
    }

private:
    /// The row of CALC is that of CALCorg and more behind it: the pairs are written once.
    void addEntries(const EmployeeRecords &records, const EmployeeLists &lists)
    {
        JsonText &before = of(ListName::CalcOrg);
        JsonText &after = of(ListName::Calc);
        const int begin = before.size();
        before.add(kComma);
        before.add(records.entry(lists.pairs));
        after.add(before, begin, before.size());
        after.extendHash(records.judgedPart(lists.judged));
    }

    /// So is a day that stands in both lists.
    void addDays(const EmployeeLists &lists)
    {
        JsonText &before = of(ListName::DaysOrg);
        JsonText &after = of(ListName::Days);
        for (int day = 0; day < lists.days.count(); ++day) {
            const QAny &row = lists.days.at(day);
            const int begin = before.size();
            before.add(kComma);
            before.add(lists.daysBefore.at(day));
            if (row.sharesRecordWith(lists.daysBefore.at(day))) {
                after.add(before, begin, before.size());
            } else {
                after.add(kComma);
                after.add(row);
            }
        }
    }

    std::array<JsonText, static_cast<size_t>(ListName::Count)> m_texts;
};

ShareWriter::ShareWriter(CalcResult &result, const ReadRows *rows)
    : m_result(result), m_rows(rows), m_cells(cellsOf(result))
{
}

void ShareWriter::writeRecords(size_t employee, Lists &lists) const
{
    const EmployeeRecords records(m_result, employee);
    const EmployeeLists made = records.lists(m_noRemarks);
    lists.addRecords(records, made);
    if (!m_rows)
        return;
    ClientLists client;
    addClientRows(m_result, employee, made.pairs, *m_rows, client);
    lists.addClientLists(client);
}

ShareTexts ShareWriter::take(rules::Share share)
{
    Lists lists;
    constexpr auto count = static_cast<size_t>(ListName::Count);
    for (size_t name = 0; name < count; ++name)
        lists.of(static_cast<ListName>(name)).reserve(m_sizes[name] + m_sizes[name] / 4); // shares are alike
    for (size_t i = share.first; i < share.end; ++i) {
        writeRecords(i, lists);
        lists.addRows(ListName::PairRows, [&](QAny &rows) { addPairRows(m_result, i, m_cells, rows); });
        lists.addRows(ListName::DayRows, [&](QAny &rows) { addDayRows(m_result, i, m_cells, rows); });
        lists.addRows(ListName::SumRows, [&](QAny &rows) { addSumRow(m_result, i, m_cells, rows); });
        giveUp(m_result, i);
    }
    ShareTexts texts;
    for (size_t name = 0; name < count; ++name) {
        texts[name] = lists.of(static_cast<ListName>(name)).taken();
        m_sizes[name] = texts[name].size();
    }
    return texts;
}

} // namespace calc::output
