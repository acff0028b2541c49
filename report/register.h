#pragma once

#include "report/entries.h"
#include "report/job.h"
#include "report/workrecord.h"

namespace report {

/// The daily record of working time, from the events as they were made. The view is of a period as made.
class Register
{
public:
    Register(const Job &job, const Entries &entries) : m_job(job), m_entries(entries) {}

    static const Layout &layout();
    Sheet of(const Employee &employee, const StaffView &view) const;

private:
    struct Subject {
        const calc::rules::CalcInputs &inputs;
        const calc::rules::Employee &employee;
    };

    void addDay(Sheet &sheet, const Subject &subject, const DayView &day, const DayPairs &pairs,
                const WorkRecord &record) const;
    static void fill(Cell *cells, const WorkRecord &record);
    QStringList remarksOf(const Subject &subject, const DayView &day, const DayPairs &pairs,
                          const WorkRecord &record) const;
    QString handEntered(const Subject &subject, const DayPairs &pairs) const;
    QString whoEntered(const Subject &subject, const calc::rules::PairEnd &end) const;
    static QString clockText(const Subject &subject, qint64 instant, int day);
    static QString eventsText(const Subject &subject, int day, const DayPairs &pairs);

    const Job &m_job;         ///< not owned
    const Entries &m_entries; ///< likewise
};

} // namespace report
