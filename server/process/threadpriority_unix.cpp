#include "server/process/threadpriority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace server::process {

void lowerThreadPriority()
{
#ifdef __linux__ // elsewhere this is the whole process
    constexpr int kNice = 10;
    setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), kNice);
#endif
}

} // namespace server::process
