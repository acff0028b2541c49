#include "attendancefile.h"
#include "checksite.h"
#include "files.h"
#include "knetrpc/rpccall.h"
#include "toolrun.h"
#include "tools/zukadmin/transferprogress.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

#include <memory>

/// A server that does little of what it is asked.
class LazyServer : public QObject
{
    Q_OBJECT
public:
    LazyServer()
    {
        controller.registerService("adminterminal", this);
        controller.registerService("admincheck", this);
        controller.listen(QHostAddress::LocalHost, 0);
    }
    KNet::RpcController controller;
    QAny loaded;
    QAny request; // of the last calculation
    QAny calculated;

public Q_SLOTS:
    QAny login(QString, QAny params) { return params.lookup("id").toInt() != 7; }
    /// Tells what the client has recorded.
    QAny version(QString id, QAny)
    {
        const QAny logs = KNet::RpcCall(&controller).call(id, "logger.getLogs", {{"fromTimestamp", "0"}}, 10000);
        return {{"result", "true"}, {"ver", logs.toJson()}};
    }
    QAny exec(QString, QAny) { return {{"result", "false"}}; }
    QAny restartService(QString, QAny) { return {{"result", "false"}, {"msg", "Ni datoteke rest.bat!"}}; }
    QAny addFile(QString, QAny) { return {{"result", "true"}, {"file", "/srv/zuk/update/a.bin"}}; }
    QAny loadFile(QString, QAny) { return loaded; }
    QAny recalc(QString, QAny params)
    {
        request = params;
        return calculated;
    }
};

/// The real program against a server in this process.
class TestZukAdmin : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void wrongUse();
    void unreachable();
    void numberIsTaken();
    void simpleCommands();
    void connected();
    void queryForms();
    void execIsAcceptedWhateverHappens();
    void insert();
    void update();
    void filesByteForByte();
    void fileNotStored();
    void recalc();
    void explain();
    void doctor();
    void doctorWithoutDatabase();
    void cmd();
    void whatALazyServerAnswers();
    void progressLine();
    void progressOfALongMessage();

private:
    /// Runs the client to its end; the server answers meanwhile.
    int call(const QStringList &arguments, const QByteArray &input = {})
    {
        begin(m_site->server, arguments, input);
        return m_run->end();
    }
    /// The exit code and all that the client tells.
    QString told(const QStringList &arguments, const QByteArray &input = {})
    {
        return toldBy(m_site->server, arguments, input);
    }
    QString toldBy(const KNet::RpcController &server, const QStringList &arguments, const QByteArray &input = {})
    {
        begin(server, arguments, input);
        return m_run->outcome();
    }
    void begin(const KNet::RpcController &server, const QStringList &arguments, const QByteArray &input)
    {
        const QStringList port{"--port", QString::number(server.serverPort())};
        m_run = std::make_unique<ToolRun>(ZUK_ADMIN, port + arguments, input);
    }
    QString text() const { return m_run->text(); }
    QAny answer() const { return QAny::fromJson(m_run->output); }
    QString write(const QString &name, const QByteArray &content)
    {
        return writeFile(m_site->folder.filePath(name), content);
    }

    std::unique_ptr<CheckSite> m_site;
    std::unique_ptr<ToolRun> m_run;
};

void TestZukAdmin::initTestCase()
{
    m_site = std::make_unique<CheckSite>();
    QVERIFY(QDir::setCurrent(m_site->folder.path()));
    qputenv("LC_ALL", "C"); // the client's, as in a time table
}

void TestZukAdmin::cleanupTestCase()
{
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    m_site.reset();
}

void TestZukAdmin::wrongUse()
{
    const struct {
        QStringList arguments;
        const char *reason;
    } rows[] = {{{}, "a command is needed"},
                {{"vresion"}, "unknown command: vresion"},
                {{"version", "--fast"}, "fast"},
                {{"put", "a", "--csv"}, "put has no --csv"},
                {{"query", "select 1", "--csv", "--json"}, "not both"},
                {{"version", "--port", "70000"}, "--port \"70000\""},
                {{"version", "--timeout", "0"}, "--timeout must be more than 0"},
                {{"doctor", "now"}, "doctor: it takes no arguments"},
                {{"doctor", "--web-port", "0"}, "--web-port \"0\""},
                {{"query", "select 1", "--database", "a.db"}, "query has no --database"},
                {{"version", "now"}, "version: it takes no arguments"},
                {{"query", "select", "1"}, "query SQL: one SQL text"},
                {{"insert"}, "insert TABLE ROWS: a table is needed"},
                {{"insert", "config"}, "values are missing"},
                {{"insert", "config", "KEY"}, "\"KEY\" is neither NAME=TEXT nor a JSON object"},
                {{"insert", "config", "KEY:=a"}, "no JSON behind :="},
                {{"insert", "config", "{\"KEY\":"}, "no JSON object"},
                {{"insert", "config", "[{\"KEY\":\"a\"},5]"}, "element 2"},
                {{"update", "config", "KEY", "VALUE=a"}, "lack the key column KEY"},
                {{"update", "config", "KEY", "KEY=a"}, "nothing to change"},
                {{"update", "config", "KEY", "KEY=a", "VALUE:=null"}, "cannot store null in VALUE"},
                {{"get", "update/"}, "names no file"},
                {{"cmd", "door"}, "the number of a terminal is needed"},
                {{"recalc", "--from", "31.2.2025"}, "--from \"31.2.2025\" is not a date"},
                {{"recalc", "--user", "ana"}, "--user \"ana\""},
                {{"explain", "5"}, "explain EMPLOYEE DAY: the id of an employee and a day are needed"},
                {{"explain", "ana", "31.3.2025"}, "the id of an employee"},
                {{"explain", "5", "31.2.2025"}, "a date reads"},
                {{"explain", "5", "31.3.2025", "--lang", "de"}, "--lang \"de\" is not sl or en"},
                {{"recalc", "--table", "months"}, "--table is pairs, days, sums or errors"}};
    for (const auto &row : rows) {
        const QString text = told(row.arguments);
        QVERIFY2(text.startsWith("2 zukadmin: ") && text.contains(row.reason), qPrintable(text));
    }
}

void TestZukAdmin::unreachable()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    const QString port = QString::number(silent.serverPort());
    QCOMPARE(told({"--port", port, "--timeout", "0.5", "version"}),
             "1 zukadmin: login as 200 refused: 10400 Timeout\n");
    silent.close();
    QCOMPARE(told({"--port", port, "version"}), QString("1 zukadmin: 127.0.0.1:%1: Connection refused\n").arg(port));
    QCOMPARE(call({"--help"}), 0);
    QVERIFY(text().contains("Examples:"));
}

void TestZukAdmin::numberIsTaken()
{
    const QString other = m_site->terminal(200, "adminterminal");
    QCOMPARE(told({"version"}), "1 zukadmin: login as 200 refused: 3200 Duplicated terminal 200 connection\n");
    QCOMPARE(told({"version", "--number", "-201"}), "0 ZUK3\n");
    m_site->leave(other);
    QCOMPARE(told({"version"}), "0 ZUK3\n");
}

void TestZukAdmin::simpleCommands()
{
    QCOMPARE(call({"version", "--json"}), 0);
    QCOMPARE(answer(), (QAny{{"result", "true"}, {"ver", "ZUK3"}}));
    QCOMPARE(call({"log", "Začetek", "--number", "201"}), 0);
    QCOMPARE(m_site->rows("select LINE,ID,LLEVEL,LGROUP,FMESSAGE from logs where LINE=201"),
             QStringList{"201|200|0|0|Začetek"});
    QCOMPARE(told({"restart"}), "0 restart\n");
    QVERIFY(QFile::exists("rest.bat"));
}

void TestZukAdmin::connected()
{
    QCOMPARE(told({"connected"}), "1 zukadmin: No ZUK connection\n");
    QVERIFY(run(*m_site->database, {"insert into config (KEY,VALUE) values ('ZUK5',' NAME = Vhod, "
                                    "sever;IP=10.0.0.5'||char(13,10)||'nothing'||char(10)||'A=b=c')"}));
    const QStringList terminals{m_site->terminal(5), m_site->terminal(12)};
    QCOMPARE(told({"connected", "--csv"}),
             QString("0 TERMINAL,CONNECTION,NAME,IP,A\r\n5,%1,\"Vhod, sever\",10.0.0.5,b=c\r\n12,%2,,,\r\n")
                 .arg(m_site->main->connectionId(5), m_site->main->connectionId(12)));
    QCOMPARE(call({"connected"}), 0);
    QVERIFY2(text().startsWith("TERMINAL  CONNECTION  NAME         IP        A\n"), qPrintable(text()));
    QVERIFY2(text().split('\n').value(2).startsWith("       5  "), qPrintable(text()));
    for (const QString &terminal : terminals)
        m_site->leave(terminal);
}

void TestZukAdmin::queryForms()
{
    const QString sql = "select 1 as N,'a,\"b\"' as T,null as E "
                        "union all select 22,'Č'||char(10)||char(155)||'y',''";
    QCOMPARE(told({"query", sql}), "0  N  T      E\n"
                                   "--  -----  -\n"
                                   " 1  a,\"b\"\n"
                                   "22  Č  y\n");
    QCOMPARE(told({"query", "-", "--csv"}, sql.toUtf8()),
             QStringLiteral("0 N,T,E\r\n1,\"a,\"\"b\"\"\",\r\n22,\"Č\n\u009by\",\r\n"));
    QCOMPARE(call({"query", sql, "--json"}), 0);
    QCOMPARE(answer(), QAny::list({QAny{{"N", 1}, {"T", "a,\"b\""}, {"E", QAny()}},
                                   QAny{{"N", 22}, {"T", "Č\n\u009by"}, {"E", ""}}}));
    QVERIFY(text().contains("\\u009by"));

    QCOMPARE(told({"query", "select '' as T", "--csv"}), "0 T\r\n\"\"\r\n");
    QVERIFY(told({"query", "select * from nothing"}).startsWith("0 No rows."));
    QCOMPARE(told({"query", "select * from nothing", "--json"}), "0 []\n");
}

void TestZukAdmin::execIsAcceptedWhateverHappens()
{
    QCOMPARE(call({"exec", "insert into config (KEY,VALUE) values ('EXEC','1')"}), 0);
    QCOMPARE(m_site->rows("select VALUE from config where KEY='EXEC'"), QStringList{"1"});
    // Deliberate: the server cannot tell.
    QVERIFY(told({"exec", "insert into nothing values (1)"}).startsWith("0 Accepted."));
}

void TestZukAdmin::insert()
{
    const char stored[] = "select ID,LASTNAME,EMPLID,ACTIVE,typeof(STIMUL) from employees where ID>20 order by ID";
    QCOMPARE(told({"insert", "employees", "ID=21", "lastname=Žagar=Kos", "EMPLID=007", "ACTIVE:=true", "STIMUL:=null"}),
             "0 Stored: 1\n");
    QCOMPARE(told({"insert", "employees", "-"}, "[{\"ID\":22,\"LASTNAME\":\"O'B\"},{\"ID\":23}]"), "0 Stored: 2\n");
    const QStringList rows{"21|Žagar=Kos|007|1|null", "22|O'B|||null", "23||||null"};
    QCOMPARE(m_site->rows(stored), rows);

    QCOMPARE(call({"insert", "employees", "ID=24", "LASTNAEM=Kos"}), 1);
    QVERIFY2(m_run->errors.contains("table employees has no column LASTNAEM"), qPrintable(m_run->errors));
    QCOMPARE(call({"insert", "employees", "[{\"ID\":25},{\"ID\":21},{\"ID\":26}]"}), 1);
    QVERIFY2(m_run->errors.contains("row 2 of 3: refused"), qPrintable(m_run->errors));
    QCOMPARE(m_site->rows(stored), rows + QStringList{"25||||null"});
    QCOMPARE(call({"insert", "nothing", "ID=1", "--json"}), 1);
    QCOMPARE(answer(), (QAny{{"result", "false"}, {"TBL", QAny{{"ID", "1"}}}}));
}

void TestZukAdmin::update()
{
    QVERIFY(run(*m_site->database, {"insert into employees (ID,EMPLID) values (31,'o''a'),(32,'b')"}));
    const QString row =
        "{\"EMPLID\":\"o'a\",\"LASTNAME\":\"D'Arc \\\"č\\\"\",\"ACTIVE\":true,\"OTHER\":0.1,\"TIMEZ\":-7}";
    QVERIFY(told({"update", "employees", "EMPLID", row}).startsWith("0 Accepted."));
    QCOMPARE(m_site->rows("select EMPLID,LASTNAME,ACTIVE,OTHER+0=0.1,TIMEZ from employees where ID in (31,32)"),
             (QStringList{"o'a|D'Arc \"č\"|1|1|-7", "b||||"}));
    QCOMPARE(call({"update", "nothing", "ID", "ID=1", "X=2"}), 1);
    QVERIFY2(m_run->errors.contains("refused: no such table"), qPrintable(m_run->errors));
}

void TestZukAdmin::filesByteForByte()
{
    QByteArray content(3000001, Qt::Uninitialized);
    QRandomGenerator random(1);
    for (char &byte : content)
        byte = static_cast<char>(random.bounded(256));
    const QString local = write("big file.bin", content);
    const QTemporaryDir below(QCoreApplication::applicationDirPath() + "/put-XXXXXX");
    const QString folder = QFileInfo(below.path()).fileName();

    QCOMPARE(call({"put", local, folder + "/new/"}), 0);
    QVERIFY2(text().contains("big file.bin: 3000001 bytes stored and compared"), qPrintable(text()));
    QVERIFY(contentOf(below.filePath("new/big file.bin")) == content);
    QCOMPARE(call({"put", write("empty", ""), folder}), 0);
    QCOMPARE(QFileInfo(below.filePath("empty")).size(), 0);
    QCOMPARE(call({"put", local, folder + "/zuk3server", "--no-verify"}), 0);
    QVERIFY(contentOf(below.filePath("zuk3server")) == content);

    QCOMPARE(told({"get", "big file.bin", "copy.bin"}), "0 copy.bin: 3000001 bytes\n");
    QCOMPARE(call({"get", below.filePath("zuk3server"), m_site->folder.path()}), 0);
    QVERIFY(contentOf("zuk3server") == content);
    QFile::remove("zuk3server");
    QCOMPARE(call({"get", "./big file.bin", "-"}), 0);
    QVERIFY(m_run->output == content);

    QCOMPARE(told({"get", "update/none", "copy.bin"}),
             "1 zukadmin: the server has no file update/none that it can read\n");
    QVERIFY(contentOf("copy.bin") == content);
}

void TestZukAdmin::fileNotStored()
{
    QCOMPARE(call({"put", "none.bin"}), 1);
    QVERIFY2(m_run->errors.contains("none.bin: No such file"), qPrintable(m_run->errors));
    const QString local = write("a.bin", "abc");
    // One folder can be new, its parent not; the server says "true" all the same.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("FileTransfer::decode can't write"));
    QCOMPARE(call({"put", local, "none/below/"}), 1);
    QVERIFY2(m_run->errors.contains("the server did not store"), qPrintable(m_run->errors));

    LazyServer lazy;
    lazy.loaded = QAny{{"DATA", "YWJk"}}; // abd
    QCOMPARE(toldBy(lazy.controller, {"put", local, "update"}),
             QString("1 zukadmin: /srv/zuk/update/a.bin at the server differs from %1\n").arg(local));
}

void TestZukAdmin::recalc()
{
    QVERIFY(run(*m_site->database, threeEmployees() + twoDays()));
    const QStringList period{"recalc", "--from", "3.3.2025", "--to", "2025-03-04"};
    QCOMPARE(call(period), 0);
    const QStringList parts = text().split("\n\n");
    QCOMPARE(parts.size(), 3);
    QVERIFY2(parts[0].startsWith("Days\n") && parts[0].contains("Kos Bor"), qPrintable(parts[0]));
    QVERIFY2(parts[0].simplified().contains("03.03.2025 08:00 16:01 IZM1 08:01"), qPrintable(parts[0]));
    QVERIFY2(!parts[0].contains("DOPUST"), "a column that tells nothing is shown");
    QVERIFY2(parts[1].startsWith("Sums\n") && parts[1].contains("08:01"), qPrintable(parts[1]));
    QVERIFY2(parts[2].startsWith("Errors\n") && parts[2].contains("Zadnji dogodek ni izhod!"), qPrintable(parts[2]));

    QCOMPARE(call(period + QStringList{"--user", "5", "--csv"}), 0);
    const QStringList lines = text().split("\r\n");
    QCOMPARE(lines.size(), 5); // header, two days, their sum, and what is behind the last line end
    QVERIFY2(lines[0].startsWith("NAME,USER,DATE,INORG,OUTORG,"), qPrintable(lines[0]));
    QVERIFY2(lines[1].startsWith("Žagar Ana,5,") && lines[1].contains("03.03.2025,08:00,16:01,"), qPrintable(lines[1]));
    QVERIFY2(lines[3].startsWith("Žagar Ana,5,SKUPAJ,"), qPrintable(lines[3]));
    QCOMPARE(call(period + QStringList{"--user", "5-6", "--table", "pairs", "--csv"}), 0);
    QVERIFY2(text().startsWith("NAME,USER,DATESTAMP,TIMESTAMP,TIMESTAMP2,PTIME,"), qPrintable(text()));

    QCOMPARE(call({"recalc", "--from", "1.1.2001", "--to", "2.1.2001", "--json"}), 1);
    QCOMPARE(m_run->errors, "zukadmin: nothing was calculated: Ni koledarja za izbrano obdobje!\n");
    QVERIFY(answer().lookup("PACK").contains("DAYS"));
}

void TestZukAdmin::explain()
{
    LazyServer server;
    const auto packed = [](const QAny &rows) { return QAny{{"HEADER", QAny::list()}, {"TABLE", rows}}; };
    const QAny errors = packed(QAny::list({QAny{{"NAPAKA", QAny{{"UWVS", "Ni Prihoda!"}}}}}));
    const QAny entry{{"USER", 5}, {"NAME", "Žagar Ana"}, {"DATE", 1741561200}, {"RESULT", QAny{{"DELO", 3600}}}};
    const QStringList command{"explain", "5", "2025-03-10"};

    server.calculated = {{"PACK", QAny{{"DAYS", packed(QAny::list())}, {"ERR", errors}}}, {"EXPLAIN", QAny::list()}};
    QCOMPARE(toldBy(server.controller, command), "1 zukadmin: nothing was calculated: Ni Prihoda!\n");
    QCOMPARE(
        server.request,
        (QAny{{"STARTDATE", "23.2.2025"}, {"ENDDATE", "25.3.2025"}, {"USER", QAny::list({5})}, {"EXPLAIN", true}}));

    server.calculated = {{"PACK", QAny{{"DAYS", packed(QAny::list({QAny{{"USER", 5}}}))}, {"ERR", errors}}}};
    QCOMPARE(toldBy(server.controller, command), "1 zukadmin: the server explains no days\n");
    QAny days = QAny::list();
    for (int i = 0; i < 31; ++i)
        days.append(i == 15 ? entry : QAny{{"DATE", i}});
    server.calculated.insert("EXPLAIN", days);
    server.calculated.insert(
        "CALC",
        QAny{{"ERR", QAny::list({QAny{{"NAPAKA", "Ni urnika!"}}, QAny{{"NAPAKA", "of another day"}, {"DATESTAMP", 14}},
                                 QAny{{"NAPAKA", "Ni Prihoda!"}, {"DATESTAMP", 1741561200}}})}});
    const QString told = toldBy(server.controller, command);
    QVERIFY2(told.startsWith("0 Žagar Ana (5), Monday, 10 March 2025\n"), qPrintable(told));
    QVERIFY2(told.contains("DELO") && told.endsWith("  Ni urnika!\n  Ni Prihoda!\n"), qPrintable(told));
    QVERIFY(toldBy(server.controller, command + QStringList{"--lang", "sl"}).contains("ponedeljek, 10. 3. 2025"));
    QVERIFY(toldBy(server.controller, command + QStringList{"--json"}).startsWith("0 {"));
    QCOMPARE(answer(), entry);
}

/// Of the record that the command printed: "SEVERITY CHECK: WHAT", what both forms look at.
static QStringList findingsOf(const QAny &record)
{
    QStringList findings;
    const QAny &list = record.lookup("FINDINGS");
    for (int i = 0; i < list.count(); ++i) {
        const QAny &finding = list.at(i);
        const QString check = finding.lookup("CHECK").toString();
        if (check != "back-ups" && check != "disk")
            findings += finding.lookup("SEVERITY").toString() + ' ' + check + ": " + finding.lookup("WHAT").toString() +
                        finding.lookup("WHICH").toJson();
    }
    return findings;
}

void TestZukAdmin::doctor()
{
    QTcpServer web;
    QVERIFY(web.listen(QHostAddress::LocalHost));
    const QString webPort = QString::number(web.serverPort());
    const QStringList planted{
        "insert into wtimset values ('BAD'||char(1),'{'||char(2))",
        "insert into employees (ID,LASTNAME,ACTIVE,WTIMSET) values (700,'Vod'||char(27)||'nik',1,'BAD'||char(1))",
        "insert into events (TID,USER,TIMESTAMP) values (9,'700',strftime('%s','now')+7200)"};
    QVERIFY(run(*m_site->database, planted));
    QCOMPARE(call({"doctor", "--json", "--web-port", webPort}), 4);
    const QStringList overServer = findingsOf(answer());
    QCOMPARE(overServer.filter("act stored schedules: 1 text of wtimset cannot be read").size(), 1);
    QCOMPARE(overServer.filter("soon terminal clocks: ").size(), 1);
    QVERIFY(answer().lookup("UNSEEN").toJson().contains("waiting events, disk, back-ups"));

    // The file tells the same, while the server has it open.
    const QString path = m_site->database->filePath();
    QCOMPARE(call({"doctor", "--json", "--database", path, "--web-port", webPort, "--figures", path + ".none"}), 4);
    QCOMPARE(findingsOf(answer()), overServer);

    QCOMPARE(call({"doctor", "--web-port", webPort}), 4);
    QVERIFY(text().contains("SOON  employees: "));
    QVERIFY(!text().contains(QChar(27)) && !text().contains(QChar(1)));
    QVERIFY(run(*m_site->database, {"delete from wtimset where KEY='BAD'||char(1)",
                                    "delete from employees where ID=700", "delete from events where TID=9"}));
}

void TestZukAdmin::doctorWithoutDatabase()
{
    QTemporaryDir empty;
    const QString path = empty.filePath("zuknetserver.db");
    QCOMPARE(told({"doctor", "--database", path}),
             QStringLiteral("1 %1: not examined: no such file\nzukadmin: %1: no such file\n").arg(path));
    QVERIFY(told({"doctor", "--database", empty.path()}).contains("is a folder"));
    QVERIFY(QDir(empty.path()).isEmpty());
}

void TestZukAdmin::cmd()
{
    const QString terminal = m_site->terminal(5);
    m_site->side.requests.clear();
    m_site->side.answer = [](const QString &, const QString &method, const QAny &params) {
        return method == "zukCmd" ? QAny{{"result", "false"}, {"SAID", params.lookup("CMD")}} : QAny::list();
    };
    QCOMPARE(call({"cmd", "5", "{\"CMD\":\"open\"}"}), 0);
    QCOMPARE(answer(), (QAny{{"result", "false"}, {"SAID", "open"}}));
    QVERIFY2(m_site->side.requests.contains("zukCmd {\"CMD\":\"open\",\"ZUKID\":5}"),
             qPrintable(m_site->side.requests.join('\n')));
    m_site->leave(terminal);
    QCOMPARE(told({"cmd", "5"}), "1 zukadmin: ZUK Terminal id=5 not connected!\n");
}

void TestZukAdmin::whatALazyServerAnswers()
{
    LazyServer lazy;
    const auto told = [&](const QStringList &arguments) { return toldBy(lazy.controller, arguments); };
    QCOMPARE(told({"version"}), "0 []\n");
    QCOMPARE(told({"version", "--number", "7"}), "1 zukadmin: login as 7 refused: false\n");
    QCOMPARE(told({"exec", "select 1"}), "1 zukadmin: the server has no database\n");
    QCOMPARE(told({"restart"}), "1 zukadmin: Ni datoteke rest.bat!\n");
    QCOMPARE(told({"insert", "config", "KEY=a"}), "1 zukadmin: 10110 No such method\n");
}

void TestZukAdmin::progressLine()
{
    const struct {
        TransferProgress::State state;
        const char *line;
    } rows[] = {{{4000000, 8000000}, "put a  [###############---------------]  50 %  4.0 of 8.0 MB"},
                {{-5, 8000000}, "put a  [------------------------------]   0 %  0.0 of 8.0 MB"},
                {{8000000, 8000000}, "put a  8.0 MB, waiting for the server"},
                {{0, 0}, "put a  0.0 MB, waiting for the server"},
                {{4000000, -1}, "put a  4.0 MB"}, // of an unknown total
                {{0, -1}, "put a  waiting for the server"}};
    for (const auto &row : rows)
        QCOMPARE(TransferProgress::line("put a", row.state), row.line);
    const struct {
        qint64 waitedMs;
        qint64 received;
        const char *line;
    } waits[] = {{900, 0, "recalc  waiting for the server, 0 s"},
                 {61999, 0, "recalc  waiting for the server, 1 min 1 s"},
                 {12000, 300500000, "recalc  300.5 MB, 12 s"}};
    for (const auto &wait : waits)
        QCOMPARE(TransferProgress::waitingLine("recalc", wait.waitedMs, wait.received), wait.line);
}

/// What the controller tells of it, which the line shows.
void TestZukAdmin::progressOfALongMessage()
{
    constexpr int kBytes = 8000000;
    LazyServer lazy;
    lazy.loaded = QString(kBytes, 'x');
    KNet::RpcController client;
    QString id;
    QVERIFY(client.connectToHost("127.0.0.1", lazy.controller.serverPort(), id, 5000));
    QCOMPARE(client.bytesToWrite(id), 0);
    qint64 queued = 0;
    qint64 received = 0;
    QTimer look;
    connect(&look, &QTimer::timeout, &client, [&] {
        queued = qMax(queued, client.bytesToWrite(id));
        received = qMax(received, client.bytesOfMessageInProgress(id));
    });
    look.start(0);
    const QAny answer = KNet::RpcCall(&client).call(id, "admincheck.loadFile", QString(kBytes, 'y'), 30000);
    QCOMPARE(answer.count(), kBytes);
    QVERIFY2(queued > 0 && queued <= kBytes + 1000, qPrintable(QString::number(queued)));
    QVERIFY2(received > kBytes / 2 && received <= kBytes + 1000, qPrintable(QString::number(received)));
    for (const QString &done : {id, QString("unknown")})
        QCOMPARE(client.bytesToWrite(done) + client.bytesOfMessageInProgress(done), 0);
}

QTEST_GUILESS_MAIN(TestZukAdmin)
#include "tst_zukadmin.moc"
