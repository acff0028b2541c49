#pragma once

#include <QtGlobal>

namespace server::process {

/// Descriptors that are kept free for what matters most: a quarter of those that the process may have, at most 4096.
constexpr qint64 kMaxReserve = 4096;
constexpr qint64 reserveOf(qint64 limit)
{
    return qMin(limit / 4, kMaxReserve);
}

// Who keeps out of the last numbers that the process may have leaves them to the others. Where there is no limit
// nothing is in the reserve, and nothing is ever moved.

bool isInReserve(qintptr descriptor);
/// The descriptor under the lowest free number; the given one is closed when that is another.
qintptr movedDown(qintptr descriptor);
/// For a descriptor that is not any object's yet.
void closeSocket(qintptr descriptor);

} // namespace server::process
