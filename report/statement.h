#pragma once

#include "report/job.h"

#include <optional>

namespace report {

/// What an employee and their superior sign: the days as the calculation has them, up to today, with the balance.
class Statement
{
public:
    explicit Statement(const Job &job) : m_job(job) {}

    static const Layout &layout();
    /// `carried` is the balance with which the period began, in seconds.
    Sheet of(const Employee &employee, const StaffView &view, const std::optional<qint64> &carried) const;

private:
    void addDay(Sheet &sheet, const StaffView &view, const DayView &day, qint64 balance) const;
    void addSums(Sheet &sheet, const Totals &sums, qint64 balance) const;

    const Job &m_job; ///< not owned
};

} // namespace report
