#pragma once

#include <QByteArray>

namespace server::host {

/// How the running server is, in the text format of Prometheus. The lateness is that of its event loop, in seconds.
/// Main thread; everything that ServicesStarter makes must be there.
QByteArray serverFigures(double loopLateness);

} // namespace server::host
