#pragma once

#include "calc/rules/calculation.h"
#include "qany.h"

#include <QStringList>

#include <optional>

// What a calculation answered, and short ways to say what one looks for in it.

/// "7:30" or "30:00:15" for seconds, "-" for nothing.
QString duration(std::optional<qint64> value);
/// What the row shows under each key (of a packed cell its display value): "'Novak Ana',1,null".
QString values(const QAny &row, const QString &keys);
/// The same of each row of a list, without quotes: "101 arrival, 102 departure".
QString each(const QAny &list, const QString &keys);
/// Seconds under each key: "7:30 0:00 -", the last one Null.
QString durations(const QAny &row, const QString &keys);

/// The records of a calculation. Employee 1 unless told.
class Outcome
{
public:
    explicit Outcome(const QAny &records) : answer(records) {}

    QAny answer;

    /// The row of the list that belongs to the employee and, where given, to the date; Null without one.
    QAny row(const QString &list, qint64 user = 1, const QString &day = {}) const;
    /// "IN-OUT DC" of the day: "7:00-15:00 8:00", "- 0:00" without a presence that counts.
    QString values(const QString &day, qint64 user = 1) const;
    /// The remarks of the day, joined by "; ".
    QString remarks(const QString &day, qint64 user = 1) const;
    /// "2.3. 07:00-15:00 102 8:00" for each pair of the period, joined by "; ". Seconds only where there are some, "NW
    /// 6:00" where a part was measured, a missing half is left empty.
    QString pairs(qint64 user = 1) const;
    /// The errors of the given codes, "ATP Ni Prihoda! 1 2.3." without what is 0, in alphabetical order, joined by "|".
    QString errors(const QString &codes) const;
    /// Durations of the day's or the period's columns: "DELO SALDO" as "8:00 -".
    QString amounts(const QString &day, const QString &columns, qint64 user = 1) const;
    QString sums(const QString &columns, qint64 user = 1) const;
    /// Ids of the employees in their order.
    QList<qint64> users(const QString &list = "CALC") const;
};

/// A calculation in memory, with what stands behind its records.
class CalcRun : public Outcome
{
public:
    explicit CalcRun(calc::rules::CalcResult calculated);

    calc::rules::CalcResult result;

    const calc::rules::EmployeeResult &of(qint64 user = 1) const;
    const calc::rules::DayResult &day(const QString &day, qint64 user = 1) const;
};
