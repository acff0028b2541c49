#pragma once

#include "calc/rules/calcresult.h"
#include "calc/rules/dayrules.h"

#include <vector>

/// Sums of days and of the period: sorts an employee's pairs into days, has the rules judge each, and adds them up.
/// Pure; one object serves a whole run, from any thread at a time.
class CalcParse21
{
public:
    /// The inputs are not owned and must outlive this object.
    explicit CalcParse21(const calc::rules::CalcInputs &inputs);

    /// The employee's days and sums from the pairs of the period; warnings of the rules are added to the errors. With
    /// isExplained every day gets its explanation.
    calc::rules::EmployeeResult parse(const calc::rules::Employee &employee, calc::rules::Pairing pairing,
                                      bool isExplained, calc::rules::CalcErrors &errors) const;

    /// Gives each employee the rows of its assignment group (PRERAZ) and the shifts of its days.
    static void prepackPreraz(calc::rules::CalcInputs &inputs);

private:
    struct DayPairs {
        const calc::rules::Pair *first;
        const calc::rules::Pair *last; ///< behind the last one

        const calc::rules::Pair *begin() const { return first; }
        const calc::rules::Pair *end() const { return last; }
    };

    calc::rules::DayResult dayOf(const calc::rules::Employee &employee, int number, DayPairs pairs,
                                 const Calc21sett &rules) const;
    calc::rules::DayFacts calendarFacts(const calc::rules::Employee &employee, int number) const;
    void addPairs(const calc::rules::Employee &employee, DayPairs pairs, calc::rules::DayResult &day) const;
    void readPresence(const calc::rules::Employee &employee, DayPairs pairs, const Calc21sett &rules,
                      calc::rules::DayResult &day) const;
    calc::rules::CodeNames codesOf(const calc::rules::Employee &employee) const;
    qint64 nightOf(const calc::rules::Pair &pair) const;

    const calc::rules::CalcInputs &m_inputs;
    const calc::rules::LocalClock &m_clock;
    std::vector<std::pair<qint64, qint64>> m_nights; ///< from 23:00 of a day of the clock to 06:00 of the next
};
