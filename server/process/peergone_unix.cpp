#include "server/process/peergone.h"

#include <poll.h>

namespace server::process {

bool isPeerGone(qintptr descriptor)
{
    pollfd asked = {};
    asked.fd = int(descriptor);
#ifdef POLLRDHUP
    asked.events = POLLRDHUP;
#endif
    return poll(&asked, 1, 0) > 0;
}

} // namespace server::process
