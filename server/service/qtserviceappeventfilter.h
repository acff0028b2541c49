#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>

/// Keeps a service running when a user logs off: it swallows the messages by which Windows has the programs of that
/// user's session end. Those of a shutdown pass, and so does every event of another platform.
class QtServiceAppEventFilter : public QAbstractNativeEventFilter
{
public:
    /// The beginning of a message as Windows lays it out.
    struct NativeMessage {
        void *window;
        quint32 message;
        quintptr wParam;
        qintptr lParam;
    };
    static constexpr quint32 kQueryEndSession = 0x0011;
    static constexpr quint32 kEndSession = 0x0016;
    static constexpr quint32 kLogOff = 0x80000000;

    bool nativeEventFilter(const QByteArray &eventType, void *message, long *result) override;
};
