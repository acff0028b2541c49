#pragma once

#include "calc/crew.h"
#include "calc/rules/calcresult.h"

#include <QDate>
#include <QHash>
#include <QStringList>

#include <array>
#include <vector>

namespace report {

/// When something is told.
struct Now {
    qint64 time = 0; ///< Unix seconds
    QDate today;     ///< local
};

enum class DayState {
    Complete,
    Half,    ///< an arrival or a departure is missing
    Missing, ///< a working day without anything, of which hours are required
    Free,
    Future,
    Now ///< somebody is in, or may still come
};

/// "complete", "half" and so on.
const QString &stateText(DayState state);

/// A day as the page tells it. Durations are seconds.
struct DayView {
    QDate date;
    const calc::rules::DayResult *result = nullptr;
    calc::rules::Amounts amounts; ///< after the rules
    DayState state = DayState::Free;
    std::optional<qint64> liveSince; ///< the arrival of who is in, Unix seconds
    qint64 required = 0;             ///< what the schedule asks for, or the public holiday credits
    qint64 worked = 0;               ///< SKUPAJ; of who is in with the time since the arrival
    qint64 balance = 0;              ///< PLUSMINUS, likewise
    QStringList remarks;             ///< without the warnings
    QStringList faults;              ///< of the pairs
    QStringList warnings;            ///< of the day rules
};

/// Sums of days up to today, so that worked less required is the balance. Seconds.
struct Totals {
    qint64 worked = 0;
    qint64 required = 0;
    qint64 balance = 0;
    std::array<qint64, calc::rules::kCategoryCount> categories{};
    qint64 holiday = 0; ///< credited for public holidays

    void add(const DayView &day);
};

/// Which period of whom is wanted.
struct Period {
    QDate first;
    QDate last;
    std::vector<qint64> users; ///< none: all
    bool isExplained = false;
    bool withLeft = false; ///< also employees who are not active any more
    bool asMade = false;   ///< by the events as they were made: nothing rounded, generated or deleted by a setting
};

/// Something of an employee's period that somebody must look at.
struct Exception {
    enum What {
        Half,    ///< an arrival or a departure is missing
        Missing, ///< a working day without anything
        Fault,
        Warning ///< of a day rule
    };

    What what;
    QDate date; ///< invalid for what is of no day
    QString text;
};

/// One calculation of a period, and what the page tells of its days. Runs on the crew leader's thread. Nothing else can
/// be read of the crew from here on.
class StaffView
{
public:
    StaffView(calc::Crew &crew, const Period &period, const Now &now);

    const calc::rules::CalcResult &result() const { return m_result; }
    /// Nothing could be calculated; faults() of nobody says why.
    bool isFatal() const { return m_result.isFatal; }
    /// Of an employee, -1 where the calculation has none.
    int positionOf(qint64 user) const { return m_positions.value(user, -1); }
    std::vector<DayView> daysOf(int position) const;
    /// The day's name in the calendar, empty where it is no holiday or has no name.
    QString holidayOf(const DayView &day) const;
    /// Faults of an employee that are of no day, of nobody with the id 0.
    QStringList faultsOf(qint64 user) const;
    /// In the order of the days, what is of no day first. The days are those that daysOf() gave, or none.
    std::vector<Exception> exceptionsOf(qint64 user, const std::vector<DayView> &days) const;

private:
    DayView dayView(int position, const calc::rules::DayResult &day, int openDay) const;
    const calc::rules::Pair *openPair(int position) const;
    void tellErrors(qint64 user, DayView &day) const;

    Now m_now;
    calc::rules::CalcResult m_result;
    QHash<qint64, int> m_positions;
    QHash<qint64, std::vector<const calc::rules::CalcErrors::Entry *>> m_errors; ///< by employee
};

} // namespace report
