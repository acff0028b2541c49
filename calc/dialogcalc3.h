#pragma once

#include "qany.h"

#include <QDate>

class DataBase;

/// Turns the result of a calculation into tables that a client shows without further work: display texts and colours.
/// Runs on the caller's thread.
class DialogCalc3
{
public:
    /// The database is not owned and must outlive this object.
    explicit DialogCalc3(DataBase &database, QDate today = {});

    /// {"CALC", "PACK": {"PAIRS", "DAYS", "SUM", "ERR"}, "TIME": milliseconds}; with CALC21 true in the request also
    /// the CALC21 form.
    QAny recalc(const QAny &request);

    // Packed tables {"HEADER": List, "TABLE": List} of a result of Calc21::calcAll.
    QAny refPairs(const QAny &result);
    QAny showSumDays(const QAny &result);
    QAny packSum(const QAny &result);
    QAny packErrors(const QAny &result);
};
