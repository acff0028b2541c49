#pragma once

namespace server::service {

/// Code of the calling thread's latest failed system call: GetLastError() on Windows, elsewhere errno.
int lastSystemError();

} // namespace server::service
