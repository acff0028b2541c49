#include "attendancefile.h"
#include "files.h"
#include "page/server/office/pagetables.h"
#include "rows.h"
#include "storage/rescuefile.h"
#include "tools/doctor/examination.h"
#include "tools/doctor/filerows.h"
#include "tools/doctor/reporttext.h"
#include "tools/zukbackup/copyfolder.h"

#include <QDir>
#include <QSqlDatabase>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <limits>
#include <memory>

using namespace tools::doctor;

/// A site as it should be, on Wednesday 18 November 2026 at noon, and what the examination finds when it is not.
class TestDoctor : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void healthy();
    void storedFaults_data();
    void storedFaults();
    void silence_data();
    void silence();
    void figures_data();
    void figures();
    void backups_data();
    void backups();
    void rescueFile();
    void ports();
    void strangeServer();
    void serverWithoutDatabase();
    void unanswered();
    void disturbed_data();
    void disturbed();
    void damagedFile_data();
    void damagedFile();
    void withoutLogAndLocked();
    void noDatabase_data();
    void noDatabase();
    void fileWithoutTables();
    void leavesNoTrace();
    void worstFirstAndFewExamples();

private:
    QString file(const char *name) const { return m_folder->filePath(QString::fromLatin1(name)); }
    qint64 now() const { return unixTime(m_now); }
    void fill();
    void writeFigures(const QByteArray &text) { writeFile(file("figures"), text); }
    Site site(Rows &rows) const;
    /// The site's file once nobody has it open.
    Report examined();
    /// Its findings, each "severity check".
    static QStringList kinds(const Report &report);

    QString m_now;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DataBase> m_database;
    QTcpServer m_rpc;
    QTcpServer m_web;
    quint16 m_webPort = 0;
};

void TestDoctor::init()
{
    m_now = "2026-11-18 12:00";
    m_folder = std::make_unique<QTemporaryDir>();
    m_database = std::make_unique<DataBase>(file("zuknetserver.db"));
    QVERIFY(m_rpc.isListening() || m_rpc.listen(QHostAddress::LocalHost));
    QVERIFY(m_web.isListening() || m_web.listen(QHostAddress::LocalHost));
    m_webPort = m_web.serverPort();
    QVERIFY(QDir().mkdir(file("copies")));
    const QDateTime lastNight = QDateTime::fromSecsSinceEpoch(now() - 9 * 3600);
    writeFile(file("copies") + '/' + tools::zukbackup::copyName(lastNight, {}), "copy");
    writeFigures("# HELP x\nzuk_database_open 1\nzuk_events_waiting 0\n"
                 "zuk_terminal_event_delay_seconds{terminal=\"1\"} 2\n");
    fill();
}

void TestDoctor::cleanup()
{
    m_database.reset();
    m_folder.reset();
    m_rpc.close();
    m_web.close();
}

void TestDoctor::fill()
{
    const QString week = "{\"1\":{\"STARTB\":\"6:00\",\"ENDE\":\"16:00\"},\"3\":{\"STARTB\":\"7:00\"}}";
    const QString employee = "insert into employees (ID,LASTNAME,FIRSTNAME,ACTIVE,CALCSET,WTIMSET,PRERAZDC) values ";
    QStringList rows{
        "insert into calcset values ('RULES','{\"SALDO\":{}}')",
        QStringLiteral("insert into wtimset values ('ONE','{\"IZM1\":%1}')").arg(week),
        QStringLiteral("insert into wtimset values ('SHIFTS','{\"IZM1\":%1,\"IZM2\":{\"1\":{}}}')").arg(week),
        employee +
            "(5,'Kos','Bor',1,'RULES','ONE',''),(6,'Zajc','Ana',1,'RULES','SHIFTS','G'),(7,'Star','Cene',0,'','','')",
        QStringLiteral("insert into RAZPOREDC (FDATE,TDATE,RGROUP,EMPLID,PRERAZ) values (%1,%2,'G','','2')")
            .arg(unixTime("2026-11-01 00:00"))
            .arg(unixTime("2026-11-30 00:00")),
    };
    const QString event = "insert into events (TID,USER,TIMESTAMP,ACCESS_CODE) values (%1,'5',%2,'101:Prihod')";
    for (QDate day(2026, 9, 1); day < QDate(2027, 1, 31); day = day.addDays(1)) {
        const QString date = day.toString(Qt::ISODate);
        rows += QStringLiteral("insert into calendar (DATE,PRAZNIK) values (%1,'0')").arg(unixTime(date + " 00:00"));
        // Terminal 2 rests at the weekend.
        const qint64 morning = unixTime(date + " 08:00");
        if (morning < now()) {
            rows += event.arg(1).arg(morning);
            if (day.dayOfWeek() < 6)
                rows += event.arg(2).arg(morning + 60);
        }
    }
    QVERIFY(fillAttendance(*m_database, rows));
}

Site TestDoctor::site(Rows &rows) const
{
    Site site;
    site.rows = &rows;
    site.files = LocalFiles{file("zuknetserver.db"), file("copies"), file("figures"), true};
    site.host = "127.0.0.1";
    site.rpcPort = m_rpc.serverPort();
    site.webPort = m_webPort;
    site.now = now();
    return site;
}

Report TestDoctor::examined()
{
    m_database.reset();
    FileRows rows(file("zuknetserver.db"));
    Site examinedSite = site(rows);
    examinedSite.files->hasWriteAheadLog = rows.hasWriteAheadLog();
    return examine(examinedSite);
}

QStringList TestDoctor::kinds(const Report &report)
{
    QStringList kinds;
    for (const Finding &finding : report.findings)
        kinds += (finding.severity == Severity::Act ? "act " : "soon ") + finding.check;
    return kinds;
}

void TestDoctor::healthy()
{
    QVERIFY(page::office::preparePageTables(*m_database));
    const Report report = examined();
    QCOMPARE(reportText(report).section('\n', 0, 0), QString(": all is well: 18 checks"));
    QCOMPARE(exitCodeOf(report), 0);
}

void TestDoctor::storedFaults_data()
{
    const auto row = columns<QStringList, QStringList, QString>({"statements", "kinds", "told"});
    row("a table", {"drop table freehour"}, {"soon tables"}, "table freehour is missing");
    row("a column", {"alter table metalog drop column IDLOG"}, {"act tables"}, "metalog lacks IDLOG");
    row("a calendar of notes", {"alter table calendar drop column PRAZNIK"}, {}, "all is well");
    row("a calendar without either",
        {"alter table calendar drop column PRAZNIK", "alter table calendar drop column NOTE"}, {"act tables"},
        "calendar, terminals: a table, column or index that they need");
    row("lower case", {"alter table allevents rename column USER to user"}, {}, "all is well");
    row("an index", {"drop index allevents_user_timestamp"}, {"soon indexes"},
        "create index if not exists allevents_user_timestamp on allevents (USER, TIMESTAMP)");
    row("that of the terminals", {"drop index events_tid_timestamp"}, {"soon indexes"},
        "terminals, terminal clocks: a table, column or index");
    row("one of the same columns", {"drop index metalog_timestamp", "create index other on metalog (timestamp,user)"},
        {}, "all is well");
    row("one of other rows", {"drop index metalog_timestamp", "create index other on metalog (timestamp) where user=1"},
        {"soon indexes"}, "metalog (TIMESTAMP)");
    const auto otherCalendar = [](const QString &columns) {
        return QStringList{"create table other (" + columns + ")",
                           "insert into other select DATE,PRAZNIK,NOTE from calendar", "drop table calendar"};
    };
    row("a row id for an index",
        otherCalendar("DATE integer primary key, PRAZNIK text, NOTE text") +
            QStringList("alter table other rename to calendar"),
        {}, "all is well");
    row("a key of two columns",
        otherCalendar("DATE integer, PRAZNIK text, NOTE text, primary key (NOTE, DATE)") +
            QStringList("alter table other rename to calendar"),
        {"soon indexes"}, "calendar (DATE)");
    row("a view",
        otherCalendar("DATE integer, PRAZNIK text, NOTE text") +
            QStringList("create view calendar as select * from other"),
        {}, "all is well");
    row("a newer page",
        {"create table zuk_schema (NAME text, VERSION integer)", "insert into zuk_schema values ('page',2)"},
        {"soon own tables"}, "\"page\" are of version 2");
    const auto calendar = [](const char *from, const char *to) {
        return QStringLiteral("delete from calendar where DATE between %1 and %2")
            .arg(unixTime(QString(from) + " 00:00"))
            .arg(unixTime(QString(to) + " 00:00"));
    };
    row("days of the next week", {calendar("2026-11-24", "2026-11-26")}, {"act calendar"}, "2026-11-24 to 2026-11-26");
    row("the last of 60 days", {calendar("2027-01-16", "2027-02-01")}, {"soon calendar"}, "1 of the next 60 days");
    row("the 61st day", {calendar("2027-01-17", "2027-02-01")}, {}, "all is well");
    row("a day that begins at noon",
        {calendar("2026-12-01", "2026-12-01"),
         QStringLiteral("insert into calendar (DATE) values (%1)").arg(unixTime("2026-12-01 12:00"))},
        {}, "all is well");
    row("no settings", {"update employees set CALCSET=null where ID=5"}, {"soon employees"},
        "1 active employee without CALCSET");
    row("settings that are not there", {"update employees set CALCSET='rules' where ID=5"}, {"act employees"},
        "Kos Bor (5): \"rules\"");
    row("no schedule", {"update employees set WTIMSET='' where ID=5"}, {"soon employees"}, "without WTIMSET");
    row("nobody", {"update employees set ACTIVE=0"}, {"soon employees"}, "no employee is active");
    row("no group", {"update employees set PRERAZDC=null where ID=6"}, {"soon shifts"}, "Zajc Ana (6): no PRERAZDC");
    row("a plan that ends", {QStringLiteral("update RAZPOREDC set TDATE=%1").arg(unixTime("2026-11-18 00:00"))},
        {"soon shifts"},
        "group G, 2026-11-23"); // the next day on which anybody of the schedule works
    row("somebody else's row", {"update RAZPOREDC set EMPLID='77'"}, {"soon shifts"}, "group G, 2026-11-18");
    row("his own row", {"update RAZPOREDC set EMPLID='77'", "update employees set EMPLID='77' where ID=6"}, {},
        "all is well");
    row("rules that are no JSON", {"update calcset set VALUE='{\"SALDO\":'"}, {"act stored rules"},
        "\"RULES\" (2 active employees, Kos Bor (5) and others)");
    row("unused ones", {"insert into calcset values ('OLD','x')"}, {"soon stored rules"}, "\"OLD\" (nobody uses it)");
    row("a schedule that is a list", {"update wtimset set VALUE='[]' where KEY='ONE'"}, {"act stored schedules"},
        "\"ONE\" (1 active employee, Kos Bor (5))");
    row("a time with a dot", {"update wtimset set VALUE=replace(VALUE,'7:00','7.00') where KEY='ONE'"},
        {"act stored schedules"}, "IZM1/3/STARTB \"7.00\"");
    row("one of an unused schedule", {"insert into wtimset values ('OLD','{\"IZM1\":{\"1\":{\"STARTB\":\"8.00\"}}}')"},
        {"soon stored schedules"}, "\"OLD\" (nobody uses it): IZM1/1/STARTB \"8.00\"");
    row("no stored settings", {"delete from config where KEY='CALCWTIMES'"}, {"act stored settings"}, "CALCWTIMES");
    row("a double tap of words", {"update config set VALUE='two' where KEY='DOUBLETAP'"}, {"soon stored settings"},
        "\"two\"");
    const QString ahead = "insert into events (TID,USER,TIMESTAMP) values (2,'5',%1)";
    row("a clock an hour ahead", {ahead.arg(now() + 3600)}, {"soon terminal clocks"},
        "terminal 2: 1 event up to 2026-11-18 13:00");
    row("a clock two days ahead", {ahead.arg(now() + 2 * 86400)}, {"act terminal clocks"}, "not fetched any more");
    row("a clock a minute ahead", {ahead.arg(now() + 60)}, {}, "all is well");
    row("a text for a time", {ahead.arg("'morning'")}, {}, "all is well");
}

void TestDoctor::storedFaults()
{
    QFETCH(QStringList, statements);
    QFETCH(QString, told);
    for (const QString &statement : statements)
        QVERIFY2(m_database->exec(statement), qPrintable(statement));
    const Report report = examined();
    QTEST(kinds(report), "kinds");
    QVERIFY2(reportText(report).contains(told), qPrintable(reportText(report)));
}

void TestDoctor::silence_data()
{
    const auto row = columns<QString, QString, QString, QStringList>({"now", "rows", "holiday", "silent"});
    const QString second = "TID=2";
    const QString sinceTuesday = " and TIMESTAMP>" + QString::number(unixTime("2026-11-17 00:00"));
    row("for less than a day", "2026-11-18 07:00", "0", "", {});
    row("for more than a day", "2026-11-18 12:00",
        second + " and TIMESTAMP>" + QString::number(unixTime("2026-11-18 00:00")), "",
        {"soon terminals", "terminal 2 since 2026-11-17 08:01"});
    row("for two working days", "2026-11-18 12:00", second + sinceTuesday, "",
        {"soon terminals", "terminal 2 since 2026-11-16 08:01"});
    row("at the weekend", "2026-11-15 12:00", "0", "", {});
    row("on Monday after it", "2026-11-16 07:00", "0", "", {});
    row("all of them", "2026-11-18 12:00", "1" + sinceTuesday, "", {"act terminals", "terminal 1 since"});
    row("all of them on a holiday", "2026-11-18 07:00", "1" + sinceTuesday, "2026-11-17", {});
    row("for a quarter of a year", "2026-12-31 12:00",
        second + " and TIMESTAMP>" + QString::number(unixTime("2026-10-01 00:00")), "", {});
}

void TestDoctor::silence()
{
    QFETCH(QString, now);
    QFETCH(QString, rows);
    QFETCH(QString, holiday);
    QFETCH(QStringList, silent);
    m_now = now;
    QVERIFY(run(*m_database, {"delete from events", "delete from calendar", "delete from employees",
                              "delete from calcset", "delete from wtimset"}));
    fill();
    QVERIFY(run(*m_database, {"delete from events where " + rows}));
    if (!holiday.isEmpty()) {
        QVERIFY(
            run(*m_database,
                {QStringLiteral("update calendar set PRAZNIK='dan' where DATE=%1").arg(unixTime(holiday + " 00:00"))}));
    }
    const Report report = examined();
    QString told;
    for (const Finding &finding : report.findings) {
        if (finding.check == "terminals")
            told += kinds(report).filter(finding.check).first() + '\n' + finding.which.join('\n');
    }
    QCOMPARE(told.isEmpty(), silent.isEmpty());
    for (const QString &each : silent)
        QVERIFY2(told.contains(each), qPrintable(told));
}

void TestDoctor::figures_data()
{
    const auto row = columns<QByteArray, int, QStringList>({"text", "ageS", "kinds"});
    row("closed database", "zuk_database_open 0\n", 0, {"act waiting events"});
    row("events wait", "zuk_database_open 1\nzuk_events_waiting 3\n", 0, {"act waiting events"});
    row("a server that stands still", "zuk_database_open 1\n", 600, {"act waiting events"});
    row("a clock behind", "zuk_terminal_event_delay_seconds{terminal=\"2\"} 3600\n", 0, {"soon terminal clocks"});
    row("a clock ahead", "zuk_terminal_event_delay_seconds{terminal=\"2\"} -301\n", 0, {"soon terminal clocks"});
}

void TestDoctor::figures()
{
    QFETCH(QByteArray, text);
    QFETCH(int, ageS);
    writeFigures(text);
    QFile written(file("figures"));
    QVERIFY(written.open(QIODevice::ReadWrite));
    QVERIFY(written.setFileTime(QDateTime::currentDateTime().addSecs(-ageS), QFileDevice::FileModificationTime));
    written.close();
    QTEST(kinds(examined()), "kinds");
}

void TestDoctor::backups_data()
{
    const auto row = columns<int, QString, QStringList>({"hours", "label", "kinds"});
    row("of last night", 25, "", {});
    row("older", 27, "", {"soon back-ups"});
    row("of nine days ago", 9 * 24, "", {"act back-ups"});
    row("of an upgrade", 2, "upgrade", {});
    row("none", -1, "", {"act back-ups"});
}

void TestDoctor::backups()
{
    QFETCH(int, hours);
    QFETCH(QString, label);
    QVERIFY(QDir(file("copies")).removeRecursively() && QDir().mkdir(file("copies")));
    writeFile(file("copies") + "/zuknetserver-20261118-110000.db.part", "being made");
    const QDateTime made = QDateTime::fromSecsSinceEpoch(now() - hours * 3600);
    if (hours >= 0)
        writeFile(file("copies") + '/' + tools::zukbackup::copyName(made, label), "copy");
    QTEST(kinds(examined()), "kinds");
}

void TestDoctor::rescueFile()
{
    const QString path = file("zuknetserver.db-rescue");
    storage::RescueFile rescue(path);
    QCOMPARE(rescue.lines().size(), 0);
    QCOMPARE(kinds(examined()), QStringList());
    QVERIFY(rescue.append({"{\"OWNER\":\"a\"}", "{\"OWNER\":\"b\"}"}));
    const Report report = examined();
    QCOMPARE(kinds(report), QStringList("act waiting events"));
    QVERIFY(report.findings.first().what.startsWith("the rescue file holds 2 events "));
    QVERIFY(rescue.clear());
    writeFile(path + "-unread", "{}\n");
    QCOMPARE(kinds(examined()), QStringList("soon waiting events"));
}

void TestDoctor::ports()
{
    m_web.close();
    const Report report = examined();
    QCOMPARE(kinds(report), QStringList("act ports"));
    QVERIFY(report.findings.first().what.endsWith("for the web"));
}

void TestDoctor::strangeServer()
{
    m_database.reset();
    FileRows rows(file("zuknetserver.db"));
    Site elsewhere = site(rows);
    elsewhere.serverVersion = "ZUK4";
    elsewhere.now = 0;
    elsewhere.files.reset(); // what lies beside the file is not looked at
    const Report report = examine(elsewhere);
    QVERIFY(kinds(report).contains("act version"));
    QVERIFY(report.unseen.join('\n').contains("waiting events, disk, back-ups: on the server's machine"));
}

/// As a server without a database answers.
class NoRows : public Rows
{
protected:
    QAny ask(const QString &, Fault *) override { return QAny(QAny::List); }
};

void TestDoctor::serverWithoutDatabase()
{
    NoRows rows;
    Site elsewhere;
    elsewhere.rows = &rows;
    const Report report = examine(elsewhere);
    QCOMPARE(kinds(report), QStringList("act integrity"));
    QCOMPARE(exitCodeOf(report), 4);
}

/// A file that something happens to before a question.
class TroubledRows : public FileRows
{
public:
    using Trouble = std::function<void(int question, Fault *fault)>;
    TroubledRows(const QString &path, Trouble trouble) : FileRows(path), m_trouble(std::move(trouble)) {}
    int asked = 0;

protected:
    QAny ask(const QString &sql, Fault *fault) override
    {
        m_trouble(++asked, fault);
        return fault->text.isEmpty() ? FileRows::ask(sql, fault) : QAny(QAny::List);
    }

private:
    Trouble m_trouble;
};

/// What is lost in the middle of an examination must not look like what is missing in the file.
void TestDoctor::unanswered()
{
    QVERIFY(run(*m_database, {"drop table freehour", "update employees set WTIMSET='' where ID=5",
                              "update wtimset set VALUE='[]'", "update RAZPOREDC set EMPLID='77'"}));
    m_database.reset();
    QFile::remove(file("copies") + "/zuknetserver-20261118-030000.db");
    const auto examinedUntil = [this](int last, bool isDamage, int *asked) {
        TroubledRows rows(file("zuknetserver.db"), [=](int question, Fault *fault) {
            if (question > last)
                *fault = {"closed", isDamage};
        });
        const Report report = examine(site(rows));
        *asked = rows.asked;
        return report;
    };
    const auto findingsOf = [](const Report &report) {
        QStringList findings;
        const QAny all = reportRecord(report).lookup("FINDINGS");
        for (int i = 0; i < all.count(); ++i)
            findings += all.at(i).toJson();
        return findings;
    };
    int count = 0;
    int asked = 0;
    const QStringList whole = findingsOf(examinedUntil(std::numeric_limits<int>::max(), false, &count));
    QVERIFY2(whole.size() > 4 && count > 15, qPrintable(whole.join('\n')));
    for (int last = 0; last < count; ++last) {
        const Report report = examinedUntil(last, false, &asked);
        QCOMPARE(asked > last, true);
        const QStringList findings = findingsOf(report);
        for (const QString &finding : findings)
            QVERIFY2(whole.contains(finding), qPrintable(QString::number(last) + finding));
        QVERIFY(reportText(report).section('\n', 0, 0).endsWith("to the end: closed") || findings.isEmpty());
        QVERIFY(exitCodeOf(report) == 1 || kinds(report).join(' ').contains("act "));
        // The terminals' clocks are asked for last.
        QCOMPARE(report.checks == 0 || report.unseen.join('\n').contains("terminal clocks: a question had no answer"),
                 true);
        const Report damaged = examinedUntil(last, true, &asked);
        QVERIFY(kinds(damaged).contains("act integrity") && exitCodeOf(damaged) == 4);
    }
}

void TestDoctor::disturbed_data()
{
    const auto row = columns<QStringList, bool, bool>({"statements", "staysOpen", "isDisturbed"});
    row("nobody", {}, false, false);
    row("a reader that came and went", {"select count(*) from config"}, false, false);
    row("a writer that came and went", {"update config set VALUE='x'"}, false, true);
    row("somebody who stays", {"select count(*) from config"}, true, true);
}

void TestDoctor::disturbed()
{
    QFETCH(QStringList, statements);
    QFETCH(bool, staysOpen);
    QFETCH(bool, isDisturbed);
    m_database.reset();
    {
        QFile database(file("zuknetserver.db"));
        QVERIFY(database.open(QIODevice::ReadWrite));
        QVERIFY(database.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime));
    }
    {
        QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other");
        other.setDatabaseName(file("zuknetserver.db"));
        TroubledRows rows(file("zuknetserver.db"), [&](int question, Fault *) {
            if (question != 7 || statements.isEmpty())
                return;
            QVERIFY(other.open());
            for (const QString &statement : statements)
                other.exec(statement);
            if (!staysOpen)
                other.close();
        });
        const Report report = examine(site(rows));
        QCOMPARE(report.fault.endsWith("meanwhile: run it again"), isDisturbed);
        QCOMPARE(report.checks == 0 && report.findings.isEmpty() && report.unseen.isEmpty(), isDisturbed);
        QCOMPARE(exitCodeOf(report), isDisturbed ? 1 : 0);
    }
    QSqlDatabase::removeDatabase("other");
}

void TestDoctor::damagedFile_data()
{
    const auto row = columns<int, int>({"at", "bytes"});
    row("rows", -60000, 20000);
    row("the list of tables", 100, 3000);
}

void TestDoctor::damagedFile()
{
    QFETCH(int, at);
    QFETCH(int, bytes);
    QVERIFY(m_database->exec("insert into logs (FMESSAGE) with recursive n(i) as (select 1 union all select i+1 from n "
                             "where i<5000) select hex(randomblob(40)) from n"));
    m_database.reset();
    QFile database(file("zuknetserver.db"));
    QVERIFY(database.open(QIODevice::ReadWrite) && database.seek(at < 0 ? database.size() + at : at));
    database.write(QByteArray(bytes, 'x'));
    database.close();
    const Report report = examined();
    QCOMPARE(kinds(report).first(), QString("act integrity"));
    QCOMPARE(exitCodeOf(report), 4);
}

void TestDoctor::withoutLogAndLocked()
{
    m_database.reset();
    {
        QSqlDatabase holder = QSqlDatabase::addDatabase("QSQLITE", "holder");
        holder.setDatabaseName(file("zuknetserver.db"));
        QVERIFY(holder.open());
        holder.exec("pragma journal_mode=delete");
        QCOMPARE(kinds(examined()), QStringList("soon journal mode"));
        holder.exec("begin exclusive");
        QCOMPARE(FileRows(file("zuknetserver.db")).refusal(), QString("database is locked"));
    }
    QSqlDatabase::removeDatabase("holder");
}

void TestDoctor::noDatabase_data()
{
    const auto row = columns<QString, QString>({"path", "refusal"});
    row("missing", "none/zuknetserver.db", "no such file");
    row("folder", "copies", "is a folder");
    row("text", "notes.txt", "is no SQLite database");
    row("short text", "short.txt", "is no SQLite database");
}

void TestDoctor::noDatabase()
{
    QFETCH(QString, path);
    writeFile(file("notes.txt"), QByteArray(5000, 'a'));
    writeFile(file("short.txt"), "SQLite format 3");
    QTEST(FileRows(m_folder->filePath(path)).refusal().section(';', 0, 0), "refusal");
    QVERIFY(!QFile::exists(file("none")));
}

void TestDoctor::fileWithoutTables()
{
    m_database.reset();
    QVERIFY(QFile::remove(file("zuknetserver.db")));
    writeFile(file("zuknetserver.db"), "");
    const Report report = examined();
    QCOMPARE(kinds(report), QStringList({"act tables", "soon journal mode"}));
    QCOMPARE(exitCodeOf(report), 4);
    QCOMPARE(contentOf(file("zuknetserver.db")), QByteArray());
}

void TestDoctor::leavesNoTrace()
{
    m_database.reset();
    const auto content = [this] {
        QStringList names = QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        return names.join(' ') + contentOf(file("zuknetserver.db")).toHex();
    };
    const QString before = content();
    examined();
    QCOMPARE(content(), before);
    // Beside a server that has the file open: its log is read.
    m_database = std::make_unique<DataBase>(file("zuknetserver.db"));
    QVERIFY(m_database->exec("update employees set WTIMSET='' where ID=5"));
    FileRows rows(file("zuknetserver.db"));
    QCOMPARE(kinds(examine(site(rows))), QStringList("soon employees"));
    QVERIFY(!rows.wasDisturbed());
}

void TestDoctor::worstFirstAndFewExamples()
{
    QVERIFY(
        m_database->exec("with recursive n(i) as (select 10 union all select i+1 from n where i<14) insert into "
                         "employees (ID,LASTNAME,ACTIVE,CALCSET,WTIMSET) select i,'N'||char(27)||i,1,'','ONE' from n"));
    QVERIFY(m_database->exec("drop table metalog"));
    const Report report = examined();
    QCOMPARE(kinds(report), QStringList({"act tables", "soon employees"}));
    const QString text = reportText(report);
    QVERIFY(text.contains("        N 12 (12)\n        and 2 more\n      > "));
    QVERIFY(!text.contains(QChar(27)));
    QCOMPARE(reportRecord(report).lookup("FINDINGS").at(1).lookup("WHICH").count(), 5);
}

QTEST_GUILESS_MAIN(TestDoctor)
#include "tst_doctor.moc"
