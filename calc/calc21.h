#pragma once

#include "calc/rules/calcresult.h"
#include "qany.h"

#include <QDate>

namespace storage {
class Reader;
}

/// A whole work-time calculation of a period: reads the inputs and runs the rules over them. Runs on the caller's
/// thread and blocks it; keeps its result until the next calculation.
class Calc21
{
public:
    /// The database is not owned and must outlive this object. Days after `today` (local) are in the future: they have
    /// no hours check and no balance. An invalid date takes the machine's at each calculation.
    explicit Calc21(storage::Reader &database, QDate today = {});

    /// Request: STARTDATE, ENDDATE ("d.M.yyyy"), optional SETT, DOUBLETAP, NAMEFIRST, SORT, USER (one id or a list of
    /// ids), EXPLAIN (the result is explained), CALC21 (packed() is wanted).
    const calc::rules::CalcResult &calculate(const QAny &request);
    /// The same as records: CALC, CALCsum, DAYS, CALCorg, DAYSorg, ACSLIST and ERR; after a fatal error only ERR.
    /// Records that stand in several of these lists are shared handles.
    QAny calcAll(const QAny &request);

    /// The result of the last calculation, which is then no longer here.
    calc::rules::CalcResult takeResult() { return std::move(m_result); }
    /// The CALC21 form of the last calculation, which must have been asked for it: {"CALC21": {PAIRS, EMPLO, DATA,
    /// PRERAZ}}, empty lists after a fatal error. DATA holds the events, EMPLO the employees with their parsed
    /// schedules and shift assignments. The pairs are those of the records, which are handed in.
    QAny packed(const QAny &records) const;

private:
    storage::Reader &m_database;
    QDate m_today;
    calc::rules::CalcResult m_result;
    QAny m_employees{QAny::List};
    QAny m_assignments{QAny::List};
};
