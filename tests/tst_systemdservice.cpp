#include "files.h"
#include "rows.h"
#include "server/service/qtservicecontroller.h"
#include "server/service/systemdservicemanager.h"
#include "server/service/systemdunit.h"
#include "serviceshell.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using server::service::ServiceManager;
using server::service::SystemdServiceManager;

/// The service shell with systemd, whose program is a script of ours.
class TestSystemdService : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void commandLine_data();
    void commandLine();
    void package();
    void unit_data();
    void unit();
    void packagedUnit();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    bool write(const QString &name, const QByteArray &text) const { return writeProgram(path(name), text); }
    QString read(const QString &name) const { return QString::fromUtf8(contentOf(path(name), {})); }
    std::shared_ptr<SystemdServiceManager> systemd() const;
    Outcome run(const QStringList &arguments) const
    {
        return runCaught(arguments, [&] { return NotedService(systemd()).exec(); });
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

const QString kUnit = QStringLiteral("own/zuk3srv.service");

// Notes the verb and what follows it, answers from the file "state", and fails or hangs on the verb named in "trouble".
constexpr char kSystemctl[] = R"sh(#!/bin/sh
cd "${0%/*}"
while [ "${1#--no-}" != "$1" ]; do shift; done
echo "$@" >> calls
case "$1" in
show) cat state 2>/dev/null || echo inactive ;;
enable) mkdir -p own/multi-user.target.wants; ln -s ../$2 own/multi-user.target.wants/$2 ;;
esac
case "$(cat trouble 2>/dev/null)" in
"hangs on $1") exec sleep 60 ;;
"fails on $1") echo refused >&2; exit 1 ;;
esac
exit 0
)sh";

void TestSystemdService::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkdir(path("own")) && QDir().mkdir(path("package")) && write("systemctl", kSystemctl));
}

std::shared_ptr<SystemdServiceManager> TestSystemdService::systemd() const
{
    SystemdServiceManager::Options options;
    options.systemctl = path("systemctl");
    options.unitFolders = QStringList{path("own"), path("package")};
    options.isBooted = true;
    options.queryTimeoutMs = 30000;
    options.jobTimeoutMs = read("trouble").startsWith("hangs") ? 300 : 30000;
    return std::make_shared<SystemdServiceManager>(options);
}

void TestSystemdService::commandLine_data()
{
    CommandRows rows; // with the unit's state, empty: there is none; of the requests the questions are left out
    const QString program = qApp->applicationFilePath();
    const QString enable = "enable zuk3srv.service", start = "start zuk3srv.service",
                  disable = "disable zuk3srv.service";
    rows.done("install", "", {"-i"}, rows.installed, {enable});
    rows.done("install for an account", "", {"-i", "daemon", "secret"}, rows.installed, {enable});
    rows.failed("install twice", "inactive", {"-i"}, rows.installedAlready);
    for (const char *account : {"a b", "x\nExecStart=/bin/sh", "-x", "no.such.user", "%u", "ana;root"})
        rows.failed(qPrintable("account " + QString(account).simplified()), "", {"-i", account}, rows.notInstallable);
    rows.done("uninstall", "active", {"-u"}, rows.uninstalled, {"stop zuk3srv.service", disable, "daemon-reload"});
    rows.done("uninstall where systemd does not run", "inactive", {"-u"}, rows.uninstalled, {disable, "daemon-reload"},
              "fails on daemon-reload");
    rows.failed("uninstall in an unknown state", "active", {"-u"}, "The service zuk3srv could not be uninstalled\n", {},
                "fails on show");
    rows.failed("uninstall without one", "", {"-u"}, rows.notInstalled);
    rows.done("version, running", "active", {"-v"}, rows.version.arg(program, "installed and running"));
    rows.done("version, starting", "activating", {"-v"}, rows.version.arg(program, "installed and running"));
    rows.done("version, stopped", "inactive", {"-v"}, rows.version.arg(program, "installed and not running"));
    rows.done("version, failed", "failed", {"-v"}, rows.version.arg(program, "installed and not running"));
    rows.done("version, where systemctl says nothing", "\n", {"-v"},
              rows.version.arg(program, "installed and not running"));
    rows.done("version, not installed", "", {"-v"}, rows.version.arg(program, "not installed and not running"));
    rows.done("terminate", "active", {"-t"}, {}, {"stop zuk3srv.service"});
    rows.failed("terminate a stopped one", "inactive", {"-t"}, rows.notStopped);
    for (const char *word : {"-p", "-r", "-c"})
        rows.failed(qPrintable(QString("no such request: ") + word), "active", {word, "128"});
    rows.done("start", "inactive", {}, {}, {start});
    rows.failed("no systemctl, install", "", {"-i"}, rows.notInstallable, {}, "missing");
    rows.failed("no systemctl, start", "", {"-s"}, rows.notStarted, {}, "missing");
    rows.failed("enabling fails", "", {"-i"}, rows.notInstallable, {enable}, "fails on enable");
    rows.failed("enabling hangs", "", {"-i"}, rows.notInstallable, {enable}, "hangs on enable");
    rows.failed("start fails", "inactive", {"-s"}, rows.notStarted, {start}, "fails on start");
}

void TestSystemdService::commandLine()
{
    QFETCH(QString, state);
    QFETCH(QStringList, arguments);
    QFETCH(QString, manager);
    ServiceManager::Installation ours;
    ours.executable = qApp->applicationFilePath();
    if (!state.isEmpty())
        QVERIFY(write(kUnit, server::service::SystemdUnit::text(ours).toUtf8()) && write("state", state.toUtf8()));
    QVERIFY(write("trouble", manager.toUtf8()) && (manager != "missing" || QFile::remove(path("systemctl"))));
    const Outcome outcome = run(arguments);
    QTEST(outcome.result, "result");
    QVERIFY(manager.isEmpty() || !outcome.diagnostics.isEmpty());
    QStringList calls = read("calls").split('\n', Qt::SkipEmptyParts);
    calls = calls.filter(QRegularExpression(QStringLiteral("^(?!show|is-)")));
    QTEST(calls, "requests");
    const bool isInstalled = outcome.result.contains(QLatin1String("has been installed"));
    QCOMPARE(QFile::exists(path(kUnit)), isInstalled || (!state.isEmpty() && !calls.contains("daemon-reload")));
    QCOMPARE(QFileInfo(path("own/multi-user.target.wants/zuk3srv.service")).isSymLink(), isInstalled);
    const QString unit = read(kUnit);
    QCOMPARE(unit.contains("\nUser=daemon\n"), isInstalled && arguments.contains("daemon"));
    QVERIFY(!unit.contains("secret"));
}

/// A unit that a package brought is installed, and the package's.
void TestSystemdService::package()
{
    const QByteArray text = "[Service]\nExecStart=/opt/zuk3srv/zuk3server\n";
    QVERIFY(write("package/zuk3srv.service", text) && write("state", "active"));
    QCOMPARE(run({"-i"}).result, QStringLiteral("1||The service zuk3srv is already installed\n"));
    QCOMPARE(run({"-v"}).result,
             QStringLiteral("0|The service\n\tzuk3srv\n\t/opt/zuk3srv/zuk3server\n\nis installed and running\n\n|"));
    QCOMPARE(run({"-u"}).result, QStringLiteral("1||The service zuk3srv could not be uninstalled\n"));
    QCOMPARE(read("package/zuk3srv.service"), QString(text));
    QVERIFY(!read("calls").contains("disable"));
}

void TestSystemdService::unit_data()
{
    const auto row = columns<QString, bool>({"name", "isTaken"}); // by systemd, whose rule it is
    for (const char *name : {"plain", "with blanks", "100%n", "d$o${HOME}", "Č/ŽŠ", ";semi", "#hash"})
        row(name, name, true);
    for (const char *name : {"qu\"ote", "qu'ote", "back\\slash\\n", "tab\tulator", "line\nExecStart=x"})
        row(name, name, false);
}

void TestSystemdService::unit()
{
    QFETCH(QString, name);
    QFETCH(bool, isTaken);
    QVERIFY(QDir(m_folder->path()).mkpath(name));
    ServiceManager::Installation service;
    service.name = kServiceName;
    service.executable = path(name + "/zuk3server");
    service.description = QStringLiteral("100%n \"ČŽŠ\" \\n");
    service.account = QStringLiteral("daemon");
    service.environment = QStringList{"LC_TIME=sl_SI.UTF-8", "A=\"b c\" 50%n"};
    QVERIFY(write(name + "/zuk3server", "#!/bin/sh\n"));
    QCOMPARE(systemd()->install(service), isTaken);
    QCOMPARE(QFile::exists(path(kUnit)), isTaken);
    if (!isTaken)
        return;
    const QtServiceController controller(kServiceName, systemd());
    QCOMPARE(controller.serviceFilePath(), service.executable);
    QCOMPARE(controller.serviceDescription(), service.description);
    QCOMPARE(controller.startupType(), ServiceManager::StartupType::Automatic);

    const QString program = QStandardPaths::findExecutable(QStringLiteral("systemd-analyze"));
    if (program.isEmpty())
        QSKIP("no systemd-analyze");
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, {"verify", "--man=no", "--recursive-errors=no", path(kUnit)});
    QVERIFY(process.waitForFinished());
    const QString output = QString::fromUtf8(process.readAll());
    QVERIFY2(process.exitCode() == 0 && !output.contains("zuk3srv.service"), qPrintable(output));
}

/// The unit of the package is the one that is written for its place and account.
void TestSystemdService::packagedUnit()
{
    const QStringList packaged = QString::fromUtf8(contentOf(ZUK_PACKAGED_UNIT)).remove('"').split('\n');
    ServiceManager::Installation service;
    service.description = QStringLiteral("ZUK3 server");
    service.executable = QStringLiteral("/opt/zuk3srv/zuk3server");
    service.account = kServiceName;
    service.environment = QStringList{"LC_TIME=sl_SI.UTF-8"};
    QStringList missing = server::service::SystemdUnit::text(service).remove('"').split('\n').mid(1);
    for (const QString &line : packaged)
        missing.removeAll(line);
    QCOMPARE(missing, QStringList());
}

QTEST_GUILESS_MAIN(TestSystemdService)
#include "tst_systemdservice.moc"
