#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace server::service {

/// What a service manager asks of the service that runs under it. Called on whatever thread the manager uses; each
/// returns when the application thread has taken the request, or false when it does not within a bounded time.
class ServiceControls
{
public:
    virtual ~ServiceControls() = default;
    virtual bool stop() = 0;
    virtual bool pause() = 0;
    virtual bool resume() = 0;
    /// A code of the user's.
    virtual bool command(int code) = 0;
};

/// The operating system's service manager and its event log: what the service shell needs of either platform's.
/// Failures are values; a warning line says why. Called on the main thread except where noted.
class ServiceManager
{
public:
    enum class StartupType { Automatic, Manual };
    enum class MessageType { Success, Error, Warning, Information };
    /// What a running service tells of itself.
    enum class State { Starting, Running, Pausing, Paused, Resuming, Stopping };
    /// Who launched this process: the manager, as its service, or somebody else. Failed: it was to be the manager's
    /// service and cannot be.
    enum class Launch { ByManager, ByUser, Failed };

    struct Installation {
        QString name;
        QString description;
        QString executable; // absolute path, run without arguments
        QString account;    // empty: the manager's own
        QString password;
        StartupType startup = StartupType::Automatic;
        QStringList environment; // NAME=value, where the manager can set them
    };

    struct ServiceInfo {
        QString executable;
        QString description;
        StartupType startup = StartupType::Automatic;
    };

    virtual ~ServiceManager() = default;

    /// Nothing when no such service is installed, or the manager cannot be asked.
    virtual std::optional<ServiceInfo> query(const QString &name) = 0;
    /// True also while it starts, is paused or stops.
    virtual bool isRunning(const QString &name) = 0;

    /// The new service starts with the system from the next time on (or by hand), and again when it fails.
    virtual bool install(const Installation &service) = 0;
    /// Stops it first when it runs.
    virtual bool uninstall(const QString &name) = 0;
    /// Returns when the service runs or has failed to, within a bounded time. True, too, when it ran already.
    virtual bool start(const QString &name) = 0;
    /// Returns when the service has ended, within a bounded time. False when it was not running.
    virtual bool stop(const QString &name) = 0;
    virtual bool pause(const QString &name) = 0;
    virtual bool resume(const QString &name) = 0;
    virtual bool sendCommand(const QString &name, int code) = 0;

    /// Writes to the system's event log, under the service's name. Any thread.
    virtual void logMessage(const QString &name, const QString &message, MessageType type, int id, int category) = 0;

    /// Makes this process the manager's service. From ByManager on, until releaseService(), its requests reach the
    /// controls, which must live as long. With Failed, error says why.
    virtual Launch connectService(const QString &name, ServiceControls &controls, QString *error) = 0;
    /// Any thread, between connectService() and releaseService().
    virtual void report(State state) = 0;
    /// The service has ended, as a process will that returns the exit code. Returns when the manager knows.
    virtual void releaseService(int exitCode) = 0;
};

/// The platform's: systemd or the Windows service control manager.
std::shared_ptr<ServiceManager> createServiceManager();

/// Whether an account text means the manager's own account: "LocalSystem", or a text that ends in "\LocalSystem".
bool isManagersAccount(const QString &account);

} // namespace server::service
