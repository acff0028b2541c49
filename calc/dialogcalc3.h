#pragma once

#include "calc/rules/calcsettings.h"
#include "qany.h"

#include <QDate>

#include <optional>

class DataBase;

/// Turns the result of a calculation into tables that a client shows without further work: display texts and colours.
/// Runs on the caller's thread.
///
/// A packed table is {"HEADER": List of {"KEY", "TXT"}, "TABLE": List of rows}; a row is a Hash keyed by column. A
/// cell is its display text, an Integer for ids and counts, or a Hash with the text under UWVS and its COLOR,
/// TXTCOLOR, TOOLTIP or ICON. Equal coloured cells are one shared handle.
class DialogCalc3
{
public:
    /// The database is not owned and must outlive this object. For `today` see Calc21.
    explicit DialogCalc3(DataBase &database, QDate today = {});

    /// {"CALC", "PACK": {"PAIRS", "DAYS", "SUM", "ERR"}, "TIME": milliseconds}; with CALC21 true in the request also
    /// the CALC21 form. After a fatal error the tables are there and empty but for ERR.
    QAny recalc(const QAny &request);

    // Packed tables of a result of Calc21::calcAll; outside recalc() with the stored settings.
    QAny refPairs(const QAny &result);
    QAny showSumDays(const QAny &result);
    QAny packSum(const QAny &result);
    QAny packErrors(const QAny &result);

private:
    const CalcSettings &settings();
    QAny dayHeader();

    DataBase &m_database;
    QDate m_today;
    std::optional<CalcSettings> m_settings;
};
