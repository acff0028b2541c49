#include "server/process/descriptorreserve.h"

#include <winsock2.h>

namespace server::process {

bool isInReserve(qintptr)
{
    return false;
}

qintptr movedDown(qintptr descriptor)
{
    return descriptor;
}

void closeSocket(qintptr descriptor)
{
    closesocket(SOCKET(descriptor));
}

} // namespace server::process
