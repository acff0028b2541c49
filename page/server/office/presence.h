#pragma once

#include "calc/rules/event.h"

#include <optional>
#include <vector>

namespace page::office {

/// Where somebody is, as their events tell.
struct Whereabouts {
    enum State { In, Out, Away };

    State state = Out;
    std::optional<qint64> since; ///< Unix seconds; of a planned absence its begin, which may be later
    QString accessCode;          ///< of who is out or away, where an event tells: "102:4:Teren"
};

/// At `now`, by the employee's events of today in the order of the calculation, those that are planned for later
/// included, and those of the evening before, whose night may go on.
Whereabouts whereaboutsOf(const std::vector<calc::rules::Event> &events, qint64 midnight, qint64 now);

} // namespace page::office
