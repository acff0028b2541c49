#include "knetrpc/rpcserver.h"

void KNet::setListenBacklog(qintptr socketDescriptor, int backlog)
{
    // The backlog of a socket that listens already cannot be changed here; clients that are refused try again.
    Q_UNUSED(socketDescriptor)
    Q_UNUSED(backlog)
}
