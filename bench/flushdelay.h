#pragma once

/// Lets each flush of a file in this process take longer, as on an industrial computer's card; 0 ms as it is.
void setFlushDelay(int ms);
/// Lets each flush take this time instead of the disk's own, which changes from minute to minute. Until the process
/// ends.
void replaceFlushes(int ms);
