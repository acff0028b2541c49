#pragma once

namespace server::process {

/// Lets the process have as many open files and sockets as the system permits it: the usual default of 1024 is less
/// than the terminals of a large site. Does nothing where there is no such limit.
void raiseDescriptorLimit();

} // namespace server::process
