#pragma once

#include "server/logger/loggedinpeers.h"

namespace server::sessions {

/// Those of mainTerminalService() and adminTerminalService(), whichever are there at a call.
logger::LoggedInPeers sessionPeers();

} // namespace server::sessions
