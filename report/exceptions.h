#pragma once

#include "report/job.h"

namespace report {

/// What somebody must look at, a sheet for each department.
class Exceptions
{
public:
    explicit Exceptions(const Job &job) : m_job(job) {}

    static const Layout &layout();
    Sheet ofDepartment(const QString &department) const;
    /// Appends what the employee's period has.
    void add(Sheet &sheet, const Employee &employee, const StaffView &view) const;
    /// When all of the department are there.
    void conclude(Sheet &sheet) const;

private:
    const Job &m_job; ///< not owned
};

} // namespace report
