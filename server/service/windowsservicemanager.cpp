#include "server/service/windowsservicemanager.h"

#include "server/service/systemerror.h"

#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QMutexLocker>

#include <algorithm>
#include <utility>
#include <vector>

namespace server::service {

using namespace Advapi32;

namespace {

/// The functions of the system take no context.
WindowsServiceManager *connected = nullptr;

constexpr Dword kAllControls = kAcceptStop | kAcceptShutdown | kAcceptPauseContinue;

void warn(const char *operation, int error = lastSystemError())
{
    qWarning().noquote() << "WindowsServiceManager::" + QByteArray(operation) << qt_error_string(error);
}

template <typename... Pointers> bool areAllThere(const char *operation, Pointers... functions)
{
    if ((functions && ...))
        return true;
    qWarning().noquote() << "WindowsServiceManager::" + QByteArray(operation) << "a function of the system is missing";
    return false;
}

QString string(Text text)
{
    return text ? QString::fromUtf16(text) : QString();
}

Dword systemState(ServiceManager::State state)
{
    switch (state) {
    case ServiceManager::State::Starting:
        return kStartPending;
    case ServiceManager::State::Running:
        return kRunning;
    case ServiceManager::State::Pausing:
        return kPausePending;
    case ServiceManager::State::Paused:
        return kPaused;
    case ServiceManager::State::Resuming:
        return kContinuePending;
    case ServiceManager::State::Stopping:
        break;
    }
    return kStopPending;
}

quint16 systemType(ServiceManager::MessageType type)
{
    switch (type) {
    case ServiceManager::MessageType::Success:
        return 0;
    case ServiceManager::MessageType::Error:
        return 1;
    case ServiceManager::MessageType::Warning:
        return 2;
    case ServiceManager::MessageType::Information:
        break;
    }
    return 4;
}

} // namespace

/// Closes what it holds.
class WindowsServiceManager::OpenHandle
{
public:
    OpenHandle(Handle handle, const Functions &functions) : m_handle(handle), m_functions(functions) {}
    OpenHandle(OpenHandle &&other) noexcept
        : m_handle(std::exchange(other.m_handle, nullptr)), m_functions(other.m_functions)
    {
    }
    ~OpenHandle()
    {
        if (m_handle && m_functions.closeHandle)
            m_functions.closeHandle(m_handle);
    }
    operator Handle() const { return m_handle; }

private:
    Q_DISABLE_COPY(OpenHandle)
    Handle m_handle;
    const Functions &m_functions;
};

WindowsServiceManager::WindowsServiceManager(const QString &library) : m_functions(load(library)) {}

WindowsServiceManager::~WindowsServiceManager() = default;

WindowsServiceManager::OpenHandle WindowsServiceManager::openManager(Dword access) const
{
    Handle manager = m_functions.openManager ? m_functions.openManager(nullptr, nullptr, access) : nullptr;
    return {manager, m_functions};
}

WindowsServiceManager::OpenHandle WindowsServiceManager::openService(const QString &name, Dword access) const
{
    const OpenHandle manager = openManager(kManagerConnect);
    Handle service =
        manager && m_functions.openService ? m_functions.openService(manager, text(name), access) : nullptr;
    return {service, m_functions};
}

std::optional<ServiceManager::ServiceInfo> WindowsServiceManager::query(const QString &name)
{
    const OpenHandle service = openService(name, kServiceQueryConfig);
    if (!service)
        return {};
    ServiceInfo info;
    Dword needed = 0;
    // The texts follow the structure in the same buffer; a first call tells its size. Of pointers for their alignment.
    std::vector<void *> buffer;
    const auto grow = [&] {
        buffer.resize(needed / sizeof(void *) + 1);
        return static_cast<Dword>(buffer.size() * sizeof(void *));
    };
    if (m_functions.queryConfig) {
        m_functions.queryConfig(service, nullptr, 0, &needed);
        const Dword size = grow();
        auto *config = reinterpret_cast<ServiceConfig *>(buffer.data());
        if (size >= sizeof(ServiceConfig) && m_functions.queryConfig(service, config, size, &needed)) {
            info.executable = string(config->binaryPath).remove(QLatin1Char('"'));
            info.startup = config->startType == kAutoStart ? StartupType::Automatic : StartupType::Manual;
        }
    }
    if (m_functions.queryConfig2) {
        needed = 0;
        m_functions.queryConfig2(service, kConfigDescription, nullptr, 0, &needed);
        const Dword size = grow();
        if (m_functions.queryConfig2(service, kConfigDescription, buffer.data(), size, &needed))
            info.description = string(reinterpret_cast<Description *>(buffer.data())->text);
    }
    return info;
}

bool WindowsServiceManager::isRunning(const QString &name)
{
    const OpenHandle service = openService(name, kServiceQueryStatus);
    ServiceStatus status;
    return service && m_functions.queryStatus && m_functions.queryStatus(service, &status) &&
           status.currentState != kStopped;
}

QString WindowsServiceManager::accountName(const QString &account)
{
    if (isManagersAccount(account))
        return {};
    const bool isQualified = account.contains(QLatin1Char('\\')) || account.contains(QLatin1Char('@'));
    return isQualified ? account : QStringLiteral(".\\") + account;
}

bool WindowsServiceManager::install(const Installation &service)
{
    if (!areAllThere("install", m_functions.openManager, m_functions.createService, m_functions.changeConfig2,
                     m_functions.closeHandle))
        return false;
    const OpenHandle manager = openManager(kManagerConnect | kManagerCreate);
    if (!manager) {
        warn("install");
        return false;
    }
    const QString path = QLatin1Char('"') + QDir::toNativeSeparators(service.executable) + QLatin1Char('"');
    const QString account = accountName(service.account);
    const bool isOwnAccount = account.isEmpty();
    const OpenHandle created(
        m_functions.createService(manager, text(service.name), text(service.name),
                                  kServiceChangeConfig | kServiceStart | kDelete, kOwnProcess,
                                  service.startup == StartupType::Automatic ? kAutoStart : kDemandStart, kErrorNormal,
                                  text(path), nullptr, nullptr, nullptr, isOwnAccount ? nullptr : text(account),
                                  isOwnAccount || service.password.isEmpty() ? nullptr : text(service.password)),
        m_functions);
    if (!created) {
        warn("install");
        return false;
    }
    // What follows makes it nicer; the service works without.
    const Description description{text(service.description)};
    if (!m_functions.changeConfig2(created, kConfigDescription, &description))
        warn("install");
    const FailureAction restart{kActionRestart, kRestartDelayMs};
    const FailureActions onFailure{kFailureResetSeconds, nullptr, nullptr, 1, &restart};
    if (!m_functions.changeConfig2(created, kConfigFailureActions, &onFailure))
        warn("install");
    return true;
}

bool WindowsServiceManager::uninstall(const QString &name)
{
    const OpenHandle service = openService(name, kDelete | kServiceStop | kServiceQueryStatus);
    if (!areAllThere("uninstall", m_functions.deleteService, m_functions.closeHandle))
        return false;
    if (!service) {
        warn("uninstall");
        return false;
    }
    stopOpened(service); // one that does not stop is removed when it ends
    if (m_functions.deleteService(service))
        return true;
    warn("uninstall");
    return false;
}

/// Waits while a job goes on. Whether it then is where it was to go.
bool WindowsServiceManager::waitWhile(Handle service, Dword passingState, Dword wantedState) const
{
    ServiceStatus status;
    QElapsedTimer elapsed;
    elapsed.start();
    while (m_functions.queryStatus(service, &status)) {
        if (status.currentState != passingState || elapsed.hasExpired(kJobTimeoutMs))
            return status.currentState == wantedState;
        QThread::msleep(kPollMs);
    }
    return false;
}

bool WindowsServiceManager::start(const QString &name)
{
    if (!areAllThere("start", m_functions.startService, m_functions.queryStatus, m_functions.closeHandle))
        return false;
    const OpenHandle service = openService(name, kServiceStart | kServiceQueryStatus);
    if (!service) {
        warn("start");
        return false;
    }
    if (!m_functions.startService(service, 0, nullptr)) {
        const int error = lastSystemError();
        if (error == kErrorAlreadyRunning)
            return true;
        warn("start", error);
        return false;
    }
    return waitWhile(service, kStartPending, kRunning);
}

bool WindowsServiceManager::stopOpened(Handle service) const
{
    ServiceStatus status;
    return m_functions.controlService && m_functions.queryStatus &&
           m_functions.controlService(service, kControlStop, &status) && waitWhile(service, kStopPending, kStopped);
}

bool WindowsServiceManager::stop(const QString &name)
{
    const OpenHandle service = openService(name, kServiceStop | kServiceQueryStatus);
    if (service && stopOpened(service))
        return true;
    warn("stop");
    return false;
}

bool WindowsServiceManager::control(const QString &name, Dword access, Dword code) const
{
    const OpenHandle service = openService(name, access);
    ServiceStatus status;
    if (service && m_functions.controlService && m_functions.controlService(service, code, &status))
        return true;
    warn("control");
    return false;
}

bool WindowsServiceManager::pause(const QString &name)
{
    return control(name, kServicePause, kControlPause);
}

bool WindowsServiceManager::resume(const QString &name)
{
    return control(name, kServicePause, kControlContinue);
}

bool WindowsServiceManager::sendCommand(const QString &name, int code)
{
    if (code < static_cast<int>(kFirstUserControl) || code > static_cast<int>(kLastUserControl)) {
        qWarning() << "WindowsServiceManager::sendCommand no code from 128 to 255:" << code;
        return false;
    }
    return control(name, kServiceUserControl, static_cast<Dword>(code));
}

void WindowsServiceManager::logMessage(const QString &name, const QString &message, MessageType type, int id,
                                       int category)
{
    if (!areAllThere("logMessage", m_functions.registerEventSource, m_functions.reportEvent,
                     m_functions.deregisterEventSource))
        return;
    Handle log = m_functions.registerEventSource(nullptr, text(name));
    if (!log) {
        warn("logMessage");
        return;
    }
    Text line = text(message);
    if (!m_functions.reportEvent(log, systemType(type), static_cast<quint16>(category), static_cast<Dword>(id), nullptr,
                                 1, 0, &line, nullptr))
        warn("logMessage");
    m_functions.deregisterEventSource(log);
}

ServiceManager::Launch WindowsServiceManager::connectService(const QString &name, ServiceControls &controls,
                                                             QString *error)
{
    if (!areAllThere("connectService", m_functions.startDispatcher, m_functions.registerHandler,
                     m_functions.setStatus)) {
        *error = QStringLiteral("a function of the system is missing");
        return Launch::Failed;
    }
    QMutexLocker locker(&m_mutex);
    connected = this;
    m_name = name;
    m_controls = &controls;
    m_stage = Stage::Dispatching;
    m_dispatcher.reset(QThread::create([this, self = shared_from_this()] {
        const ServiceTableEntry table[] = {{text(m_name), serviceMain}, {nullptr, nullptr}};
        const bool isServed = m_functions.startDispatcher(table);
        const int code = isServed ? 0 : lastSystemError();
        const QMutexLocker dispatcherLocker(&m_mutex);
        if (m_stage != Stage::Dispatching)
            return;
        m_error = code;
        m_stage = Stage::Refused;
        m_stageChanged.wakeAll();
    }));
    m_dispatcher->start();
    while (m_stage == Stage::Dispatching)
        m_stageChanged.wait(&m_mutex);
    if (m_stage == Stage::Connected)
        return Launch::ByManager;

    locker.unlock();
    if (m_dispatcher->wait(kGiveUpMs)) {
        m_dispatcher.reset();
        connected = nullptr;
    } else {
        // It goes on until the process ends, which is soon, and keeps what it uses.
        [[maybe_unused]] const QThread *const abandoned = m_dispatcher.release();
    }
    if (m_error == kErrorNotLaunchedByManager)
        return Launch::ByUser;
    *error = qt_error_string(m_error);
    return Launch::Failed;
}

/// On a thread of the manager's, for the life of the service.
void WindowsServiceManager::serviceMain(Dword, char16_t **)
{
    connected->runServiceMain();
}

void WindowsServiceManager::handleControl(Dword control)
{
    connected->handle(control);
}

void WindowsServiceManager::runServiceMain()
{
    QMutexLocker locker(&m_mutex);
    m_statusHandle = m_functions.registerHandler(text(m_name), handleControl);
    if (!m_statusHandle) {
        m_error = lastSystemError();
        m_stage = Stage::Refused;
        m_stageChanged.wakeAll();
        return;
    }
    m_status.serviceType = kOwnProcess;
    m_status.currentState = kStartPending;
    sendStatus();
    m_stage = Stage::Connected;
    m_stageChanged.wakeAll();
    while (m_stage != Stage::Released)
        m_stageChanged.wait(&m_mutex);
    m_status.currentState = kStopped;
    sendStatus();
}

void WindowsServiceManager::handle(Dword control)
{
    if (control == kControlStop || control == kControlShutdown)
        m_controls->stop();
    else if (control == kControlPause)
        m_controls->pause();
    else if (control == kControlContinue)
        m_controls->resume();
    else if (control >= kFirstUserControl && control <= kLastUserControl)
        m_controls->command(static_cast<int>(control));
    // Whatever was asked, also the mere question, the manager is told the state; but never again that of a service that
    // has stopped: its handle is gone.
    const QMutexLocker locker(&m_mutex);
    if (m_status.currentState != kStopped)
        sendStatus();
}

void WindowsServiceManager::report(State state)
{
    const QMutexLocker locker(&m_mutex);
    m_status.currentState = systemState(state);
    m_status.checkPoint = 0;
    sendStatus();
}

/// With the mutex held.
void WindowsServiceManager::sendStatus()
{
    const bool isSteady = m_status.currentState == kRunning || m_status.currentState == kPaused;
    const bool isPending = !isSteady && m_status.currentState != kStopped;
    m_status.controlsAccepted = isSteady ? kAllControls : 0;
    m_status.waitHint = isPending ? kWaitHintMs : 0;
    m_status.checkPoint = isPending ? m_status.checkPoint + 1 : 0;
    m_functions.setStatus(m_statusHandle, &m_status);
}

void WindowsServiceManager::releaseService(int exitCode)
{
    {
        const QMutexLocker locker(&m_mutex);
        if (exitCode != 0) {
            m_status.exitCode = kErrorServiceSpecific;
            m_status.serviceExitCode = static_cast<Dword>(exitCode);
        }
        m_stage = Stage::Released;
        m_stageChanged.wakeAll();
    }
    m_dispatcher->wait();
    m_dispatcher.reset();
    connected = nullptr;
}

} // namespace server::service
