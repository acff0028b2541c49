#pragma once

#include <QDateTime>

#include <functional>

namespace server::process {

/// The current time in ms since 1970 UTC: handed to what decides by it, so that it need not be the machine's.
using Clock = std::function<qint64()>;

/// The machine's.
inline qint64 machineTime()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace server::process
