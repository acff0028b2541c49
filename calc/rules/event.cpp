#include "calc/rules/event.h"

namespace calc::rules {

EventKind kindOf(const QString &type)
{
    if (type == QLatin1String("EV"))
        return EventKind::Terminal;
    if (type == QLatin1String("MP"))
        return EventKind::MetaPeriod;
    if (type == QLatin1String("ME"))
        return EventKind::HandMade;
    return type == QLatin1String("AE") ? EventKind::Generated : EventKind::Other;
}

} // namespace calc::rules
