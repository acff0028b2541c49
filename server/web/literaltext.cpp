#include "server/web/literaltext.h"

namespace server::web {

bool isLiteral(const QString &text)
{
    if (text.size() > kMaxLiteral)
        return false;
    bool isQuoteOpen = false; // an odd number of quotes just before
    for (int i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit == QLatin1Char('\'')) {
            isQuoteOpen = !isQuoteOpen;
            continue;
        }
        if (isQuoteOpen || unit.isNull())
            return false;
        if (!unit.isSurrogate())
            continue;
        const bool isPair = unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (!isPair)
            return false;
        ++i;
    }
    return !isQuoteOpen;
}

} // namespace server::web
