// A stand-in for the system library of Windows' services, for any platform: records, rights, error codes and threads as
// the system documents them.

#include "standin_advapi32.h"

#include <cerrno>
#include <cstring>
#include <future>
#include <memory>
#include <thread>

#define STANDIN_API extern "C" Q_DECL_EXPORT
#ifdef Q_OS_WIN
#define STANDIN_CALL __stdcall
extern "C" __declspec(dllimport) void __stdcall SetLastError(unsigned long code);
#else
#define STANDIN_CALL
static void SetLastError(int code)
{
    errno = code;
}
#endif

using Text = const char16_t *;

struct SERVICE_STATUS {
    quint32 dwServiceType, dwCurrentState, dwControlsAccepted, dwWin32ExitCode, dwServiceSpecificExitCode, dwCheckPoint,
        dwWaitHint;
};
struct QUERY_SERVICE_CONFIGW {
    quint32 dwServiceType, dwStartType, dwErrorControl;
    Text lpBinaryPathName, lpLoadOrderGroup;
    quint32 dwTagId;
    Text lpDependencies, lpServiceStartName, lpDisplayName;
};
struct SC_ACTION {
    quint32 Type, Delay;
};
struct SERVICE_FAILURE_ACTIONSW {
    quint32 dwResetPeriod;
    Text lpRebootMsg, lpCommand;
    quint32 cActions;
    SC_ACTION *lpsaActions;
};
struct SERVICE_TABLE_ENTRYW {
    Text lpServiceName;
    void(STANDIN_CALL *lpServiceProc)(quint32, char16_t **);
};

namespace {

/// The right to write to a log; other rights are the system's.
constexpr quint32 kLog = 0x80000000;

Standin known;
void(STANDIN_CALL *handler)(quint32) = nullptr;

QString string(Text text)
{
    return text ? QString::fromUtf16(text) : QString();
}

int fail(int code)
{
    SetLastError(code);
    return 0;
}

/// Null, with the error, when there is one. No handle comes twice.
void *open(const QString &name, quint32 access, int error = 0)
{
    static quintptr last = 0;
    if (error != 0)
        return fail(error), nullptr;
    void *handle = reinterpret_cast<void *>(++last);
    known.handles[handle] = {name, access};
    return handle;
}

/// The service, or what else has handles. Null, with the error, without the right.
Standin::Service *opened(void *handle, quint32 access)
{
    const Standin::Handle found = known.handles.value(handle);
    if ((found.access & access) == access)
        return &known.services[found.name];
    known.note("fault: no open handle with the right");
    fail(6);
    return nullptr;
}

int close(void *handle)
{
    if (!known.handles.contains(handle))
        known.note("fault: closed twice");
    return known.handles.remove(handle);
}

/// Puts the text behind the record in the caller's buffer. Null, with the error, when that is too small.
Text behind(void *record, quint32 recordSize, const QString &text, quint32 size, quint32 *needed)
{
    const auto textSize = quint32(2 * (text.size() + 1));
    *needed = recordSize + textSize;
    if (size >= *needed)
        return static_cast<Text>(std::memcpy(static_cast<char *>(record) + recordSize, text.utf16(), textSize));
    fail(122);
    return nullptr;
}

} // namespace

STANDIN_API Standin *standin()
{
    return &known;
}

STANDIN_API void *STANDIN_CALL OpenSCManagerW(Text, Text, quint32 access)
{
    return open({}, access, known.switches.contains("denied") && access & 0x2 ? 5 : 0);
}

STANDIN_API int STANDIN_CALL CloseServiceHandle(void *handle)
{
    return close(handle);
}

STANDIN_API void *STANDIN_CALL CreateServiceW(void *manager, Text name, Text, quint32 access, quint32 type,
                                              quint32 startType, quint32, Text path, Text, quint32 *, Text,
                                              Text account, Text password)
{
    const int error = !opened(manager, 0x2) ? 6 : known.services.contains(string(name)) ? 1073 : 0;
    if (error == 0)
        known.services[string(name)] = {string(path), string(account), string(password), {}, type, startType};
    return open(string(name), access, error);
}

STANDIN_API void *STANDIN_CALL OpenServiceW(void *manager, Text name, quint32 access)
{
    constexpr quint32 kEveryonesRights = 0x1 | 0x4 | 0x8 | 0x80 | 0x100 | 0x20000;
    const bool isDenied = known.switches.contains("denied") && access & ~kEveryonesRights;
    const int error = !opened(manager, 0x1) ? 6 : !known.services.contains(string(name)) ? 1060 : isDenied ? 5 : 0;
    return open(string(name), access, error);
}

STANDIN_API int STANDIN_CALL DeleteService(void *handle)
{
    const Standin::Service *service = opened(handle, 0x10000);
    if (service && service->state != 1)
        known.note("fault: deleted while it runs");
    return service ? known.services.remove(known.handles[handle].name) : 0;
}

STANDIN_API int STANDIN_CALL ChangeServiceConfig2W(void *handle, quint32 level, void *info)
{
    // Restarting a service is its starting, so it needs that right.
    Standin::Service *service = opened(handle, level == 2 ? 0x2 | 0x10 : 0x2);
    const auto *onFailure = static_cast<const SERVICE_FAILURE_ACTIONSW *>(info);
    if (service && level == 1)
        service->description = string(*static_cast<Text *>(info));
    else if (service && level == 2 && onFailure->cActions > 0 && onFailure->lpsaActions->Type == 1)
        service->restartDelay = onFailure->lpsaActions->Delay;
    return service != nullptr;
}

STANDIN_API int STANDIN_CALL QueryServiceConfigW(void *handle, QUERY_SERVICE_CONFIGW *config, quint32 size,
                                                 quint32 *needed)
{
    const Standin::Service *service = opened(handle, 0x1);
    const Text path = service ? behind(config, sizeof *config, service->path, size, needed) : nullptr;
    if (path)
        *config = {service->type, service->startType, 1, path, nullptr, 0, nullptr, nullptr, nullptr};
    return path != nullptr;
}

STANDIN_API int STANDIN_CALL QueryServiceConfig2W(void *handle, quint32 level, void *buffer, quint32 size,
                                                  quint32 *needed)
{
    const Standin::Service *service = opened(handle, 0x1);
    const Text text = service && level == 1 ? behind(buffer, sizeof text, service->description, size, needed) : nullptr;
    if (text)
        *static_cast<Text *>(buffer) = text;
    return text != nullptr;
}

STANDIN_API int STANDIN_CALL QueryServiceStatus(void *handle, SERVICE_STATUS *status)
{
    Standin::Service *service = opened(handle, 0x4);
    if (!service)
        return 0;
    *status = {service->type, service->state, 0, 0, 0, 0, 0};
    // Whoever looks once sees a job under way.
    if (service->state == 2)
        service->state = known.switches.contains("failing") ? 1 : 4;
    else if (service->state == 3)
        service->state = 1;
    return 1;
}

STANDIN_API int STANDIN_CALL StartServiceW(void *handle, quint32, Text *)
{
    Standin::Service *service = opened(handle, 0x10);
    if (!service || service->state != 1)
        return fail(1056);
    known.note("StartServiceW");
    service->state = 2;
    return 1;
}

STANDIN_API int STANDIN_CALL ControlService(void *handle, quint32 code, SERVICE_STATUS *status)
{
    Standin::Service *service = opened(handle, code == 1 ? 0x20 : code < 4 ? 0x40 : 0x100);
    if (!service || service->state == 1)
        return fail(1062);
    known.note("ControlService " + QString::number(code));
    if (code == 1)
        service->state = 3;
    *status = {service->type, service->state, 7, 0, 0, 0, 0};
    return 1;
}

STANDIN_API int STANDIN_CALL StartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW *table)
{
    Standin::Lock lock(known.mutex);
    if (known.switches.contains("by hand"))
        return fail(1063);
    if (known.switches.contains("no dispatcher"))
        return fail(13);
    known.isDispatching = true;
    // As the system's, it does not wait until the service's thread has returned.
    const auto hasReturned = std::make_shared<bool>(false);
    std::thread([hasReturned, main = table->lpServiceProc] {
        main(0, nullptr);
        const Standin::Lock mainLock(known.mutex);
        *hasReturned = true;
        known.changed.notify_all();
    }).detach();
    if (known.switches.contains("endless")) {
        lock.unlock();
        std::promise<void>().get_future().wait();
    }
    const auto isOver = [&] { return known.state == 1 || (known.state == 0 && *hasReturned); };
    while (!known.controls.isEmpty() || !isOver()) {
        if (known.controls.isEmpty()) {
            known.changed.wait(lock);
            continue;
        }
        const quint32 code = known.controls.first();
        known.note("control " + QString::number(code));
        lock.unlock();
        handler(code);
        lock.lock();
        // Whoever sent it reads from the state that it was obeyed.
        if ((code == 1 || code == 5) && known.state != 1 && known.state != 3)
            known.note("fault: the manager does not see the stop");
        known.controls.removeFirst();
        known.changed.notify_all();
    }
    known.isDispatching = false;
    known.note("dispatcher ended");
    return 1;
}

STANDIN_API void *STANDIN_CALL RegisterServiceCtrlHandlerW(Text, void(STANDIN_CALL *function)(quint32))
{
    const Standin::Lock lock(known.mutex);
    handler = function;
    return known.switches.contains("no handler") ? open({}, 0, 1083) : &handler;
}

STANDIN_API int STANDIN_CALL SetServiceStatus(void *handle, SERVICE_STATUS *status)
{
    const Standin::Lock lock(known.mutex);
    const quint32 state = status->dwCurrentState, accepted = status->dwControlsAccepted;
    const bool isSteady = state == 4 || state == 7, isPending = !isSteady && state != 1;
    if (handle != &handler || known.state == 1)
        known.note("fault: status of no service, or of one that has stopped");
    if (status->dwServiceType != 0x10 || isPending != (status->dwWaitHint != 0) ||
        isPending != (status->dwCheckPoint != 0) || (isSteady && accepted != 7) || (state == 2 && accepted != 0))
        known.note("fault: type, wait hint, check point or controls");
    // Requests that the manager sent before it knew.
    if (state == 1 && known.state != 1 && known.switches.contains("late requests"))
        known.controls += {4, 1, 3, 200};
    static const char *const kNames[] = {"",        "STOPPED",          "START_PENDING", "STOP_PENDING",
                                         "RUNNING", "CONTINUE_PENDING", "PAUSE_PENDING", "PAUSED"};
    QString line = QLatin1String(known.state == state ? "again " : "status ") + kNames[state];
    if (status->dwWin32ExitCode != 0)
        line += QStringLiteral(" %1 %2").arg(status->dwWin32ExitCode).arg(status->dwServiceSpecificExitCode);
    known.state = state;
    known.note(line);
    return 1;
}

STANDIN_API void *STANDIN_CALL RegisterEventSourceW(Text, Text source)
{
    return open("event " + string(source), kLog);
}

STANDIN_API int STANDIN_CALL DeregisterEventSource(void *log)
{
    return close(log);
}

STANDIN_API int STANDIN_CALL ReportEventW(void *log, quint16 type, quint16 category, quint32 id, void *, quint16 count,
                                          quint32, Text *texts, void *)
{
    const QString text = count == 1 ? string(*texts) : QStringLiteral("fault");
    if (opened(log, kLog))
        known.note(QStringLiteral("%1 %2 %3 %4 ").arg(known.handles[log].name).arg(type).arg(category).arg(id) + text);
    return 1;
}
