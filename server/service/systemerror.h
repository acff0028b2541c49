#pragma once

/// Code of the calling thread's latest failed system call: GetLastError() on Windows, elsewhere errno.
int lastSystemError();
