#include "attendancefile.h"
#include "webclient.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstring>
#include <memory>
#ifdef Q_OS_UNIX
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>
#include <unistd.h>
#endif

/// The real executable, copied into a folder of its own and launched from another one.
class TestZuk3Server : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void usage_data();
    void usage();
    void startByHand_data();
    void startByHand();
    void serviceRun();
    void consoleRun_data();
    void consoleRun();
    void unusableDatabase_data();
    void unusableDatabase();

private:
    QString inFolder(const char *name) const { return m_folder->filePath(QStringLiteral("server/") + name); }
    QString inLaunch(const char *name) const { return m_folder->filePath(QStringLiteral("launch/") + name); }
    void launch(const QStringList &arguments, const QMap<QString, QString> &variables = {},
                const QString &program = {});
    quint16 port();

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QProcess> m_server;
};

void TestZuk3Server::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("server")));
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("launch")));
    const QFileInfo built(QStringLiteral(ZUK_SERVER));
    QVERIFY(QFile::copy(built.filePath(), inFolder("zuk3server")));
    QFile settings(inFolder("ZUKSERW.INI"));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("[WEBS]\nPORT=any\n"); // no number: the system chooses
}

void TestZuk3Server::cleanup()
{
    if (m_server && m_server->state() != QProcess::NotRunning) {
        m_server->kill();
        m_server->waitForFinished();
    }
    m_server.reset();
}

void TestZuk3Server::launch(const QStringList &arguments, const QMap<QString, QString> &variables,
                            const QString &program)
{
    m_server = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_FORCE_STDERR_LOGGING"), QStringLiteral("1"));
    for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
        environment.insert(variable.key(), variable.value());
    m_server->setProcessEnvironment(environment);
    m_server->setWorkingDirectory(m_folder->filePath(QStringLiteral("launch")));
    m_server->start(program.isEmpty() ? inFolder("zuk3server") : program, arguments);
    QVERIFY(m_server->waitForStarted());
}

/// The web port that the server reports; 0 when it does not.
quint16 TestZuk3Server::port()
{
    const QRegularExpression line(QStringLiteral("Echoserver listening on port (\\d+)"));
    QString output;
    QRegularExpressionMatch match;
    const auto isReported = [&] {
        output += QString::fromUtf8(m_server->readAllStandardError());
        match = line.match(output);
        return match.hasMatch();
    };
    if (!QTest::qWaitFor(isReported, 20000))
        return 0;
    return quint16(match.captured(1).toUInt());
}

void TestZuk3Server::usage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("short") << QStringList{"-h"};
    QTest::newRow("long") << QStringList{"-help"};
    QTest::newRow("only the first counts") << QStringList{"-h", "-d"};
}

void TestZuk3Server::usage()
{
    QFETCH(QStringList, arguments);
    launch(arguments);
    QVERIFY(m_server->waitForFinished());
    QCOMPARE(m_server->exitCode(), 0);
    const QString expected = inFolder("zuk3server") + " [-i | -v | -u | -s | -t | -p | -r | -c CODE | -h] ]\n\n"
                                                      "\t-i(nstall) [account] [password]\t: Install the service\n"
                                                      "\t-v(ersion)\t: Print status of the service\n"
                                                      "\t-u(ninstall)\t: Uninstall the service\n"
                                                      "\t-s(tart)\t: Start the service\n"
                                                      "\t-t(erminate)\t: Stop the service\n"
                                                      "\t-c(ommand) CODE\t: Send a command to the service\n"
                                                      "\t-h(elp)\t\t: Print this help info\n";
    QCOMPARE(QString::fromUtf8(m_server->readAllStandardOutput()), expected);
    QVERIFY(!QFile::exists(inFolder("zuknetserver.db")));
    QVERIFY(!QFile::exists(inLaunch("debug.txt")));
}

void TestZuk3Server::startByHand_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QByteArray>("job");
    QTest::addColumn<QByteArray>("error");
    const QByteArray notStarted = "The service zuk3srv could not start\n";
    QTest::newRow("none") << QStringList{} << true << QByteArray("start") << QByteArray();
    QTest::newRow("listed, but no word") << QStringList{"-s"} << true << QByteArray("start") << QByteArray();
    QTest::newRow("upper case") << QStringList{"-D"} << true << QByteArray("start") << QByteArray();
    QTest::newRow("two dashes") << QStringList{"--debug"} << true << QByteArray("start") << QByteArray();
    QTest::newRow("second argument") << QStringList{"-x", "-debug"} << true << QByteArray("start") << QByteArray();
    QTest::newRow("manager fails") << QStringList{} << false << QByteArray("start") << notStarted;
    QTest::newRow("terminate") << QStringList{"-t"} << true << QByteArray("stop") << QByteArray();
    QTest::newRow("manager fails to stop")
        << QStringList{"-t"} << false << QByteArray("stop") << QByteArray("The service could not be stopped.");
}

/// Launched by nobody's manager, it asks systemd, whose program is a script of ours, and starts nothing itself.
void TestZuk3Server::startByHand()
{
#ifndef Q_OS_UNIX
    QSKIP("needs a shell");
#endif
    QFETCH(QStringList, arguments);
    QFETCH(bool, succeeds);
    QFETCH(QByteArray, job);
    QFile script(inLaunch("systemctl"));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\necho \"$@\" >> \"${0%/*}/calls\"\ncase \"$*\" in *show*) echo active; exit 0;; esac\n");
    script.write(succeeds ? "exit 0\n" : "exit 1\n");
    QVERIFY(script.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    script.close();
    launch(arguments, {{"PATH", m_folder->filePath("launch:") + qEnvironmentVariable("PATH")}});
    QVERIFY(m_server->waitForFinished());
    QCOMPARE(m_server->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_server->exitCode(), succeeds ? 0 : 1);
    QFETCH(QByteArray, error);
    const QByteArray output = m_server->readAllStandardError();
    QVERIFY2(succeeds ? output.isEmpty() : output.endsWith(error), output);
    QCOMPARE(m_server->readAllStandardOutput(), QByteArray());
    QFile calls(inLaunch("calls"));
    QVERIFY(calls.open(QIODevice::ReadOnly));
    QVERIFY(calls.readAll().endsWith(job + " zuk3srv.service\n"));
    QVERIFY(!QFile::exists(inFolder("zuknetserver.db")));
    QVERIFY(!QFile::exists(inLaunch("debug.txt")));
}

/// As systemd runs it: ready when it has started, ended by a signal.
void TestZuk3Server::serviceRun()
{
#ifdef Q_OS_LINUX
    const auto journal = [this] {
        DataBase database(inFolder("zuknetserver.db"));
        const QAny rows = database.select(QStringLiteral("select FMESSAGE as M from logs order by IDX"));
        QStringList texts;
        for (int i = 0; i < rows.count(); ++i)
            texts.append(rows.at(i).lookup("M").toString());
        return texts;
    };
    const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto closing = qScopeGuard([manager] { close(manager); });
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray path = inLaunch("notify").toLocal8Bit();
    QVERIFY(path.size() < int(sizeof address.sun_path));
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    QCOMPARE(bind(manager, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    QByteArray told;
    const auto isTold = [&](const char *text) {
        return QTest::qWaitFor(
            [&] {
                char buffer[256];
                const ssize_t size = recv(manager, buffer, sizeof buffer, MSG_DONTWAIT);
                if (size > 0)
                    told += QByteArray(buffer, int(size)) + ' ';
                return told.contains(text);
            },
            20000);
    };
    const QString start = "export SYSTEMD_EXEC_PID=$$; exec " + inFolder("zuk3server");
    launch({"-c", start}, {{"NOTIFY_SOCKET", path}}, QStringLiteral("/bin/sh"));
    QVERIFY(isTold("READY=1"));
    QCOMPARE(journal(), QStringList{"Started"});
    const QString process = QStringLiteral("/proc/%1/").arg(m_server->processId());
    QCOMPARE(QFile::symLinkTarget(process + "cwd"), QFileInfo(inFolder("zuk3server")).canonicalPath());
    m_server->terminate();
    QVERIFY(isTold("STOPPING=1"));
    QVERIFY(m_server->waitForFinished());
    QCOMPARE(told, QByteArray("READY=1 STOPPING=1 "));
    QCOMPARE(m_server->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_server->exitCode(), 0);
    QCOMPARE(journal(), (QStringList{"Started", "Finished"}));
#else
    QSKIP("systemd is Linux's");
#endif
}

void TestZuk3Server::consoleRun_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<int>("signal");
    QTest::newRow("terminated") << "-d" << int(SIGTERM);
    QTest::newRow("interrupted") << "-debug" << int(SIGINT);
}

void TestZuk3Server::consoleRun()
{
    QFETCH(QString, argument);
    {
        DataBase database(inFolder("zuknetserver.db"));
        QVERIFY(fillAttendance(database, threeEmployees()));
    }
    {
        QFile marker(inLaunch("debug.txt"));
        QVERIFY(marker.open(QIODevice::WriteOnly));
        marker.write("from an earlier run");
    }
    launch({argument});
    const quint16 web = port();
    QVERIFY(web != 0);
    QCOMPARE(QFileInfo(inLaunch("debug.txt")).size(), qint64(0));
    QVERIFY(!QFile::exists(inLaunch("zuknetserver.db")));
    WebClient client(web);
    QVERIFY(client.logIn());

#ifdef Q_OS_UNIX
    QFETCH(int, signal);
    QCOMPARE(::kill(pid_t(m_server->processId()), signal), 0);
#else
    QSKIP("a console event cannot be sent to one process alone");
#endif
    QVERIFY(m_server->waitForFinished());
    QCOMPARE(m_server->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_server->exitCode(), 0);
    DataBase database(inFolder("zuknetserver.db"));
    const QAny rows = database.select(QStringLiteral("select FMESSAGE as M from logs order by IDX"));
    QCOMPARE(rows.count(), 3);
    QCOMPARE(rows.at(0).lookup("M").toString(), QStringLiteral("Started"));
    QCOMPARE(rows.at(1).lookup("M").toString(), QStringLiteral("Logger::Webser NewUser:ana geslo"));
    QCOMPARE(rows.at(2).lookup("M").toString(), QStringLiteral("Finished"));
}

void TestZuk3Server::unusableDatabase_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"missing", "empty", "not a database", "read-only", "a folder", "marker is a folder"})
        QTest::newRow(kind) << kind;
}

void TestZuk3Server::unusableDatabase()
{
    QFETCH(QString, kind);
    const QString path = inFolder("zuknetserver.db");
    const auto write = [&](const QByteArray &content) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    };
    if (kind == QLatin1String("empty"))
        QVERIFY(write({}));
    if (kind == QLatin1String("not a database"))
        QVERIFY(write(QByteArray(5000, 'x')));
    if (kind == QLatin1String("read-only"))
        QVERIFY(write({}) && QFile::setPermissions(path, QFile::ReadOwner));
    if (kind == QLatin1String("a folder"))
        QVERIFY(QDir().mkdir(path));
    if (kind == QLatin1String("marker is a folder"))
        QVERIFY(QDir().mkdir(inLaunch("debug.txt")));

    launch({QStringLiteral("-d")});
    const quint16 web = port();
    QVERIFY(web != 0);
    WebClient client(web);
    const QAny answer = client.ask(QStringLiteral(R"({"type":"getUser","tag":"t","data":{"user":"ana","pass":"x"}})"));
    QCOMPARE(answer.lookup("data").lookup("reason").toString(), QStringLiteral("User unknown!"));
    m_server->terminate();
    QVERIFY(m_server->waitForFinished());
    QCOMPARE(m_server->exitCode(), 0);
    if (kind == QLatin1String("not a database")) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray(5000, 'x'));
    }
}

QTEST_GUILESS_MAIN(TestZuk3Server)
#include "tst_zuk3server.moc"
