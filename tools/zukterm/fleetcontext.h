#pragma once

#include "tools/zukterm/picturefolder.h"

#include <QHash>
#include <QString>

namespace KNet {
class RpcController;
}

namespace tools::zukterm {

class RunLog;
class Terminal;
struct RunTotals;
struct TermOptions;

/// What the terminals of one run share. Everything in it outlives them.
struct FleetContext {
    const TermOptions &options;
    KNet::RpcController &controller;
    RunLog &log;
    RunTotals &totals;
    PictureFolder pictures;
    /// Kept by the terminals; entries of connections that have ended are gone.
    QHash<QString, Terminal *> byConnection;
    /// The run ends: a lost connection stays lost.
    bool isEnding = false;
};

} // namespace tools::zukterm
