#pragma once

#include "calc/input/calcrequest.h"
#include "calc/input/readrange.h"
#include "calc/rules/calcerrors.h"
#include "calc/rules/calcinputs.h"
#include "calc/rules/share.h"
#include "qany.h"

#include <QHash>

namespace storage {
class Reader;
}

namespace calc::input {

/// A longer period (a hundred years) is refused before anything is worked out for its days.
constexpr qint64 kMaxPeriodDays = 36600;
/// So many days of employees are calculated at once, 1,000 employees' year; more is refused, since result and answer
/// take about 5 KB each.
constexpr qint64 kMaxEmployeeDays = 400000;
/// So many days of employees are explained; for more the explanation is empty.
constexpr qint64 kMaxExplainedDays = 5000;

/// What was read for a calculation.
struct CalcRead {
    bool isFatal = true; ///< nothing can be calculated; the errors say why
    bool isExplained = false;
    rules::CalcInputs inputs;
    rules::CalcErrors errors;
    // As read, for the form that clients get; filled only where it is wanted.
    QAny employees{QAny::List};
    QAny assignments{QAny::List};
};

/// Reads what a request asks for: first what all employees have in common, then the events of one share of them after
/// the other, of different shares by different threads at a time if need be.
class CalcReader
{
public:
    /// Days after `today` (local) are in the future. With rows the rows as read are kept too.
    CalcReader(const QAny &request, QDate today, bool withRows);

    /// Before anything is read: also employees who are not active any more.
    void includeLeft() { m_request.withLeft = true; }
    /// Everything but the events. False when a fault makes the rest needless.
    bool readCommon(storage::Reader &database);
    /// The shares in which the events are to be read.
    std::vector<rules::Share> shares() const;
    /// Reads and completes the events of a share's employees; how many rows there were.
    int readEvents(storage::Reader &database, rules::Share share);
    /// When the events of all are read, so many rows: what is left to be known of them. That there are none is a fault
    /// where they are needed.
    void finish(storage::Reader &database, int rows, bool needsEvents);

    CalcRead &result() { return m_read; }

private:
    QString readPlan(storage::Reader &database);
    void fail(const QString &fault);
    QString faultOfEvents(storage::Reader &database, int rows) const;

    CalcRequest m_request;
    const QAny m_settings; ///< the request, for what it sets
    const QDate m_today;
    const bool m_withRows;
    ReadRange m_range;
    QHash<qint64, int> m_employeeOf; ///< position by user
    CalcRead m_read;
};

} // namespace calc::input
