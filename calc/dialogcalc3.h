#pragma once

#include "calc/output/packedcells.h"
#include "calc/rules/calcresult.h"
#include "qany.h"

#include <QDate>

namespace storage {
class Reader;
}

/// Turns the result of a calculation into tables that a client shows without further work: display texts and colours.
/// Runs on the caller's thread. For the form of a packed table see calc/output/tables.h.
class DialogCalc3
{
public:
    /// The database is not owned and must outlive this object. For `today` see Calc21.
    explicit DialogCalc3(storage::Reader &database, QDate today = {});

    /// {"CALC", "PACK": {"PAIRS", "DAYS", "SUM", "ERR"}, "TIME": milliseconds}; with CALC21 true in the request also
    /// the CALC21 form, with EXPLAIN true the explanation of every day. After a fatal error the tables are there and
    /// empty but for ERR.
    QAny recalc(const QAny &request);

    // Packed tables of a result. The cells are those of the result, and serve all its tables.
    QAny refPairs(const calc::rules::CalcResult &result, calc::output::PackedCells &cells);
    QAny showSumDays(const calc::rules::CalcResult &result, calc::output::PackedCells &cells);
    QAny packSum(const calc::rules::CalcResult &result, calc::output::PackedCells &cells);

private:
    storage::Reader &m_database;
    QDate m_today;
};
