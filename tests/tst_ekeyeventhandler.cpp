#include "attendancefile.h"
#include "files.h"
#include "rows.h"
#include "server/reader/ekeyeventhandler.h"
#include "terminalsite.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QSemaphore>
#include <QTest>

using server::reader::EkeyLineProcessor;
using server::reader::EkeySettings;
using server::reader::MainThreadWork;

class TestEkeyEventHandler : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void settings();
    void lines_data();
    void lines();
    void dayEnds();
    void autumnHour();
    void databaseLacksSomething();
    void boundOnWhatWaits();
    void fileComesAndGoes();
    void terminals();
    void growsBehindLockedDatabase();
    void stopsWhileMainThreadIsBusy();
    void withoutFollower();
    void givesUpWhoHangs();
};

static const QString kNew = QStringLiteral("Logger::EKEY_CSV_TRACKER Detected new CSV entry");
static const QString kInitialRunEnded = QStringLiteral("Logger::EKEY_CSV_TRACKER Initial run ended");

/// A site where the reader's user 70 is employee 5, user 80 one whom the administration does not know, and the reader
/// 3 stands for terminal 12.
class ReaderSite : public TerminalSite
{
public:
    ReaderSite()
    {
        setLogger(&m_logger);
        run(*database, threeEmployees());
        settings.file = folder.filePath(QStringLiteral("ekey.csv"));
        settings.isOn = true;
        settings.readers[2].terminal = 12;
        settings.readers[4] = {QStringLiteral("vhod"), 13};
        const EkeyEventHandler maker(settings);
        database->exec("insert into ULKAIDS (UID,ULKAID) values (5,'70')");
        database->exec("insert into ULKAIDS (UID,ULKAID) values (80,'80')");
    }
    ~ReaderSite() { setLogger(nullptr); }

    void write(const QByteArray &bytes, QIODevice::OpenMode mode = QIODevice::Append)
    {
        QFile file(settings.file);
        QVERIFY(file.open(mode));
        file.write(bytes);
    }
    QStringList messages() { return rows("select FMESSAGE from logs order by IDX"); }
    bool waitForMessage(const QString &message)
    {
        return waitFor([&] { return messages().contains(message); });
    }
    QStringList times() { return rows("select TIMESTAMP from events order by ID"); }

    EkeySettings settings;

private:
    // With an address, so that it is not searched for with every row.
    Logger m_logger{{}, [] { return QList<QHostAddress>{QHostAddress(QStringLiteral("192.168.0.9"))}; }};
};

/// A clock that stands still at a local "yyyy-MM-dd hh:mm".
static server::process::Clock clockAt(const char *local)
{
    return [now = unixTime(local) * 1000] { return now; };
}

static EkeyLineProcessor::Entries entries(const QByteArrayList &lines)
{
    EkeyLineProcessor::Entries list;
    for (const QByteArray &line : lines)
        list.push_back({line, {}});
    return list;
}

void TestEkeyEventHandler::init()
{
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
}

void TestEkeyEventHandler::settings()
{
    const QString usual = QStringLiteral("ekey.csv|%1|d.M.yyyy hh:mm:ss|1:1,2:2,3:3,4:4,5:5");
    const std::pair<QByteArray, QString> rows[] = {
        {"", usual.arg(0)},
        {"ON=true\nUlkaId3=vhod\nZukId4=17\nFILE=C:/ekey/\xc5\xa1.csv",
         QStringLiteral("C:/ekey/š.csv|1|d.M.yyyy hh:mm:ss|1:1,2:2,vhod:3,4:17,5:5")},
        {"FILE=a,b.csv\nON=1\nDATEF=\"d.M.yyyy, hh:mm\"", "a,b.csv|1|d.M.yyyy, hh:mm|1:1,2:2,3:3,4:4,5:5"},
        {"ON=off\n", usual.arg(0)},
        {"ZukId2=x\n", usual.arg(0).replace("2:2", "2:-1")}}; // a terminal that is no number
    const auto values = [](const EkeySettings &read) {
        QStringList readers;
        for (const EkeySettings::Reader &reader : read.readers)
            readers += reader.id + ':' + QString::number(reader.terminal);
        return QStringList{read.file, QString::number(read.isOn), read.dateFormat, readers.join(',')}.join('|');
    };
    const QTemporaryDir folder;
    QDir::setCurrent(folder.path());
    for (const auto &[file, expected] : rows) {
        writeFile(QStringLiteral("UlkaCsv.ini"), "[CSVFILE]\n" + file);
        const EkeySettings read = EkeySettings::read();
        QCOMPARE(values(read), expected);
        QVERIFY(QFile::remove(QStringLiteral("UlkaCsv.ini")) && read.write());
        QCOMPARE(values(EkeySettings::read()), values(read));
    }
    QDir::setCurrent(QCoreApplication::applicationDirPath());
}

void TestEkeyEventHandler::lines_data()
{
    // The report stands behind "Logger::EKEY", %1 in it is the line; the terminal is 0 where there is no event.
    const auto row =
        columns<QByteArray, QString, int, qint64, QString>({"line", "report", "terminal", "time", "employee"});
    const auto accept = [row](const char *name, const QByteArray &line, int terminal,
                              const char *local = "2026-01-05 08:00", const char *report = " %1",
                              const char *employee = "5|5|Žagar Ana") {
        row(name, line, report, terminal, unixTime(local), employee);
    };
    const auto refuse = [row](const char *name, const QByteArray &line, const QString &report) {
        row(name, line, "_ProcessLine " + report, 0, 0, "");
    };
    accept("a reader of the settings", "70;2;3;5.1.2026 08:00:00;x", 12);
    accept("a reader by name", "70;2;vhod;5.1.2026 08:00:00", 13);
    accept("a reader by its own number", "70;2;44;5.1.2026 08:00:00", 44);
    accept("blanks", " 70 ;2; 3 ; 5.1.2026 08:00:00 ", 12);
    accept("as old as the last accepted", "70;2;1;5.1.2026 07:59:00", 1, "2026-01-05 07:59");
    accept("later today", "70;2;1;6.1.2026 23:59:00", 1, "2026-01-06 23:59");
    accept("nobody's name", "80;2;1;5.1.2026 08:00:00", 1, "2026-01-05 08:00", " %1", "80|80|n.n.");
    // Deliberate: the user's text is part of the statement.
    accept("a condition for a user", "' or UID=5 or ULKAID='x;2;1;5.1.2026 08:00:00", 1);
    accept("a megabyte", "70;2;1;5.1.2026 08:00:00;" + QByteArray(1000000, 'x'), 1);
    accept("UTF-8", "70;2;1;5.1.2026 08:00:00;\xc4\x8d", 1);
    accept("Latin-1", "70;2;1;5.1.2026 08:00:00;\xe9", 1, "2026-01-05 08:00", " 70;2;1;5.1.2026 08:00:00;é");
    refuse("rubbish", QByteArray("\0a\x1b\xff\t", 5), QString::fromUtf8("too short:\ufffda\ufffdÿ\t"));
    refuse("broken statement", "7'0;2;1;5.1.2026 08:00:00", "UserID error : 7'0 - %1");
    refuse("three fields", "70;2;1", "too short:%1");
    refuse("reader without a number", "70;2;1a;5.1.2026 08:00:00", "ZukID error : 1a - %1");
    refuse("unknown user, before the date", "71;2;1;x", "UserID error : 71 - %1");
    refuse("no point", "70;2;1;5-1-2026 08:00:00", "date format error 1:5-1-2026 08:00:00");
    refuse("no colon", "70;2;1;5.1.2026", "date format error 2:5.1.2026");
    refuse("no such day", "70;2;1;31.2.2026 08:00:00", "date error: 31.2.2026 08:00:00-%1");
    refuse("tomorrow", "70;2;1;7.1.2026 00:00:00", "date error: 7.1.2026 00:00:00-%1");
    refuse("older than the last accepted", "70;2;1;5.1.2026 07:58:59",
           "date too old: 5.1.2026 07:58:59-5.1.2026 07:59:00");
    refuse("places in the text", "70;2;%2%1;x", "ZukID error : %2%1 - 70;2;%2%1;x");
}

void TestEkeyEventHandler::lines()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, report);
    QFETCH(int, terminal);
    QFETCH(qint64, time);
    QFETCH(QString, employee);
    ReaderSite site;
    EkeyLineProcessor processor(
        site.settings, [] {}, clockAt("2026-01-06 08:00"));
    // Of these, only the times count that can be right.
    for (const char *old : {"no;user;here;5.1.2026 07:59:00", "1;1;1;5.1.2026 07:00:00", "1;1;1;7.1.2026 08:00:00",
                            "1;1;1;32.1.2026 08:00:00"})
        processor.skip(old);
    auto list = entries({line});
    QCOMPARE(processor.take(&list, false), EkeyLineProcessor::Taken::All);
    if (report.endsWith("%1"))
        report = report.left(report.size() - 2) + QString::fromUtf8(line);
    QCOMPARE(site.messages(), (QStringList{kNew, "Logger::EKEY" + report}));
    const QString event = QStringLiteral("%1|FING|101:Prihod|Ekey CSV|%2|%3|EKEYterminal|EKEY%3 CSV|0|%2|EV");
    QCOMPARE(site.rows("select e.USER,e.UID,e.NAME,e.ID_TYPE,e.ACCESS_CODE,e.DESCRIPTION,e.TIMESTAMP,e.TID,e.TERMINAL,"
                       "a.REMARK,a.TAG,a.TIMESTAMP,a.TYPE from events e left join allevents a on a.IDX=e.ID")
                 .join('\n'),
             terminal > 0 ? event.arg(employee, QString::number(time), QString::number(terminal)) : QString());
}

void TestEkeyEventHandler::dayEnds()
{
    ReaderSite site;
    qint64 now = unixTime("2026-03-29 23:59") * 1000; // of 23 hours
    EkeyLineProcessor processor(
        site.settings, [] {}, [&now] { return now; });
    for (const qint64 ms : {0, 59999, 60000}) {
        now = unixTime("2026-03-29 23:59") * 1000 + ms;
        auto list = entries({"70;2;1;30.3.2026 00:00:00"});
        processor.take(&list, false);
    }
    QCOMPARE(site.times(), QStringList(QString::number(unixTime("2026-03-30 00:00"))));
    QCOMPARE(site.messages().filter("date error").size(), 2);
}

/// 26 October 2025: 2:00 to 3:00 comes first from 0:00 UTC, then from 1:00 UTC.
void TestEkeyEventHandler::autumnHour()
{
    ReaderSite site;
    EkeyLineProcessor processor(site.settings, [] {});
    const qint64 midnight = QDateTime({2025, 10, 26}, {0, 0}, Qt::UTC).toSecsSinceEpoch();
    auto list = entries({"70;2;1;26.10.2025 02:10:00", "70;2;1;26.10.2025 02:50:00", "70;2;1;26.10.2025 02:10:00",
                         "70;2;1;26.10.2025 02:05:00", "70;2;1;26.10.2025 01:59:00", "70;2;1;26.10.2025 03:00:00"});
    processor.take(&list, false);
    QStringList expected;
    for (int minutes : {10, 50, 70, 120})
        expected += QString::number(midnight + minutes * 60);
    QCOMPARE(site.times(), expected);
    QCOMPARE(site.messages().filter("date too old").size(), 2);
}

void TestEkeyEventHandler::databaseLacksSomething()
{
    ReaderSite site;
    site.database->exec("drop table ULKAIDS");
    auto lock = site.lock();
    EkeyLineProcessor processor(site.settings, [] {});
    lock.reset();
    EkeyLineProcessor::Entries none;
    processor.take(&none, false);
    QVERIFY(site.database->insert("ULKAIDS", {{"UID", 5}, {"ULKAID", "70"}}));
    // Tables of the administration's that are missing cost what stands in them.
    site.database->exec("drop table allevents");
    site.database->exec("drop table employees");
    auto list = entries({"70;2;1;1.1.1970 01:01:04", "70;2;1;1.1.1970 01:01:05"});
    // Without a database nothing can be judged: the lines are to be given again.
    setDb(nullptr);
    QCOMPARE(processor.take(&list, false), EkeyLineProcessor::Taken::NotReadable);
    QCOMPARE(list.size(), size_t(2));
    setDb(site.database.get());
    QCOMPARE(processor.take(&list, false), EkeyLineProcessor::Taken::All);
    QCOMPARE(site.rows("select TIMESTAMP,NAME from events order by ID"), (QStringList{"64|n.n.", "65|n.n."}));
}

void TestEkeyEventHandler::boundOnWhatWaits()
{
    ReaderSite site;
    int told = 0;
    EkeyLineProcessor processor(site.settings, [&told] { ++told; });
    processor.keptWrites().setRetryInterval(1);
    const auto lock = site.lock();
    EkeyLineProcessor::Entries full(EkeyLineProcessor::kMaxWaiting, {{}, QStringLiteral("x")});
    QCOMPARE(processor.take(&full, false), EkeyLineProcessor::Taken::All);
    auto list = entries({"1", "2"});
    QCOMPARE(processor.take(&list, false), EkeyLineProcessor::Taken::NoRoom);
    QCOMPARE(list.size(), size_t(2));
    lock->release();
    QVERIFY(waitFor([&told] { return told == 1; }, 30000));
    QCOMPARE(processor.take(&list, false), EkeyLineProcessor::Taken::All);
    QCOMPARE(site.messages().size(), EkeyLineProcessor::kMaxWaiting + 4);
}

void TestEkeyEventHandler::fileComesAndGoes()
{
    const QString tracker = QStringLiteral("Logger::EKEY_CSV_TRACKER ");
    ReaderSite site;
    const QString file = site.settings.file;
    EkeyEventHandler handler(site.settings);
    QVERIFY(handler.isEnabled());
    handler.start();
    QStringList expected;
    const auto says = [&](const QStringList &messages) {
        expected += messages;
        return waitFor([&] { return site.messages().size() >= expected.size(); });
    };
    QVERIFY(says({tracker + "Missing CVS file"}));
    QByteArray old;
    for (int i = 0; i < 1000; ++i)
        old += i % 100 == 0 ? "x\n" : "70;2;1;5.1.2026 08:00:00\r\n";
    site.settings.file += ".new"; // there at once, as whole
    site.write(old);
    QVERIFY(QFile::rename(site.settings.file, file));
    site.settings.file = file;
    QVERIFY(says({kInitialRunEnded}));
    site.write("70;2;1;5.1.2026 07:00:00\n70;2;1;5.1.2026 09:00:00\n");
    QVERIFY(says({kNew, "Logger::EKEY_ProcessLine date too old: 5.1.2026 07:00:00-5.1.2026 08:00:00", kNew,
                  "Logger::EKEY 70;2;1;5.1.2026 09:00:00"}));
    QVERIFY(QFile::remove(site.settings.file));
    QVERIFY(says({tracker + "Missing CVS file"}));
    QVERIFY(QDir().mkdir(site.settings.file));
    QVERIFY(says({tracker + "CVS io error"}));
    QVERIFY(QDir().rmdir(site.settings.file));
    QVERIFY(says({tracker + "Missing CVS file"}));
    site.write("70;2;1;5.1.2026 10:00:00\n");
    QVERIFY(says({tracker + "CVS file size error", kInitialRunEnded}));
    site.write("70;2;1;5.1.2026 11:00:00\n");
    QVERIFY(says({kNew, "Logger::EKEY 70;2;1;5.1.2026 11:00:00"}));
    handler.finish();
    QCOMPARE(site.messages(), expected);
    QCOMPARE(site.times(), (QStringList{QString::number(unixTime("2026-01-05 09:00")),
                                        QString::number(unixTime("2026-01-05 11:00"))}));
}

void TestEkeyEventHandler::terminals()
{
    ReaderSite site;
    QVERIFY(!site.terminal(12).isEmpty());
    const auto silent = site.silentPeer(2);
    site.write("");
    EkeyEventHandler handler(site.settings);
    handler.start();
    QVERIFY(site.waitForMessage(kInitialRunEnded));
    {
        QLoggingCategory::setFilterRules(QString());
        const Warnings diagnostics(true);
        site.write("70;4;2;5.1.2026 08:00:00\n70;5;3;5.1.2026 09:00:00\n70;6;44;5.1.2026 10:00:00\n");
        QVERIFY(waitFor([&site] { return site.times().size() == 3; }));
        const QStringList lines = Warnings::taken();
        for (const char *line : {"NEW_LINE 70;4;2;5.1.2026 08:00:00", "CSVuser: 70", "CSVfinger: 6", "TS: 1767603600",
                                 "db()->insert(events,event) : true", "db()->insert(allevents,event) : true",
                                 "CSV to DB ID: 3", "CSV to ZUK ID: 44 ZUK NOT ONLINE"})
            QVERIFY2(lines.contains(line), line);
        QCOMPARE(lines.filter("NOT ONLINE").size(), 1);
    }
    const QString offered = QStringLiteral(R"(ulkaCsvEvent {"EID":5,"FID":5})");
    QVERIFY(waitFor([&] { return site.side.requests.contains(offered); }));
    QVERIFY(waitFor([&] { return silent->raw.contains(R"("logger.ulkaCsvEvent")"); }));
    QElapsedTimer elapsed;
    elapsed.start();
    handler.finish();
    QVERIFY(elapsed.elapsed() < 1000);
}

/// The writer's pieces end anywhere.
void TestEkeyEventHandler::growsBehindLockedDatabase()
{
    ReaderSite site;
    site.write("");
    EkeyEventHandler handler(site.settings);
    handler.processor().keptWrites().setRetryInterval(1);
    handler.start();
    QVERIFY(site.waitForMessage(kInitialRunEnded));
    const auto lock = site.lock();
    QByteArray bytes;
    QStringList expected;
    QStringList messages{kInitialRunEnded};
    for (qint64 time = 1767600000; time < 1767602000; ++time) {
        const QString line = "70;2;1;" + QDateTime::fromSecsSinceEpoch(time).toString(site.settings.dateFormat);
        bytes += line.toLatin1() + "\r\n";
        expected << QString::number(time);
        messages << kNew << "Logger::EKEY " + line;
    }
    const auto write = [&](int from, int to) {
        constexpr int piece = 997;
        for (; from < to; from += piece) {
            site.write(bytes.mid(from, qMin(piece, to - from)));
            settle();
        }
    };
    write(0, bytes.size() / 2);
    QVERIFY(waitFor([&handler] { return handler.processor().waiting() > 500; }));
    write(bytes.size() / 2, bytes.size() * 2 / 3);
    lock->release();
    write(bytes.size() * 2 / 3, bytes.size());
    QVERIFY(waitFor([&] { return site.times().size() >= expected.size(); }));
    handler.finish();
    QCOMPARE(site.times(), expected);
    QCOMPARE(site.rows("select TIMESTAMP from allevents order by ID"), expected);
    QCOMPARE(site.messages(), messages);
}

/// The thread has read lines and waits for the main thread, which does not run its event loop before the stop.
void TestEkeyEventHandler::stopsWhileMainThreadIsBusy()
{
    ReaderSite site;
    site.write("");
    EkeyEventHandler handler(site.settings);
    handler.start();
    QVERIFY(site.waitForMessage(kInitialRunEnded));
    QLoggingCategory::setFilterRules(QString());
    const Warnings diagnostics(true);
    site.write("70;2;1;5.1.2026 08:00:00\n70;2;1;5.1.2026 09:00:00\n");
    QVERIFY(Warnings::waitForLine("NEW_LINE 70;2;1;5.1.2026 09:00:00"));
    site.write("70;2;1;5.1.2026 10:00:00\n"); // not read yet
    QElapsedTimer elapsed;
    elapsed.start();
    QVERIFY(handler.finish());
    QVERIFY(elapsed.elapsed() < 1000);
    QVERIFY(handler.isFinished());
    QCOMPARE(Warnings::taken().filter("ULKAcsv thread"), QStringList("End ULKAcsv thread  execute"));
    QCOMPARE(site.times().size(), 3);
    QCOMPARE(site.messages().last(), QString("Logger::EKEY 70;2;1;5.1.2026 10:00:00"));
}

void TestEkeyEventHandler::withoutFollower()
{
    ReaderSite site;
    site.settings.isOn = false;
    EkeyEventHandler handler(site.settings);
    QVERIFY(!handler.isEnabled());
    QLoggingCategory::setFilterRules(QString());
    const Warnings diagnostics(true);
    handler.start();
    QVERIFY(Warnings::waitForLine("no csv_tracker"));
    handler.finish();
    QCOMPARE(site.messages(), QStringList());
}

/// A thread that the system does not let go of.
void TestEkeyEventHandler::givesUpWhoHangs()
{
    MainThreadWork work;
    QSemaphore hanging;
    bool isDone = false;
    bool isTaken = true;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        hanging.acquire();
        isTaken = work.run([&isDone] { isDone = true; });
    }));
    thread->start();
    QVERIFY(!work.serve(std::chrono::milliseconds(10)));
    hanging.release();
    QVERIFY(thread->wait(10000));
    settle();
    QVERIFY(!isTaken && !isDone);
}

QTEST_GUILESS_MAIN(TestEkeyEventHandler)
#include "tst_ekeyeventhandler.moc"
