#include "server/process/terminationwatch.h"

#include <QCoreApplication>
#include <QSemaphore>

#include <utility>
#include <windows.h>

namespace server::process {

namespace {

/// Released when the process has taken itself down. The system ends it as soon as the handler returns, so on the
/// events that cannot be survived the handler waits here (the system waits some seconds for it).
QSemaphore finished;

/// Written before the handler is installed, and after it is gone.
std::function<void()> onControlEvent;

/// Runs on a thread of its own.
BOOL WINAPI noteControlEvent(DWORD event)
{
    QMetaObject::invokeMethod(
        qApp,
        [] {
            if (const auto act = std::exchange(onControlEvent, nullptr))
                act();
        },
        Qt::QueuedConnection);
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT)
        finished.acquire();
    return TRUE;
}

} // namespace

class TerminationWatch::Private
{
};

TerminationWatch::TerminationWatch() : TerminationWatch(QCoreApplication::quit) {}

TerminationWatch::TerminationWatch(std::function<void()> onTermination)
{
    onControlEvent = std::move(onTermination);
    SetConsoleCtrlHandler(noteControlEvent, TRUE);
}

TerminationWatch::~TerminationWatch()
{
    SetConsoleCtrlHandler(noteControlEvent, FALSE);
    finished.release();
}

} // namespace server::process
