#pragma once

#include "calc/output/packedcells.h"
#include "calc/output/records.h"
#include "calc/rules/calcresult.h"
#include "calc/rules/share.h"

#include <QByteArray>

#include <array>

namespace calc::output {

/// The lists of a calculation's records, of its packed tables and of the form for clients.
enum class ListName {
    Calc,
    CalcSum,
    Days,
    CalcOrg,
    DaysOrg,
    PairRows,
    DayRows,
    SumRows,
    ClientPairs,
    ClientEmployees,
    ClientEvents,
    Count
};

/// What a share of the employees adds to each list: its elements as JSON text, each with a comma in front.
using ShareTexts = std::array<QByteArray, static_cast<size_t>(ListName::Count)>;

/// Makes the texts of shares, one after the other, on one thread: every member of a crew has a writer of its own.
class ShareWriter
{
public:
    /// Nothing is owned, and all must outlive it. With rows the form for clients is written too.
    explicit ShareWriter(rules::CalcResult &result, const ReadRows *rows = nullptr);

    /// Gives up the result of the share's employees: records live only until they are written.
    ShareTexts take(rules::Share share);

private:
    class Lists;

    void writeRecords(size_t employee, Lists &lists) const;

    rules::CalcResult &m_result;
    const ReadRows *m_rows;
    PackedCells m_cells;
    const QAny m_noRemarks{QAny::List};
    std::array<int, static_cast<size_t>(ListName::Count)> m_sizes{}; ///< of the last share's texts
};

} // namespace calc::output
