#include "admincheckservice.h"
#include "attendancefile.h"
#include "dialogcalc3.h"
#include "filetransfer.h"
#include "rpcpeer.h"
#include "terminalcheckservice.h"
#include "terminalsite.h"

#include <QDir>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <ctime>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

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
    const QByteArray text = value.toJsonUtf8();
    return QString::fromUtf8(value.isHash() || value.isList() ? canonical(text) : text);
}

/// The site with the check services, terminal 5 and the administration client 6.
class CheckSite : public TerminalSite
{
public:
    CheckSite()
    {
        setLogger(journal.get());
        server.registerService("terminalcheck", &terminalCheck);
        server.registerService("admincheck", &adminCheck);
        for (const QString &service : kServices)
            server.addServiceRequirement(service, service);
        callers = {{"terminalcheck", terminal(5)}, {"admincheck", terminal(6, "adminterminal")}};
    }
    ~CheckSite()
    {
        for (const QString &service : kServices)
            server.unregisterService(service);
        setLogger(nullptr);
    }

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

    QMap<QString, QString> callers; // connections by service
    TerminalCheckService terminalCheck;
    AdminCheckService adminCheck;
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
    void daylightTime_data();
    void daylightTime();
    void anyParameters_data();
    void anyParameters();
    void fileRoundTrip_data();
    void fileRoundTrip();
    void unreadableFiles_data();
    void unreadableFiles();
    void addedFiles_data();
    void addedFiles();
    void commandToTerminal_data();
    void commandToTerminal();
    void manyCommandsOfOneClient();
    void connectedTerminals();
    void restart_data();
    void restart();
    void restartWithoutRights();
    void restartWithoutScript();

private:
    void write(const QString &path, const QByteArray &content, bool executable = false);
    QByteArray content(const QString &path);

    std::unique_ptr<CheckSite> m_site;
    std::unique_ptr<QTemporaryDir> m_working; // is the working directory
    std::unique_ptr<QTemporaryDir> m_below;   // in the program's
    QString m_formerFolder;
};

void TestCheckServices::init()
{
    m_site = std::make_unique<CheckSite>();
    m_working = std::make_unique<QTemporaryDir>();
    m_below = std::make_unique<QTemporaryDir>(QCoreApplication::applicationDirPath() + "/checkXXXXXX");
    m_formerFolder = QDir::currentPath();
    QVERIFY(m_below->isValid() && QDir::setCurrent(m_working->path()));
    write("zuk3server", kRecorder.arg("old").toUtf8(), true); // for what restarts
}

void TestCheckServices::cleanup()
{
    QDir::setCurrent(m_formerFolder);
    m_below.reset();
    m_working.reset();
    m_site.reset();
}

void TestCheckServices::write(const QString &path, const QByteArray &content, bool executable)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
    if (executable)
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
}

QByteArray TestCheckServices::content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

void TestCheckServices::methodsInOrder()
{
    const auto methods = [](const QMetaObject &meta) {
        QByteArray found;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const bool isSignal = meta.method(i).methodType() == QMetaMethod::Signal;
            if (meta.method(i).methodSignature() != meta.method(i).name() + (isSignal ? "(int)" : "(QString,QAny)"))
                found += "wrong ";
            found += meta.method(i).name() + ' ';
        }
        return found;
    };
    QCOMPARE(methods(TerminalCheckService::staticMetaObject),
             QByteArray("started finished query exec save savehold saveQrCustomer insert timeSync recalc krneki ping "
                        "loadFile addFile "));
    QCOMPARE(methods(AdminCheckService::staticMetaObject),
             QByteArray("started finished query exec insert update addFile loadFile restartService recalc version "
                        "zukCmd zukConnected "));
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
    QTRY_COMPARE(content("calls"), QByteArray("old -t\nold -s\n")); // of restartService
}

void TestCheckServices::answers_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QByteArray>("params");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QStringList>("journal"); // an ending "*" stands for any data
    QTest::addColumn<QStringList>("stored");  // values of the configuration key K, which is 1 at first
    const auto add = [](const char *name, const QString &method, const char *params, const char *answer,
                        const QStringList &journal = {}, const QStringList &stored = {"1"}) {
        QTest::newRow(qPrintable(method + ": " + name)) << method << QByteArray(params) << answer << journal << stored;
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
    const char *const twice = R"({"result":"false","resultsql":"false"})";
    add("refuses", terminal + "save", R"({"REGNO":"LJ 1"})", twice,
        {R"(0|0|3|SaveVehicle LJ 1 ERROR|{"DATA":{"REGNO":"LJ 1"}})", "0|0|3|SaveVehicleSql LJ 1 ERROR|*"});
    add("number", terminal + "save", R"({"REGNO":12})", twice,
        {R"(0|0|3|SaveVehicle 12 ERROR|{"DATA":{"REGNO":12}})", "0|0|3|SaveVehicleSql 12 ERROR|*"});
    add("without REGNO", terminal + "savehold", "{}", R"({"result":"false"})",
        {R"(0|0|3|SaveVehicleHold  ERROR|{"DATA":{}})"});

    const QString admin = "admincheck.";
    const QStringList notUpdated{R"(0|0|0|Update false|{"DATA":null})"};
    add("row", admin + "update", R"({"NAME":"config","TABLE":{"KEY":"K","VALUE":"2","A":1},"KEY":"KEY"})", ok,
        {R"(0|0|0|Update true|{"DATA":{"KEY":"KEY","NAME":"config","TABLE":{"A":1,"KEY":"K","VALUE":"2"}}})"}, {"2"});
    add("fails deliberately unnoticed", admin + "update",
        R"({"NAME":"config","TABLE":{"KEY":"K","VALUE":"o'x"},"KEY":"KEY"})", ok, {"0|0|0|Update true|*"});
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
    const QStringList told = m_site->journalRows();
    QCOMPARE(told.size(), journal.size());
    for (int i = 0; i < told.size(); ++i) {
        const bool anyData = journal[i].endsWith('*');
        QCOMPARE(anyData ? told[i].left(journal[i].size() - 1) + '*' : told[i], journal[i]);
    }
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
    for (const QString &service : kServices) {
        for (const char *line : {"^DialogCalc3::recalc\\(\\) START", "^CheckService::recalc\\(\\) END"})
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression(line));
        QAny answer = m_site->call(service + ".recalc", request);
        QVERIFY(answer.lookup("TIME").isInteger() && answer.remove("TIME"));
        QCOMPARE(json(answer), json(expected));
    }
}

void TestCheckServices::daylightTime_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QString>("dst");
    QTest::newRow("in summer all the year") << QByteArray("STD-1DST,0/0,J365/25") << "TRUE";
    QTest::newRow("without summer time") << QByteArray("STD-1") << "FALSE";
}

void TestCheckServices::daylightTime()
{
#ifdef Q_OS_UNIX
    QFETCH(QByteArray, zone);
    QFETCH(QString, dst);
    const QByteArray former = qgetenv("TZ");
    qputenv("TZ", zone);
    tzset();
    const qint64 before = std::time(nullptr);
    const QAny answer = m_site->call("terminalcheck.timeSync", 1);
    const qint64 after = std::time(nullptr);
    qputenv("TZ", former);
    tzset();
    QVERIFY(answer.lookup("TIME").isString());
    const qint64 time = answer.lookup("TIME").toInteger();
    QVERIFY(before <= time && time <= after);
    QCOMPARE(json(answer), QString(R"({"DST":"%1","TIME":"%2"})").arg(dst).arg(time));
#else
    QSKIP("zones by environment only");
#endif
}

void TestCheckServices::anyParameters_data()
{
    QTest::addColumn<QByteArray>("params");
    for (const char *params : {"null", "true", "-9223372036854775808", "2.5", R"("x")", "[]", R"([1,{"NAME":"x"}])",
                               R"({"NAME":[],"TABLE":5,"KEY":{},"REGNO":[1],"FILE":{"a":1},"DIR":null,"FNAME":[2],)"
                               R"("ZUKID":{},"STARTDATE":[],"ENDDATE":{},"USER":{"a":[]},"SORT":[],"CALC21":{}})"})
        QTest::newRow(params) << QByteArray(params);
}

void TestCheckServices::anyParameters()
{
    QFETCH(QByteArray, params);
    const Warnings expected;
    const QAny value = fromJson(params);
    const QString table = json(value.isHash() ? value.lookup("TABLE") : QAny());
    const QString notStored = QString(R"({"TBL":%1,"result":"false"})").arg(table);
    const QString added = QString(R"({"file":"%1//","result":"true"})").arg(QCoreApplication::applicationDirPath());
    const QMap<QString, QString> known{
        {"query", "[]"},
        {"exec", R"({"result":"true"})"},
        {"insert", notStored},
        {"update", notStored},
        {"loadFile", "null"},
        {"addFile", added},
        {"save", R"({"result":"false","resultsql":"false"})"},
        {"savehold", R"({"result":"false"})"},
        {"saveQrCustomer", R"({"result":"false"})"},
        {"krneki", R"({"KRNEKI":"krneki"})"},
        {"ping", R"({"PING":"OK"})"},
        {"version", R"({"result":"true","ver":"ZUK3"})"},
        {"zukCmd", R"({"ERROR":"ZUK Terminal id=0 not connected!"})"},
        {"restartService", R"({"msg":"restart","result":"true"})"},
    };
    for (const QMetaObject *meta : {&TerminalCheckService::staticMetaObject, &AdminCheckService::staticMetaObject}) {
        const QString &service = kServices[meta == &AdminCheckService::staticMetaObject];
        for (int i = meta->methodOffset() + 2; i < meta->methodCount(); ++i) {
            const QString name = meta->method(i).name();
            const QAny answer = m_site->call(service + '.' + name, value);
            if (name == "timeSync")
                QCOMPARE(answer.count(), 2);
            else if (name == "recalc")
                QVERIFY(answer.lookup("PACK").isHash());
            else if (name == "zukConnected")
                QCOMPARE(answer.lookup("ZUK").count(), 1);
            else
                QCOMPARE(name + json(answer), name + known.value(name));
        }
    }
    QTRY_COMPARE(content("calls"), QByteArray("old -t\nold -s\n")); // of restartService
}

void TestCheckServices::fileRoundTrip_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("foreign"); // characters among those of the text
    QByteArray all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    QByteArray large;
    while (large.size() < 3 * 1024 * 1024 + 1)
        large += all + QByteArray::number(large.size());
    QTest::newRow("empty") << QByteArray() << QString();
    for (int rest = 0; rest < 3; ++rest)
        QTest::newRow(qPrintable(QString("every byte, %1 over").arg((all.size() - rest) % 3)))
            << all.left(all.size() - rest) << QString();
    QTest::newRow("many pieces") << large << QString();
    QTest::newRow("lines and foreign characters") << large << QString::fromUtf8("\r\n =č\u0141-_😀");
}

void TestCheckServices::fileRoundTrip()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, foreign);
    const QDateTime modified(QDate(2024, 2, 29), QTime(23, 59, 58));
    QVERIFY(QDir().mkdir("in"));
    write("in/a b.bin", bytes);
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
        QStringList keys = loaded.keys();
        keys.sort();
        QCOMPARE(keys.join(' '),
                 QString(isTerminal ? "DATA birthTime birthTimeTs created createdTs lastModified" : "DATA"));
        if (isTerminal) {
            QCOMPARE(loaded.lookup("lastModified").toString(), QString("29.02.2024 23:59:58"));
            for (const QString &key : {QString("birthTime"), QString("created")}) {
                const QDateTime time = QDateTime::fromString(loaded.lookup(key).toString(), kTimeFormat);
                QVERIFY(loaded.lookup(key + "Ts").isString());
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
        QVERIFY(content(path) == bytes);
    }
}

void TestCheckServices::unreadableFiles_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << "in"
                             << "missing";
    QTest::newRow("folder missing") << "missing"
                                    << "file";
    QTest::newRow("folder") << "."
                            << "in";
    QTest::newRow("no name") << "in"
                             << "";
    QTest::newRow("file as a folder") << "in/file"
                                      << "x";
    QTest::newRow("without an end") << "/dev"
                                    << "zero";
    QTest::newRow("would be too long a text") << "in"
                                              << "huge";
}

void TestCheckServices::unreadableFiles()
{
    QFETCH(QString, folder);
    QFETCH(QString, name);
    QVERIFY(QDir().mkdir("in"));
    write("in/file", "x");
    write("in/huge", "");
    QVERIFY(QFile::resize("in/huge", FileTransfer::kMaxFileBytes + 1)); // sparse
    const Warnings expected;
    for (const QString &service : kServices)
        QCOMPARE(json(m_site->call(service + ".loadFile", {{"DIR", folder}, {"FNAME", name}})), QString("null"));
    QCOMPARE(Warnings::lines.size(), name == "huge" ? 2 : 0);
}

void TestCheckServices::addedFiles_data()
{
    QTest::addColumn<QString>("folder"); // below the test's own
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("found"); // the content afterwards
    QTest::newRow("shorter than the former") << "/old"
                                             << "file"
                                             << "new";
    QTest::newRow("new folder") << "/fresh"
                                << "file"
                                << "new";
    QTest::newRow("two new folders, which only one is made of") << "/fresh/two"
                                                                << "file"
                                                                << "no file";
    QTest::newRow("folder as a file") << ""
                                      << "old"
                                      << "no file";
    QTest::newRow("file as a folder") << "/old/file"
                                      << "x"
                                      << "no file";
    QTest::newRow("no name") << "/old"
                             << ""
                             << "no file";
}

void TestCheckServices::addedFiles()
{
    QFETCH(QString, folder);
    QFETCH(QString, name);
    QFETCH(QString, found);
    const Warnings told;
    for (const QString &service : kServices) {
        Warnings::lines.clear();
        QDir(m_below->path()).mkdir("old");
        write(m_below->filePath("old/file"), "a longer one");
        const QString below = QFileInfo(m_below->path()).fileName() + folder;
        const QAny params{{"FILE", "bmV3"}, {"DIR", below}, {"FNAME", name}};
        const QString path = QCoreApplication::applicationDirPath() + '/' + below + '/' + name;
        // Deliberate: the caller is not told of a failure.
        QCOMPARE(json(m_site->call(service + ".addFile", params)),
                 QString(R"({"file":"%1","result":"true"})").arg(path));
        QCOMPARE(QString(content(path)), found);
        QCOMPARE(Warnings::lines.size(), found == "new" ? 0 : 1);
        QVERIFY(QDir(m_below->path()).removeRecursively() && QDir().mkdir(m_below->path()));
    }
}

void TestCheckServices::commandToTerminal_data()
{
    QTest::addColumn<QByteArray>("params");
    QTest::addColumn<QByteArray>("reply"); // of the terminal; without one it vanishes
    QTest::addColumn<QString>("answer");
    const QByteArray params = R"({"CMD":{"a":[1,"č"]},"ZUKID":7})";
    QTest::newRow("object") << params << QByteArray(R"("result":{"OK":[1,"č"]})") << R"({"OK":[1,"č"]})";
    QTest::newRow("number as a text") << QByteArray(R"({"ZUKID":"7"})") << QByteArray(R"("result":5)") << "5";
    QTest::newRow("refused") << params << QByteArray(R"("error":{"code":10110,"message":"No such method"})")
                             << R"({"error":{"code":10110,"message":"No such method"}})";
    QTest::newRow("vanishes") << params << QByteArray() << R"({"error":{"code":10310,"message":"Connection closed"}})";
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
    RpcPeer terminal(m_site->server.serverPort());
    QCOMPARE(terminal.ask(callText("mainterminal.login", R"({"id":7})")), resultText("true"));
    RpcPeer client(m_site->server.serverPort());
    QCOMPARE(client.ask(callText("adminterminal.login", R"({"id":201})")), resultText("true"));
    QVERIFY(client.next().contains("logger.getLogs"));
    const QByteArray command = callText("admincheck.zukCmd", R"({"ZUKID":7})");
    // The refusal is the only answer while the terminal is silent. Our own wait is below the waiting commands.
    QTimer::singleShot(0, this, [&] { client.write(command.repeated(AdminCheckService::kMaxWaitingCommands + 1)); });
    connect(client.socket.get(), &QTcpSocket::readyRead, this,
            [this] { QTimer::singleShot(0, m_site->main.get(), [this] { m_site->main->disconnectTerminal(7); }); });
    QCOMPARE(client.next(), resultText(R"({"error":{"code":10300,"message":"Connection error"}})"));
    for (int i = 0; i < AdminCheckService::kMaxWaitingCommands; ++i)
        QVERIFY(client.next().contains("10310"));
}

void TestCheckServices::connectedTerminals()
{
    QVERIFY(
        m_site->database->insert("config", {{"KEY", "ZUK5"}, {"VALUE", " NAME = Vhod;DOOR=1\r\nnothing\nA=b=c\n"}}));
    QVERIFY(!m_site->terminal(8).isEmpty());
    const QAny answer = m_site->call("admincheck.zukConnected");
    QMap<QString, QString> found;
    for (int i = 0; i < answer.lookup("ZUK").count(); ++i)
        found.insert(json(answer["ZUK"][i].lookup("KEY")), json(answer["ZUK"][i]));
    const QMap<QString, QString> settings{{"5", R"({"A":"b=c","DOOR":"1","NAME":"Vhod"})"}, {"8", "{}"}};
    QCOMPARE(found.keys(), settings.keys());
    for (auto it = settings.begin(); it != settings.end(); ++it)
        QCOMPARE(found[it.key()], QString(R"({"CFG":%1,"KEY":%2,"VAL":"%3"})")
                                      .arg(it.value(), it.key(), m_site->main->connectionId(it.key().toInt())));
    m_site->main->disconnectAll();
    QCOMPARE(m_site->ask("admincheck.zukConnected"), QString(R"({"ERROR":"No ZUK connection"})"));
}

void TestCheckServices::restart_data()
{
    QTest::addColumn<bool>("uploaded");
    QTest::addColumn<QByteArray>("calls");
    QTest::newRow("with an uploaded executable") << true << QByteArray("old -t\nnew -s\n");
    QTest::newRow("with the same") << false << QByteArray("old -t\nold -s\n");
}

void TestCheckServices::restart()
{
#ifdef Q_OS_UNIX
    QFETCH(bool, uploaded);
    QFETCH(QByteArray, calls);
    QVERIFY(QDir().mkdir("update"));
    const QByteArray recorder = kRecorder.arg("new").toUtf8();
    if (uploaded)
        write("update/zuk3server", recorder); // not executable, as after an upload
    write("rest.bat", QByteArray(1000, 'x'));
    QCOMPARE(m_site->ask("admincheck.restartService"), QString(R"({"msg":"restart","result":"true"})"));
    QCOMPARE(content("rest.bat"),
             QByteArray("zuk3server -t\ncopy update/zuk3server.exe zuk3server.exe\nzuk3server -s\n"));
    QTRY_COMPARE(content("calls"), calls);
    QCOMPARE(content("zuk3server") == recorder, uploaded);
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
    QVERIFY(QDir().mkdir("update"));
    const QByteArray recorder = kRecorder.arg("new").toUtf8();
    write("update/zuk3server", recorder);
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
    QCOMPARE(content("zuk3server"), recorder);
    QVERIFY(QFileInfo("zuk3server").isExecutable());
    QCOMPARE(content("calls"), QByteArray("no file"));
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
