#include "server/process/peergone.h"

#include <winsock2.h>

namespace server::process {

bool isPeerGone(qintptr descriptor)
{
    WSAPOLLFD asked = {};
    asked.fd = SOCKET(descriptor);
    asked.events = POLLRDNORM;
    return WSAPoll(&asked, 1, 0) > 0 && (asked.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

} // namespace server::process
