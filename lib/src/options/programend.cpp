#include "options/programend.h"

#include <QCoreApplication>

#include <cstdio>

int failWith(int code, const QString &reason)
{
    std::fprintf(stderr, "%s: %s\n", qUtf8Printable(QCoreApplication::applicationName()), qUtf8Printable(reason));
    return code;
}

std::optional<int> endAfterOptions(const QString &fault, const QString &told)
{
    if (!fault.isEmpty())
        return failWith(kWrongUsage, fault + QStringLiteral(" (--help shows more)"));
    if (told.isEmpty())
        return {};
    return std::fputs(qUtf8Printable(told), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}
