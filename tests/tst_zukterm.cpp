#include "latencystats.h"
#include "rpccall.h"
#include "rpccontroller.h"
#include "rpcprotocol.h"

#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

namespace {

constexpr int kPatienceMs = 60000;

/// The server's side of the protocol, as far as terminals see it. Its services are small objects of their own.
struct Site {
    KNet::RpcController controller;
    QHash<QString, int> numbers; ///< by connection
    QSet<int> taken;             ///< numbers that somebody else has
    int refusals = 0;

    QVector<QAny> events; ///< stored
    QVector<QAny> logLines;
    QHash<QString, QAny> answers; ///< of the terminals to the catch-up, by method
    qint64 newestEvent = 0;       ///< told to the terminal
    qint64 newestLog = 0;
    /// What happens to an event that comes in.
    std::function<QAny(const QString &connectionId, const QAny &event)> onEvent = [this](const QString &,
                                                                                         const QAny &event) {
        events.append(event);
        return QAny(true);
    };
    /// Called when a terminal has logged in.
    std::function<void(const QString &connectionId)> onLogin = [](const QString &) {};

    QString connectionOf(int number) const { return numbers.key(number); }
};

/// Receives the answer of a terminal and remembers it under its method; the next question may follow.
class CatchUp : public QObject
{
    Q_OBJECT
public:
    CatchUp(Site &site, const QString &connectionId, QObject *parent)
        : QObject(parent), m_site(site), m_connectionId(connectionId)
    {
    }
    void ask(const QString &method, const QAny &params, std::function<void()> next)
    {
        m_method = method;
        m_next = std::move(next);
        KNet::RpcCall(&m_site.controller)
            .call(m_connectionId, method, params, this, SLOT(onAnswer(QString, QAny)), kPatienceMs);
    }

public Q_SLOTS:
    void onAnswer(QString, QAny answer)
    {
        m_site.answers.insert(m_method, answer);
        std::exchange(m_next, nullptr)();
    }

private:
    Site &m_site;
    QString m_connectionId;
    QString m_method;
    std::function<void()> m_next;
};

class LoginService : public QObject
{
    Q_OBJECT
public:
    LoginService(Site &site, bool asksEvents) : m_site(site), m_asksEvents(asksEvents)
    {
        connect(&site.controller, &KNet::RpcController::disconnected, this,
                [this](const QString &id) { m_site.numbers.remove(id); });
    }

public Q_SLOTS:
    QAny login(const QString &connectionId, const QAny &params)
    {
        const int number = params.lookup("id").toInt();
        if (m_site.taken.contains(number) || !m_site.connectionOf(number).isEmpty()) {
            ++m_site.refusals;
            m_site.taken.clear();
            return KNet::rpcError(3200, QStringLiteral("Duplicated terminal %1 connection").arg(number));
        }
        m_site.numbers.insert(connectionId, number);
        // Behind the answer to the login.
        QMetaObject::invokeMethod(
            this, [this, connectionId] { catchUp(connectionId); }, Qt::QueuedConnection);
        return true;
    }
    QAny status(QString connectionId, QAny) { return QAny{{"loggedin", m_site.numbers.contains(connectionId)}}; }

private:
    void catchUp(const QString &connectionId)
    {
        auto *chain = new CatchUp(m_site, connectionId, this);
        chain->ask("logger.getLogs", QAny{{"fromTimestamp", QString::number(m_site.newestLog)}}, [=] {
            if (m_asksEvents)
                chain->ask("logger.getEvents", QAny{{"fromTimestamp", QString::number(m_site.newestEvent)}}, [] {});
        });
        m_site.onLogin(connectionId);
    }

    Site &m_site;
    bool m_asksEvents;
};

class LoggerService : public QObject
{
    Q_OBJECT
public:
    explicit LoggerService(Site &site) : m_site(site) {}

public Q_SLOTS:
    QAny event(const QString &connectionId, const QAny &params) { return m_site.onEvent(connectionId, params); }
    QAny log(QString, QAny params)
    {
        m_site.logLines.append(params);
        return true;
    }

private:
    Site &m_site;
};

class CheckService : public QObject
{
    Q_OBJECT
public:
    explicit CheckService(Site &site) : m_site(site) {}

public Q_SLOTS:
    QAny query(QString, QAny params)
    {
        QAny rows = QAny::list();
        for (const QAny &event : qAsConst(m_site.events)) {
            if (params.toString().contains('\'' + event.lookup("DESCRIPTION").toString() + '\''))
                rows.append(QAny{{"ID", 1}});
        }
        return rows;
    }
    QAny ping(QString, QAny) { return QAny{{"PING", "OK"}}; }

private:
    Site &m_site;
};

} // namespace

/// The real program against a server in this process.
class TestZukTerm : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void wrongUse_data();
    void wrongUse();
    void severalSend();
    void offlineRowsNewerThanTheServers();
    void manyOfflineRows();
    void administrationClient();
    void nothingLostWhenCut_data();
    void nothingLostWhenCut();
    void duplicatedTerminalTriesAgain();
    void refusalsAreToldByTheExitCode_data();
    void refusalsAreToldByTheExitCode();
    void serverCallsTerminals();
    void silentTerminals();
    void signalEndsWithTheSummary();
    void percentiles();

private:
    void start(const QStringList &arguments);
    int finish();
    int run(const QStringList &arguments)
    {
        start(arguments);
        return finish();
    }
    QString write(const QString &name, const QByteArray &text);
    bool says(const QString &text) const
    {
        if (m_output.contains(text))
            return true;
        qWarning().noquote() << m_output << m_errors;
        return false;
    }

    QTemporaryDir m_folder;
    std::unique_ptr<Site> m_site;
    std::vector<std::unique_ptr<QObject>> m_services;
    std::unique_ptr<QProcess> m_program;
    QString m_output;
    QString m_errors;
};

void TestZukTerm::init()
{
    m_site = std::make_unique<Site>();
    QVERIFY(m_site->controller.listen(QHostAddress(QHostAddress::LocalHost), 0));
    const auto add = [this](const QString &name, QObject *service) {
        m_services.emplace_back(service);
        m_site->controller.registerService(name, service);
    };
    add("mainterminal", new LoginService(*m_site, true));
    add("adminterminal", new LoginService(*m_site, false));
    add("logger", new LoggerService(*m_site));
    add("terminalcheck", new CheckService(*m_site));
}

void TestZukTerm::cleanup()
{
    m_program.reset();
    m_services.clear();
    m_site.reset();
}

void TestZukTerm::start(const QStringList &arguments)
{
    m_program = std::make_unique<QProcess>();
    m_program->start(ZUK_TERM,
                     QStringList{"--port", QString::number(m_site->controller.serverPort()), "--reconnect", "0.05"} +
                         arguments);
    QVERIFY(m_program->waitForStarted());
}

int TestZukTerm::finish()
{
    QEventLoop loop;
    connect(m_program.get(), qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop, &QEventLoop::quit);
    QTimer::singleShot(kPatienceMs, &loop, [&] { loop.exit(1); });
    if (m_program->state() != QProcess::NotRunning && loop.exec() != 0)
        return -1;
    m_output = QString::fromUtf8(m_program->readAllStandardOutput());
    m_errors = QString::fromUtf8(m_program->readAllStandardError());
    return m_program->exitStatus() == QProcess::NormalExit ? m_program->exitCode() : -2;
}

QString TestZukTerm::write(const QString &name, const QByteArray &text)
{
    QFile file(m_folder.filePath(name));
    file.open(QIODevice::WriteOnly);
    file.write(text);
    return file.fileName();
}

void TestZukTerm::wrongUse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("reason");
    const QByteArray row = R"({"USER":7,"TIMESTAMP":1000,"ACCESS_CODE":"101:Prihod"})";
    const QStringList send{"--send"};
    QTest::newRow("unknown option") << QStringList{"--nonsense"} << QByteArray() << "nonsense";
    QTest::newRow("port") << QStringList{"--port", "70000"} << QByteArray() << "--port \"70000\"";
    QTest::newRow("time of an event") << QStringList{"--event", "7,101,yesterday"} << QByteArray() << "\"yesterday\"";
    QTest::newRow("users") << QStringList{"--users", "9-3"} << QByteArray() << "--users \"9-3\"";
    QTest::newRow("parameters of a call")
        << QStringList{"--call", "terminalcheck.ping", "{1"} << QByteArray() << "not JSON";
    QTest::newRow("events of an administration client")
        << QStringList{"--admin", "--event", "7"} << QByteArray() << "have no events";
    QTest::newRow("without end") << QStringList{"--once", "--rate", "5"} << QByteArray() << "--count or --duration";
    QTest::newRow("no such file") << QStringList{"--logs", "missing.json"} << QByteArray() << "missing.json";
    QTest::newRow("broken line") << send << row + "\n\n{\"USER\":\n" + row << "line 3";
    QTest::newRow("two rows in a line") << send << row + " " + row << "line 1";
    QTest::newRow("broken row of an array") << send << "[\n" + row + ",\n{\n,}]"
                                            << "line 4";
    QTest::newRow("array without end") << send << "[\n" + row + "\n"
                                       << "line 3: the array does not end";
    QTest::newRow("row without time") << send << row + "\n{\"USER\":7,\"ACCESS_CODE\":\"101\"}"
                                      << "line 2: TIMESTAMP";
    QTest::newRow("another's terminal") << send << QByteArray(row).replace("}", ",\"TID\":2}") << "line 1: TID 2";
}

void TestZukTerm::wrongUse()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, file);
    QFETCH(QString, reason);
    if (!file.isEmpty())
        arguments.append(write("wrong.json", file));
    QCOMPARE(run(arguments), 2);
    QVERIFY2(m_errors.contains(reason), qPrintable(m_errors));
    QCOMPARE(m_errors.count('\n'), 1);
}

void TestZukTerm::severalSend()
{
    const QString file =
        write("send.json", R"([{"USER":"40","TIMESTAMP":1100,"ACCESS_CODE":"102:Odhod","TID":7,"DESCRIPTION":"own"},
                               {"USER":"41","TIMESTAMP":1200,"ACCESS_CODE":"101:Prihod"}])");
    QCOMPARE(
        run({"--number", "5", "--terminals", "3", "--event", "12,102:1:Dopust,2026-03-31 16:00,malo, prej", "--event",
             "13", "--send", file, "--log", u8"čas teče", "--call", "terminalcheck.ping", "{}", "--once"}),
        0);
    QCOMPARE(m_site->events.size(), 4);
    QMap<QString, QAny> byUser;
    for (const QAny &event : qAsConst(m_site->events))
        byUser.insert(event.lookup("USER").toString(), event);
    const QAny given = byUser.value("12");
    QCOMPARE(given.lookup("ACCESS_CODE").toString(), QString("102:1:Dopust"));
    QCOMPARE(given.lookup("TIMESTAMP").toInteger(), 1774965600); // 16:00 in summer time is 14:00 UTC
    QCOMPARE(given.lookup("ALLEVREMARK").toString(), QString("malo, prej"));
    QCOMPARE(given.lookup("TERMINAL").toString(), QString("5"));
    QCOMPARE(byUser.value("13").lookup("ACCESS_CODE").toString(), QString("101:Prihod"));
    QCOMPARE(byUser.value("40").lookup("DESCRIPTION").toString(), QString("own"));
    const auto terminalOf = [&](const char *user) { return byUser.value(user).lookup("TID").toInteger(); };
    QCOMPARE(terminalOf("12"), 5); // in turn, but for the one that names its terminal
    QCOMPARE(terminalOf("13"), 6);
    QCOMPARE(terminalOf("40"), 7);
    QCOMPARE(terminalOf("41"), 7);

    QCOMPARE(m_site->logLines.size(), 3);
    QCOMPARE(m_site->logLines.first().lookup("FMESSAGE").toString(), QString::fromUtf8(u8"čas teče"));
    QCOMPARE(m_output.count(R"(terminalcheck.ping answers {"PING":"OK"})"), 3);
    QVERIFY(says("terminals: 3, logged in 3, logins refused 0, connections lost 0"));
    QVERIFY(says("events: 4, acknowledged 4, found stored 0, refused 0, unanswered 0"));
    QVERIFY(says("log lines: 3, stored 3"));
    QVERIFY(says("calls: 3, answered 3"));
}

void TestZukTerm::offlineRowsNewerThanTheServers()
{
    m_site->newestEvent = 200;
    m_site->newestLog = 5000;
    const QString events = write("events.json", "\xEF\xBB\xBF"
                                                R"({"USER":"3","TIMESTAMP":300,"ACCESS_CODE":"101:Prihod"}
                                                   {"USER":"1","TIMESTAMP":100,"ACCESS_CODE":"101:Prihod"}

                                                   {"USER":"2","TIMESTAMP":200,"ACCESS_CODE":"101:Prihod"}
                                                   {"USER":"4","TIMESTAMP":"201","ACCESS_CODE":"101:Prihod"})");
    const QString logs =
        write("logs.json", R"([{"FTIMESTAMP":5000,"FMESSAGE":"a"},{"FTIMESTAMP":5001,"FMESSAGE":"b"}])");
    QCOMPARE(run({"--number", "8", "--events", events, "--logs", logs, "--once"}), 0);
    const QAny newer = m_site->answers.value("logger.getEvents");
    QCOMPARE(newer.count(), 2);
    QCOMPARE(newer.value(0).lookup("USER").toString(), QString("4"));
    QCOMPARE(newer.value(1).lookup("USER").toString(), QString("3"));
    QCOMPARE(newer.value(1).lookup("TID").toInteger(), 8);
    QCOMPARE(m_site->answers.value("logger.getLogs"), QAny::list({QAny{{"FTIMESTAMP", 5001}, {"FMESSAGE", "b"}}}));
    QVERIFY(says("offline events: asked 1, rows 2, not newer 2"));
    QVERIFY(m_site->events.isEmpty());
}

void TestZukTerm::manyOfflineRows()
{
    const qint64 start = QDateTime::currentSecsSinceEpoch();
    QCOMPARE(run({"--offline-events", "100000", "--offline-logs", "100000", "--users", "1-3,9", "--offline-hours", "2",
                  "--once", "--quiet"}),
             0);
    const QAny events = m_site->answers.value("logger.getEvents");
    QCOMPARE(events.count(), 100000);
    QCOMPARE(m_site->answers.value("logger.getLogs").count(), 100000);
    QCOMPARE(events.value(3).lookup("USER").toString(), QString("9"));
    QCOMPARE(events.value(4).lookup("ACCESS_CODE").toString(), QString("102:Odhod"));
    const qint64 first = events.value(0).lookup("TIMESTAMP").toInteger();
    QVERIFY(first >= start - 7200 && first <= QDateTime::currentSecsSinceEpoch() - 7200);
    QVERIFY(events.value(99999).lookup("TIMESTAMP").toInteger() <= QDateTime::currentSecsSinceEpoch());
    QVERIFY(!m_output.contains("server asks"));
}

void TestZukTerm::administrationClient()
{
    QCOMPARE(run({"--admin", "--number", "9", "--offline-logs", "2", "--log", "here", "--once"}), 0);
    const QStringList keys{"data", "fmessage", "ftimestamp", "id", "lgroup", "llevel"};
    QStringList given = m_site->answers.value("logger.getLogs").value(0).keys();
    given.sort();
    QCOMPARE(given, keys);
    QCOMPARE(m_site->logLines.first().lookup("ID").toInteger(), 200); // tells the server who logs
    QVERIFY(!m_site->answers.contains("logger.getEvents"));
}

void TestZukTerm::nothingLostWhenCut_data()
{
    QTest::addColumn<bool>("isStored");
    QTest::newRow("the answer is lost") << true;
    QTest::newRow("the event is lost") << false;
}

void TestZukTerm::nothingLostWhenCut()
{
    QFETCH(bool, isStored);
    int seen = 0;
    m_site->onEvent = [&](const QString &connectionId, const QAny &event) {
        const bool isCut = ++seen % 7 == 0 && seen < 40;
        if (!isCut || isStored)
            m_site->events.append(event);
        if (isCut)
            m_site->controller.abortConnection(connectionId);
        return QAny(true);
    };
    QCOMPARE(run({"--rate", "2000", "--count", "100", "--in-flight", "4", "--users", "1-10", "--once"}), 0);
    QSet<QString> descriptions;
    for (const QAny &event : qAsConst(m_site->events))
        descriptions.insert(event.lookup("DESCRIPTION").toString());
    QCOMPARE(descriptions.size(), 100);   // none lost
    QCOMPARE(m_site->events.size(), 100); // none doubled
    QVERIFY(says("connections lost 5"));
    QVERIFY(says("refused 0, unanswered 0"));
    QVERIFY(m_output.count(isStored ? ": found stored" : ": sent again") >= 5);
}

void TestZukTerm::duplicatedTerminalTriesAgain()
{
    m_site->taken.insert(5);
    QCOMPARE(run({"--number", "5", "--event", "7", "--once"}), 0);
    QCOMPARE(m_site->refusals, 1);
    QVERIFY(says("3200 Duplicated terminal 5 connection"));
    QVERIFY(says("logged in 1, logins refused 1, connections lost 0"));
    QCOMPARE(m_site->events.size(), 1);
}

void TestZukTerm::refusalsAreToldByTheExitCode_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("text");
    const QStringList once{"--once", "--timeout", "1"};
    QTest::newRow("event") << once + QStringList{"--event", "7"} << "refused 1";
    QTest::newRow("login") << once + QStringList{"--number", "5", "--reconnect", "0"} << "logged in 0";
    QTest::newRow("call") << once + QStringList{"--call", "nobody.there"} << "10100 No such service";
    QTest::newRow("no server") << once + QStringList{"--port", "1", "--event", "7"} << "unanswered 1";
}

void TestZukTerm::refusalsAreToldByTheExitCode()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, text);
    m_site->taken.insert(5);
    m_site->onEvent = [](const QString &, const QAny &) { return QAny(false); };
    QCOMPARE(run(arguments), 1);
    QVERIFY(says(text));
}

void TestZukTerm::serverCallsTerminals()
{
    write("17.jpg", "\xFF\xD8");
    m_site->onLogin = [this](const QString &connectionId) {
        auto *chain = new CatchUp(*m_site, connectionId, m_services.front().get());
        chain->ask("logger.getPictures", QAny{{"ID", 17}}, [=] {
            chain->ask("logger.ulkaCsvEvent", QAny{{"EID", 4}, {"FID", 2}}, [=] {
                chain->ask("logger.zukCmd", QAny{{"ZUKID", 6}, {"CMD", "OPEN"}}, [=] { m_program->terminate(); });
            });
        });
    };
    QCOMPARE(run({"--number", "6", "--pictures", m_folder.path(), "--offline-events", "1"}), 0);
    const QAny picture{{"ID", 17}, {"TYPE", "jpg"}, {"PICT", "/9g="}};
    QCOMPARE(m_site->answers.value("logger.getPictures"), picture);
    QCOMPARE(m_site->answers.value("logger.zukCmd").lookup("PARAMS").lookup("CMD").toString(), QString("OPEN"));
    QVERIFY(says(R"(ulkaCsvEvent {"EID":4,"FID":2})"));
    QVERIFY(says("asked: pictures 1, reader events 1, commands 1"));
}

void TestZukTerm::silentTerminals()
{
    QSet<QString> quiet;
    QObject context;
    m_site->onLogin = [&](const QString &connectionId) {
        if (m_site->numbers.value(connectionId) < 3)
            return;
        quiet.insert(connectionId);
        m_site->controller.pingRemoteConnections();
    };
    start({"--terminals", "4", "--silent", "2", "--event", "7", "--event", "8", "--event", "9", "--once"});
    QCOMPARE(finish(), 0);
    QCOMPARE(quiet.size(), 2);
    QCOMPARE(m_site->events.size(), 3);
    QVERIFY(says("terminals: 4, logged in 4"));
    QVERIFY(says("offline events: asked 2"));
}

void TestZukTerm::signalEndsWithTheSummary()
{
    m_site->onEvent = [this](const QString &, const QAny &event) {
        m_site->events.append(event);
        if (m_site->events.size() == 20)
            m_program->terminate();
        return QAny(true);
    };
    QCOMPARE(run({"--terminals", "2", "--rate", "500", "--quiet"}), 0);
    QVERIFY(m_site->events.size() >= 20);
    QVERIFY(says(QStringLiteral("events: %1, acknowledged %1,").arg(m_site->events.size())));
    QVERIFY(m_output.startsWith("terminals: "));
}

void TestZukTerm::percentiles()
{
    LatencyStats stats;
    QCOMPARE(stats.percentile(0.5), 0);
    for (int i = 1; i <= 100000; ++i)
        stats.add(i);
    for (const double share : {0.0005, 0.5, 0.99}) {
        const double exact = share * 100000;
        const auto found = static_cast<double>(stats.percentile(share));
        QVERIFY2(found >= exact && found <= exact * (1 + 1.0 / 64), qPrintable(QString::number(found)));
    }
    QCOMPARE(stats.percentile(1), 100000);
    QCOMPARE(stats.max(), 100000);
}

QTEST_GUILESS_MAIN(TestZukTerm)
#include "tst_zukterm.moc"
