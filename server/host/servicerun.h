#pragma once

namespace server::host {

/// Runs the server of the application object as a service of the operating system, or does what the first argument
/// asks the service shell for. Returns the process's exit code.
int runService(int &argc, char **argv);

} // namespace server::host
