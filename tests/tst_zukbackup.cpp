#include "files.h"
#include "rows.h"
#include "storage/database.h"
#include "toolrun.h"
#include "tools/zukbackup/copyfolder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLockFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace tools::zukbackup;

/// The real back-up program on a database that the server's own code has open.
class TestZukBackup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void wrongUse_data();
    void wrongUse();
    void goodCopy();
    void busyWriter();
    void noCopy_data();
    void noCopy();
    void damagedCopy();
    void rotation_data();
    void rotation();
    void rotatesItsFolder();

private:
    QString file(const char *name) const { return m_folder->filePath(QString::fromLatin1(name)); }
    QStringList copies() const { return QDir(file("copies")).entryList(QDir::Files | QDir::Hidden, QDir::Name); }
    QString told(const QStringList &arguments) { return ToolRun(ZUK_BACKUP, arguments).outcome(); }
    QStringList usual() const { return {"--database", file("zuknetserver.db"), "--folder", file("copies")}; }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DataBase> m_database;
};

void TestZukBackup::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkdir(file("copies")));
    m_database = std::make_unique<DataBase>(file("zuknetserver.db"));
    QVERIFY(m_database->exec("create table notes (ID integer primary key, TEXT text)"));
    QVERIFY(m_database->exec("create index notes_text on notes (TEXT)"));
    QVERIFY(m_database->exec("with recursive n(i) as (select 1 union all select i+1 from n where i<20000) "
                             "insert into notes select i, 'note ' || i || hex(randomblob(40)) from n"));
    for (int user = 1; user <= 3; ++user)
        QVERIFY(m_database->insert("events", {{"USER", user}, {"TIMESTAMP", 1000 + user}}));
}

void TestZukBackup::cleanup()
{
    m_database.reset();
    m_folder.reset();
}

void TestZukBackup::wrongUse_data()
{
    const auto row = columns<QStringList, QString>({"arguments", "reason"});
    row("option", {"--fast"}, "fast");
    row("argument", {"copy"}, "unexpected: copy");
    row("empty folder", {"--folder", ""}, "--folder is empty");
    row("no daily copies", {"--daily", "0"}, "--daily \"0\" is not a number from 1 on");
    row("no number", {"--monthly", "many"}, "--monthly");
    row("path as label", {"--label", "../x"}, "--label");
}

void TestZukBackup::wrongUse()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    const QString text = told(usual() + arguments);
    QVERIFY2(text.startsWith("2 zukbackup: ") && text.contains(reason), qPrintable(text));
    QCOMPARE(copies(), QStringList());
}

void TestZukBackup::goodCopy()
{
    QVERIFY(told({"--help"}).contains("Exit code:"));
    // The rows are in the -wal file: copying the file alone would lose them.
    const QString text = told(usual() + QStringList{"--label", "upgrade"});
    QVERIFY2(text.startsWith("0 zukbackup: ") && text.contains("events 3, logs 0\n"), qPrintable(text));
    QCOMPARE(copies().count(), 1);
    const QString copy = file("copies/") + copies().first();
    QVERIFY2(copy.endsWith("-upgrade.db"), qPrintable(copy));
    QCOMPARE(QFile::permissions(copy) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    QVERIFY(told({"--check", copy}).startsWith("0 zukbackup: "));
    QCOMPARE(copies().count(), 1); // one file is the whole copy
    QCOMPARE(told(usual() + QStringList{"--quiet"}), QString("0 "));

    m_database.reset();
    m_database = std::make_unique<DataBase>(copy);
    QCOMPARE(m_database->select("select count(*) as N, sum(USER) as S from events").value(0),
             (QAny{{"N", 3}, {"S", 6}}));
}

void TestZukBackup::busyWriter()
{
    ToolRun run(ZUK_BACKUP, usual());
    int user = 4;
    QElapsedTimer limit;
    limit.start();
    while (run.state() != QProcess::NotRunning && !limit.hasExpired(30000)) {
        QVERIFY(m_database->insert("events", {{"USER", user}, {"TIMESTAMP", 1000 + user}}));
        ++user;
        QCoreApplication::processEvents();
    }
    const QString text = run.outcome();
    QVERIFY2(text.startsWith("0 zukbackup: "), qPrintable(text));
    QVERIFY(user > 5); // it was written meanwhile
    m_database.reset();
    m_database = std::make_unique<DataBase>(file("copies/") + copies().first());
    // One state: the rows up to some moment, without a gap.
    const QAny row = m_database
                         ->select("select count(*) as N, max(USER)+0 as M, count(distinct USER) as D from "
                                  "(select cast(USER as integer) as USER from events)")
                         .value(0);
    QVERIFY(row.lookup("N").toInt() >= 3);
    QCOMPARE(row.lookup("N"), row.lookup("M"));
    QCOMPARE(row.lookup("N"), row.lookup("D"));
}

void TestZukBackup::noCopy_data()
{
    const auto row = columns<QString>({"reason"});
    row("no database", "no such file");
    row("no folder", "no such folder");
    row("no database file", "not a database");
    row("damaged", "malformed");
    row("disk full", "disk I/O error");
    row("locked folder", "another back-up");
}

void TestZukBackup::noCopy()
{
    QFETCH(QString, reason);
    const QString fault = QTest::currentDataTag();
    QVERIFY(!writeFile(file("copies/zuknetserver-20200101-000000.db"), "old").isEmpty());
    QVERIFY(!writeFile(file("copies/zuknetserver-20200101-000001.db.part"), "killed").isEmpty());
    QStringList arguments = usual();
    QString program = ZUK_BACKUP;
    std::unique_ptr<QLockFile> lock;
    if (fault == "no database") {
        arguments[1] = file("other.db");
    } else if (fault == "no folder") {
        arguments[3] = file("other");
    } else if (fault == "no database file") {
        arguments[1] = writeFile(file("text.db"), QByteArray(10000, 'x'));
    } else if (fault == "damaged") {
        m_database.reset(); // nothing is left in the -wal file
        QFile whole(file("zuknetserver.db"));
        QVERIFY(whole.open(QIODevice::ReadWrite) && whole.seek(whole.size() / 4));
        whole.write(QByteArray(65536, '\x7f'));
    } else if (fault == "disk full") {
        // The system refuses it longer files.
        arguments = QStringList{"-c", "trap '' XFSZ; ulimit -f 100; exec \"$0\" \"$@\"", program} + arguments;
        program = "sh";
    } else {
        lock = std::make_unique<QLockFile>(file("copies/.zukbackup.lock"));
        QVERIFY(lock->tryLock());
    }
    const QString text = ToolRun(program, arguments).outcome();
    QVERIFY2(text.startsWith("1 zukbackup: ") && text.contains(reason), qPrintable(text));
    lock.reset();
    const bool looked = fault != "no folder" && fault != "locked folder";
    QCOMPARE(copies(), looked
                           ? QStringList{"zuknetserver-20200101-000000.db"}
                           : QStringList({"zuknetserver-20200101-000000.db", "zuknetserver-20200101-000001.db.part"}));
}

void TestZukBackup::damagedCopy()
{
    QVERIFY(told(usual()).startsWith("0 "));
    QFile copy(file("copies/") + copies().first());
    QVERIFY(copy.open(QIODevice::ReadWrite) && copy.seek(copy.size() / 4));
    copy.write(QByteArray(65536, '\x7f'));
    copy.close();
    const QString text = told({"--check", copy.fileName()});
    QVERIFY2(text.startsWith("1 zukbackup: ") && text.contains("damaged"), qPrintable(text));
}

void TestZukBackup::rotation_data()
{
    // Copies as day and time; of those that go, an exclamation mark stands before.
    const auto row = columns<int, int, QString>({"daily", "monthly", "copies"});
    row("the newest of a day", 2, 0, "20261122-2300 !20261122-0230 20261121-0230");
    row("days with copies count", 2, 0, "20261122-0230 20260301-0230 !20260228-0230");
    row("the newest of a month", 1, 2, "20261102-0230 !20261101-0230 20261031-0230 !20261030-0230 !20260930-0230");
    row("the newest alone", 1, 0, "20261122-0231 !20261122-0230 !20261121-0230 !20251122-0230");
    row("labels on their own", 1, 1,
        "20261122-0230 20260105-1200-upgrade 20260104-1200-upgrade 20260103-1200-upgrade !20260102-1200-upgrade "
        "20250101-0000-before");
    row("strangers", 1, 0, "20261122-0230 20261121-0230.part 2026112-0230 20261121 20261121-0230-a-b");
}

void TestZukBackup::rotation()
{
    QFETCH(int, daily);
    QFETCH(int, monthly);
    QFETCH(QString, copies);
    Rotation rotation;
    rotation.daily = daily;
    rotation.monthly = monthly;
    QStringList names;
    QStringList expected;
    for (QString one : copies.split(' ')) {
        const bool goes = one.startsWith('!');
        one.remove('!');
        const QString name = "zuknetserver-" + one.left(13) + (one.size() >= 13 ? "00" : "") + one.mid(13) + ".db";
        names.prepend(name);
        if (goes)
            expected += name;
    }
    QCOMPARE(superfluousCopies(names, rotation), expected);
}

void TestZukBackup::rotatesItsFolder()
{
    for (const char *name : {"zuknetserver-20200101-000000.db", "zuknetserver-20200102-000000.db", "notes.txt"})
        QVERIFY(!writeFile(file("copies/") + name, "x").isEmpty());
    const QStringList strict{"--daily", "2", "--monthly", "0"};
    QVERIFY(told(usual() + strict).startsWith("0 "));
    QCOMPARE(copies().count(), 3);
    QVERIFY(copies().contains("zuknetserver-20200102-000000.db") && copies().contains("notes.txt"));
    // A folder that has the name of an old copy cannot be removed as a file, and is none.
    QVERIFY(QDir(file("copies")).mkdir("zuknetserver-20190101-000000.db"));
    QTest::qSleep(1000); // the next name
    QVERIFY(told(usual() + strict).startsWith("0 "));
    QCOMPARE(copies().count(), 3);
}

QTEST_GUILESS_MAIN(TestZukBackup)
#include "tst_zukbackup.moc"
