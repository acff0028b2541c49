#pragma once

#include <QRandomGenerator>

namespace tools::zukterm {

/// The delay before the next attempt, in ms: the wanted one and up to half of it again, so that the terminals that one
/// restart of the server has cut off do not all come at once.
inline int reconnectDelayMs(int wantedMs)
{
    return wantedMs + QRandomGenerator::global()->bounded(wantedMs / 2 + 1);
}

} // namespace tools::zukterm
