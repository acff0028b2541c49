#pragma once

#include <QMetaObject>
#include <QTimer>

namespace server::service {

/// Runs the function on the receiver's thread behind everything that is queued there by now or armed with zero delay,
/// unless the receiver is gone by then.
template <typename Function> void runAfterwards(QObject *receiver, Function function)
{
    // Queued calls come before timers that are due, and those in the order in which they were armed.
    QMetaObject::invokeMethod(
        receiver, [receiver, function] { QTimer::singleShot(0, receiver, function); }, Qt::QueuedConnection);
}

} // namespace server::service
