#include "attendancefile.h"
#include "files.h"
#include "rows.h"
#include "webclient.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstring>
#ifdef Q_OS_UNIX
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#endif

/// The real executable, copied into a folder of its own and launched from another one.
class TestZuk3Server : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup() { m_server.reset(); } // kills what still runs
    void usage();
    void startByHand_data();
    void startByHand();
    void serviceRun();
    void consoleRun();
    void unusableDatabase_data();
    void unusableDatabase();

private:
    QString inFolder(const char *name) const { return m_folder->filePath(QStringLiteral("server/") + name); }
    QString inLaunch(const char *name) const { return m_folder->filePath(QStringLiteral("launch/") + name); }
    QStringList journal() const;
    void launch(const QStringList &arguments, const QString &variable = {}, const QString &program = {});
    quint16 port();
    int result();

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QProcess> m_server;
};

QStringList TestZuk3Server::journal() const
{
    DataBase database(inFolder("zuknetserver.db"));
    const QAny rows = database.select(QStringLiteral("select FMESSAGE as M from logs order by IDX"));
    QStringList texts;
    for (int i = 0; i < rows.count(); ++i)
        texts.append(rows.at(i).lookup("M").toString());
    return texts;
}

void TestZuk3Server::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkdir(inFolder("")) && QDir().mkdir(inLaunch("")));
    QVERIFY(QFile::copy(QStringLiteral(ZUK_SERVER), inFolder("zuk3server")));
    QVERIFY(!writeFile(inFolder("ZUKSERW.INI"), "[WEBS]\nPORT=any\n").isEmpty()); // no number: the system chooses
}

/// With a variable, as NAME=value, beside those of the test. The program is the server unless named.
void TestZuk3Server::launch(const QStringList &arguments, const QString &variable, const QString &program)
{
    m_server = std::make_unique<QProcess>();
    m_server->setEnvironment(QProcess::systemEnvironment() + QStringList{"QT_FORCE_STDERR_LOGGING=1", variable});
    m_server->setWorkingDirectory(inLaunch(""));
    m_server->start(program.isEmpty() ? inFolder("zuk3server") : program, arguments);
    QVERIFY(m_server->waitForStarted());
}

/// The web port that the server reports; 0 when it does not.
quint16 TestZuk3Server::port()
{
    const QRegularExpression line(QStringLiteral("Echoserver listening on port (\\d+)"));
    QString output;
    const auto isReported = [&] {
        output += QString::fromUtf8(m_server->readAllStandardError());
        return line.match(output).hasMatch();
    };
    return QTest::qWaitFor(isReported, 20000) ? quint16(line.match(output).captured(1).toUInt()) : 0;
}

/// The exit code; -1 when it does not end, or not in order.
int TestZuk3Server::result()
{
    return m_server->waitForFinished() && m_server->exitStatus() == QProcess::NormalExit ? m_server->exitCode() : -1;
}

void TestZuk3Server::usage()
{
    const QString expected = inFolder("zuk3server") + " [-i | -v | -u | -s | -t | -p | -r | -c CODE | -h] ]\n\n"
                                                      "\t-i(nstall) [account] [password]\t: Install the service\n"
                                                      "\t-v(ersion)\t: Print status of the service\n"
                                                      "\t-u(ninstall)\t: Uninstall the service\n"
                                                      "\t-s(tart)\t: Start the service\n"
                                                      "\t-t(erminate)\t: Stop the service\n"
                                                      "\t-c(ommand) CODE\t: Send a command to the service\n"
                                                      "\t-h(elp)\t\t: Print this help info\n";
    for (const char *arguments : {"-h", "-help", "-h -d"}) {
        launch(QString(arguments).split(' '));
        QCOMPARE(result(), 0);
        QCOMPARE(QString::fromUtf8(m_server->readAllStandardOutput()), expected);
    }
    QVERIFY(!QFile::exists(inFolder("zuknetserver.db")) && !QFile::exists(inLaunch("debug.txt")));
}

void TestZuk3Server::startByHand_data()
{
    // error: of a manager that fails
    const auto row = columns<QString, QByteArray, QByteArray>({"arguments", "job", "error"});
    row("none, and the manager fails", "", "start", "The service zuk3srv could not start\n");
    row("upper case", "-D", "start", "");
    row("two dashes", "--debug", "start", "");
    row("second argument", "-x -debug", "start", "");
    row("terminate", "-t", "stop", "");
}

/// Launched by nobody's manager, it asks systemd, whose program is a script of ours, and starts nothing itself.
void TestZuk3Server::startByHand()
{
#ifndef Q_OS_UNIX
    QSKIP("needs a shell");
#endif
    QFETCH(QString, arguments);
    QFETCH(QByteArray, job);
    QFETCH(QByteArray, error);
    const QByteArray script = "#!/bin/sh\necho \"$@\" >> calls\ncase \"$*\" in *show*) echo active; exit 0;; esac\n";
    QVERIFY(writeProgram(inLaunch("systemctl"), script + (error.isEmpty() ? "exit 0\n" : "exit 1\n")));
    launch(arguments.split(' ', Qt::SkipEmptyParts), "PATH=" + inLaunch(":") + qEnvironmentVariable("PATH"));
    QCOMPARE(result(), error.isEmpty() ? 0 : 1);
    const QByteArray output = m_server->readAllStandardError();
    QVERIFY2(error.isEmpty() ? output.isEmpty() : output.endsWith(error), output);
    QCOMPARE(m_server->readAllStandardOutput(), QByteArray());
    QVERIFY(contentOf(inLaunch("calls")).endsWith(job + " zuk3srv.service\n"));
    QVERIFY(!QFile::exists(inFolder("zuknetserver.db")) && !QFile::exists(inLaunch("debug.txt")));
}

/// As systemd runs it: ready when it has started, ended by a signal.
void TestZuk3Server::serviceRun()
{
#ifdef Q_OS_LINUX
    const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto closing = qScopeGuard([manager] { close(manager); });
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray path = inLaunch("notify").toLocal8Bit();
    QVERIFY(path.size() < int(sizeof address.sun_path));
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    QCOMPARE(bind(manager, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    const timeval patience = {20, 0};
    QCOMPARE(setsockopt(manager, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience), 0);
    const auto told = [&](int flags = 0) {
        char buffer[256];
        const ssize_t size = recv(manager, buffer, sizeof buffer, flags);
        return QByteArray(buffer, int(qMax(size, ssize_t(0))));
    };
    launch({"-c", "export SYSTEMD_EXEC_PID=$$ WATCHDOG_USEC=300000; exec " + inFolder("zuk3server")},
           "NOTIFY_SOCKET=" + path, "/bin/sh");
    QCOMPARE(told(), QByteArray("READY=1"));
    QCOMPARE(told(), QByteArray("WATCHDOG=1"));
    QCOMPARE(journal(), QStringList{"Started"});
    const QString process = QStringLiteral("/proc/%1/").arg(m_server->processId());
    QCOMPARE(QFile::symLinkTarget(process + "cwd"), QFileInfo(inFolder("zuk3server")).canonicalPath());
    m_server->terminate();
    QByteArray last = told();
    while (last == "WATCHDOG=1")
        last = told();
    QCOMPARE(last, QByteArray("STOPPING=1"));
    QCOMPARE(result(), 0);
    do { // the loop goes on until the server has stopped
        last = told(MSG_DONTWAIT);
    } while (last == "WATCHDOG=1");
    QCOMPARE(last, QByteArray());
    QCOMPARE(journal(), (QStringList{"Started", "Finished"}));
#else
    QSKIP("systemd is Linux's");
#endif
}

void TestZuk3Server::consoleRun()
{
    QVERIFY(fillAttendance(*std::make_unique<DataBase>(inFolder("zuknetserver.db")), threeEmployees()));
    QVERIFY(!writeFile(inLaunch("debug.txt"), "from an earlier run").isEmpty());
    launch({QStringLiteral("-debug")});
    WebClient client(port());
    QVERIFY(client.logIn());
    QCOMPARE(QFileInfo(inLaunch("debug.txt")).size(), qint64(0));
    QVERIFY(!QFile::exists(inLaunch("zuknetserver.db")));
#ifdef Q_OS_UNIX
    QCOMPARE(::kill(pid_t(m_server->processId()), SIGINT), 0);
#else
    QSKIP("a console event cannot be sent to one process alone");
#endif
    QCOMPARE(result(), 0);
    QCOMPARE(journal(), (QStringList{"Started", "Logger::Webser NewUser:ana geslo", "Finished"}));
}

void TestZuk3Server::unusableDatabase_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"not a database", "read-only", "a folder", "marker is a folder"})
        QTest::newRow(kind) << kind;
}

void TestZuk3Server::unusableDatabase()
{
    QFETCH(QString, kind);
    const QString path = inFolder("zuknetserver.db");
    const QByteArray content(kind == QLatin1String("not a database") ? 5000 : 0, 'x');
    if (kind == QLatin1String("a folder"))
        QVERIFY(QDir().mkdir(path));
    else if (kind == QLatin1String("marker is a folder"))
        QVERIFY(QDir().mkdir(inLaunch("debug.txt")));
    else
        QVERIFY(!writeFile(path, content).isEmpty());
    if (kind == QLatin1String("read-only"))
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner));

    launch({QStringLiteral("-d")});
    WebClient client(port());
    const QAny answer = client.ask(QStringLiteral(R"({"type":"getUser","tag":"t","data":{"user":"ana","pass":"x"}})"));
    QCOMPARE(answer.lookup("data").lookup("reason").toString(), QStringLiteral("User unknown!"));
    m_server->terminate();
    QCOMPARE(result(), 0);
    QVERIFY(content.isEmpty() || contentOf(path) == content);
}

QTEST_GUILESS_MAIN(TestZuk3Server)
#include "tst_zuk3server.moc"
