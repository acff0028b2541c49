#pragma once

#include "calc/rules/storedvalue.h"

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

namespace calc::rules {

/// One row of the shift assignments, its dates as days of the run's clock.
struct Assignment {
    qint64 id = 0;
    int firstDay = 0;
    int lastDay = 0;
    bool hasHour = false; ///< FHOUR is filled: the day's shift flag
    QString group;
    QString emplId;     ///< of the only employee it is for; empty = the whole group
    StoredValue preraz; ///< as stored
};

/// Which shift applies on a day.
struct ShiftOfDay {
    int shift = 1;      ///< 1 to 3
    bool isOff = false; ///< a day off: no schedule applies
    bool flag = false;  ///< the assignment has an FHOUR
    StoredValue preraz; ///< of the assignment; nothing without one

    bool isAssigned() const;
};

/// The shifts of all days of a run's clock for the employees of each assignment group. Worked out once per group, and
/// again only for employees whom a row names.
class ShiftPlan
{
public:
    using Days = std::vector<ShiftOfDay>;
    /// Positions of assignments in the list that the plan was made of.
    using Rows = std::vector<int>;

    ShiftPlan() = default;
    ShiftPlan(std::vector<Assignment> assignments, int dayCount);

    /// Never null; one entry per day of the clock.
    std::shared_ptr<const Days> daysOf(const QString &group, const QString &emplId);

    /// The assignments that apply to an employee.
    Rows rowsOf(const QString &group, const QString &emplId) const;

private:
    struct Group {
        Rows common;
        QHash<QString, Rows> personal;
        std::shared_ptr<const Days> days; ///< of the common rows; null until asked for

        bool names(const QString &emplId) const { return !emplId.isEmpty() && personal.contains(emplId); }
        Rows rowsFor(const QString &emplId) const;
    };

    std::shared_ptr<const Days> resolve(const Rows &rows) const;

    std::vector<Assignment> m_assignments;
    QHash<QString, Group> m_groups;
    std::shared_ptr<const Days> m_unassigned;
    int m_dayCount = 0;
};

} // namespace calc::rules
