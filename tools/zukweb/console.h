#pragma once

#include <QString>

namespace Console {

/// Makes the console show UTF-8.
void prepare();

/// One line of standard input. At a terminal it asks with the prompt (on standard error) and does not echo.
QString readPassword(const char *prompt);

} // namespace Console
