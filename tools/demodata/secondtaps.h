#pragma once

#include "tools/demodata/demopunch.h"
#include "tools/demodata/demorandom.h"

#include <vector>

namespace tools::demodata {

/// The same punch once more, so many seconds from it: an arrival's second tap comes after it, a departure's first one
/// before it. So the punch itself is the one that counts.
DemoPunch otherTapOf(const DemoPunch &punch, int seconds);

/// One employee's way of tapping a terminal again who did not see that it had taken the first tap.
///
/// Draws from a stream of its own, so that with other taps the company is still the same.
class SecondTaps
{
public:
    SecondTaps(quint64 seed, int employee);

    /// The punches of a day, ordered by time, with a second tap beside a few of those at a terminal. None where another
    /// punch would lie between the two, or at the same time as the second.
    std::vector<DemoPunch> addedTo(const std::vector<DemoPunch> &punches);

private:
    DemoRandom m_random;
};

} // namespace tools::demodata
