#pragma once

#include <cstddef>
#include <vector>

namespace calc::rules {

/// Employees that are worked on together: positions in the inputs, from the first up to the end.
struct Share {
    /// So many days of employees take some hundredths of a second.
    static constexpr size_t kDays = 1500;
    /// All of them can be named in one statement.
    static constexpr size_t kMaxEmployees = 200;

    size_t first = 0;
    size_t end = 0;

    size_t count() const { return end - first; }
    /// How many employees a share has when each brings so many days.
    static size_t employeesFor(int days);
    /// All employees in shares, the last of which may be smaller. They do not depend on who works on them.
    static std::vector<Share> of(size_t employees, int days);
};

} // namespace calc::rules
