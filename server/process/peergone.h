#pragma once

#include <QtGlobal>

namespace server::process {

/// Whether a connected socket's peer has closed or is gone, told without reading what it sent before. False where the
/// system cannot tell.
bool isPeerGone(qintptr descriptor);

} // namespace server::process
