#include "tools/common/console.h"

#include <iostream>
#include <string>
#include <termios.h>
#include <unistd.h>

void Console::prepare() {}

bool Console::isTerminal(FILE *stream)
{
    return isatty(fileno(stream)) != 0;
}

QString Console::readPassword(const char *prompt)
{
    termios shown = {};
    const bool isTerminal = tcgetattr(STDIN_FILENO, &shown) == 0;
    if (isTerminal) {
        std::fputs(prompt, stderr);
        termios hidden = shown;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    std::string text;
    std::getline(std::cin, text);
    if (isTerminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
        std::fputs("\n", stderr);
    }
    return QString::fromStdString(text);
}
