#include "tools/common/console.h"

#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <string>

#include <windows.h>

void Console::prepare()
{
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
}

bool Console::isTerminal(FILE *stream)
{
    return _isatty(_fileno(stream)) != 0;
}

QString Console::readPassword(const char *prompt)
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD shown = 0;
    const bool isTerminal = GetConsoleMode(input, &shown) != 0;
    if (!isTerminal) {
        std::string text;
        std::getline(std::cin, text);
        return QString::fromStdString(text).remove(QLatin1Char('\r'));
    }
    std::fputs(prompt, stderr);
    SetConsoleMode(input, shown & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    wchar_t text[256] = {};
    DWORD length = 0;
    ReadConsoleW(input, text, 255, &length, nullptr);
    SetConsoleMode(input, shown);
    std::fputs("\n", stderr);
    return QString::fromWCharArray(text, static_cast<int>(length)).remove(QLatin1Char('\r')).remove(QLatin1Char('\n'));
}
