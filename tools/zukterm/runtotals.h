#pragma once

#include "tools/zukterm/latencystats.h"

#include <QElapsedTimer>
#include <QString>

namespace tools::zukterm {

/// What happened in one run, over all terminals.
struct RunTotals {
    int terminals = 0;
    int loggedIn = 0; ///< terminals that were logged in at least once
    int refusedLogins = 0;
    int losses = 0; ///< of connections that had been made

    // Events that were given to the terminals to send; each is in one of the last four in the end.
    qint64 events = 0;
    qint64 acknowledged = 0;
    qint64 foundStored = 0; ///< their answer was lost with the connection
    qint64 refused = 0;
    qint64 unanswered = 0; ///< counted when the run ends
    LatencyStats latency;  ///< of the acknowledged

    qint64 logLines = 0;
    qint64 logLinesStored = 0;
    int calls = 0;
    int callsAnswered = 0; ///< not with an error

    // The server's calls.
    int getLogs = 0;
    int getEvents = 0;
    int getPictures = 0;
    int ulkaCsvEvents = 0;
    int zukCmds = 0;
    qint64 logRows = 0;       ///< answered
    qint64 eventRows = 0;     ///< answered
    qint64 logRowsKept = 0;   ///< not newer than what the server has
    qint64 eventRowsKept = 0; ///< not newer than what the server has
    int unasked = 0;          ///< terminals whose rows the server has not asked for; counted with --once

    /// From the first event sent to the last answered, in ms.
    QElapsedTimer sinceFirstEvent;
    qint64 lastEventMs = 0;

    qint64 settledEvents() const { return acknowledged + foundStored + refused; }
    /// Grows with each step towards the end of the run; attempts that fail are none.
    qint64 progress() const;
    /// Everything went through.
    bool isClean() const;
    /// Several lines for people.
    QString summary() const;
};

} // namespace tools::zukterm
