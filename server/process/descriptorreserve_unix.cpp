#include "server/process/descriptorreserve.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace server::process {

bool isInReserve(qintptr descriptor)
{
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return false;
    const auto most = qint64(limit.rlim_cur);
    return descriptor >= most - reserveOf(most);
}

qintptr movedDown(qintptr descriptor)
{
    const int lowest = fcntl(int(descriptor), F_DUPFD_CLOEXEC, 0);
    if (lowest < 0)
        return descriptor;
    const bool isLower = lowest < descriptor;
    close(isLower ? int(descriptor) : lowest);
    return isLower ? lowest : descriptor;
}

void closeSocket(qintptr descriptor)
{
    close(int(descriptor));
}

} // namespace server::process
