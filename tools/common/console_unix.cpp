#include "console.h"

#include <QTextCodec>

#include <iostream>
#include <langinfo.h>
#include <set>
#include <string>
#include <termios.h>
#include <unistd.h>

void Console::prepare()
{
    // A time table's or a service's environment often has no locale.
    static const std::set<std::string> ascii{"ANSI_X3.4-1968", "US-ASCII", "646"};
    if (ascii.count(nl_langinfo(CODESET)) != 0)
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

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
