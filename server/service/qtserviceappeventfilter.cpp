#include "server/service/qtserviceappeventfilter.h"

bool QtServiceAppEventFilter::nativeEventFilter(const QByteArray &eventType, void *message, long *result)
{
    if (!eventType.startsWith("windows_"))
        return false;
    const auto *native = static_cast<const NativeMessage *>(message);
    const bool isSessionEnd = native->message == kQueryEndSession || native->message == kEndSession;
    if (!isSessionEnd || !(static_cast<quint32>(native->lParam) & kLogOff))
        return false;
    // Yes to the question whether the session may end, 0 to the news that it does; the process stays.
    if (result)
        *result = native->message == kQueryEndSession ? 1 : 0;
    return true;
}
