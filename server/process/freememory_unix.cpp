#include "server/process/freememory.h"

#include <cstdlib> // tells whether this is glibc

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace server::process {

void returnFreeMemory()
{
#ifdef __GLIBC__ // others do so by themselves
    malloc_trim(0);
#endif
}

} // namespace server::process
