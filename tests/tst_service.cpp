#include "qtserviceappeventfilter.h"
#include "qtservicecontroller.h"
#include "serviceshell.h"
#include "windowsservicemanager.h"

#include <QDir>
#include <QLibrary>
#include <QTest>

#include <csignal>
#include <thread>

namespace {

const QString kInstalledPath = QStringLiteral(R"(C:\Program Files\zuk\zuk3server.exe)");

/// The stand-in for the system library.
class Standin
{
public:
    explicit Standin(const QString &file = QStringLiteral(ZUK_STANDIN)) : m_library(file) {}

    void reset(const QByteArray &words) { function<void(const char *)>("standinReset")(words.constData()); }
    void note(const QString &line) { function<void(const char *)>("standinNote")(line.toUtf8().constData()); }
    bool await(const QString &line, int times = 1)
    {
        return function<bool(const char *, int)>("standinAwait")(line.toUtf8().constData(), times);
    }
    void control(quint32 code) { function<void(quint32)>("standinControl")(code); }
    /// The lines, or what follows the beginning in those that have it.
    QStringList journal(const QString &beginning = {})
    {
        QStringList lines;
        for (const QString &line : QString::fromUtf8(function<const char *()>("standinJournal")()).split('\n'))
            if (!line.isEmpty() && line.startsWith(beginning))
                lines.append(line.mid(beginning.size()));
        return lines;
    }
    QString service() { return function<const char *(const char *)>("standinService")("zuk3srv"); }
    int openHandles() { return function<int()>("standinOpenHandles")(); }

private:
    template <typename Signature> Signature *function(const char *name)
    {
        return reinterpret_cast<Signature *>(m_library.resolve(name));
    }

    QLibrary m_library;
};

std::shared_ptr<ServiceManager> windowsManager(const QString &library = QStringLiteral(ZUK_STANDIN))
{
    return std::make_shared<WindowsServiceManager>(library);
}

QStringList withoutRepeats(const QStringList &lines)
{
    QStringList result;
    for (const QString &line : lines)
        if (result.isEmpty() || result.last() != line)
            result.append(line);
    return result;
}

} // namespace

/// The service shell with the Windows manager, whose library is a stand-in.
class TestService : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void commandLine_data();
    void commandLine();
    void installed_data();
    void installed();
    void life_data();
    void life();
    void exitCodeOfTheLoop();
    void foreground();
    void missingFunctions_data();
    void missingFunctions();
    void eventLog();
    void nameWarnings_data();
    void nameWarnings();
    void eventFilter_data();
    void eventFilter();

private:
    Outcome run(const QStringList &arguments, const QString &library = QStringLiteral(ZUK_STANDIN));

    Standin m_standin;
};

void TestService::init()
{
    m_standin.reset("");
}

void TestService::cleanup()
{
    QCOMPARE(m_standin.journal(QStringLiteral("fault")).join('\n'), QString());
    QCOMPARE(m_standin.openHandles(), 0);
}

Outcome TestService::run(const QStringList &arguments, const QString &library)
{
    return runCaught(arguments, [&] { return NotedService(windowsManager(library)).exec(); });
}

void TestService::commandLine_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output"); // of a success
    QTest::addColumn<QString>("error");  // of a failure, and both empty: "fails" says which it is
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QStringList>("requests");

    const QString installedText = "The service zuk3srv has been installed under: " + qApp->applicationFilePath() + "\n";
    const QString version = "The service\n\tzuk3srv\n\t" + kInstalledPath + "\n\nis installed and %1\n\n";
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
    const QString notStarted = "The service zuk3srv could not start\n";
    const QString notStopped = "The service could not be stopped.";
    const QString started = "StartServiceW";
    const auto done = [](const char *name, const char *state, const QStringList &arguments, const QString &output = {},
                         const QStringList &requests = {}) {
        QTest::newRow(name) << QByteArray(state) << arguments << output << QString() << true << requests;
    };
    const auto failed = [](const char *name, const char *state, const QStringList &arguments, const QString &error,
                           const QStringList &requests = {}) {
        QTest::newRow(name) << QByteArray(state) << arguments << QString() << error << false << requests;
    };

    done("install", "", {"-i"}, installedText);
    done("install, long form", "", {"-install"}, installedText);
    done("install for an account", "", {"-i", "ana", "secret"}, installedText);
    failed("install twice", "installed", {"-i"}, "The service zuk3srv is already installed\n");
    failed("install without rights", "denied", {"-i"}, "The service zuk3srv could not be installed\n");
    done("uninstall", "installed", {"-u"}, "The service zuk3srv has been uninstalled.\n");
    done("uninstall a running one", "running", {"-uninstall"}, "The service zuk3srv has been uninstalled.\n",
         {"ControlService 1"});
    failed("uninstall without one", "", {"-u"}, "The service zuk3srv is not installed\n");
    failed("uninstall without rights", "installed;denied", {"-u"}, "The service zuk3srv could not be uninstalled\n");
    done("version, stopped", "installed", {"-v"}, version.arg("not running"));
    done("version, running, without rights", "running;denied", {"-version"}, version.arg("running"));
    done("version, not installed", "", {"-v"},
         "The service\n\tzuk3srv\n\t" + qApp->applicationFilePath() + "\n\nis not installed and not running\n\n");
    done("terminate", "running", {"-t"}, {}, {"ControlService 1"});
    failed("terminate a stopped one", "installed", {"-t"}, notStopped);
    failed("terminate without one", "", {"-terminate"}, notStopped);
    failed("terminate without rights", "running;denied", {"-t"}, notStopped);
    done("pause", "running", {"-p"}, {}, {"ControlService 2"});
    failed("pause a stopped one", "installed", {"-pause"}, {});
    done("resume", "running", {"-r"}, {}, {"ControlService 3"});
    failed("resume without one", "", {"-resume"}, {});
    done("smallest command", "running", {"-c", "128"}, {}, {"ControlService 128"});
    done("largest command", "running", {"-command", "255"}, {}, {"ControlService 255"});
    for (const char *code : {"127", "256", "1", "-129", "128x", "0x80", "", "4294967424"})
        failed(qPrintable(QStringLiteral("command \"%1\"").arg(code)), "running", {"-c", code}, {});
    failed("command without a code", "running", {"-c"}, {});
    failed("command to a stopped one", "installed", {"-c", "200"}, {});
    done("help", "", {"-h"}, help);
    done("help, long form", "", {"-help"}, help);
    done("no argument starts the service", "by hand;installed", {}, {}, {started});
    done("-s starts the service", "by hand;installed", {"-s"}, {}, {started});
    done("unknown argument starts the service", "by hand;installed", {"-I", "-i"}, {}, {started});
    done("start of a running one", "by hand;running", {});
    failed("start without one", "by hand", {}, notStarted);
    failed("start without rights", "by hand;installed;denied", {}, notStarted);
    failed("start that fails", "by hand;installed;failing", {}, notStarted, {started});
    failed("dispatcher fails", "no dispatcher;installed", {}, notStarted,
           {"event zuk3srv 1 0 0 The Service failed to start [" + qt_error_string(13) + "]"});
    failed("handler refused", "no handler;installed", {}, notStarted,
           {"event zuk3srv 1 0 0 The Service failed to start [" + qt_error_string(1083) + "]", "dispatcher ended"});
}

void TestService::commandLine()
{
    QFETCH(QByteArray, state);
    QFETCH(QStringList, arguments);
    QFETCH(bool, succeeds);
    QFETCH(QStringList, requests);
    m_standin.reset(state);
    const Outcome outcome = run(arguments);
    QTEST(outcome.output, "output");
    QTEST(outcome.error, "error");
    QCOMPARE(outcome.exitCode, succeeds ? 0 : 1);
    QStringList journal = m_standin.journal();
    journal.sort();
    requests.sort();
    QCOMPARE(journal, requests);
}

void TestService::installed_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("account"); // and the password
    QTest::newRow("manager's own") << QStringList{"-i"} << "|";
    QTest::newRow("bare name") << QStringList{"-i", "ana", "a b|c"} << ".\\ana|a b|c";
    QTest::newRow("domain") << QStringList{"-i", "ZUK\\ana", "x"} << "ZUK\\ana|x";
    QTest::newRow("LocalSystem") << QStringList{"-i", "LocalSystem"} << "|";
    QTest::newRow(".\\LocalSystem") << QStringList{"-i", ".\\LocalSystem"} << "|";
    QTest::newRow("empty") << QStringList{"-i", ""} << "|";
}

void TestService::installed()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, account);
    QCOMPARE(run(arguments).exitCode, 0);
    const QString path = QDir::toNativeSeparators(qApp->applicationFilePath());
    QCOMPARE(m_standin.service(), "\"" + path + "\"|" + account + "|2|ZUK3 server|5000|STOPPED");

    QtServiceController controller(kServiceName, windowsManager());
    QVERIFY(controller.isInstalled() && !controller.isRunning());
    QCOMPARE(controller.serviceFilePath(), qApp->applicationFilePath());
    QCOMPARE(controller.serviceDescription(), QStringLiteral("ZUK3 server"));
    QCOMPARE(controller.startupType(), ServiceManager::StartupType::Automatic);
}

void TestService::life_data()
{
    // What the manager does, and what the application thread does within an operation; "await" waits for a line.
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<QStringList>("manager");
    QTest::addColumn<QStringList>("application");
    QTest::addColumn<QStringList>("operations");
    QTest::addColumn<QStringList>("states");
    const QStringList ended{"STOP_PENDING", "STOPPED"};
    const QStringList whole = QStringList{"START_PENDING", "RUNNING"} + ended;
    const QStringList paused = QStringList{"START_PENDING", "RUNNING", "PAUSE_PENDING", "PAUSED"};
    const QStringList nothing{"start", "start work", "stop", "stop work"};
    const QString running = "await status RUNNING";
    const auto row = [](const char *name, const QStringList &manager, const QStringList &operations,
                        const QStringList &states, const QStringList &application = {}, const char *state = "") {
        QTest::newRow(name) << QByteArray(state) << manager << application << operations << states;
    };

    row("stop", {running, "1"}, nothing, whole);
    row("shutdown", {running, "5"}, nothing, whole);
    row("interrogate", {running, "4", "await 2 status RUNNING", "1"}, nothing, whole);
    row("pause, resume and command",
        {running, "2", "await status PAUSED", "130", "3", "await status CONTINUE_PENDING", "1"},
        {"start", "start work", "pause", "command 130", "resume", "stop", "stop work"},
        paused + QStringList{"CONTINUE_PENDING", "RUNNING"} + ended);
    row("stop while paused", {running, "2", "await status PAUSED", "1"},
        {"start", "start work", "pause", "stop", "stop work"}, paused + ended);
    row("stop while it starts", {"await app start", "1"}, nothing, whole, {"start", "await control 1"});
    row("stop while the application is busy", {running, "200", "1"},
        {"start", "start work", "command 200", "stop", "stop work"}, whole, {"command 200", "await control 1"});
    row("requests while it stops", {running, "1", "200", "2", "1"}, nothing, whole, {"stop", "await control 200"});
    row("requests when it has ended", {running, "1"}, nothing, whole, {}, "late requests");
}

void TestService::life()
{
    QFETCH(QByteArray, state);
    QFETCH(QStringList, manager);
    m_standin.reset(state);
    QFETCH(QStringList, application);
    const auto obey = [this](const QString &step) {
        if (!step.startsWith(QLatin1String("await ")))
            return m_standin.control(step.toUInt());
        const bool isSecond = step.startsWith(QLatin1String("await 2 "));
        if (!m_standin.await(step.mid(isSecond ? 8 : 6), isSecond ? 2 : 1))
            m_standin.note("fault: no " + step);
    };
    std::thread manage([&] {
        for (const QString &step : manager)
            obey(step);
    });
    const Outcome outcome = runCaught({}, [&] {
        NotedService service(windowsManager(), [&](const QString &line) { m_standin.note("app " + line); });
        service.onOperation = [&](const QString &operation) {
            if (operation == application.value(0))
                obey(application.value(1));
        };
        return service.exec();
    });
    manage.join();
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output + outcome.error, QString());
    QCOMPARE(outcome.diagnostics, QStringList("QtServiceControllerHandler::accept stopping"));
    QTEST(m_standin.journal(QStringLiteral("app ")), "operations");
    QTEST(withoutRepeats(m_standin.journal(QStringLiteral("status "))), "states");
    const QStringList journal = m_standin.journal();
    const int running = journal.indexOf(QStringLiteral("status RUNNING"));
    QVERIFY(running < 0 || running > journal.indexOf(QStringLiteral("app start work")));
    QVERIFY(journal.indexOf(QStringLiteral("status STOPPED")) > journal.indexOf(QStringLiteral("app stop work")));
    QCOMPARE(journal.last(), QStringLiteral("dispatcher ended"));
}

void TestService::exitCodeOfTheLoop()
{
    const Outcome outcome = runCaught({}, [&] {
        NotedService service(windowsManager(), [](const QString &line) {
            if (line == QLatin1String("start work"))
                QCoreApplication::exit(3);
        });
        return service.exec();
    });
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(m_standin.journal(QStringLiteral("status ")).last(), QStringLiteral("STOPPED 1066 3"));
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
    const Outcome outcome = runCaught({QStringLiteral("-e"), QStringLiteral("further")},
                                      [&] { return NotedService(windowsManager(), note).exec(); });
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output + outcome.error, QString());
    QCOMPARE(notes, (QStringList{"start", "start work", "stop", "stop work"}));
    QCOMPARE(argumentsInside, (QStringList{"/odd path/zuk3server", "further"}));
    QCOMPARE(m_standin.journal(), QStringList());
}

void TestService::missingFunctions_data()
{
    QTest::addColumn<QString>("library");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");
    QTest::addColumn<bool>("succeeds");
    const QString lacking = QStringLiteral(ZUK_STANDIN_LACKING);
    const QString none = QStringLiteral("no such library");
    const QString notStarted = QStringLiteral("The service zuk3srv could not start\n");
    const QString notStopped = QStringLiteral("The service could not be stopped.");
    QTest::newRow("run without a dispatcher") << lacking << QStringList{} << notStarted << false;
    QTest::newRow("stop without controls") << lacking << QStringList{"-t"} << notStopped << false;
    QTest::newRow("what needs neither") << lacking << QStringList{"-u"} << QString() << true;
    QTest::newRow("run without a library") << none << QStringList{} << notStarted << false;
    QTest::newRow("stop without a library") << none << QStringList{"-t"} << notStopped << false;
    QTest::newRow("install without a library")
        << none << QStringList{"-i"} << "The service zuk3srv could not be installed\n"
        << false;
    QTest::newRow("uninstall without a library")
        << none << QStringList{"-u"} << "The service zuk3srv is not installed\n"
        << false;
    QTest::newRow("pause without a library") << none << QStringList{"-p"} << QString() << false;
}

void TestService::missingFunctions()
{
    QFETCH(QString, library);
    QFETCH(QStringList, arguments);
    QFETCH(bool, succeeds);
    Standin(QStringLiteral(ZUK_STANDIN_LACKING)).reset("installed");
    const Outcome outcome = run(arguments, library);
    QTEST(outcome.error, "error");
    QCOMPARE(outcome.exitCode, succeeds ? 0 : 1);
}

void TestService::eventLog()
{
    NotedService service(windowsManager());
    using Type = ServiceManager::MessageType;
    service.logMessage(QStringLiteral("plain"));
    service.logMessage(QStringLiteral("%1 [x]"), Type::Error, 7, 9);
    service.logMessage(QStringLiteral("w"), Type::Warning);
    service.logMessage(QStringLiteral("Started"), Type::Information);
    QCOMPARE(m_standin.journal(), (QStringList{"event zuk3srv 0 0 0 plain", "event zuk3srv 1 9 7 %1 [x]",
                                               "event zuk3srv 2 0 0 w", "event zuk3srv 4 0 0 Started"}));
}

void TestService::nameWarnings_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("warnings");
    const QString backslash = QStringLiteral(R"(QtService: 'name' contains backslashes '\'.)");
    const QString length = QStringLiteral("QtService: 'name' is longer than 255 characters.");
    QTest::newRow("longest") << QString(255, 'x') << QStringList{};
    QTest::newRow("too long") << QString(256, 'x') << QStringList{length};
    QTest::newRow("backslash") << "a\\b" << QStringList{backslash};
    QTest::newRow("both") << QString(256, '\\') << QStringList{backslash, length};
}

void TestService::nameWarnings()
{
    QFETCH(QString, name);
    QString used;
    const Outcome outcome = runCaught({}, [&] {
        used = NotedService(
                   windowsManager(), [](const QString &) {}, name)
                   .serviceName();
        return 0;
    });
    QTEST(outcome.diagnostics, "warnings");
    QCOMPARE(used, name);
}

void TestService::eventFilter_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<quint32>("message");
    QTest::addColumn<qint64>("parameter");
    QTest::addColumn<bool>("isSwallowed");
    // As the system's headers number them: WM_QUERYENDSESSION, WM_ENDSESSION, ENDSESSION_LOGOFF.
    const qint64 logOff = 0x80000000;
    QTest::newRow("log-off asked") << QByteArray("windows_generic_MSG") << 0x11u << logOff << true;
    QTest::newRow("log-off done") << QByteArray("windows_generic_MSG") << 0x16u << logOff << true;
    QTest::newRow("as the dispatcher sees it") << QByteArray("windows_dispatcher_MSG") << 0x11u << logOff << true;
    QTest::newRow("critical log-off") << QByteArray("windows_generic_MSG") << 0x11u << (logOff | 0x40000000) << true;
    QTest::newRow("shutdown") << QByteArray("windows_generic_MSG") << 0x11u << qint64(0) << false;
    QTest::newRow("another message") << QByteArray("windows_generic_MSG") << 0x12u << logOff << false;
    QTest::newRow("another platform") << QByteArray("xcb_generic_event_t") << 0x11u << logOff << false;
}

void TestService::eventFilter()
{
    QFETCH(QByteArray, type);
    QFETCH(quint32, message);
    QFETCH(qint64, parameter);
    QFETCH(bool, isSwallowed);
    QtServiceAppEventFilter::NativeMessage native{nullptr, message, 0, qintptr(parameter)};
    long result = -1;
    QCOMPARE(QtServiceAppEventFilter().nativeEventFilter(type, &native, &result), isSwallowed);
    if (isSwallowed && message == 0x11)
        QCOMPARE(result, 1L); // a 0 would forbid the log-off
}

int main(int argc, char **argv)
{
    g_argv[g_argc++] = argv[0];
    QCoreApplication application(g_argc, g_argv);
    TestService test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_service.moc"
