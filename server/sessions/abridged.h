#pragma once

#include "qany.h"

namespace server::sessions {

/// The value as the diagnostics show it: its beginning, of about 1000 characters. Peers decide how long their
/// parameters are.
QAny abridged(const QAny &value);
QString abridged(const QString &text);

} // namespace server::sessions
