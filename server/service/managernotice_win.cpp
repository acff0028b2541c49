#include "server/service/managernotice.h"

namespace server::service {

/// The service shell's own back end tells the manager.
void ManagerNotice::tellReady() {}

void ManagerNotice::tellStopping() {}

} // namespace server::service
