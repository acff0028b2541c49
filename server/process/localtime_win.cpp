#include "server/process/localtime.h"

namespace server::process {

void keepTimeZone() {}

} // namespace server::process
