#pragma once

#include "qany.h"

#include <QDate>

#include <memory>

class DataBase;

/// A whole work-time calculation of a period: reads the inputs, pairs the events, applies the day rules and builds
/// the sums. Runs on the caller's thread and blocks it; keeps no state between calculations.
class Calc21
{
public:
    /// The database is not owned and must outlive this object. Days after `today` (local; the clock's date when
    /// invalid) are in the future: they have no hours check and no balance.
    explicit Calc21(DataBase &database, QDate today = {});
    ~Calc21();

    /// Result: CALC, CALCsum, DAYS, CALCorg, DAYSorg, ACSLIST and ERR; after a fatal error only ERR.
    /// Request: STARTDATE, ENDDATE ("d.M.yyyy"), optional SETT, NAMEFIRST, SORT, USER (one id or a list of ids).
    QAny calcAll(const QAny &request);

    /// The CALC21 form of the last calculation: {"CALC21": {PAIRS, EMPLO, DATA, PRERAZ}}.
    QAny packed() const;

private:
    Q_DISABLE_COPY(Calc21)
    class Run;
    DataBase &m_database;
    QDate m_today;
    std::unique_ptr<Run> m_run; // the last calculation
};
