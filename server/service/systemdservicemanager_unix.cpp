#include "server/service/systemdservicemanager.h"

#include "server/process/systemdlaunch.h"
#include "server/process/terminationwatch.h"
#include "server/service/systemdunit.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>

#include <pwd.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-daemon.h>
#include <systemd/sd-journal.h>
#include <utility>

namespace server::service {

namespace {

const QString kReload = QStringLiteral("daemon-reload");
const QString kJournalSocket = QStringLiteral("/run/systemd/journal/socket");

bool isKnownAccount(const QString &account)
{
    const QByteArray name = account.toLocal8Bit();
    bool isNumber = false;
    const uint number = account.toUInt(&isNumber);
    return getpwnam(name.constData()) || (isNumber && getpwuid(number));
}

int priority(ServiceManager::MessageType type)
{
    switch (type) {
    case ServiceManager::MessageType::Error:
        return LOG_ERR;
    case ServiceManager::MessageType::Warning:
        return LOG_WARNING;
    case ServiceManager::MessageType::Success:
    case ServiceManager::MessageType::Information:
        break;
    }
    return LOG_INFO;
}

QString unitName(const QString &name)
{
    return name + QStringLiteral(".service");
}

QString content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

SystemdServiceManager::SystemdServiceManager() : SystemdServiceManager(Options()) {}

SystemdServiceManager::SystemdServiceManager(Options options) : m_options(std::move(options)) {}

SystemdServiceManager::~SystemdServiceManager() = default;

QString SystemdServiceManager::unitPath(const QString &folder, const QString &name) const
{
    return folder + QLatin1Char('/') + unitName(name);
}

/// By which the service starts with the system.
QString SystemdServiceManager::startLink(const QString &name) const
{
    return unitPath(m_options.unitFolders.first() + QStringLiteral("/multi-user.target.wants"), name);
}

QString SystemdServiceManager::installedUnit(const QString &name) const
{
    for (const QString &folder : m_options.unitFolders) {
        const QString path = unitPath(folder, name);
        if (QFile::exists(path))
            return path;
    }
    return {};
}

/// What it writes; nothing, with a warning line, when it fails.
std::optional<QString> SystemdServiceManager::systemctl(const QStringList &arguments, int timeoutMs) const
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(m_options.systemctl,
                  QStringList{QStringLiteral("--no-ask-password"), QStringLiteral("--no-pager")} + arguments);
    const bool isEnded = process.waitForFinished(timeoutMs);
    if (isEnded && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();

    QString reason = QString::fromLocal8Bit(process.readAllStandardError()).simplified();
    if (!isEnded || reason.isEmpty())
        reason = isEnded ? QStringLiteral("exit code %1").arg(process.exitCode()) : process.errorString();
    qWarning().noquote() << "SystemdServiceManager::systemctl" << arguments.join(QLatin1Char(' '))
                         << "failed:" << reason;
    if (!isEnded) {
        process.kill();
        process.waitForFinished(m_options.queryTimeoutMs);
    }
    return {};
}

std::optional<ServiceManager::ServiceInfo> SystemdServiceManager::query(const QString &name)
{
    const QString path = installedUnit(name);
    if (path.isEmpty())
        return {};
    ServiceInfo info = SystemdUnit::read(content(path));
    info.startup = QFileInfo(startLink(name)).isSymLink() ? StartupType::Automatic : StartupType::Manual;
    return info;
}

bool SystemdServiceManager::isSystemBooted()
{
    return sd_booted() > 0;
}

bool SystemdServiceManager::isRunning(const QString &name)
{
    return runningState(name).value_or(false);
}

/// Nothing when systemctl does not say.
std::optional<bool> SystemdServiceManager::runningState(const QString &name) const
{
    // One that starts or stops is not "active".
    const std::optional<QString> state = systemctl(
        {QStringLiteral("show"), QStringLiteral("--value"), QStringLiteral("--property=ActiveState"), unitName(name)},
        m_options.queryTimeoutMs);
    if (!state)
        return {};
    // It says nothing where it ignores the question.
    return !state->isEmpty() && *state != QLatin1String("inactive") && *state != QLatin1String("failed");
}

bool SystemdServiceManager::install(const Installation &service)
{
    const bool isOwnAccount = isManagersAccount(service.account);
    if (!isOwnAccount && !(SystemdUnit::isAccountName(service.account) && isKnownAccount(service.account))) {
        qWarning() << "SystemdServiceManager::install no such account:" << service.account;
        return false;
    }
    if (!SystemdUnit::isExecutablePath(service.executable)) {
        qWarning() << "SystemdServiceManager::install systemd runs nothing from such a path:" << service.executable;
        return false;
    }
    const QString path = unitPath(m_options.unitFolders.first(), service.name);
    QSaveFile unit(path);
    if (!unit.open(QIODevice::WriteOnly) || unit.write(SystemdUnit::text(service).toUtf8()) < 0 || !unit.commit()) {
        qWarning().noquote() << "SystemdServiceManager::install can't write" << path + ':' << unit.errorString();
        return false;
    }
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    // Both make systemd read the new unit.
    const QString load = service.startup == StartupType::Automatic ? QStringLiteral("enable") : kReload;
    QStringList arguments{load};
    if (load != kReload)
        arguments.append(unitName(service.name));
    if (systemctl(arguments, m_options.jobTimeoutMs))
        return true;
    QFile::remove(path);
    QFile::remove(startLink(service.name));
    return false;
}

bool SystemdServiceManager::uninstall(const QString &name)
{
    const QString path = installedUnit(name);
    if (!SystemdUnit::isOurs(content(path))) {
        qWarning().noquote() << "SystemdServiceManager::uninstall not installed by us:" << path;
        return false;
    }
    // In two steps, so that it can be removed where systemd does not run.
    const std::optional<bool> state = runningState(name);
    if (!state && m_options.isBooted)
        return false;
    if (state.value_or(false) && !systemctl({QStringLiteral("stop"), unitName(name)}, m_options.jobTimeoutMs))
        return false;
    if (!systemctl({QStringLiteral("disable"), unitName(name)}, m_options.jobTimeoutMs))
        return false;
    if (!QFile::remove(path)) {
        qWarning().noquote() << "SystemdServiceManager::uninstall can't remove" << path;
        return false;
    }
    systemctl({kReload}, m_options.jobTimeoutMs);
    return true;
}

bool SystemdServiceManager::start(const QString &name)
{
    return systemctl({QStringLiteral("start"), unitName(name)}, m_options.jobTimeoutMs).has_value();
}

bool SystemdServiceManager::stop(const QString &name)
{
    return isRunning(name) && systemctl({QStringLiteral("stop"), unitName(name)}, m_options.jobTimeoutMs).has_value();
}

bool SystemdServiceManager::pause(const QString &)
{
    return false;
}

bool SystemdServiceManager::resume(const QString &)
{
    return false;
}

bool SystemdServiceManager::sendCommand(const QString &, int)
{
    return false;
}

void SystemdServiceManager::logMessage(const QString &name, const QString &message, MessageType type, int id,
                                       int category)
{
    if (!QFile::exists(kJournalSocket)) {
        const QByteArray identifier = name.toLocal8Bit();
        openlog(identifier.constData(), LOG_PID, LOG_DAEMON);
        syslog(priority(type), "%s", message.toLocal8Bit().constData());
        closelog(); // the identifier's text ends here
        return;
    }
    const QByteArray fields[] = {"MESSAGE=" + message.toUtf8(), "SYSLOG_IDENTIFIER=" + name.toUtf8(),
                                 "PRIORITY=" + QByteArray::number(priority(type)), "EVENT_ID=" + QByteArray::number(id),
                                 "CATEGORY=" + QByteArray::number(category)};
    iovec pieces[std::size(fields)];
    for (size_t i = 0; i < std::size(fields); ++i)
        pieces[i] = {const_cast<char *>(fields[i].constData()), static_cast<size_t>(fields[i].size())};
    sd_journal_sendv(pieces, static_cast<int>(std::size(pieces)));
}

ServiceManager::Launch SystemdServiceManager::connectService(const QString &, ServiceControls &controls, QString *)
{
    if (!process::isLaunchedBySystemd())
        return Launch::ByUser;
    m_termination = std::make_unique<process::TerminationWatch>([&controls] { controls.stop(); });
    return Launch::ByManager;
}

void SystemdServiceManager::report(State state)
{
    if (state == State::Running)
        m_notice.tellReady();
    else if (state == State::Stopping)
        ManagerNotice::tellStopping();
}

void SystemdServiceManager::releaseService(int)
{
    m_termination.reset();
    m_notice.endWatchdog();
}

} // namespace server::service
