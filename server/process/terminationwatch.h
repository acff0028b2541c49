#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace server::process {

/// While it lives, SIGINT, SIGTERM and SIGHUP, unless they are ignored (on Windows the console's control events) do not
/// kill the process, but have the event loop of the main thread call what was given, once. One that arrives before the
/// loop runs is seen by its first turn. One instance at a time, made after the application object.
class TerminationWatch
{
public:
    /// Ends the application's event loop with result 0.
    TerminationWatch();
    explicit TerminationWatch(std::function<void()> onTermination);
    ~TerminationWatch();

private:
    Q_DISABLE_COPY(TerminationWatch)
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace server::process
