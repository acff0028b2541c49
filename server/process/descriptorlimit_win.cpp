#include "server/process/descriptorlimit.h"

void raiseDescriptorLimit() {}
