#pragma once

#include "server/service/advapi32.h"
#include "server/service/servicemanager.h"

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

namespace server::service {

/// The Windows service control manager, reached through its library. An operation fails when a function that it needs
/// is missing. The manager's dispatcher runs on a thread of its own, from connectService() to releaseService(); one
/// instance in the process may be connected.
///
/// To be held by a shared pointer.
class WindowsServiceManager : public ServiceManager, public std::enable_shared_from_this<WindowsServiceManager>
{
public:
    /// How long a start or stop may take to be seen, and how often it is looked for, in ms.
    static constexpr int kJobTimeoutMs = 90000;
    static constexpr int kPollMs = 100;
    /// What the manager is told that a start or stop may take.
    static constexpr int kWaitHintMs = 60000;
    /// Before a service that failed is started again, and after which time without one a failure is the first again.
    static constexpr int kRestartDelayMs = 5000;
    static constexpr int kFailureResetSeconds = 86400;
    /// How long a dispatcher without a service is waited for, in ms. The system's may wait for one for ever.
    static constexpr int kGiveUpMs = 2000;

    /// With the file name of the library, with or without its ending.
    explicit WindowsServiceManager(const QString &library);
    ~WindowsServiceManager() override;

    std::optional<ServiceInfo> query(const QString &name) override;
    bool isRunning(const QString &name) override;
    bool install(const Installation &service) override;
    bool uninstall(const QString &name) override;
    bool start(const QString &name) override;
    bool stop(const QString &name) override;
    bool pause(const QString &name) override;
    bool resume(const QString &name) override;
    /// The manager passes on 128 to 255; other codes fail.
    bool sendCommand(const QString &name, int code) override;
    void logMessage(const QString &name, const QString &message, MessageType type, int id, int category) override;
    Launch connectService(const QString &name, ServiceControls &controls, QString *error) override;
    void report(State state) override;
    void releaseService(int exitCode) override;

    /// The account as the manager expects it: empty for its own, and a bare name is one of this machine.
    static QString accountName(const QString &account);

private:
    Q_DISABLE_COPY(WindowsServiceManager)
    class OpenHandle;

    OpenHandle openManager(Advapi32::Dword access) const;
    OpenHandle openService(const QString &name, Advapi32::Dword access) const;
    bool control(const QString &name, Advapi32::Dword access, Advapi32::Dword code) const;
    bool stopOpened(Advapi32::Handle service) const;
    bool waitWhile(Advapi32::Handle service, Advapi32::Dword passingState, Advapi32::Dword wantedState) const;
    void sendStatus();

    static void ZUK_SYSTEM_CALL serviceMain(Advapi32::Dword count, char16_t **arguments);
    static void ZUK_SYSTEM_CALL handleControl(Advapi32::Dword control);
    void runServiceMain();
    void handle(Advapi32::Dword control);

    const Advapi32::Functions m_functions;

    // The dispatcher's and the manager's threads meet the main thread here.
    enum class Stage { Idle, Dispatching, Connected, Refused, Released };
    QMutex m_mutex;
    QWaitCondition m_stageChanged;
    Stage m_stage = Stage::Idle;
    QString m_name;
    ServiceControls *m_controls = nullptr;
    Advapi32::Handle m_statusHandle = nullptr;
    Advapi32::ServiceStatus m_status;
    int m_error = 0;
    std::unique_ptr<QThread> m_dispatcher;
};

} // namespace server::service
