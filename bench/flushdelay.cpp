#include "flushdelay.h"

#include <atomic>
#include <ctime>
#include <dlfcn.h>

namespace {

std::atomic<int> delayMs{0};
std::atomic<bool> isReplaced{false};

int flushed(const char *function, int descriptor)
{
    const int delay = delayMs;
    const timespec pause{delay / 1000, delay % 1000 * 1000000L};
    if (delay > 0)
        nanosleep(&pause, nullptr);
    if (isReplaced)
        return 0;
    return reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, function))(descriptor);
}

} // namespace

void setFlushDelay(int ms)
{
    delayMs = ms;
}

void replaceFlushes(int ms)
{
    delayMs = ms;
    isReplaced = true;
}

// In the place of the C library's: what SQLite calls is looked for in the program first.
extern "C" int fdatasync(int descriptor)
{
    return flushed("fdatasync", descriptor);
}

extern "C" int fsync(int descriptor)
{
    return flushed("fsync", descriptor);
}
