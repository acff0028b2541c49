#include "server/process/localtime.h"

#include <cstdlib>
#include <ctime>

namespace server::process {

void keepTimeZone()
{
    // The file's own name: Qt then still finds the zone's, and a file that is missing still means UTC.
    constexpr int kKeepAnother = 0;
    if (setenv("TZ", ":/etc/localtime", kKeepAnother) == 0)
        tzset();
}

} // namespace server::process
