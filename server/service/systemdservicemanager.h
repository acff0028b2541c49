#pragma once

#include "server/service/managernotice.h"
#include "server/service/servicemanager.h"

#include <memory>

namespace server::process {
class TerminationWatch;
}

namespace server::service {

/// systemd, asked through its program `systemctl`. Every operation fails when that is missing. What it says to a
/// failure becomes a warning line.
///
/// A service is installed when a unit file has its name. We install into the first of the folders, and remove only
/// what we installed there: a package's unit is the package's.
class SystemdServiceManager : public ServiceManager
{
public:
    struct Options {
        /// Looked up in PATH.
        QString systemctl = QStringLiteral("systemctl");
        /// In the order in which systemd looks.
        QStringList unitFolders = {QStringLiteral("/etc/systemd/system"), QStringLiteral("/run/systemd/system"),
                                   QStringLiteral("/usr/local/lib/systemd/system"),
                                   QStringLiteral("/usr/lib/systemd/system"), QStringLiteral("/lib/systemd/system")};
        /// For a question, and for a start or stop, in ms; longer than a unit of ours takes to stop. A start that goes
        /// on behind it counts as failed.
        int queryTimeoutMs = 10000;
        int jobTimeoutMs = 90000;
        /// Whether systemd runs this system; elsewhere, as in an image that is being made, it only keeps files.
        bool isBooted = isSystemBooted();
    };

    SystemdServiceManager();
    explicit SystemdServiceManager(Options options);
    ~SystemdServiceManager() override;

    std::optional<ServiceInfo> query(const QString &name) override;
    bool isRunning(const QString &name) override;
    /// The password is ignored. Fails for an account that the system does not know.
    bool install(const Installation &service) override;
    bool uninstall(const QString &name) override;
    bool start(const QString &name) override;
    bool stop(const QString &name) override;
    /// systemd has no such request: these fail.
    bool pause(const QString &name) override;
    bool resume(const QString &name) override;
    bool sendCommand(const QString &name, int code) override;
    /// To the journal, or to syslog where there is none. The journal gets id and category as fields of their own.
    void logMessage(const QString &name, const QString &message, MessageType type, int id, int category) override;
    /// Its stop request is the signal SIGTERM.
    Launch connectService(const QString &name, ServiceControls &controls, QString *error) override;
    void report(State state) override;
    void releaseService(int exitCode) override;

    static bool isSystemBooted();

private:
    QString unitPath(const QString &folder, const QString &name) const;
    QString startLink(const QString &name) const;
    QString installedUnit(const QString &name) const;
    std::optional<bool> runningState(const QString &name) const;
    std::optional<QString> systemctl(const QStringList &arguments, int timeoutMs) const;

    Options m_options;
    std::unique_ptr<process::TerminationWatch> m_termination;
    ManagerNotice m_notice;
};

} // namespace server::service
