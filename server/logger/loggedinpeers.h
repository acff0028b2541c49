#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace server::logger {

/// The peers that have logged in, as who keeps their sessions knows them. Without functions nobody has.
struct LoggedInPeers {
    /// Number of the terminal, or of the administration client, that is logged in on the connection; or -1.
    std::function<int(const QString &connectionId)> terminal;
    std::function<int(const QString &connectionId)> administrationClient;
    /// Told of an event that is accepted of a terminal, with its time in the unit of `events`, or 0. What it returns is
    /// held until the event is stored.
    std::function<std::shared_ptr<const void>(int terminal, qint64 time)> noteEvent;
};

} // namespace server::logger
