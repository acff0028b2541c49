#pragma once

#include <QString>

#include <optional>

/// The exit code of every program for a command line that makes no sense.
constexpr int kWrongUsage = 2;

/// Says the reason on the standard error output, behind the program's name. Returns the code.
int failWith(int code, const QString &reason);

/// The exit code of a program whose command line leaves nothing to run: the help or version is told, or the fault said.
std::optional<int> endAfterOptions(const QString &fault, const QString &told);
