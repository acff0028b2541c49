#pragma once

#include <QString>

namespace server::sessions {

/// Names under which a peer reports the parts of a log line.
struct LogKeys {
    QString timestamp;
    QString id;
    QString level;
    QString group;
    QString message;
    QString data;
};

/// In what the sessions of attendance terminals and of administration clients differ.
struct TerminalRole {
    /// Begins the diagnostic lines.
    const char *className;
    /// Granted at the login, beside the token "logger".
    QString workToken;
    LogKeys logKeys;
    /// Whether the peer is asked for its events too.
    bool hasEvents;
    /// Whether the catch-up writes diagnostic lines.
    bool tracesCatchUp;
};

/// Newest log time in ms and newest event time in the unit of `events` that the server has of a terminal; 0 for none.
struct NewestTimes {
    qint64 log = 0;
    qint64 event = 0;
};

} // namespace server::sessions
