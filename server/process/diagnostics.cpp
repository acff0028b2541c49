#include "server/process/diagnostics.h"

#include <algorithm>

namespace server::process {

namespace {

QtMessageHandler theHandler = nullptr; // Qt's own

/// Control characters, and those that order a line anew or end it.
bool isSteering(QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format: {
        const char16_t code = c.unicode();
        return (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    }
    default:
        return false;
    }
}

void handle(QtMsgType type, const QMessageLogContext &context, const QString &line)
{
    theHandler(type, context, shownLine(line));
}

} // namespace

QString shownLine(const QString &line)
{
    QString shown = line.left(kShownCharacters);
    if (shown.size() < line.size())
        shown += QStringLiteral("…");
    if (std::none_of(shown.cbegin(), shown.cend(), isSteering))
        return shown;
    QString escaped;
    for (const QChar c : qAsConst(shown)) {
        if (c == QLatin1Char('\n'))
            escaped += QLatin1String("\\n");
        else if (isSteering(c))
            escaped += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            escaped += c;
    }
    return escaped;
}

void guardDiagnostics()
{
    theHandler = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(handle);
}

} // namespace server::process
