// A stand-in for the system library of Windows' services, for any platform: records, rights, error codes and threads as
// the system documents them. A test steers it, and reads what happened, through the functions at the end. A breach of
// what the system asks of its callers becomes a line that begins with "fault".

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#define STANDIN_API extern "C" __declspec(dllexport)
#define STANDIN_CALL __stdcall
extern "C" __declspec(dllimport) void __stdcall SetLastError(unsigned long code);
static void setError(int code)
{
    SetLastError(code);
}
#else
#define STANDIN_API extern "C" __attribute__((visibility("default")))
#define STANDIN_CALL
static void setError(int code)
{
    errno = code;
}
#endif

using Text = const char16_t *;

struct SERVICE_STATUS {
    uint32_t dwServiceType, dwCurrentState, dwControlsAccepted, dwWin32ExitCode, dwServiceSpecificExitCode,
        dwCheckPoint, dwWaitHint;
};
struct QUERY_SERVICE_CONFIGW {
    uint32_t dwServiceType, dwStartType, dwErrorControl;
    char16_t *lpBinaryPathName, *lpLoadOrderGroup;
    uint32_t dwTagId;
    char16_t *lpDependencies, *lpServiceStartName, *lpDisplayName;
};
struct SC_ACTION {
    uint32_t Type, Delay;
};
struct SERVICE_FAILURE_ACTIONSW {
    uint32_t dwResetPeriod;
    char16_t *lpRebootMsg, *lpCommand;
    uint32_t cActions;
    SC_ACTION *lpsaActions;
};
struct SERVICE_TABLE_ENTRYW {
    Text lpServiceName;
    void(STANDIN_CALL *lpServiceProc)(uint32_t, char16_t **);
};

namespace {

struct Service {
    std::u16string path, account, password, description;
    uint32_t startType = 0, state = 1, restartDelay = 0;
};

enum class Kind { Manager, Service, Log };
struct Object {
    Kind kind;
    uint32_t access;
    std::u16string name;
};

std::recursive_mutex mutex;
std::condition_variable_any changed;
std::set<std::string> switches;
std::vector<std::string> journal;
std::map<std::u16string, Service> services;
std::set<Object *> objects;
void(STANDIN_CALL *handler)(uint32_t) = nullptr;
std::deque<uint32_t> controls;
size_t handled = 0;
uint32_t state = 0;
bool isDispatching = false;

using Lock = std::unique_lock<std::recursive_mutex>;

std::string narrow(const std::u16string &text)
{
    std::string result;
    for (const char16_t c : text)
        result += char(c);
    return result;
}

std::u16string wide(Text text)
{
    return text ? text : u"";
}

void note(const std::string &line)
{
    Lock lock(mutex);
    journal.push_back(line);
    changed.notify_all();
}

int fail(int code)
{
    setError(code);
    return 0;
}

bool isOn(const char *word)
{
    Lock lock(mutex);
    return switches.count(word);
}

void *open(Kind kind, uint32_t access, Text name)
{
    Lock lock(mutex);
    return *objects.insert(new Object{kind, access, wide(name)}).first;
}

/// Null, with the error set, for a handle that is not open, of another kind or without the right.
Object *opened(void *handle, Kind kind, uint32_t access)
{
    const auto found = objects.find(static_cast<Object *>(handle));
    if (found == objects.end() || (*found)->kind != kind) {
        note("fault: handle");
        fail(6);
        return nullptr;
    }
    if (((*found)->access & access) != access) {
        note("fault: right");
        fail(5);
        return nullptr;
    }
    return *found;
}

Service *serviceOf(void *handle, uint32_t access)
{
    const Object *object = opened(handle, Kind::Service, access);
    return object ? &services[object->name] : nullptr;
}

const char *stateName(uint32_t value)
{
    static const char *const kNames[] = {"?",       "STOPPED",          "START_PENDING", "STOP_PENDING",
                                         "RUNNING", "CONTINUE_PENDING", "PAUSE_PENDING", "PAUSED"};
    return kNames[value < 8 ? value : 0];
}

} // namespace

STANDIN_API void *STANDIN_CALL OpenSCManagerW(Text, Text, uint32_t access)
{
    if (isOn("denied") && access & 0x2) {
        fail(5);
        return nullptr;
    }
    return open(Kind::Manager, access, nullptr);
}

STANDIN_API int STANDIN_CALL CloseServiceHandle(void *handle)
{
    Lock lock(mutex);
    const auto found = objects.find(static_cast<Object *>(handle));
    if (found == objects.end() || (*found)->kind == Kind::Log) {
        note("fault: handle closed");
        return fail(6);
    }
    delete *found;
    objects.erase(found);
    return 1;
}

STANDIN_API void *STANDIN_CALL CreateServiceW(void *manager, Text name, Text, uint32_t access, uint32_t type,
                                              uint32_t startType, uint32_t, Text path, Text, uint32_t *, Text,
                                              Text account, Text password)
{
    Lock lock(mutex);
    if (!opened(manager, Kind::Manager, 0x2))
        return nullptr;
    const std::u16string user = wide(account);
    int error = 0;
    if (services.count(name))
        error = 1073;
    else if (type != 0x10 || startType < 2 || startType > 4)
        error = 87;
    else if (account && user != u"LocalSystem" && user.find(u'\\') == std::u16string::npos)
        error = 1057;
    if (error != 0) {
        fail(error);
        return nullptr;
    }
    Service service;
    service.path = path;
    service.account = user;
    service.password = wide(password);
    service.startType = startType;
    services[name] = service;
    return open(Kind::Service, access, name);
}

STANDIN_API void *STANDIN_CALL OpenServiceW(void *manager, Text name, uint32_t access)
{
    Lock lock(mutex);
    if (!opened(manager, Kind::Manager, 0x1))
        return nullptr;
    constexpr uint32_t kEveryonesRights = 0x1 | 0x4 | 0x8 | 0x80 | 0x100 | 0x20000;
    const int error = !services.count(name) ? 1060 : isOn("denied") && (access & ~kEveryonesRights) ? 5 : 0;
    if (error != 0) {
        fail(error);
        return nullptr;
    }
    return open(Kind::Service, access, name);
}

STANDIN_API int STANDIN_CALL DeleteService(void *handle)
{
    Lock lock(mutex);
    const Service *service = serviceOf(handle, 0x10000);
    if (!service)
        return 0;
    if (service->state != 1)
        note("fault: deleted while it runs");
    services.erase(static_cast<Object *>(handle)->name);
    return 1;
}

STANDIN_API int STANDIN_CALL ChangeServiceConfig2W(void *handle, uint32_t level, void *info)
{
    Lock lock(mutex);
    // Restarting a service is its starting, so it needs that right.
    Service *service = serviceOf(handle, level == 2 ? 0x2 | 0x10 : 0x2);
    if (!service)
        return 0;
    if (level == 1) {
        service->description = *static_cast<Text *>(info);
    } else if (level == 2) {
        const auto *actions = static_cast<const SERVICE_FAILURE_ACTIONSW *>(info);
        if (actions->cActions < 1 || actions->lpsaActions[0].Type != 1)
            return fail(87);
        service->restartDelay = actions->lpsaActions[0].Delay;
    }
    return 1;
}

/// A record with its texts behind it, which lie in the same buffer.
class Answer
{
public:
    Answer(void *buffer, uint32_t record) : m_next(static_cast<char *>(buffer)), m_size(record)
    {
        if (m_next)
            m_next += record;
    }
    /// Fails, as the system does, when it is too small.
    bool fits(uint32_t size, uint32_t *needed, const std::vector<std::u16string> &texts)
    {
        for (const std::u16string &text : texts)
            m_size += uint32_t(2 * (text.size() + 1));
        *needed = m_size;
        return size >= m_size || fail(122);
    }
    char16_t *append(const std::u16string &text)
    {
        auto *result = reinterpret_cast<char16_t *>(m_next);
        std::memcpy(m_next, text.c_str(), 2 * (text.size() + 1));
        m_next += 2 * (text.size() + 1);
        return result;
    }

private:
    char *m_next;
    uint32_t m_size;
};

STANDIN_API int STANDIN_CALL QueryServiceConfigW(void *handle, QUERY_SERVICE_CONFIGW *config, uint32_t size,
                                                 uint32_t *needed)
{
    Lock lock(mutex);
    const Service *service = serviceOf(handle, 0x1);
    Answer answer(config, sizeof *config);
    if (!service || !answer.fits(size, needed, {service->path, u"", u"", service->account, u"shown"}))
        return 0;
    *config = {0x10,
               service->startType,
               1,
               answer.append(service->path),
               answer.append(u""),
               0,
               answer.append(u""),
               answer.append(service->account),
               answer.append(u"shown")};
    return 1;
}

STANDIN_API int STANDIN_CALL QueryServiceConfig2W(void *handle, uint32_t level, void *buffer, uint32_t size,
                                                  uint32_t *needed)
{
    Lock lock(mutex);
    const Service *service = serviceOf(handle, 0x1);
    Answer answer(buffer, sizeof(Text));
    if (!service || !answer.fits(size, needed, {service->description}))
        return 0;
    if (level != 1)
        return fail(124);
    *static_cast<Text *>(buffer) = answer.append(service->description);
    return 1;
}

STANDIN_API int STANDIN_CALL QueryServiceStatus(void *handle, SERVICE_STATUS *status)
{
    Lock lock(mutex);
    Service *service = serviceOf(handle, 0x4);
    if (!service)
        return 0;
    *status = {0x10, service->state, service->state == 4 ? 7u : 0u, 0, 0, 0, 0};
    // Whoever looks once sees a job under way.
    if (service->state == 2)
        service->state = isOn("failing") ? 1 : 4;
    else if (service->state == 3)
        service->state = 1;
    return 1;
}

STANDIN_API int STANDIN_CALL StartServiceW(void *handle, uint32_t, Text *)
{
    Lock lock(mutex);
    Service *service = serviceOf(handle, 0x10);
    if (!service)
        return 0;
    if (service->state != 1)
        return fail(1056);
    note("StartServiceW");
    service->state = 2;
    return 1;
}

#ifndef STANDIN_LACKING
STANDIN_API int STANDIN_CALL ControlService(void *handle, uint32_t code, SERVICE_STATUS *status)
{
    Lock lock(mutex);
    const uint32_t right = code == 1 ? 0x20 : code == 2 || code == 3 ? 0x40 : code == 4 ? 0x80 : 0x100;
    Service *service = serviceOf(handle, right);
    if (!service)
        return 0;
    if (code > 4 && (code < 128 || code > 255))
        return fail(87);
    if (service->state == 1)
        return fail(1062);
    note("ControlService " + std::to_string(code));
    service->state = code == 1 ? 3 : code == 2 ? 7 : code == 3 ? 4 : service->state;
    *status = {0x10, service->state, 7, 0, 0, 0, 0};
    return 1;
}

STANDIN_API int STANDIN_CALL StartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW *table)
{
    if (isOn("by hand"))
        return fail(1063);
    if (isOn("no dispatcher"))
        return fail(13);
    if (!table[0].lpServiceProc || table[1].lpServiceName || table[1].lpServiceProc)
        note("fault: table");
    // As the system's, it does not wait until the service's thread has returned.
    struct Main {
        std::u16string name;
        bool hasReturned;
    };
    const auto main = std::make_shared<Main>(Main{wide(table[0].lpServiceName), false});
    std::thread([main, function = table[0].lpServiceProc] {
        char16_t *arguments[] = {&main->name[0], nullptr};
        function(1, arguments);
        Lock lock(mutex);
        main->hasReturned = true;
        changed.notify_all();
    }).detach();
    Lock lock(mutex);
    isDispatching = true;
    while (!controls.empty() || !(state == 1 || (main->hasReturned && state == 0))) {
        if (controls.empty()) {
            changed.wait(lock);
            continue;
        }
        const uint32_t code = controls.front();
        controls.pop_front();
        note("control " + std::to_string(code));
        lock.unlock();
        handler(code);
        lock.lock();
        // Whoever sent it reads from the state that it was obeyed.
        if ((code == 1 || code == 5) && state != 1 && state != 3)
            note("fault: the manager does not see the stop");
        ++handled;
        changed.notify_all();
    }
    isDispatching = false;
    changed.notify_all();
    note("dispatcher ended");
    return 1;
}
#endif

STANDIN_API void *STANDIN_CALL RegisterServiceCtrlHandlerW(Text, void(STANDIN_CALL *function)(uint32_t))
{
    Lock lock(mutex);
    if (isOn("no handler")) {
        fail(1083);
        return nullptr;
    }
    handler = function;
    return &handler;
}

STANDIN_API int STANDIN_CALL SetServiceStatus(void *handle, SERVICE_STATUS *status)
{
    Lock lock(mutex);
    if (handle != &handler)
        return fail(6);
    const bool isSettled = status->dwCurrentState == 1 || status->dwCurrentState == 4 || status->dwCurrentState == 7;
    if (state == 1) {
        note("fault: status of a service that has stopped");
        return fail(6);
    }
    if (status->dwServiceType != 0x10)
        note("fault: type");
    if (isSettled != (status->dwWaitHint == 0) || (isSettled && status->dwCheckPoint != 0))
        note("fault: wait hint or check point");
    if (status->dwCurrentState == 2 && status->dwControlsAccepted != 0)
        note("fault: takes controls while it starts");
    if ((status->dwCurrentState == 4 || status->dwCurrentState == 7) && status->dwControlsAccepted != 7)
        note("fault: controls");
    state = status->dwCurrentState;
    // Requests that the manager sent before it knew.
    if (state == 1 && isOn("late requests"))
        controls = {4, 1, 3, 200};
    std::string line = std::string("status ") + stateName(state);
    if (status->dwWin32ExitCode != 0)
        line += ' ' + std::to_string(status->dwWin32ExitCode) + ' ' + std::to_string(status->dwServiceSpecificExitCode);
    note(line);
    return 1;
}

STANDIN_API void *STANDIN_CALL RegisterEventSourceW(Text, Text source)
{
    return open(Kind::Log, 0, source);
}

STANDIN_API int STANDIN_CALL DeregisterEventSource(void *log)
{
    Lock lock(mutex);
    Object *object = opened(log, Kind::Log, 0);
    objects.erase(object);
    delete object;
    return object != nullptr;
}

STANDIN_API int STANDIN_CALL ReportEventW(void *log, uint16_t type, uint16_t category, uint32_t id, void *,
                                          uint16_t count, uint32_t, Text *texts, void *)
{
    Lock lock(mutex);
    const Object *object = opened(log, Kind::Log, 0);
    if (!object)
        return 0;
    note("event " + narrow(object->name) + ' ' + std::to_string(type) + ' ' + std::to_string(category) + ' ' +
         std::to_string(id) + ' ' + (count == 1 ? narrow(texts[0]) : "?"));
    return 1;
}

// What the test calls.

/// Forgets everything. The words, separated by semicolons, say how it behaves: "installed", "running", "denied",
/// "failing", "by hand", "no dispatcher", "no handler", "late requests".
STANDIN_API void standinReset(const char *words)
{
    Lock lock(mutex);
    switches.clear();
    std::string word;
    for (const char *c = words;; ++c) {
        if (*c && *c != ';') {
            word += *c;
            continue;
        }
        switches.insert(word);
        word.clear();
        if (!*c)
            break;
    }
    journal.clear();
    services.clear();
    handler = nullptr;
    state = 0;
    controls.clear();
    if (isOn("installed") || isOn("running")) {
        services[u"zuk3srv"].path = u"\"C:\\Program Files\\zuk\\zuk3server.exe\"";
        services[u"zuk3srv"].startType = 2;
        services[u"zuk3srv"].state = isOn("running") ? 4 : 1;
    }
}

STANDIN_API void standinNote(const char *line)
{
    note(line);
}

/// Waits until the journal has the line so many times.
STANDIN_API bool standinAwait(const char *line, int times)
{
    Lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(20),
                            [&] { return std::count(journal.begin(), journal.end(), line) >= times; });
}

/// The manager's request; returns when the handler has, or the service has ended.
STANDIN_API void standinControl(uint32_t code)
{
    Lock lock(mutex);
    controls.push_back(code);
    const size_t awaited = handled + controls.size();
    changed.notify_all();
    changed.wait(lock, [&] { return handled >= awaited || (!isDispatching && state == 1); });
}

/// Valid until the next call.
STANDIN_API const char *standinJournal()
{
    Lock lock(mutex);
    static std::string text;
    text.clear();
    for (const std::string &line : journal)
        text += line + '\n';
    return text.c_str();
}

/// "path|account|password|start type|description|ms before a restart|state"; empty when not there. Valid until the next
/// call.
STANDIN_API const char *standinService(const char *name)
{
    Lock lock(mutex);
    static std::string text;
    text.clear();
    const auto found = services.find(std::u16string(name, name + std::strlen(name)));
    if (found != services.end()) {
        const Service &s = found->second;
        text = narrow(s.path + u'|' + s.account + u'|' + s.password) + '|' + std::to_string(s.startType) + '|' +
               narrow(s.description) + '|' + std::to_string(s.restartDelay) + '|' + stateName(s.state);
    }
    return text.c_str();
}

STANDIN_API int standinOpenHandles()
{
    Lock lock(mutex);
    return int(objects.size());
}
