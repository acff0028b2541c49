#pragma once

#include "server/logger/loggedinpeers.h"

/// Those of mainTerminalService() and adminTerminalService(), whichever are there at a call.
LoggedInPeers sessionPeers();
