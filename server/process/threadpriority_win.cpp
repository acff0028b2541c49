#include "server/process/threadpriority.h"

#include <windows.h>

namespace server::process {

void lowerThreadPriority()
{
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

} // namespace server::process
