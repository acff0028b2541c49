#pragma once

#include <QString>

/// The script that replaces the running server by the executable uploaded into the folder "update" and starts it
/// again: "rest.bat" with its fixed lines, and where no command interpreter runs that, its equivalent "rest.sh".
namespace server::check::RestartScript {

/// Writes what start() needs into the working directory. Tells the name of "rest.bat", whether or not it could be
/// written.
QString write();
/// Starts the one for this platform, detached: it outlives the server, which it stops. False when it cannot.
bool start();

// Per platform: what is written beside "rest.bat", and what is run.
void writeEquivalent();

} // namespace server::check::RestartScript
