#pragma once

#include "calc/rules/calcerrors.h"
#include "calc/rules/calcinputs.h"
#include "qany.h"

#include <QDate>

class DataBase;

/// A whole work-time calculation of a period: reads the inputs, pairs the events, applies the day rules and builds
/// the sums. Runs on the caller's thread and blocks it; keeps its inputs until the next calculation.
class Calc21
{
public:
    /// The database is not owned and must outlive this object. Days after `today` (local; the clock's date when
    /// invalid) are in the future: they have no hours check and no balance.
    explicit Calc21(DataBase &database, QDate today = {});

    /// Result: CALC, CALCsum, DAYS, CALCorg, DAYSorg, ACSLIST and ERR; after a fatal error only ERR. Records that
    /// stand in several of these lists are shared handles.
    /// Request: STARTDATE, ENDDATE ("d.M.yyyy"), optional SETT, NAMEFIRST, SORT, USER (one id or a list of ids).
    QAny calcAll(const QAny &request);

    /// The CALC21 form of the last calculation: {"CALC21": {PAIRS, EMPLO, DATA, PRERAZ}}, empty lists after a fatal
    /// error. DATA holds the events, EMPLO the employees with their parsed schedules and shift assignments.
    QAny packed() const;

private:
    bool readAllEvents(const QAny &request);
    void checkEvents();
    QAny calculate();

    DataBase &m_database;
    QDate m_today;
    CalcInputs m_inputs;
    CalcErrors m_errors;
    QAny m_pairs;
};
