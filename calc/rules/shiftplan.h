#pragma once

#include "qany.h"

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

class LocalClock;

/// One row of the shift assignments, its dates as days of the run's clock.
struct Assignment {
    qint64 id = 0;
    int firstDay = 0;
    int lastDay = 0;
    bool hasHour = false; ///< FHOUR is filled: the day's shift flag
    QString group;
    QString emplId; ///< of the only employee it is for; empty = the whole group
    QAny preraz;    ///< as stored
    QAny record;    ///< the row as read
};

/// Which shift applies on a day.
struct ShiftOfDay {
    int shift = 1;      ///< 1 to 3
    bool isOff = false; ///< a day off: no schedule applies
    bool flag = false;  ///< the assignment has an FHOUR
    QAny preraz;        ///< of the assignment; Null without one
};

/// The shifts of all days of a run's clock for the employees of each assignment group. Worked out once per group, and
/// again only for employees whom a row names.
class ShiftPlan
{
public:
    using Days = std::vector<ShiftOfDay>;

    ShiftPlan() = default;
    ShiftPlan(ShiftPlan &&) = default;
    ShiftPlan &operator=(ShiftPlan &&) = default;
    ShiftPlan(std::vector<Assignment> assignments, int dayCount);

    /// Never null; one entry per day of the clock.
    std::shared_ptr<const Days> daysOf(const QString &group, const QString &emplId);

    /// All rows as read, and those that apply to an employee (a List shared by those of a group whom no row names).
    QAny records() const;
    QAny recordsOf(const QString &group, const QString &emplId);

private:
    using Rows = std::vector<const Assignment *>;

    std::shared_ptr<const Days> resolve(const Rows &rows) const;
    static QAny listOf(const Rows &rows);

    struct Group {
        Rows common;
        QHash<QString, Rows> personal;
        std::shared_ptr<const Days> days; ///< of the common rows; null until asked for
        QAny records;                     ///< of the common rows; Null until asked for

        bool names(const QString &emplId) const { return !emplId.isEmpty() && personal.contains(emplId); }
        Rows rowsFor(const QString &emplId) const;
    };
    Group *groupOf(const QString &name);

    std::vector<Assignment> m_assignments;
    QHash<QString, Group> m_groups;
    std::shared_ptr<const Days> m_unassigned;
    int m_dayCount = 0;
};
