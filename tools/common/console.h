#pragma once

#include <QString>

#include <cstdio>

namespace Console {

/// Makes the console show UTF-8, the output keep its line ends, and the arguments read as UTF-8 where the environment
/// names no character set. Comes before the first look at the arguments.
void prepare();

/// Whether people read the stream as it is written.
bool isTerminal(FILE *stream);

/// One line of standard input. At a terminal it asks with the prompt (on standard error) and does not echo.
QString readPassword(const char *prompt);

} // namespace Console
