#pragma once

namespace server::process {

/// Gives memory that was freed back to the system, which the allocator otherwise keeps for the process. Takes a while
/// after much was freed (0.1 s a gigabyte); any thread.
void returnFreeMemory();

} // namespace server::process
