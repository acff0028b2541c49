#pragma once

namespace server::host {

/// Runs the server of the application object in the foreground until it is asked to end. Leaves the marker file
/// "debug.txt" in the directory of the launch. Returns the process's exit code.
int runConsole();

} // namespace server::host
