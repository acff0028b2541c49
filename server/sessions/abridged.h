#pragma once

#include "qany.h"

namespace server::sessions {

/// The value as the diagnostics show it: of a long text its beginning, of many values the first ones. Peers decide how
/// long their parameters are.
QAny abridged(const QAny &value);

} // namespace server::sessions
