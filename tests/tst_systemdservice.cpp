#include "serviceshell.h"
#include "systemdservicemanager.h"
#include "systemdunit.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

/// The service shell with systemd, whose program is a script of ours.
class TestSystemdService : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void commandLine_data();
    void commandLine();
    void package();
    void unusable_data();
    void unusable();
    void unit_data();
    void unit();
    void packagedUnit();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    bool write(const QString &name, const QByteArray &text) const;
    QString read(const QString &name) const;
    std::shared_ptr<SystemdServiceManager> manager(const QString &systemctl = QStringLiteral("systemctl")) const;
    Outcome run(const QStringList &arguments, const QString &systemctl = QStringLiteral("systemctl")) const;
    void verify(const QString &unit) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    int m_jobTimeoutMs = 30000;
};

const QString kUnit = QStringLiteral("own/zuk3srv.service");

// Notes the verb and what follows it, answers from the file "state", and fails or hangs on the verb named in a file.
constexpr char kSystemctl[] = R"sh(#!/bin/sh
cd "${0%/*}"
while [ "${1#--no-}" != "$1" ]; do shift; done
echo "$@" >> calls
[ "$1" = "$(cat hangs 2>/dev/null)" ] && exec sleep 60
[ "$1" = "$(cat fails 2>/dev/null)" ] && { echo refused >&2; exit 1; }
case "$1" in
show) cat state 2>/dev/null || echo inactive ;;
enable) mkdir -p own/multi-user.target.wants; ln -s ../$2 own/multi-user.target.wants/$2 ;;
esac
exit 0
)sh";

bool TestSystemdService::write(const QString &name, const QByteArray &text) const
{
    QFile file(path(name));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() &&
           file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QString TestSystemdService::read(const QString &name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void TestSystemdService::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_jobTimeoutMs = 30000;
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("own")) && QDir(m_folder->path()).mkdir("package"));
    QVERIFY(write("systemctl", kSystemctl));
}

std::shared_ptr<SystemdServiceManager> TestSystemdService::manager(const QString &systemctl) const
{
    SystemdServiceManager::Options options;
    options.systemctl = path(systemctl);
    options.unitFolders = QStringList{path("own"), path("package")};
    options.queryTimeoutMs = 30000;
    options.jobTimeoutMs = m_jobTimeoutMs;
    return std::make_shared<SystemdServiceManager>(options);
}

Outcome TestSystemdService::run(const QStringList &arguments, const QString &systemctl) const
{
    return runCaught(arguments, [&] { return NotedService(manager(systemctl)).exec(); });
}

void TestSystemdService::commandLine_data()
{
    QTest::addColumn<QString>("state"); // of the unit; empty: none
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("calls"); // other than questions

    const QString program = qApp->applicationFilePath();
    const QString installedText = "The service zuk3srv has been installed under: " + program + "\n";
    const QString notInstallable = "The service zuk3srv could not be installed\n";
    const QString version = "The service\n\tzuk3srv\n\t" + program + "\n\nis %1\n\n";
    const QString notStopped = "The service could not be stopped.";
    const auto done = [](const char *name, const char *state, const QStringList &arguments, const QString &output,
                         const QStringList &calls = {}) {
        QTest::newRow(name) << QString(state) << arguments << output << QString() << 0 << calls;
    };
    const auto failed = [](const char *name, const char *state, const QStringList &arguments,
                           const QString &error = {}) {
        QTest::newRow(name) << QString(state) << arguments << QString() << error << 1 << QStringList{};
    };
    done("install", "", {"-i"}, installedText, {"enable zuk3srv.service"});
    done("install for an account", "", {"-i", "daemon", "secret"}, installedText, {"enable zuk3srv.service"});
    failed("install twice", "inactive", {"-i"}, "The service zuk3srv is already installed\n");
    for (const char *account : {"a b", "x\nExecStart=/bin/sh", "-x", "no.such.user", "%u", "ana;root"})
        failed(qPrintable("account " + QString(account).simplified()), "", {"-i", account}, notInstallable);
    done("uninstall", "active", {"-u"}, "The service zuk3srv has been uninstalled.\n",
         {"stop zuk3srv.service", "disable zuk3srv.service", "daemon-reload"});
    failed("uninstall without one", "", {"-u"}, "The service zuk3srv is not installed\n");
    done("version, running", "active", {"-v"}, version.arg("installed and running"));
    done("version, starting", "activating", {"-v"}, version.arg("installed and running"));
    done("version, stopped", "inactive", {"-v"}, version.arg("installed and not running"));
    done("version, failed", "failed", {"-v"}, version.arg("installed and not running"));
    done("version, not installed", "", {"-v"}, version.arg("not installed and not running"));
    done("terminate", "active", {"-t"}, {}, {"stop zuk3srv.service"});
    failed("terminate a stopped one", "inactive", {"-t"}, notStopped);
    failed("terminate without one", "", {"-t"}, notStopped);
    failed("no pause", "active", {"-p"});
    failed("no resume", "active", {"-r"});
    failed("no command", "active", {"-c", "128"});
    done("start", "inactive", {}, {}, {"start zuk3srv.service"});
}

void TestSystemdService::commandLine()
{
    QFETCH(QString, state);
    QFETCH(QStringList, arguments);
    ServiceManager::Installation ours;
    ours.executable = qApp->applicationFilePath();
    if (!state.isEmpty())
        QVERIFY(write(kUnit, SystemdUnit::text(ours).toUtf8()) && write("state", state.toUtf8()));
    const Outcome outcome = run(arguments);
    QTEST(outcome.output, "output");
    QTEST(outcome.error, "error");
    QTEST(outcome.exitCode, "exitCode");
    QStringList calls = read("calls").split('\n', Qt::SkipEmptyParts);
    calls = calls.filter(QRegularExpression(QStringLiteral("^(?!show|is-)")));
    QTEST(calls, "calls");
    const bool isThere = arguments.value(0) == QLatin1String("-i")
                             ? outcome.exitCode == 0 || !state.isEmpty()
                             : !state.isEmpty() && !calls.contains("daemon-reload");
    QCOMPARE(QFile::exists(path(kUnit)), isThere);
    if (calls.contains("enable zuk3srv.service"))
        QCOMPARE(read(kUnit).contains("\nUser=daemon\n"), arguments.contains("daemon"));
    QVERIFY(!read(kUnit).contains("secret"));
}

/// A unit that a package brought is installed, and the package's.
void TestSystemdService::package()
{
    const QByteArray text = "[Service]\nExecStart=/opt/zuk3srv/zuk3server\n";
    QVERIFY(write("package/zuk3srv.service", text) && write("state", "active"));
    QCOMPARE(run({"-i"}).error, QStringLiteral("The service zuk3srv is already installed\n"));
    QCOMPARE(run({"-v"}).output,
             QStringLiteral("The service\n\tzuk3srv\n\t/opt/zuk3srv/zuk3server\n\nis installed and running\n\n"));
    QCOMPARE(run({"-u"}).error, QStringLiteral("The service zuk3srv could not be uninstalled\n"));
    QCOMPARE(read("package/zuk3srv.service"), QString(text));
    QVERIFY(!read("calls").contains("disable"));
}

void TestSystemdService::unusable_data()
{
    QTest::addColumn<QString>("systemctl");
    QTest::addColumn<QByteArray>("failing");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("error");
    const QString notInstallable = "The service zuk3srv could not be installed\n";
    const QString notStarted = "The service zuk3srv could not start\n";
    QTest::newRow("missing, install") << "none" << QByteArray() << "-i" << notInstallable;
    QTest::newRow("missing, start") << "none" << QByteArray() << "-s" << notStarted;
    QTest::newRow("enabling fails") << "systemctl" << QByteArray("fails enable") << "-i" << notInstallable;
    QTest::newRow("enabling hangs") << "systemctl" << QByteArray("hangs enable") << "-i" << notInstallable;
    QTest::newRow("start fails") << "systemctl" << QByteArray("fails start") << "-s" << notStarted;
    QTest::newRow("start hangs") << "systemctl" << QByteArray("hangs start") << "-s" << notStarted;
}

void TestSystemdService::unusable()
{
    QFETCH(QString, systemctl);
    QFETCH(QByteArray, failing);
    QFETCH(QString, argument);
    if (!failing.isEmpty())
        QVERIFY(write(failing.left(5), failing.mid(6)));
    if (failing.startsWith("hangs"))
        m_jobTimeoutMs = 300;
    QElapsedTimer elapsed;
    elapsed.start();
    const Outcome outcome = run({argument}, systemctl);
    QVERIFY(elapsed.elapsed() < 30000); // of a minute's sleep
    QTEST(outcome.error, "error");
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(!outcome.diagnostics.isEmpty());
    QVERIFY(!QFile::exists(path(kUnit)));
}

void TestSystemdService::verify(const QString &unit) const
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("systemd-analyze"));
    if (program.isEmpty())
        QSKIP("no systemd-analyze");
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, {"verify", "--man=no", "--recursive-errors=no", unit});
    QVERIFY(process.waitForFinished());
    const QString output = QString::fromUtf8(process.readAll());
    QVERIFY2(process.exitCode() == 0 && !output.contains(QFileInfo(unit).fileName()), qPrintable(output));
}

void TestSystemdService::unit_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isTaken"); // by systemd, whose rule it is
    for (const char *name : {"plain", "with blanks", "100%n", "d$o${HOME}", "Č/ŽŠ", ";semi", "#hash"})
        QTest::newRow(name) << QString(name) << true;
    for (const char *name : {"qu\"ote", "qu'ote", "back\\slash\\n", "tab\tulator", "line\nExecStart=x"})
        QTest::newRow(name) << QString(name) << false;
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
    QCOMPARE(manager()->install(service), isTaken);
    QCOMPARE(QFile::exists(path(kUnit)), isTaken);
    if (!isTaken)
        return;
    const auto info = manager()->query(kServiceName);
    QVERIFY(info.has_value());
    QCOMPARE(info->executable, service.executable);
    QCOMPARE(info->description, service.description);
    QCOMPARE(info->startup, ServiceManager::StartupType::Automatic);
    verify(path(kUnit));
}

/// The unit of the package is the one that is written for its place and account.
void TestSystemdService::packagedUnit()
{
    QFile file(QStringLiteral(ZUK_PACKAGED_UNIT));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList packaged = QString::fromUtf8(file.readAll()).remove('"').split('\n');
    ServiceManager::Installation service;
    service.description = QStringLiteral("ZUK3 server");
    service.executable = QStringLiteral("/opt/zuk3srv/zuk3server");
    service.account = kServiceName;
    service.environment = QStringList{"LC_TIME=sl_SI.UTF-8"};
    QStringList missing = SystemdUnit::text(service).remove('"').split('\n').mid(1);
    for (const QString &line : packaged)
        missing.removeAll(line);
    QCOMPARE(missing, QStringList());
}

int main(int argc, char **argv)
{
    g_argv[g_argc++] = argv[0];
    QCoreApplication application(g_argc, g_argv);
    TestSystemdService test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_systemdservice.moc"
