#include "calc/rules/share.h"

#include <algorithm>

namespace calc::rules {

size_t Share::employeesFor(int days)
{
    return std::clamp<size_t>(kDays / static_cast<size_t>(std::max(days, 1)), 1, kMaxEmployees);
}

std::vector<Share> Share::of(size_t employees, int days)
{
    const size_t each = employeesFor(days);
    std::vector<Share> shares;
    for (size_t first = 0; first < employees; first += each)
        shares.push_back({first, std::min(first + each, employees)});
    return shares;
}

} // namespace calc::rules
