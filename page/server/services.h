#pragma once

#include "page/server/officedoor.h"
#include "page/server/sessions.h"
#include "server/process/clock.h"
#include "server/workers/readpool.h"

#include <QDateTime>

namespace page {

/// What requests and web sockets share. Owned by the PageServer; on the main thread.
struct Services {
    Sessions &sessions;
    server::workers::ReadPool &pool;
    OfficeDoor &office;
    server::process::Clock clock;

    OfficeDoor::Now now() const
    {
        constexpr qint64 kMsPerSecond = 1000;
        const qint64 ms = clock();
        return {ms / kMsPerSecond, QDateTime::fromMSecsSinceEpoch(ms).date()};
    }
};

} // namespace page
