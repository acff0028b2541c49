#pragma once

#include "calc/crew.h"
#include "calc/output/records.h"
#include "calc/rules/calcresult.h"
#include "calc/rules/share.h"
#include "qany.h"

#include <QDate>

#include <memory>
#include <vector>

namespace calc::input {
class CalcReader;
}

/// A whole work-time calculation of a period: reads the inputs and runs the rules over them. Runs on the caller's
/// thread, with a crew on its threads too, and blocks it; keeps its result until the next calculation.
class Calc21
{
public:
    /// The database is not owned and must outlive this object. Days after `today` (local) are in the future: they have
    /// no hours check and no balance. An invalid date takes the machine's at each calculation.
    explicit Calc21(storage::Reader &database, QDate today = {});
    /// The same by a crew, of which the caller is the leader; its reading ends with the calculation's. Not owned
    /// either.
    explicit Calc21(calc::Crew &crew, QDate today = {});

    /// Request: STARTDATE, ENDDATE ("d.M.yyyy"), optional SETT, DOUBLETAP, NAMEFIRST, SORT, USER (one id or a list of
    /// ids), EXPLAIN (the result is explained), CALC21 (packed() is wanted). The result does not depend on the crew; of
    /// a cancelled calculation it is of no use.
    const calc::rules::CalcResult &calculate(const QAny &request);
    /// From here on a period without any event is calculated too; it is a fatal error otherwise.
    void allowNoEvents() { m_needsEvents = false; }
    /// From here on employees who are not active any more are calculated too.
    void includeLeft() { m_withLeft = true; }
    /// The same as records: CALC, CALCsum, DAYS, CALCorg, DAYSorg, ACSLIST and ERR; after a fatal error only ERR.
    /// Records that stand in several of these lists are shared handles.
    QAny calcAll(const QAny &request);

    /// The result of the last calculation, which is then no longer here.
    calc::rules::CalcResult takeResult() { return std::move(m_result); }
    /// The shares of its employees.
    const std::vector<calc::rules::Share> &shares() const { return m_shares; }
    /// The CALC21 form of the last calculation, which must have been asked for it: {"CALC21": {PAIRS, EMPLO, DATA,
    /// PRERAZ}}, empty lists after a fatal error. DATA holds the events, EMPLO the employees with their parsed
    /// schedules and shift assignments. The pairs are those of the records, which are handed in.
    QAny packed(const QAny &records) const;

    /// What packed() takes along as it was read.
    const calc::output::ReadRows &rows() const { return m_rows; }

private:
    void read(calc::input::CalcReader &reader);
    void applyRules(calc::input::CalcReader &reader);

    std::unique_ptr<calc::Crew> m_alone; ///< the caller's thread; null where a crew was given
    calc::Crew &m_crew;
    QDate m_today;
    bool m_needsEvents = true;
    bool m_withLeft = false;
    calc::rules::CalcResult m_result;
    std::vector<calc::rules::Share> m_shares;
    calc::output::ReadRows m_rows;
};
