#pragma once

#include "calc/rules/calcresult.h"
#include "calc/rules/pairing.h"
#include "calc/rules/share.h"
#include "calc/rules/summaries.h"

#include <vector>

namespace calc::rules {

/// Brings the events of the share's employees into order and works out their times; to be done once, before the rest.
void completeEvents(CalcInputs &inputs, Share share);
/// Reports the employees without an event in the period.
void checkEvents(const CalcInputs &inputs, CalcErrors &errors);

/// The calculation from completed inputs to the result, share by share: pairs the events, applies the rules, adds up.
/// Pure. One share is worked on by one thread, different ones by different threads at a time.
class Calculation
{
public:
    /// The result holds the inputs and the faults that were found before. It is not owned, must outlive this object
    /// and be left alone until combine().
    Calculation(CalcResult &result, std::vector<Share> shares);

    const std::vector<Share> &shares() const { return m_shares; }
    /// Calculates the employees of a share, by its position.
    void calculate(size_t share);
    /// When all shares are calculated: numbers the pairs through, and brings faults and codes together, all in the
    /// order of the employees.
    void combine();

private:
    CalcResult &m_result;
    const std::vector<Share> m_shares;
    const EventPairing m_pairing;
    const CalcParse21 m_parser;
    std::vector<CalcErrors> m_faults; ///< by share
};

/// All of it by one thread. The faults that are handed in stay in front.
CalcResult calculate(CalcInputs inputs, CalcErrors errors, bool isExplained);

} // namespace calc::rules
