#include "server/process/freememory.h"

#include <malloc.h>

namespace server::process {

void returnFreeMemory()
{
    _heapmin();
}

} // namespace server::process
