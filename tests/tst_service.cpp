#include "rows.h"
#include "server/service/qtserviceappeventfilter.h"
#include "server/service/qtservicecontroller.h"
#include "server/service/windowsservicemanager.h"
#include "serviceshell.h"
#include "standin_advapi32.h"

#include <QDir>
#include <QLibrary>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <thread>

using server::service::ServiceManager;
using server::service::WindowsServiceManager;

namespace {

const QString kLibrary = QStringLiteral(ZUK_STANDIN);

Standin &standin()
{
    return *reinterpret_cast<Standin *(*)()>(QLibrary::resolve(kLibrary, "standin"))();
}

std::shared_ptr<ServiceManager> windowsManager(const QString &library = kLibrary)
{
    return std::make_shared<WindowsServiceManager>(library);
}

} // namespace

/// The service shell with the Windows manager, whose library is a stand-in.
class TestService : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { standin().reset({}); }
    void cleanup();
    void commandLine_data();
    void commandLine();
    void installed_data();
    void installed();
    void life_data();
    void life();
    void exitCodeOfTheLoop();
    void foreground();
    void eventLog();
    void nameWarnings();
    void eventFilter();
};

void TestService::cleanup()
{
    QCOMPARE(standin().journal(QStringLiteral("fault")).join('\n'), QString());
    QCOMPARE(standin().handles.size(), 0); // open handles
}

void TestService::commandLine_data()
{
    CommandRows rows; // with the manager's library, when it is another one
    const QString installedPath = QStringLiteral(R"(C:\Program Files\zuk\zuk3server.exe)");
    const QString help =
        "\n/odd path/zuk3server -[i|u|e|s|v|h]\n"
        "\t-i(nstall) [account] [password]\t: Install the service, optionally using given account and password\n"
        "\t-u(ninstall)\t: Uninstall the service.\n"
        "\t-e(xec)\t\t: Run as a regular application. Useful for debugging.\n"
        "\t-t(erminate)\t: Stop the service.\n"
        "\t-c(ommand) num\t: Send command code num to the service.\n"
        "\t-v(ersion)\t: Print version and status information.\n"
        "\t-h(elp)   \t: Show this help\n"
        "\tNo arguments\t: Start the service.\n";
    const QString started = "StartServiceW";
    const QString failure = "event zuk3srv 1 0 0 The Service failed to start [%1]";

    rows.done("install, long form", "", {"-install"}, rows.installed);
    rows.failed("install twice", "installed", {"-i"}, rows.installedAlready);
    rows.failed("install without rights", "denied", {"-i"}, rows.notInstallable);
    rows.done("uninstall", "installed", {"-u"}, rows.uninstalled);
    rows.done("uninstall a running one", "running", {"-uninstall"}, rows.uninstalled, {"ControlService 1"});
    rows.failed("uninstall without one", "", {"-u"}, rows.notInstalled);
    rows.failed("uninstall without rights", "installed;denied", {"-u"},
                "The service zuk3srv could not be uninstalled\n");
    rows.done("version, stopped", "installed", {"-v"}, rows.version.arg(installedPath, "installed and not running"));
    rows.done("version, running, without rights", "running;denied", {"-version"},
              rows.version.arg(installedPath, "installed and running"));
    rows.done("version, not installed", "", {"-v"},
              rows.version.arg(qApp->applicationFilePath(), "not installed and not running"));
    rows.done("terminate", "running", {"-t"}, {}, {"ControlService 1"});
    rows.failed("terminate a stopped one", "installed", {"-terminate"}, rows.notStopped);
    rows.failed("terminate without rights", "running;denied", {"-t"}, rows.notStopped);
    rows.done("pause", "running", {"-p"}, {}, {"ControlService 2"});
    rows.done("resume", "running", {"-r"}, {}, {"ControlService 3"});
    rows.done("smallest command", "running", {"-c", "128"}, {}, {"ControlService 128"});
    rows.done("largest command", "running", {"-command", "255"}, {}, {"ControlService 255"});
    for (const char *code : {"127", "256", "1", "-129", "128x", "0x80", "", "4294967424"})
        rows.failed(qPrintable(QStringLiteral("command \"%1\"").arg(code)), "running", {"-c", code});
    rows.failed("command without a code", "running", {"-c"});
    rows.failed("command to a stopped one", "installed", {"-c", "200"});
    rows.done("help", "", {"-h"}, help);
    rows.done("help, long form", "", {"-help"}, help);
    rows.done("no argument starts the service", "by hand;installed", {}, {}, {started});
    rows.done("-s starts the service", "by hand;installed", {"-s"}, {}, {started});
    rows.done("unknown argument starts the service", "by hand;installed", {"-I", "-i"}, {}, {started});
    rows.done("start of a running one", "by hand;running", {});
    rows.failed("start without one", "by hand", {}, rows.notStarted);
    rows.failed("start without rights", "by hand;installed;denied", {}, rows.notStarted);
    rows.failed("start that fails", "by hand;installed;failing", {}, rows.notStarted, {started});
    rows.failed("dispatcher fails", "no dispatcher", {}, rows.notStarted, {failure.arg(qt_error_string(13))});
    rows.failed("handler refused", "no handler", {}, rows.notStarted,
                {"dispatcher ended", failure.arg(qt_error_string(1083))});
    rows.failed("handler refused, and the dispatcher waits for ever", "no handler;endless", {}, rows.notStarted,
                {failure.arg(qt_error_string(1083))});
    const QString none = "no such library";
    rows.failed("run without a library", "", {}, rows.notStarted, {}, none);
    rows.failed("stop without a library", "", {"-t"}, rows.notStopped, {}, none);
    rows.failed("install without a library", "", {"-i"}, rows.notInstallable, {}, none);
    rows.failed("uninstall without a library", "", {"-u"}, rows.notInstalled, {}, none);
    rows.failed("pause without a library", "", {"-p"}, {}, {}, none);
}

void TestService::commandLine()
{
    QFETCH(QString, state);
    QFETCH(QStringList, arguments);
    QFETCH(QString, manager);
    const QString library = manager.isEmpty() ? kLibrary : manager;
    standin().reset(state);
    QTEST(runCaught(arguments, [&] { return NotedService(windowsManager(library)).exec(); }).result, "result");
    QStringList requests = standin().journal();
    requests.sort();
    QTEST(requests, "requests");
}

void TestService::installed_data()
{
    const auto row = columns<QStringList, QString>({"arguments", "account"}); // and the password
    row("manager's own", {"-i"}, "|");
    row("bare name", {"-i", "ana", "a b|c"}, ".\\ana|a b|c");
    row("domain", {"-i", "ZUK\\ana", "x"}, "ZUK\\ana|x");
    for (const char *account : {"LocalSystem", ".\\LocalSystem", ""})
        row(account, {"-i", account}, "|");
}

void TestService::installed()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, account);
    const Outcome outcome = runCaught(arguments, [] { return NotedService(windowsManager()).exec(); });
    QVERIFY2(outcome.result.startsWith("0|The service zuk3srv has been installed"), qPrintable(outcome.result));
    const Standin::Service made = standin().services.value(kServiceName);
    QCOMPARE(made.path, '"' + QDir::toNativeSeparators(qApp->applicationFilePath()) + '"');
    QCOMPARE(made.account + '|' + made.password, account);
    // A process of its own that starts with the system, and again when it fails.
    QCOMPARE((QList<quint32>{made.type, made.startType, made.restartDelay}), (QList<quint32>{0x10, 2, 5000}));
    const QtServiceController controller(kServiceName, windowsManager());
    QCOMPARE(controller.serviceDescription(), QStringLiteral("ZUK3 server"));
    QCOMPARE(controller.startupType(), ServiceManager::StartupType::Automatic);
}

void TestService::life_data()
{
    // What the manager does, and what the application thread does within an operation; "await" waits for a line.
    // story: of states that the manager is told and of operations
    const auto add =
        columns<QStringList, QString, QStringList, QString>({"manager", "story", "application", "behaviour"});
    const QString begin = "START_PENDING, start, start work, RUNNING, ";
    const QString paused = "PAUSE_PENDING, pause, PAUSED, ";
    const QString end = "STOP_PENDING, stop, stop work, STOPPED";
    const QString running = "await status RUNNING";
    const auto row = [add](const char *name, const QStringList &manager, const QString &story,
                           const QStringList &application = {},
                           const char *behaviour = "") { add(name, manager, story, application, behaviour); };

    row("shutdown", {running, "5"}, begin + end);
    row("interrogate", {running, "4", "await again RUNNING", "1"}, begin + end);
    row("pause, resume and command",
        {running, "2", "await status PAUSED", "130", "3", "await status CONTINUE_PENDING", "1"},
        begin + paused + "command 130, CONTINUE_PENDING, resume, RUNNING, " + end);
    row("stop while paused", {running, "2", "await status PAUSED", "1"}, begin + paused + end);
    row("stop while it starts", {"await app start", "1"}, begin + end, {"start", "await control 1"});
    row("stop while the application is busy", {running, "200", "1"}, begin + "command 200, " + end,
        {"command 200", "await control 1"});
    row("requests while it stops", {running, "1", "200", "2", "1"}, begin + end, {"stop", "await control 200"});
    row("requests when it has ended", {running, "1"}, begin + end, {}, "late requests");
}

void TestService::life()
{
    QFETCH(QStringList, manager);
    QFETCH(QStringList, application);
    QFETCH(QString, behaviour);
    standin().reset(behaviour);
    const auto obey = [](const QString &step) {
        if (!step.startsWith(QLatin1String("await ")))
            standin().control(step.toUInt());
        else if (!standin().await(step.mid(6)))
            standin().note("fault: no " + step);
    };
    std::thread manage([&] { std::for_each(manager.cbegin(), manager.cend(), obey); });
    const auto note = [&](const QString &line) {
        standin().note("app " + line);
        if (line == application.value(0))
            obey(application.value(1));
    };
    const Outcome outcome = runCaught({}, [&] { return NotedService(windowsManager(), note).exec(); });
    manage.join();
    QCOMPARE(outcome.result, QStringLiteral("0||"));
    QCOMPARE(outcome.diagnostics, QStringList("QtServiceControllerHandler::accept stopping"));
    QTEST(standin().journal("app |status ").join(", "), "story");
    QCOMPARE(standin().journal().last(), QStringLiteral("dispatcher ended"));
}

void TestService::exitCodeOfTheLoop()
{
    const auto leave = [](const QString &line) {
        if (line == QLatin1String("start work"))
            QCoreApplication::exit(3);
    };
    const Outcome outcome = runCaught({}, [&] { return NotedService(windowsManager(), leave).exec(); });
    QCOMPARE(outcome.result, QStringLiteral("3||"));
    QCOMPARE(standin().journal("status ").last(), QStringLiteral("STOPPED 1066 3"));
    const Outcome plain = runCaught({"-e"}, [&] { return NotedService(windowsManager(), leave).exec(); });
    QCOMPARE(plain.result, QStringLiteral("1||The service could not be executed."));
}

void TestService::foreground()
{
#ifndef Q_OS_UNIX
    QSKIP("a console event cannot be sent to one process alone");
#endif
    QStringList notes, argumentsInside;
    const auto note = [&](const QString &line) {
        notes.append(line);
        argumentsInside = QCoreApplication::arguments();
        if (line == QLatin1String("start work"))
            QTimer::singleShot(0, [] { std::raise(SIGTERM); });
    };
    const Outcome outcome = runCaught({"-e", "further"}, [&] { return NotedService(windowsManager(), note).exec(); });
    QCOMPARE(outcome.result, QStringLiteral("0||"));
    QCOMPARE(notes, (QStringList{"start", "start work", "stop", "stop work"}));
    QCOMPARE(argumentsInside, (QStringList{"/odd path/zuk3server", "further"}));
    QCOMPARE(standin().journal(), QStringList());
}

void TestService::eventLog()
{
    NotedService service(windowsManager());
    using Type = ServiceManager::MessageType;
    service.logMessage(QStringLiteral("plain"));
    service.logMessage(QStringLiteral("%1 [x]"), Type::Error, 7, 9);
    service.logMessage(QStringLiteral("w"), Type::Warning);
    service.logMessage(QStringLiteral("Started"), Type::Information);
    QCOMPARE(standin().journal(), (QStringList{"event zuk3srv 0 0 0 plain", "event zuk3srv 1 9 7 %1 [x]",
                                               "event zuk3srv 2 0 0 w", "event zuk3srv 4 0 0 Started"}));
}

void TestService::nameWarnings()
{
    const QString backslash = QStringLiteral(R"(QtService: 'name' contains backslashes '\'.)");
    const QString length = QStringLiteral("QtService: 'name' is longer than 255 characters.");
    const auto warnings = [](const QString &name) {
        const auto isUsed = [&] { return NotedService(windowsManager(), {}, name).serviceName() == name; };
        const Outcome outcome = runCaught({}, isUsed);
        return outcome.result == QLatin1String("1||") ? outcome.diagnostics : QStringList("another name");
    };
    QCOMPARE(warnings(QString(255, 'x')), QStringList());
    QCOMPARE(warnings(QStringLiteral("a\\b")), QStringList(backslash));
    QCOMPARE(warnings(QString(256, '\\')), (QStringList{backslash, length}));
}

void TestService::eventFilter()
{
    // As the system's headers number them.
    constexpr quint32 kQueryEndSession = 0x11, kEndSession = 0x16, kQuit = 0x12;
    constexpr qint64 kLogOff = 0x80000000, kCritical = 0x40000000;
    /// -1: the event passes.
    const auto answer = [](quint32 message, qint64 parameter, const char *type = "windows_generic_MSG") {
        QtServiceAppEventFilter::NativeMessage native{nullptr, message, 0, qintptr(parameter)};
        long result = 99;
        return QtServiceAppEventFilter().nativeEventFilter(type, &native, &result) ? result : -1;
    };
    QCOMPARE(answer(kQueryEndSession, kLogOff), 1L); // a 0 would forbid it
    QCOMPARE(answer(kQueryEndSession, kLogOff | kCritical), 1L);
    QCOMPARE(answer(kQueryEndSession, kLogOff, "windows_dispatcher_MSG"), 1L);
    QCOMPARE(answer(kEndSession, kLogOff), 0L);
    QCOMPARE(answer(kQueryEndSession, 0), -1L); // a shutdown
    QCOMPARE(answer(kQuit, kLogOff), -1L);
    QCOMPARE(answer(kQueryEndSession, kLogOff, "xcb_generic_event_t"), -1L);
}

int main(int argc, char **argv)
{
    g_argv[g_argc++] = argv[0];
    QCoreApplication application(g_argc, g_argv);
    TestService test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_service.moc"
