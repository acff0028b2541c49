#pragma once

namespace server::process {

/// To be called first in main(). Local time is that of the environment variable TZ or else the system's; the C library
/// looks at the system's file whenever it is asked for a local time, which takes most of the time of a calculation.
/// From here on the process keeps to the zone that the file has now. Does nothing where TZ is set, or the system has
/// no such file.
void keepTimeZone();

} // namespace server::process
