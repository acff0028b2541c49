#pragma once

namespace server::process {

/// Whether systemd started this process as the main one of a service: it names the process that it started. False in a
/// process that such a service starts, and where there is no systemd.
bool isLaunchedBySystemd();

} // namespace server::process
