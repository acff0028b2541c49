#pragma once

#include <QByteArray>

namespace server::host {

/// What the first argument asks for; only the first one is looked at.
enum class RunMode { Console, Usage, Service };

/// The mode of an argument vector with the program in front.
RunMode runMode(int argc, const char *const *argv);

/// The text that "-h" prints, with the program's path as it was given.
QByteArray usageText(const char *program);

} // namespace server::host
