#pragma once

namespace server::process {

/// The calling thread gives way to the process's others (and other programs) where processors are short. For good: an
/// ordinary user's process may not take it back. Nothing where the system does not let it.
void lowerThreadPriority();

} // namespace server::process
