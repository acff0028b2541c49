#pragma once

#include <QString>

#include <cstdio>

namespace Console {

/// Makes the console show UTF-8 and the output keep its line ends.
void prepare();

/// Whether people read the stream as it is written.
bool isTerminal(FILE *stream);

/// One line of standard input. At a terminal it asks with the prompt (on standard error) and does not echo.
QString readPassword(const char *prompt);

} // namespace Console
