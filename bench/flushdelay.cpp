#include "flushdelay.h"

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> delayMs{0};

int flushed(long call, int descriptor)
{
    const int delay = delayMs;
    const timespec pause{delay / 1000, delay % 1000 * 1000000L};
    if (delay > 0)
        nanosleep(&pause, nullptr);
    return static_cast<int>(syscall(call, descriptor));
}

} // namespace

void setFlushDelay(int ms)
{
    delayMs = ms;
}

// In the place of the C library's: what SQLite calls is looked for in the program first.
extern "C" int fdatasync(int descriptor)
{
    return flushed(SYS_fdatasync, descriptor);
}

extern "C" int fsync(int descriptor)
{
    return flushed(SYS_fsync, descriptor);
}
