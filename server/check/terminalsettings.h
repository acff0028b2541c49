#pragma once

#include "qany.h"

#include <QString>

namespace server::check {

/// Reads the stored settings of a terminal: lines or ";"-separated items NAME=VALUE. A Hash of Strings, without blanks
/// around names and values; items without "=" are left out, of equal names the last counts.
QAny readTerminalSettings(const QString &text);

} // namespace server::check
