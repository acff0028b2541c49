#include "descriptorlimit.h"

void raiseDescriptorLimit() {}
