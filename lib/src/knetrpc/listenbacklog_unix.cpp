#include "knetrpc/rpcserver.h"

#include <sys/socket.h>

void KNet::setListenBacklog(qintptr socketDescriptor, int backlog)
{
    // On a socket that listens already this changes the backlog alone.
    ::listen(static_cast<int>(socketDescriptor), backlog);
}
