#pragma once

#include "calc/rules/calcinputs.h"
#include "calc/rules/dayrules.h"
#include "calc/rules/pairing.h"

#include <array>
#include <map>

/// Turns the pairs of a period into day rows and sum rows: one per employee and day, one per employee. Pure; one
/// object serves a whole run.
class CalcParse21
{
public:
    /// Rows of one employee. Handles of rows that the rules left alone are shared between both lists of days.
    struct Rows {
        QAny pairs;      ///< List of pair records
        QAny judgedDays; ///< List of what the rules made of each day
        QAny sum;        ///< sum record
    };

    /// The inputs and the error list are not owned and must outlive this object; the rows of all days are appended
    /// to the two lists. Days after `today` are in the future.
    CalcParse21(const CalcInputs &inputs, QDate today, CalcErrors &errors, QAny days, QAny daysBeforeRules);

    Rows parse(const Employee &employee, const std::vector<Pair> &pairs);
    /// The distinct codes met so far, when the settings ask for them: a List of {AC, NAME}.
    QAny accessList() const { return listOf(m_codes); }

    /// Attaches the rows of its assignment group to each employee record under PRERAZ.
    static void prepackPreraz(CalcInputs &inputs);

private:
    /// What a day's pairs add up to, before the rules.
    struct DayTotals {
        std::array<qint64, kCategoryCount> categories{};
        qint64 presence = 0;
        qint64 night = 0;
        qint64 holiday = 0; ///< PRAZNIK credited
        std::optional<qint64> firstArrival;
        std::optional<qint64> lastDeparture;
        int departures = 0;

        qint64 &of(Category category) { return categories[static_cast<size_t>(category)]; }
    };
    using PairIterator = std::vector<Pair>::const_iterator;
    using Codes = std::map<QString, QString>;

    WorkDay dayOf(const Employee &employee, int number) const;
    DayTotals totalsOf(PairIterator first, PairIterator last, WorkDay &day) const;
    void readPresence(const Employee &employee, int number, PairIterator first, PairIterator last,
                      const Calc21sett &rules, WorkDay &day) const;
    qint64 nightOf(const Pair &pair) const;
    QAny dayRow(const Employee &employee, int number, const DayTotals &totals, const WorkDay &day,
                bool emptySaldo) const;
    QAny judgedDay(int number, const WorkDay &day, const QAny &remarks) const;
    QAny pairRecord(const Employee &employee, const Pair &pair) const;
    QAny remarkList(const QStringList &remarks) const;
    void addToSum(QAny &sum, const QAny &row, const WorkDay &day) const;
    void collectCodes(const Employee &employee, Codes &codes) const;
    static QAny listOf(const Codes &codes);

    const CalcInputs &m_inputs;
    const LocalClock &m_clock;
    CalcErrors &m_errors;
    int m_today;
    QAny m_days;
    QAny m_daysBeforeRules;
    QAny m_noRemarks;
    Codes m_codes;
    std::vector<std::pair<qint64, qint64>> m_nights; ///< from 23:00 of a day of the clock to 06:00 of the next
};
