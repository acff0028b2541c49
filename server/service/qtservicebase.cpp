#include "server/service/qtservicebase.h"

#include "server/process/terminationwatch.h"
#include "server/service/afterwards.h"
#include "server/service/qtserviceappeventfilter.h"
#include "server/service/qtservicecontroller.h"
#include "server/service/qtservicecontrollerhandler.h"
#include "server/service/qtservicestarter.h"

#include <QCoreApplication>
#include <QDebug>

#include <algorithm>
#include <cstdio>
#include <utility>

using server::service::ServiceManager;

namespace {

constexpr int kMaxNameLength = 255;
constexpr int kFailure = 1;

enum class Action { Install, Uninstall, Version, Execute, Terminate, Pause, Resume, Command, Help, Run };

struct ActionWord {
    const char *shortForm;
    const char *longForm;
    Action action;
};

// Deliberate: "-s" is not among them, although the program's other usage text lists it; as any unknown word it starts
// the service.
constexpr ActionWord kActionWords[] = {
    {"-i", "-install", Action::Install}, {"-u", "-uninstall", Action::Uninstall}, {"-v", "-version", Action::Version},
    {"-e", "-exec", Action::Execute},    {"-t", "-terminate", Action::Terminate}, {"-p", "-pause", Action::Pause},
    {"-r", "-resume", Action::Resume},   {"-c", "-command", Action::Command},     {"-h", "-help", Action::Help},
};

const QString kInstalled = QStringLiteral("The service %1 has been installed under: %2\n");
const QString kNotInstallable = QStringLiteral("The service %1 could not be installed\n");
const QString kInstalledAlready = QStringLiteral("The service %1 is already installed\n");
const QString kUninstalled = QStringLiteral("The service %1 has been uninstalled.\n");
const QString kNotUninstallable = QStringLiteral("The service %1 could not be uninstalled\n");
const QString kNotInstalled = QStringLiteral("The service %1 is not installed\n");
const QString kVersion = QStringLiteral("The service\n\t%1\n\t%2\n\nis %3 and %4\n\n");
const QString kNotStarted = QStringLiteral("The service %1 could not start\n");
// Without a newline: that is their text.
const QString kNotExecuted = QStringLiteral("The service could not be executed.");
const QString kNotStopped = QStringLiteral("The service could not be stopped.");

const QString kHelp = QStringLiteral(
    "\n%1 -[i|u|e|s|v|h]\n"
    "\t-i(nstall) [account] [password]\t: Install the service, optionally using given account and password\n"
    "\t-u(ninstall)\t: Uninstall the service.\n"
    "\t-e(xec)\t\t: Run as a regular application. Useful for debugging.\n"
    "\t-t(erminate)\t: Stop the service.\n"
    "\t-c(ommand) num\t: Send command code num to the service.\n"
    "\t-v(ersion)\t: Print version and status information.\n"
    "\t-h(elp)   \t: Show this help\n"
    "\tNo arguments\t: Start the service.\n");

Action actionOf(const QByteArray &word)
{
    for (const ActionWord &known : kActionWords) {
        if (word == known.shortForm || word == known.longForm)
            return known.action;
    }
    return Action::Run;
}

int say(const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
    return 0;
}

int fail(const QString &text = {})
{
    std::fputs(text.toLocal8Bit().constData(), stderr);
    return kFailure;
}

int resultOf(bool isDone, const QString &failure = {})
{
    return isDone ? 0 : fail(failure);
}

} // namespace

QtServiceBase::QtServiceBase(int &argc, char **argv, const QString &name, std::shared_ptr<ServiceManager> manager)
    : m_argc(argc), m_argv(argv), m_name(name),
      m_manager(manager ? std::move(manager) : server::service::createServiceManager())
{
    if (name.contains(QLatin1Char('\\')))
        qWarning("QtService: 'name' contains backslashes '\\'.");
    if (name.size() > kMaxNameLength)
        qWarning("QtService: 'name' is longer than 255 characters.");
}

QtServiceBase::~QtServiceBase() = default;

void QtServiceBase::pause() {}

void QtServiceBase::resume() {}

void QtServiceBase::processCommand(int) {}

void QtServiceBase::logMessage(const QString &message, MessageType type, int id, int category)
{
    m_manager->logMessage(m_name, message, type, id, category);
}

int QtServiceBase::exec()
{
    const auto argument = [this](int index) {
        return index < m_argc ? QString::fromLocal8Bit(m_argv[index]) : QString();
    };
    QtServiceController controller(m_name, m_manager);
    switch (m_argc > 1 ? actionOf(m_argv[1]) : Action::Run) {
    case Action::Install:
        return install(controller, argument(2), argument(3));
    case Action::Uninstall:
        return uninstall(controller);
    case Action::Version:
        return printVersion(controller);
    case Action::Execute:
        return executeInForeground();
    case Action::Terminate:
        return resultOf(controller.stop(), kNotStopped);
    case Action::Pause:
        return resultOf(controller.pause());
    case Action::Resume:
        return resultOf(controller.resume());
    case Action::Command: {
        bool isNumber = false;
        const int code = argument(2).toInt(&isNumber);
        return resultOf(isNumber && controller.sendCommand(code));
    }
    case Action::Help:
        return say(kHelp.arg(argument(0)));
    case Action::Run:
        break;
    }
    return runAsService(controller);
}

int QtServiceBase::install(QtServiceController &controller, const QString &account, const QString &password)
{
    if (controller.isInstalled())
        return fail(kInstalledAlready.arg(m_name));
    ServiceManager::Installation installation = m_installation;
    installation.executable = QCoreApplication::applicationFilePath();
    installation.account = account;
    installation.password = password;
    if (!controller.install(installation))
        return fail(kNotInstallable.arg(m_name));
    return say(kInstalled.arg(m_name, installation.executable));
}

int QtServiceBase::uninstall(QtServiceController &controller) const
{
    if (!controller.isInstalled())
        return fail(kNotInstalled.arg(m_name));
    if (!controller.uninstall())
        return fail(kNotUninstallable.arg(m_name));
    return say(kUninstalled.arg(m_name));
}

int QtServiceBase::printVersion(const QtServiceController &controller) const
{
    const bool isInstalled = controller.isInstalled();
    QString path = controller.serviceFilePath();
    if (path.isEmpty())
        path = QCoreApplication::applicationFilePath();
    return say(kVersion.arg(m_name, path, isInstalled ? QStringLiteral("installed") : QStringLiteral("not installed"),
                            controller.isRunning() ? QStringLiteral("running") : QStringLiteral("not running")));
}

int QtServiceBase::executeInForeground()
{
    std::copy(m_argv + 2, m_argv + m_argc + 1, m_argv + 1); // with the null behind the last
    --m_argc;
    QtServiceStarter starter(*this);
    const server::process::TerminationWatch termination([this, &starter] {
        stop();
        server::service::runAfterwards(&starter, [] { QCoreApplication::quit(); });
    });
    QMetaObject::invokeMethod(&starter, &QtServiceStarter::slotStart, Qt::QueuedConnection);
    return resultOf(executeApplication() == 0, kNotExecuted);
}

int QtServiceBase::runAsService(QtServiceController &controller)
{
    QtServiceControllerHandler handler(*this, *m_manager);
    QString error;
    switch (m_manager->connectService(m_name, handler, &error)) {
    case ServiceManager::Launch::ByUser:
        return resultOf(controller.start(), kNotStarted.arg(m_name));
    case ServiceManager::Launch::Failed:
        logMessage(QStringLiteral("The Service failed to start [%1]").arg(error), MessageType::Error);
        return fail(kNotStarted.arg(m_name));
    case ServiceManager::Launch::ByManager:
        break;
    }
    m_manager->report(ServiceManager::State::Starting);
    QtServiceAppEventFilter filter;
    QCoreApplication::instance()->installNativeEventFilter(&filter);
    QtServiceStarter starter(*this, [&handler] { handler.open(); });
    QMetaObject::invokeMethod(&starter, &QtServiceStarter::slotStart, Qt::QueuedConnection);
    const int result = executeApplication();
    handler.close();
    m_manager->releaseService(result);
    return result;
}
