#pragma once

#include <QObject>

#include <memory>

/// While it lives, SIGINT and SIGTERM (on Windows the console's control events) end the application's event loop
/// with result 0 instead of killing the process. One that arrives before the loop runs ends it at once. One instance
/// at a time, made after the application object.
class TerminationWatch
{
public:
    TerminationWatch();
    ~TerminationWatch();

private:
    Q_DISABLE_COPY(TerminationWatch)
    class Private;
    std::unique_ptr<Private> d;
};
