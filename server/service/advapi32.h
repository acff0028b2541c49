#pragma once

#include <QString>
#include <QtGlobal>

/// The functions of the Windows system library by which services are managed, looked up by name when the program runs,
/// so that it starts without them, and a test can bring a library of its own on any platform. The types are those of
/// the system; constants have the system's values.
namespace server::service::Advapi32 {

#ifdef Q_OS_WIN
#define ZUK_SYSTEM_CALL __stdcall
#else
#define ZUK_SYSTEM_CALL
#endif

using Dword = quint32;
using Bool = int;
using Handle = void *;
using Text = const char16_t *; // zero-terminated UTF-16

struct ServiceStatus {
    Dword serviceType = 0;
    Dword currentState = 0;
    Dword controlsAccepted = 0;
    Dword exitCode = 0;
    Dword serviceExitCode = 0;
    Dword checkPoint = 0;
    Dword waitHint = 0; // ms
};

struct ServiceConfig {
    Dword serviceType;
    Dword startType;
    Dword errorControl;
    Text binaryPath;
    Text loadOrderGroup;
    Dword tagId;
    Text dependencies;
    Text account;
    Text displayName;
};

struct Description {
    Text text;
};

struct FailureAction {
    Dword type;
    Dword delay; // ms
};

struct FailureActions {
    Dword resetPeriod; // s
    Text rebootMessage;
    Text command;
    Dword count;
    const FailureAction *actions;
};

using ServiceMain = void(ZUK_SYSTEM_CALL *)(Dword count, char16_t **arguments);
using ControlHandler = void(ZUK_SYSTEM_CALL *)(Dword control);

struct ServiceTableEntry {
    Text name;
    ServiceMain main;
};

constexpr Dword kOwnProcess = 0x10;
constexpr Dword kAutoStart = 2;
constexpr Dword kDemandStart = 3;
constexpr Dword kErrorNormal = 1;

constexpr Dword kManagerConnect = 0x1;
constexpr Dword kManagerCreate = 0x2;
constexpr Dword kServiceQueryConfig = 0x1;
constexpr Dword kServiceChangeConfig = 0x2;
constexpr Dword kServiceQueryStatus = 0x4;
constexpr Dword kServiceStart = 0x10;
constexpr Dword kServiceStop = 0x20;
constexpr Dword kServicePause = 0x40;
constexpr Dword kServiceUserControl = 0x100;
constexpr Dword kDelete = 0x10000;

constexpr Dword kStopped = 1;
constexpr Dword kStartPending = 2;
constexpr Dword kStopPending = 3;
constexpr Dword kRunning = 4;
constexpr Dword kContinuePending = 5;
constexpr Dword kPausePending = 6;
constexpr Dword kPaused = 7;

constexpr Dword kControlStop = 1;
constexpr Dword kControlPause = 2;
constexpr Dword kControlContinue = 3;
constexpr Dword kControlInterrogate = 4;
constexpr Dword kControlShutdown = 5;
constexpr Dword kFirstUserControl = 128;
constexpr Dword kLastUserControl = 255;

constexpr Dword kAcceptStop = 0x1;
constexpr Dword kAcceptPauseContinue = 0x2;
constexpr Dword kAcceptShutdown = 0x4;

constexpr Dword kConfigDescription = 1;
constexpr Dword kConfigFailureActions = 2;
constexpr Dword kActionRestart = 1;

constexpr int kErrorNotLaunchedByManager = 1063;
constexpr int kErrorAlreadyRunning = 1056;
constexpr Dword kErrorServiceSpecific = 1066;

/// Each null when the library has no such function.
struct Functions {
    Handle(ZUK_SYSTEM_CALL *openManager)(Text machine, Text database, Dword access) = nullptr;
    Bool(ZUK_SYSTEM_CALL *closeHandle)(Handle handle) = nullptr;
    Handle(ZUK_SYSTEM_CALL *createService)(Handle manager, Text name, Text displayName, Dword access, Dword type,
                                           Dword startType, Dword errorControl, Text binaryPath, Text loadOrderGroup,
                                           Dword *tagId, Text dependencies, Text account, Text password) = nullptr;
    Bool(ZUK_SYSTEM_CALL *deleteService)(Handle service) = nullptr;
    Handle(ZUK_SYSTEM_CALL *openService)(Handle manager, Text name, Dword access) = nullptr;
    Bool(ZUK_SYSTEM_CALL *queryStatus)(Handle service, ServiceStatus *status) = nullptr;
    Bool(ZUK_SYSTEM_CALL *startService)(Handle service, Dword count, Text *arguments) = nullptr;
    Bool(ZUK_SYSTEM_CALL *controlService)(Handle service, Dword control, ServiceStatus *status) = nullptr;
    Bool(ZUK_SYSTEM_CALL *queryConfig)(Handle service, ServiceConfig *config, Dword size, Dword *needed) = nullptr;
    Bool(ZUK_SYSTEM_CALL *queryConfig2)(Handle service, Dword level, void *buffer, Dword size, Dword *needed) = nullptr;
    Bool(ZUK_SYSTEM_CALL *changeConfig2)(Handle service, Dword level, const void *info) = nullptr;
    Bool(ZUK_SYSTEM_CALL *startDispatcher)(const ServiceTableEntry *table) = nullptr;
    Handle(ZUK_SYSTEM_CALL *registerHandler)(Text name, ControlHandler handler) = nullptr;
    Bool(ZUK_SYSTEM_CALL *setStatus)(Handle handle, const ServiceStatus *status) = nullptr;
    Handle(ZUK_SYSTEM_CALL *registerEventSource)(Text machine, Text source) = nullptr;
    Bool(ZUK_SYSTEM_CALL *deregisterEventSource)(Handle log) = nullptr;
    Bool(ZUK_SYSTEM_CALL *reportEvent)(Handle log, quint16 type, quint16 category, Dword id, const void *user,
                                       quint16 textCount, Dword dataSize, Text *texts, const void *data) = nullptr;
};

/// Those that the library has; it stays loaded.
Functions load(const QString &library);

inline Text text(const QString &string)
{
    return reinterpret_cast<Text>(string.utf16());
}

} // namespace server::service::Advapi32
