#include "server/process/descriptorlimit.h"

namespace server::process {

void raiseDescriptorLimit() {}

} // namespace server::process
