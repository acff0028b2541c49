#include "attendancefile.h"
#include "calc/dialogcalc3.h"
#include "checksite.h"
#include "files.h"
#include "gatedreaders.h"
#include "rows.h"
#include "server/check/filetransfer.h"
#include "server/workers/readpool.h"

#include <QDir>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTest>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif
#include <QTimer>

#include <csignal>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using server::workers::FileReaders;
using server::workers::ReadPool;

static const QStringList kServices{"terminalcheck", "admincheck"};
static const QString kTimeFormat = QStringLiteral("dd.MM.yyyy hh:mm:ss");

/// Stands for the executable: notes its arguments.
static const QString kRecorder = QStringLiteral("#!/bin/sh\necho \"%1 $*\" >>calls\n");

/// Any value, not only an object or a list.
static QAny fromJson(const QByteArray &text)
{
    return QAny::fromJson('[' + text + ']').value(0);
}

static QString json(const QAny &value)
{
    return QString::fromUtf8(text(value));
}

/// With terminal 5 and the administration client 6, who each ask their own service.
class CallersSite : public CheckSite
{
public:
    QAny call(const QString &method, const QAny &params = QAny())
    {
        return TerminalSite::call(callers.value(method.section('.', 0, 0)), method.toLatin1(), params);
    }
    QString ask(const QString &method, const char *params = "null") { return json(call(method, fromJson(params))); }
    /// Group, level, message and data of all journal rows.
    QStringList journalRows()
    {
        QStringList told = rows("select ID, LGROUP, LLEVEL, FMESSAGE, DATA from logs order by IDX");
        for (QString &row : told) {
            const int data = row.indexOf(QLatin1String("|{")) + 1;
            row = row.left(data) + QString::fromUtf8(canonical(row.mid(data).toUtf8()));
        }
        return told;
    }

    QMap<QString, QString> callers{{"terminalcheck", terminal(5)}, {"admincheck", terminal(6, "adminterminal")}};
};

/// The process has a pool of workers while this lives; none without readers.
struct Workers {
    explicit Workers(std::unique_ptr<server::workers::ReaderSource> readers, const ReadPool::Options &options = {})
        : pool(readers ? std::make_unique<ReadPool>(std::move(readers), ReadPool::Wanted(), options) : nullptr)
    {
        server::workers::setReadPool(pool.get());
    }
    ~Workers() { server::workers::setReadPool(nullptr); }

    std::unique_ptr<ReadPool> pool;
};

class TestCheckServices : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void methodsInOrder();
    void onlyWithTheOwnLogin();
    void logNames();
    void answers_data();
    void answers();
    void withoutDatabase();
    void recalculation();
    void recalculationHoldsUpNobody();
    void daylightTime();
    void anyParameters();
    void fileRoundTrip_data();
    void fileRoundTrip();
    void unreadableFiles();
    void addedFiles();
    void commandToTerminal_data();
    void commandToTerminal();
    void manyCommandsOfOneClient();
    void restart_data();
    void restart();
    void restartWithoutRights();
    void restartWithoutScript();

private:
    QByteArray upload();

    std::unique_ptr<CallersSite> m_site;
    std::unique_ptr<QTemporaryDir> m_working; // is the working directory
    std::unique_ptr<QTemporaryDir> m_below;   // in the program's
    QString m_formerFolder;
};

void TestCheckServices::init()
{
    m_site = std::make_unique<CallersSite>();
    m_working = std::make_unique<QTemporaryDir>();
    m_below = std::make_unique<QTemporaryDir>(QCoreApplication::applicationDirPath() + "/checkXXXXXX");
    m_formerFolder = QDir::currentPath();
    QVERIFY(m_below->isValid() && QDir::setCurrent(m_working->path()));
    writeFile("zuk3server", kRecorder.arg("old").toUtf8()); // for what restarts
    QFile::setPermissions("zuk3server", QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

void TestCheckServices::cleanup()
{
    QDir::setCurrent(m_formerFolder);
    m_below.reset();
    m_working.reset();
    m_site.reset();
}

/// A new executable, which it returns. It is not executable, as after an upload.
QByteArray TestCheckServices::upload()
{
    const QByteArray recorder = kRecorder.arg("new").toUtf8();
    QDir().mkdir("update");
    writeFile("update/zuk3server", recorder);
    return recorder;
}

void TestCheckServices::methodsInOrder()
{
    QCOMPARE(methodsOf(TerminalCheckService::staticMetaObject).replace("(QString,QAny)", ""),
             QByteArray("started(int) finished(int) query exec save savehold saveQrCustomer insert timeSync recalc "
                        "krneki ping loadFile addFile "));
    QCOMPARE(methodsOf(AdminCheckService::staticMetaObject).replace("(QString,QAny)", ""),
             QByteArray("started(int) finished(int) query exec insert update addFile loadFile restartService recalc "
                        "version zukCmd zukConnected "));
}

void TestCheckServices::onlyWithTheOwnLogin()
{
    const QString refusal = R"({"error":{"code":10200,"message":"Not authorized"}})";
    const QString stranger = m_site->connection();
    for (const QString &service : kServices) {
        const QByteArray query = service.toLatin1() + ".query";
        for (const QString &caller : {m_site->callers["terminalcheck"], m_site->callers["admincheck"], stranger})
            QCOMPARE(json(m_site->TerminalSite::call(caller, query, "select 1 as N")),
                     caller == m_site->callers[service] ? QString(R"([{"N":1}])") : refusal);
    }
}

void TestCheckServices::logNames()
{
    // Some deliberately differ from their method's name.
    const QMap<QString, QString> others{{"terminalcheck.query", "TerminalCheckService::query lunga"},
                                        {"terminalcheck.exec", "TerminalCheckService::exec tunga"},
                                        {"admincheck.recalc", "AdminCheckService::restartService"}};
    const auto check = [&](const QString &service, const QMetaObject &meta, const QString &number) {
        for (int i = meta.methodOffset() + 2; i < meta.methodCount(); ++i) {
            const QString method = service + '.' + meta.method(i).name();
            const QString name = others.value(method, QString(meta.className()) + "::" + meta.method(i).name());
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^" + name + number + R"( QAny<Null>\(null\)$)"));
            m_site->ask(method);
        }
    };
    QTest::ignoreMessage(QtDebugMsg, "TerminalCheckService::addFile  size: 0");
    check("terminalcheck", TerminalCheckService::staticMetaObject, " 5");
    QTest::ignoreMessage(QtDebugMsg, "idt 0");
    check("admincheck", AdminCheckService::staticMetaObject, ".*");
    QTRY_COMPARE(contentOf("calls"), QByteArray("old -t\nold -s\n")); // of restartService
}

void TestCheckServices::answers_data()
{
    // stored: values of the configuration keys K, which is 1 at first, and K2
    const auto row = columns<QString, QByteArray, QString, QStringList, QStringList>(
        {"method", "params", "answer", "journal", "stored"});
    const auto add = [row](const char *name, const QString &method, const char *params, const char *answer,
                           const QStringList &journal = {}, const QStringList &stored = {"1"}) {
        row(qPrintable(method + ": " + name), method, params, answer, journal, stored);
    };
    const char *const ok = R"({"result":"true"})";
    for (const QString &service : kServices) {
        const auto any = [&](const char *method) { return service + '.' + method; };
        const bool isTerminal = service == kServices.first();
        const QStringList executed = isTerminal ? QStringList{R"(0|0|1|EXECSQL OK|{"DATA":null})"} : QStringList();
        add("rows", any("query"), R"("select VALUE, 2.5 as f, null as N, 'č' as S from config where KEY='K'")",
            R"([{"N":null,"S":"č","VALUE":"1","f":2.5}])");
        add("fails", any("query"), R"("select * from nowhere")", "[]");
        add("runs", any("exec"), R"("update config set VALUE='2' where KEY='K'")", ok, executed, {"2"});
        add("fails deliberately unnoticed", any("exec"), R"("update nowhere set VALUE='2'")", ok, executed);
        add("row", any("insert"), R"({"NAME":"CONFIG","TABLE":{"key":"K2","VALUE":"o'č","OTHER":1}})", ok,
            {R"(0|0|0|Insert true|{"DATA":{"NAME":"CONFIG","TABLE":{"OTHER":1,"VALUE":"o'č","key":"K2"}}})"},
            {"1", "o'č"});
        const QStringList refused{R"(0|0|0|Insert false|{"DATA":null})"};
        add("list of rows", any("insert"), R"({"NAME":"config","TABLE":[{"KEY":"K2"}]})",
            R"({"TBL":[{"KEY":"K2"}],"result":"false"})", refused);
        add("no such table", any("insert"), R"({"NAME":"nowhere","TABLE":{"KEY":"K2"}})",
            R"({"TBL":{"KEY":"K2"},"result":"false"})", refused);
    }
    const QString terminal = "terminalcheck.";
    add("refuses", terminal + "savehold", R"({"REGNO":"LJ %1"})", R"({"result":"false"})",
        {R"(0|0|3|SaveVehicleHold LJ %1 ERROR|{"DATA":{"REGNO":"LJ %1"}})"});
    add("refuses", terminal + "saveQrCustomer", R"({"REGNO":"LJ 1"})", R"({"result":"false"})",
        {R"(0|0|3|SaveQRVehicle LJ 1 ERROR|{"DATA":{"REGNO":"LJ 1"}})"});
    add("refuses", terminal + "save", R"({"REGNO":"LJ 1"})", R"({"result":"false","resultsql":"false"})",
        {R"(0|0|3|SaveVehicle LJ 1 ERROR|{"DATA":{"REGNO":"LJ 1"}})",
         R"(0|0|3|SaveVehicleSql LJ 1 ERROR|{"DATA":{"REGNO":"LJ 1"}})"});
    add("number", terminal + "savehold", R"({"REGNO":12})", R"({"result":"false"})",
        {R"(0|0|3|SaveVehicleHold 12 ERROR|{"DATA":{"REGNO":12}})"});
    add("without REGNO", terminal + "savehold", "{}", R"({"result":"false"})",
        {R"(0|0|3|SaveVehicleHold  ERROR|{"DATA":{}})"});

    const QString admin = "admincheck.";
    const QStringList notUpdated{R"(0|0|0|Update false|{"DATA":null})"};
    add("row", admin + "update", R"({"NAME":"config","TABLE":{"KEY":"K","VALUE":"2","A":1},"KEY":"KEY"})", ok,
        {R"(0|0|0|Update true|{"DATA":{"KEY":"KEY","NAME":"config","TABLE":{"A":1,"KEY":"K","VALUE":"2"}}})"}, {"2"});
    add("fails deliberately unnoticed", admin + "update",
        R"({"NAME":"config","TABLE":{"KEY":"K","VALUE":"o'x"},"KEY":"KEY"})", ok,
        {R"(0|0|0|Update true|{"DATA":{"KEY":"KEY","NAME":"config","TABLE":{"KEY":"K","VALUE":"o'x"}}})"});
    add("without the key's value", admin + "update", R"({"NAME":"config","TABLE":{"VALUE":"2"},"KEY":"KEY"})",
        R"({"TBL":{"VALUE":"2"},"result":"false"})", notUpdated);
    add("negative", admin + "zukCmd", R"({"ZUKID":-1})", R"({"ERROR":"ZUK Terminal id=-1 not connected!"})");
    add("would be 5 when cut", admin + "zukCmd", R"({"ZUKID":4294967301})",
        R"({"ERROR":"ZUK Terminal id=4294967301 not connected!"})");
}

void TestCheckServices::answers()
{
    QFETCH(QString, method);
    QFETCH(QByteArray, params);
    QFETCH(QString, answer);
    QFETCH(QStringList, journal);
    QFETCH(QStringList, stored);
    const Warnings expected;
    QVERIFY(m_site->database->exec("insert into config (KEY,VALUE) values ('K','1')"));
    QCOMPARE(m_site->ask(method, params), answer);
    QCOMPARE(m_site->journalRows(), journal);
    QCOMPARE(m_site->rows("select VALUE from config where KEY in ('K','K2') order by KEY"), stored);
}

void TestCheckServices::withoutDatabase()
{
    setDb(nullptr);
    const char *const row = R"({"NAME":"config","TABLE":{"KEY":"K"},"KEY":"KEY"})";
    for (const QString &service : kServices) {
        QCOMPARE(m_site->ask(service + ".exec", R"("delete from config")"), QString(R"({"result":"false"})"));
        QCOMPARE(m_site->ask(service + ".query", R"("select 1")"), QString("[]"));
        QCOMPARE(m_site->ask(service + ".insert", row), QString(R"({"TBL":{"KEY":"K"},"result":"false"})"));
        QCOMPARE(m_site->ask(service + ".recalc", "{}"), QString("null"));
    }
    QCOMPARE(m_site->ask("admincheck.update", row), QString(R"({"TBL":{"KEY":"K"},"result":"false"})"));
    QCOMPARE(m_site->ask("terminalcheck.save", row), QString(R"({"result":"false","resultsql":"false"})"));
}

void TestCheckServices::recalculation()
{
    QVERIFY(run(*m_site->database, threeEmployees() + twoDays()));
    const QAny request{{"STARTDATE", "3.3.2025"}, {"ENDDATE", "4.3.2025"}, {"CALC21", true}};
    QAny expected = DialogCalc3(*m_site->database).recalc(request);
    QVERIFY(expected.remove("TIME") && expected["PACK"]["DAYS"]["TABLE"].count() > 0);
    for (const bool onWorkers : {false, true}) {
        const Workers workers(onWorkers ? std::make_unique<FileReaders>(m_site->database->filePath()) : nullptr);
        for (const QString &service : kServices) {
            for (const char *line : {"^DialogCalc3::recalc\\(\\) START", "^CheckService::recalc\\(\\) END"})
                QTest::ignoreMessage(QtDebugMsg, QRegularExpression(line));
            QAny answer = m_site->call(service + ".recalc", request);
            QVERIFY(answer.lookup("TIME").isInteger() && answer.remove("TIME"));
            QCOMPARE(json(answer), json(expected));
        }
    }
}

/// Others are served while somebody's calculation is under way; what he sends meanwhile waits for its turn.
void TestCheckServices::recalculationHoldsUpNobody()
{
    GatedReaders::Gate gate;
    ReadPool::Options few;
    few.maxWaitingLarge = 1;
    const Workers workers(std::make_unique<GatedReaders>(m_site->database->filePath(), gate), few);
    std::vector<std::unique_ptr<RpcPeer>> peers;
    for (int number : {11, 12, 13, 14})
        peers.push_back(m_site->silentPeer(number, "adminterminal"));
    const QByteArray recalc = callText("admincheck.recalc", R"({"STARTDATE":"1.1.2025","ENDDATE":"31.12.2025"})");
    const QByteArray version = callText("admincheck.version", "null", R"("2")");
    const QByteArray versionResult = resultText(R"({"result":"true","ver":"ZUK3"})", R"("2")");
    peers[0]->write(recalc + version);
    QVERIFY(waitFor([&gate] { return gate.waiting > 0; }));
    peers[1]->write(recalc);
    QVERIFY(waitFor([this] { return !m_site->connection().isEmpty(); })); // that one has been read
    QCOMPARE(peers[3]->ask(version), versionResult);
    QCOMPARE(peers[2]->ask(recalc), errorText(KNet::InvokeError, "Too many calculations wait"));
    QCOMPARE(peers[0]->messages, QList<QByteArray>());
    gate.open();
    const QByteArray answer = peers[0]->next();
    QVERIFY2(answer.contains("\"PACK\""), answer.left(200));
    QCOMPARE(peers[0]->next(), versionResult);
}

void TestCheckServices::daylightTime()
{
    const struct {
        QDateTime now;
        const char *answer;
    } rows[] = {{{{2026, 3, 29}, {0, 59, 59, 999}, Qt::UTC}, R"({"DST":"FALSE","TIME":"1774745999"})"},
                {{{2026, 3, 29}, {1, 0}, Qt::UTC}, R"({"DST":"TRUE","TIME":"1774746000"})"},
                {{{2026, 10, 25}, {0, 30}, Qt::UTC}, R"({"DST":"TRUE","TIME":"1792888200"})"},
                {{{2026, 10, 25}, {1, 30}, Qt::UTC}, R"({"DST":"FALSE","TIME":"1792891800"})"}};
    for (const auto &row : rows) {
        TerminalCheckService service([&row] { return row.now.toMSecsSinceEpoch(); });
        QCOMPARE(json(service.timeSync(QString(), 1)), QString(row.answer));
    }
}

void TestCheckServices::anyParameters()
{
    const Warnings expected;
    const QMap<QString, QString> known{
        {"query", "[]"},
        {"exec", R"({"result":"true"})"},
        {"insert", R"({"TBL":%1,"result":"false"})"},
        {"update", R"({"TBL":%1,"result":"false"})"},
        {"loadFile", "null"},
        {"addFile", QString(R"({"file":"%1//","result":"true"})").arg(QCoreApplication::applicationDirPath())},
        {"save", R"({"result":"false","resultsql":"false"})"},
        {"savehold", R"({"result":"false"})"},
        {"saveQrCustomer", R"({"result":"false"})"},
        {"krneki", R"({"KRNEKI":"krneki"})"},
        {"ping", R"({"PING":"OK"})"},
        {"version", R"({"result":"true","ver":"ZUK3"})"},
        {"zukCmd", R"({"ERROR":"ZUK Terminal id=0 not connected!"})"},
        {"restartService", R"({"msg":"restart","result":"true"})"},
    };
    for (const char *params :
         {"null", "true", "-9223372036854775808", "2.5", R"("x")", "[]", R"([1,{"NAME":"x"}])",
          R"({"NAME":[],"TABLE":5,"KEY":{},"REGNO":[1],"FILE":{"a":1},"DIR":null,"FNAME":[2],"ZUKID":{},)"
          R"("STARTDATE":[],"ENDDATE":{},"USER":{"a":[]},"SORT":[],"CALC21":{}})"}) {
        const QAny value = fromJson(params);
        const QString table = json(value.isHash() ? value.lookup("TABLE") : QAny());
        for (const QMetaObject *meta :
             {&TerminalCheckService::staticMetaObject, &AdminCheckService::staticMetaObject}) {
            const QString &service = kServices[meta == &AdminCheckService::staticMetaObject];
            for (int i = meta->methodOffset() + 2; i < meta->methodCount(); ++i) {
                const QString name = meta->method(i).name();
                const QAny answer = m_site->call(service + '.' + name, value);
                if (name == "timeSync")
                    QCOMPARE(answer.count(), 2);
                else if (name == "recalc")
                    QVERIFY2(answer.lookup("PACK").isHash(), params);
                else if (name == "zukConnected")
                    QCOMPARE(answer.lookup("ZUK").count(), 1);
                else
                    QCOMPARE(params + name + json(answer),
                             params + name + QString(known.value(name)).replace("%1", table));
            }
        }
        QTRY_COMPARE(contentOf("calls"), QByteArray("old -t\nold -s\n")); // of restartService
        QVERIFY(QFile::remove("calls"));
    }
}

void TestCheckServices::fileRoundTrip_data()
{
    const auto row = columns<QByteArray, QString>({"bytes", "foreign"}); // foreign: characters among those of the text
    QByteArray all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    QByteArray large;
    while (large.size() < 3 * 1024 * 1024 + 1)
        large += all + QByteArray::number(large.size());
    row("empty", "", "");
    for (int rest = 0; rest < 3; ++rest)
        row(qPrintable(QString("every byte, %1 over").arg((all.size() - rest) % 3)), all.left(all.size() - rest), "");
    row("many pieces", large, "");
    row("lines and foreign characters", large, QString::fromUtf8("\r\n =č\u0141-_😀"));
}

void TestCheckServices::fileRoundTrip()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, foreign);
    const QDateTime modified(QDate(2024, 2, 29), QTime(23, 59, 58));
    QVERIFY(QDir().mkdir("in"));
    writeFile("in/a b.bin", bytes);
    QFile file("in/a b.bin");
    QVERIFY(file.open(QIODevice::Append) && file.setFileTime(modified, QFileDevice::FileModificationTime));
    file.close();

    for (const QString &service : kServices) {
        const bool isTerminal = service == kServices.first();
        const QString name = isTerminal ? "TerminalCheckService" : "AdminCheckService";
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression('^' + name + "::loadFile file: \"?in/a b.bin\"?$"));
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression('^' + name + "::loadFile OK:"));
        const QAny loaded = m_site->call(service + ".loadFile", {{"DIR", "in"}, {"FNAME", "a b.bin"}});
        QString text = loaded.lookup("DATA").toString();
        QVERIFY(loaded.lookup("DATA").isString() && text == bytes.toBase64());
        QCOMPARE(loaded.count(), isTerminal ? 6 : 1);
        if (isTerminal) {
            QCOMPARE(loaded.lookup("lastModified").toString(), QString("29.02.2024 23:59:58"));
            for (const QString &key : {QString("birthTime"), QString("created")}) {
                const QDateTime time = QDateTime::fromString(loaded.lookup(key).toString(), kTimeFormat);
                QVERIFY(loaded.lookup(key).isString() && loaded.lookup(key + "Ts").isString());
                if (time.isValid() || key == "created") // not every file system knows the birth
                    QCOMPARE(loaded.lookup(key + "Ts").toString(), QString::number(time.toSecsSinceEpoch()));
            }
        }
        for (int at = text.size(); !foreign.isEmpty() && at >= 0; at -= 777777)
            text.insert(at, foreign);
        const QString folder = QFileInfo(m_below->path()).fileName() + '/' + service; // made for it
        const QString path = QCoreApplication::applicationDirPath() + '/' + folder + "/a b.bin";
        if (isTerminal)
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^TerminalCheckService::addFile  size: \\d+$"));
        const QAny added = m_site->call(service + ".addFile", {{"FILE", text}, {"DIR", folder}, {"FNAME", "a b.bin"}});
        QCOMPARE(json(added), QString(R"({"file":"%1","result":"true"})").arg(path));
        QVERIFY(contentOf(path) == bytes);
    }
}

void TestCheckServices::unreadableFiles()
{
    QVERIFY(QDir().mkdir("in"));
    writeFile("in/file", "x");
    writeFile("in/huge", "");
    QVERIFY(QFile::resize("in/huge", FileTransfer::kMaxFileBytes + 1)); // sparse
    const Warnings expected;
    // Missing, a folder, no name, a file as a folder, without an end, and what would be too long a text.
    for (const char *path : {"in|missing", ".|in", "in|", "in/file|x", "/dev|zero", "in|huge"}) {
        const QStringList parts = QString(path).split('|');
        const QAny params{{"DIR", parts.first()}, {"FNAME", parts.last()}};
        for (const QString &service : kServices)
            QCOMPARE(path + json(m_site->call(service + ".loadFile", params)), QString(path) + "null");
    }
    QCOMPARE(Warnings::lines.size(), 2); // of the last one
}

void TestCheckServices::addedFiles()
{
    const struct {
        const char *folder; // below the test's own
        const char *name;
        const char *found; // the content afterwards
    } rows[] = {
        {"/old", "file", "new"},                                             // shorter than the former
        {"/fresh", "file", "new"},        {"/fresh/two", "file", "no file"}, // of two new folders only one is made
        {"", "old", "no file"},                                              // a folder as a file
        {"/../..", "outside", "no file"}, {"/old", "../../../outside", "no file"}, {"/old", "", "no file"}};
    const Warnings told;
    for (int i = 0; i < 2 * int(std::size(rows)); ++i) {
        const auto &row = rows[i / 2];
        Warnings::lines.clear();
        QDir(m_below->path()).mkdir("old");
        writeFile(m_below->filePath("old/file"), "a longer one");
        const QString below = QFileInfo(m_below->path()).fileName() + row.folder;
        const QAny params{{"FILE", "bmV3"}, {"DIR", below}, {"FNAME", row.name}};
        const QString path = QCoreApplication::applicationDirPath() + '/' + below + '/' + row.name;
        // Deliberate: the caller is not told of a failure.
        QCOMPARE(json(m_site->call(kServices[i % 2] + ".addFile", params)),
                 QString(R"({"file":"%1","result":"true"})").arg(path));
        QCOMPARE(QString(contentOf(path)), QString(row.found));
        QCOMPARE(Warnings::lines.size(), contentOf(path) == "new" ? 0 : 1);
        QVERIFY(QDir(m_below->path()).removeRecursively() && QDir().mkdir(m_below->path()));
    }
#ifdef Q_OS_UNIX
    // Who opens a pipe for writing waits for its reader.
    QCOMPARE(mkfifo(QFile::encodeName(m_below->filePath("pipe")).constData(), 0600), 0);
    m_site->call(kServices.first() + ".addFile", {{"DIR", QFileInfo(m_below->path()).fileName()}, {"FNAME", "pipe"}});
#endif
}

void TestCheckServices::commandToTerminal_data()
{
    // The reply is the terminal's; without one it vanishes.
    const auto row = columns<QByteArray, QByteArray, QString>({"params", "reply", "answer"});
    const QByteArray params = R"({"CMD":{"a":[1,"č"]},"ZUKID":7})";
    row("object", params, R"("result":{"OK":[1,"č"]})", R"({"OK":[1,"č"]})");
    row("number as a text", R"({"ZUKID":"7"})", R"("result":5)", "5");
    row("vanishes", params, "", R"({"error":{"code":10310,"message":"Connection closed"}})");
}

void TestCheckServices::commandToTerminal()
{
    QFETCH(QByteArray, params);
    QFETCH(QByteArray, reply);
    QFETCH(QString, answer);
    RpcPeer terminal(m_site->server.serverPort());
    QStringList commands;
    QString meanwhile;
    const auto respond = [&terminal](const QAny &call, const QByteArray &body) {
        terminal.socket->write(R"({"knetrpc":"1.0","id":)" + call.lookup("id").toJsonUtf8() + ',' + body + '}');
    };
    terminal.onCall = [&](const QAny &call) {
        if (call.lookup("method").toString() != "logger.zukCmd")
            return respond(call, R"("result":[])");
        commands += json(call.lookup("params"));
        QTimer::singleShot(0, terminal.socket.get(), [&, call] {
            meanwhile = m_site->ask("terminalcheck.ping");
            if (reply.isEmpty())
                terminal.socket->abort();
            else
                respond(call, reply);
        });
    };
    QCOMPARE(terminal.ask(callText("mainterminal.login", R"({"id":7})")), resultText("true"));
    QCOMPARE(m_site->ask("admincheck.zukCmd", params), answer);
    QCOMPARE(commands, QStringList{QString::fromUtf8(params)}); // sent once, unchanged
    QCOMPARE(meanwhile, QString(R"({"PING":"OK"})"));
    QCOMPARE(m_site->main->isConnected(7), !reply.isEmpty());
}

/// One client's commands to a silent terminal leave room for the others'.
void TestCheckServices::manyCommandsOfOneClient()
{
    const auto terminal = m_site->silentPeer(7);
    const auto client = m_site->silentPeer(201, "adminterminal");
    const QByteArray command = callText("admincheck.zukCmd", R"({"ZUKID":7})");
    // The refusal is the only answer while the terminal is silent. Our own wait is below the waiting commands.
    QTimer::singleShot(0, this, [&] { client->write(command.repeated(AdminCheckService::kMaxWaitingCommands + 1)); });
    connect(client->socket.get(), &QTcpSocket::readyRead, this,
            [this] { QTimer::singleShot(0, m_site->main.get(), [this] { m_site->main->disconnectTerminal(7); }); });
    QCOMPARE(client->next(), resultText(R"({"error":{"code":10300,"message":"Connection error"}})"));
    for (int i = 0; i < AdminCheckService::kMaxWaitingCommands; ++i)
        QVERIFY(client->next().contains("10310"));
}

void TestCheckServices::restart_data()
{
    const auto row = columns<bool, QByteArray>({"uploaded", "calls"});
    row("with an uploaded executable", true, "old -t\nnew -s\n");
    row("with the same", false, "old -t\nold -s\n");
}

void TestCheckServices::restart()
{
#ifdef Q_OS_UNIX
    QFETCH(bool, uploaded);
    QFETCH(QByteArray, calls);
    const QByteArray expected = uploaded ? upload() : contentOf("zuk3server");
    writeFile("rest.bat", QByteArray(1000, 'x'));
    QCOMPARE(m_site->ask("admincheck.restartService"), QString(R"({"msg":"restart","result":"true"})"));
    QCOMPARE(contentOf("rest.bat"),
             QByteArray("zuk3server -t\ncopy update/zuk3server.exe zuk3server.exe\nzuk3server -s\n"));
    QTRY_COMPARE(contentOf("calls"), calls);
    QCOMPARE(contentOf("zuk3server"), expected);
    QVERIFY(!QFile::exists("update/zuk3server"));
#else
    QSKIP("the stand-in is a shell script");
#endif
}

void TestCheckServices::restartWithoutRights()
{
#ifdef Q_OS_UNIX
    // A service that is not root may neither stop itself nor start a program outside itself; it may end.
    static volatile std::sig_atomic_t ended;
    ended = 0;
    const auto former = std::signal(SIGTERM, [](int) { ended = 1; });
    qputenv("SYSTEMD_EXEC_PID", QByteArray::number(QCoreApplication::applicationPid()));
    const QByteArray recorder = upload();
    for (const char *folder : {".", "update"})
        QFile::setPermissions(folder, QFileDevice::Permissions(0x7777));
    const bool isRoot = geteuid() == 0;
    QVERIFY(!isRoot || seteuid(65534) == 0);
    const QString answer = m_site->ask("admincheck.restartService");
    QVERIFY(!isRoot || seteuid(0) == 0);
    qunsetenv("SYSTEMD_EXEC_PID");
    QCOMPARE(answer, QString(R"({"msg":"restart","result":"true"})"));
    QTRY_VERIFY(ended);
    std::signal(SIGTERM, former);
    QCOMPARE(contentOf("zuk3server"), recorder);
    QVERIFY(QFileInfo("zuk3server").isExecutable());
    QCOMPARE(contentOf("calls"), QByteArray("no file"));
#else
    QSKIP("the service manager is another");
#endif
}

void TestCheckServices::restartWithoutScript()
{
    const Warnings expected;
    QVERIFY(QDir(m_working->path()).removeRecursively()); // nothing can be written
    QCOMPARE(m_site->ask("admincheck.restartService"), QString(R"({"msg":"Ni datoteke rest.bat!","result":"false"})"));
}

QTEST_GUILESS_MAIN(TestCheckServices)
#include "tst_checkservices.moc"
