#include "files.h"
#include "tools/zukimport/csvreader.h"
#include "tools/zukimport/eventbuilder.h"
#include "tools/zukimport/importer.h"
#include "tools/zukimport/importoptions.h"
#include "tools/zukimport/importreport.h"
#include "tools/zukimport/importstore.h"
#include "tools/zukimport/punchclock.h"
#include "tools/zukimport/slovenianholidays.h"
#include "tools/zukimport/wordtable.h"

#include <QBuffer>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QTextCodec>
#include <QtTest>

using namespace tools::zukimport;

namespace {

/// Unix seconds of an instant in UTC, as in "2015-10-25 00:30".
qint64 utc(const QString &text)
{
    return QDateTime::fromString(text + ":00Z", Qt::ISODate).toSecsSinceEpoch();
}

/// The records of CSV text as "line:field|field" or "line!fault", in angle brackets.
QString csvRecords(QByteArray bytes, const char *encoding, QChar delimiter)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    CsvReader reader(buffer, *QTextCodec::codecForName(encoding), delimiter);
    CsvRecord record;
    QString records;
    while (reader.next(record)) {
        const QString content = record.fault.isEmpty() ? ':' + record.fields.join('|') : '!' + record.fault;
        records += QString("<%1%2>").arg(record.line).arg(content);
    }
    return records;
}

/// An import into a database of its own, driven as from the command line.
class Site
{
public:
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString database() const { return path("site.db"); }

    QString write(const QString &name, const QByteArray &bytes) const { return writeFile(path(name), bytes); }

    ImportReport::Outcome run(const QStringList &arguments)
    {
        ImportOptions options;
        QString help;
        QTextStream stream(&(m_output = QString()));
        ImportReport report(stream);
        const QString fault = readImportOptions(QStringList{"zukimport", database()} + arguments, options, &help);
        if (fault.isEmpty())
            runImport(options, report);
        else
            report.fail(fault);
        return report.outcome();
    }

    /// Imports the punches of these lines, with a header of the usual columns.
    ImportReport::Outcome punch(const QByteArray &lines, const QStringList &more = {})
    {
        const QString file = write("punches.csv", "employee,time,direction\n" + lines);
        return run(QStringList{"--create", "--punches", file, "--time-zone", "Europe/Ljubljana"} + more);
    }

    /// The rows of a query, columns joined by blanks.
    QStringList rows(const QString &sql) const
    {
        ImportStore store;
        QStringList result;
        if (!store.open(database(), false, ImportStore::DryRun))
            return {store.fault()};
        QSqlQuery query = store.select(sql);
        while (query.next()) {
            QStringList columns;
            for (int i = 0; i < query.record().count(); ++i)
                columns += query.value(i).toString();
            result += columns.join(' ');
        }
        return result;
    }
    QStringList events() const { return rows("select USER,TIMESTAMP,ACCESS_CODE from allevents order by ID"); }
    void exec(const QString &sql) const
    {
        ImportStore store;
        QVERIFY2(store.open(database(), true, ImportStore::Write) && store.write(sql) && store.commit(),
                 qPrintable(store.fault()));
    }
    const QString &output() const { return m_output; }

private:
    QTemporaryDir m_dir;
    QString m_output;
};

} // namespace

class TestZukImport : public QObject
{
    Q_OBJECT
private slots:
    void csv();
    void csvAcrossChunks();
    void times();
    void absences();
    void holidays();
    void refusedLines();
    void repeatedHour();
    void repeatedImport();
    void secondTaps();
    void dryRunChangesNothing();
    void employees();
    void calendar();
    void nothingDone();
};

void TestZukImport::csv()
{
    const struct {
        QByteArray bytes;
        const char *encoding;
        const char *records;
    } rows[] = {{"\357\273\277a;b\r\nc;\r\n", "UTF-8", "<1:a|b><2:c|>"},
                {"\"a;b\";\"say \"\"hi\"\"\"\n\"c\r\nd\";e\nf;g", "UTF-8", "<1:a;b|say \"hi\"><2:c\nd|e><4:f|g>"},
                {"a\n\n\r\nb\rc", "UTF-8", "<1:a><4:b><5:c>"},
                {"5\" pipe;b\n", "UTF-8", "<1:5\" pipe|b>"},
                {"\"a\"b;c\nd;e\n", "UTF-8", "<1!text after a closing quote><2:d|e>"},
                {"a;b\n\"c;d\ne;f\n", "UTF-8", "<1:a|b><2!a quote is never closed>"},
                {"a\n\x8Agar\nb\n", "UTF-8", "<1:a><2!not valid in the given encoding><3:b>"},
                {"\x8Agar;\xE8\n", "windows-1250", "<1:Šgar|č>"},
                {QByteArray("\377\376a\0;\0b\0\n\0c\0", 12), "UTF-16", "<1:a|b><2:c>"}};
    for (const auto &row : rows)
        QCOMPARE(csvRecords(row.bytes, row.encoding, ';'), row.records);
}

void TestZukImport::csvAcrossChunks()
{
    // A long line of two-byte characters behind one byte: every chunk's end cuts a character in two.
    const QString text = QString(300000, QChar(0x10D));
    const QByteArray tooLong(CsvReader::kMaxRecordChars + 1, 'z');
    const QString records = csvRecords("x" + text.toUtf8() + ",y\n" + tooLong + "\nlast,one\n", "UTF-8", ',');
    const QString first = "<1:x" + text + "|y>";
    QVERIFY(records.startsWith(first));
    QVERIFY2(QRegularExpression("^<2!.*longer than.*><3:last\\|one>$").match(records.mid(first.size())).hasMatch(),
             qPrintable(records.right(100)));
}

void TestZukImport::times()
{
    const char *const iso = "iso";
    const char *const day = "d.M.yyyy H:mm";
    const auto check = [](const char *format, const char *text, PunchClock::Kind kind, const char *expected = nullptr,
                          qint64 notBefore = 0) {
        const PunchClock::Reading reading = PunchClock(format, QTimeZone("Europe/Ljubljana")).read(text, notBefore);
        QVERIFY2(reading.kind == kind && (!expected || reading.seconds == utc(expected)), text);
    };
    check(iso, "2015-01-02 09:33", PunchClock::Exact, "2015-01-02 08:33");
    check(iso, "2015-07-02T09:33:00-03:30", PunchClock::Exact, "2015-07-02 13:03");
    check("unix", "1420187580", PunchClock::Exact, "2015-01-02 08:33");
    check(day, "2.1.2015 9:05", PunchClock::Exact, "2015-01-02 08:05");
    check("d.M.yy H:mm", "2.1.26 9:05", PunchClock::Exact, "2026-01-02 08:05");
    // The clock goes forward.
    check(iso, "2015-03-29 02:30", PunchClock::Skipped);
    // It goes back and shows an hour twice; the second time when an earlier one is known.
    check(iso, "2015-10-25 02:30", PunchClock::TakenAsFirst, "2015-10-25 00:30");
    check(day, "25.10.2015 2:30", PunchClock::TakenAsSecond, "2015-10-25 01:30", utc("2015-10-25 00:40"));
    check(iso, "2015-10-25T02:30+01:00", PunchClock::Exact, "2015-10-25 01:30");
    for (const char *bad : {"", "2015-02-29 08:00", "2015-01-02", "2015-01-02 08:00 x", "2.1.2015 08:00"})
        check(iso, bad, PunchClock::Unreadable);
}

void TestZukImport::absences()
{
    const struct {
        const char *name;
        const char *punches; // "word hour:minute", hours count on over midnight
        const char *events;
        int noReturns = 0;
    } rows[] = {{"a day with lunch", "IN 8:00, LUNCH 12:00, IN 12:30, OUT 16:00",
                 "101 8:00, 102 12:00, 101 12:00, 103 12:30, 101 12:30, 102 16:00"},
                {"a day without words for going out", "IN 8:00, OUT 12:00, IN 12:30, OUT 16:00",
                 "101 8:00, 102 12:00, 101 12:30, 102 16:00"},
                {"errand to the end of the day", "IN 8:00, ERRAND 13:00, OUT 15:00",
                 "101 8:00, 102 13:00, 101 13:00, 105 15:00"},
                {"errand from home", "ERRAND 8:00, IN 9:00, OUT 15:00", "101 8:00, 105 9:00, 101 9:00, 102 15:00"},
                {"lunch without an arrival shows the missing one", "LUNCH 12:00, IN 12:30, OUT 16:00",
                 "102 12:00, 101 12:00, 103 12:30, 101 12:30, 102 16:00"},
                {"from the errand to lunch", "IN 8:00, ERRAND 11:00, LUNCH 12:00, IN 12:30, OUT 16:00",
                 "101 8:00, 102 11:00, 101 11:00, 105 12:00, 101 12:00, 103 12:30, 101 12:30, 102 16:00"},
                {"not back until the next day", "IN 8:00, ERRAND 14:00, IN 32:00, OUT 40:00",
                 "101 8:00, 102 14:00, 101 32:00, 102 40:00", 1},
                {"not back at the input's end", "IN 8:00, LUNCH 12:00", "101 8:00, 102 12:00", 1},
                {"lunch of a night shift", "IN 20:00, LUNCH 23:50, IN 24:20, OUT 28:00",
                 "101 20:00, 102 23:50, 101 23:50, 103 24:20, 101 24:20, 102 28:00"},
                {"yesterday's departure forgotten", "IN 8:00, ERRAND 32:00, IN 33:00",
                 "101 8:00, 101 32:00, 105 33:00, 101 33:00"},
                {"out and back in one minute", "IN 8:00, LUNCH 12:00, IN 12:00, OUT 16:00",
                 "101 8:00, 102 12:00, 101 12:00, 102 16:00"},
                {"errand at the arrival's minute", "IN 8:00, ERRAND 8:00, IN 9:00, OUT 16:00",
                 "101 8:00, 105 9:00, 101 9:00, 102 16:00"}};
    WordTable words;
    words.addDefaults();
    QCOMPARE(words.add("LUNCH=103", true), QString());
    QCOMPARE(words.add("ERRAND=105", true), QString());
    for (const auto &row : rows) {
        QStringList events;
        int noReturns = 0;
        const auto add = [&events](qint64 seconds, const QString &code) {
            const QString minute = QString::number(seconds / 60 % 60).rightJustified(2, '0');
            events += QString("%1 %2:%3").arg(calc::rules::AccessCode(code).text()).arg(seconds / 3600).arg(minute);
        };
        EventBuilder builder(12 * 3600, add, [&noReturns](int) { ++noReturns; });
        for (const QString &punch : QString(row.punches).split(", ")) {
            const QStringList parts = punch.split(QRegularExpression("[ :]"));
            const qint64 seconds = (parts.at(1).toInt() * 60 + parts.at(2).toInt()) * 60;
            builder.punch(seconds, words.at(words.indexOf(parts.at(0))), 1);
        }
        builder.finish();
        QVERIFY2(events.join(", ") == row.events && noReturns == row.noReturns, row.name);
    }
}

void TestZukImport::holidays()
{
    const auto isHoliday = [](const char *date) {
        return !slovenianHoliday(QDate::fromString(date, Qt::ISODate)).isEmpty();
    };
    // Easter, early and late, Easter Monday, Whit Sunday; the second of January in its years; culture day.
    for (const char *date : {"2024-03-31", "2008-03-23", "2038-04-25", "2025-04-21", "2026-05-24", "2012-01-02",
                             "2017-01-02", "2026-02-08"})
        QVERIFY2(isHoliday(date), date);
    // Good Friday and Rudolf Maister's day are worked.
    for (const char *date : {"2025-04-18", "2026-11-23", "2015-01-02"})
        QVERIFY2(!isHoliday(date), date);
}

void TestZukImport::refusedLines()
{
    Site site;
    site.exec("insert into employees (ID,EMPLID) values (7,'A7'),(8,'B8'),(9,'B8')");
    QCOMPARE(site.punch("A7,2026-03-02 08:00,IN\n"
                        "A7,2026-03-02 12:00\n"
                        "A7,2026-03-02 25:00,OUT\n"
                        "A7,2026-03-29 02:10,OUT\n"
                        "Z1,2026-03-02 12:00,OUT\n"
                        "B8,2026-03-02 12:00,OUT\n"
                        "A7,2026-03-02 12:00,LUNCH\n"
                        "\"A7\",\"2026-03-02 16:00\",out\n"),
             ImportReport::SomeRefused);
    const QString expected = R"(refused punches.csv:3: 2 columns where the header has 3
refused punches.csv:4: "2026-03-02 25:00" is not a time
refused punches.csv:5: the time 2026-03-29 02:10 does not exist: the clock was set forward over it
refused punches.csv:6: unknown employee "Z1"
refused punches.csv:7: more than one employee has the personal number "B8"
refused punches.csv:8: unknown word "LUNCH"
)";
    QVERIFY2(site.output().startsWith(expected), qPrintable(site.output()));
    QCOMPARE(site.events(), QStringList({QStringLiteral("7 %1 101:Prihod").arg(utc("2026-03-02 07:00")),
                                         QStringLiteral("7 %1 102:Odhod").arg(utc("2026-03-02 15:00"))}));
    QCOMPARE(site.rows("select distinct TYPE,TAG,IDX from allevents"), QStringList{"EV 0 0"});

    // A bad line creates nobody.
    QCOMPARE(site.punch("N1,yesterday,IN\n", {"--create-employees"}), ImportReport::NothingDone);
    QCOMPARE(site.rows("select count(*) from employees"), QStringList{"3"});
    // By ID instead of the personal number.
    QCOMPARE(site.punch("9,2026-03-03 08:00,IN\nB8,2026-03-03 08:00,IN\n", {"--match-id"}), ImportReport::SomeRefused);
    QCOMPARE(site.events().size(), 3);
}

void TestZukImport::repeatedHour()
{
    Site site;
    QCOMPARE(site.punch("1,2026-10-25 02:50,IN\n1,2026-10-25 02:10,OUT\n", {"--create-employees"}),
             ImportReport::AllImported);
    QVERIFY(site.output().contains("note punches.csv:2: 2026-10-25 02:50 was shown twice: taken as the first"));
    QVERIFY(site.output().contains("note punches.csv:3: 2026-10-25 02:10 was shown twice: taken as the second"));
    QCOMPARE(site.events(), QStringList({QStringLiteral("1 %1 101:Prihod").arg(utc("2026-10-25 00:50")),
                                         QStringLiteral("1 %1 102:Odhod").arg(utc("2026-10-25 01:10"))}));
}

void TestZukImport::repeatedImport()
{
    // The longer file holds the shorter one, whose last going out it ends.
    const QByteArray begin = "12,2026-03-02 08:00,IN\n12,2026-03-02 08:00,IN\n12,2026-03-02 12:00,LUNCH\n";
    const QStringList more{"--create-employees", "--word", "IN=101", "--word", "OUT=102", "--going-out", "LUNCH=103"};
    Site site;
    QCOMPARE(site.punch(begin, more), ImportReport::AllImported);
    QVERIFY(site.output().contains("note punches.csv:4: did not come back"));
    QVERIFY(site.output().contains("employees: 1 added, 0 skipped"));
    QVERIFY(site.output().contains("events:    2 added, 1 skipped"));
    // A terminal's row of the same event bears another name.
    site.exec(QStringLiteral("insert into allevents (USER,TIMESTAMP,ACCESS_CODE,TYPE) values (12,%1,'101:Vhod','EV')")
                  .arg(utc("2026-03-02 11:30")));
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(site.punch(begin + "12,2026-03-02 12:30,IN\n12,2026-03-02 16:00,OUT\n", more),
                 ImportReport::AllImported);
        QVERIFY(site.output().contains(" 0 with a note"));
        QCOMPARE(site.rows(QStringLiteral("select (TIMESTAMP-%1)/60, ACCESS_CODE from allevents order by TIMESTAMP, "
                                          "substr(ACCESS_CODE,1,3)='101', ID")
                               .arg(utc("2026-03-02 07:00"))),
                 QStringList({"0 101:Prihod", "240 102:Odhod", "240 101:Prihod", "270 103:Malica", "270 101:Vhod",
                              "480 102:Odhod"}));
    }
    QVERIFY(site.output().contains("events:    0 added, 7 skipped"));
}

void TestZukImport::secondTaps()
{
    // Stored as they are; the calculation judges them, in a file of ours by the shipped two minutes.
    const QString seconds = "select VALUE from config where KEY='DOUBLETAP'";
    Site site;
    QCOMPARE(site.punch("1,2026-03-02 08:00,IN\n1,2026-03-02 08:01,IN\n", {"--create-employees"}),
             ImportReport::AllImported);
    QCOMPARE(site.events().size(), 2);
    QCOMPARE(site.rows(seconds), QStringList{"120"});
    // A file that is there keeps what its owner chose.
    site.exec("update config set VALUE='0' where KEY='DOUBLETAP'");
    QCOMPARE(site.punch("1,2026-03-02 16:00,OUT\n1,2026-03-02 16:01,OUT\n"), ImportReport::AllImported);
    QCOMPARE(site.events().size(), 4);
    QCOMPARE(site.rows(seconds), QStringList{"0"});
}

void TestZukImport::dryRunChangesNothing()
{
    const QStringList more = QStringList{"--create-employees", "--dry-run", "--calendar", "2026-03-01..2026-03-31"};
    const QByteArray lines = "5,2026-03-02 08:00,IN\n5,2026-03-02 16:00,OUT\nbad\n";
    Site site;
    QCOMPARE(site.punch(lines, more), ImportReport::SomeRefused);
    QVERIFY(!QFile::exists(site.database()));
    const QString wouldDo = site.output();
    QVERIFY(wouldDo.contains("events:    2 added"));

    site.exec("insert into employees (ID,EMPLID) values (1,'1')");
    const QByteArray before = contentOf(site.database());
    QCOMPARE(site.punch(lines, more), ImportReport::SomeRefused);
    QCOMPARE(site.output(), wouldDo);
    QVERIFY(before.startsWith("SQLite") && contentOf(site.database()) == before);
    QCOMPARE(QDir(QFileInfo(site.database()).path()).entryList({"site.db*"}), QStringList{"site.db"});
}

void TestZukImport::employees()
{
    Site site;
    site.exec("insert into calcset values ('OFFICE','{}'),('SHOP','{}')");
    site.exec("insert into employees (ID,EMPLID,LASTNAME) values (3,'003','Kept')");
    const QString file = site.write("staff.csv", QByteArray("No;Surname;FIRSTNAME;CALCSET;ACTIVE;ID\n"
                                                            "001;\216agar;Ana;;;\n"
                                                            "002;\"Kos; ml.\";Bor;SHOP;0;20\n"
                                                            "003;Other;Name;;;\n"
                                                            "004;Novak;Cene;NONE;;\n"
                                                            ";Novak;Cene;;;\n"
                                                            "005;;;;;\n"
                                                            "006;Novak;Cene;;yes;\n"
                                                            "007;Novak;Cene;;;20\n"
                                                            "001;Again;Ana;;;\n"
                                                            "20;Only;;;;\n")); // its number is another's ID
    QCOMPARE(site.run({"--employees", file, "--employee-column", "EMPLID=No", "--employee-column", "LASTNAME=Surname",
                       "--delimiter", ";", "--encoding", "windows-1250", "--calcset", "OFFICE"}),
             ImportReport::SomeRefused);
    QCOMPARE(site.rows("select ID,EMPLID,LASTNAME || ' ' || FIRSTNAME,ACTIVE,CALCSET from employees "
                       "where ID<>3 order by EMPLID"),
             QStringList({QString::fromUtf8("1 001 Žagar Ana 1 OFFICE"), "20 002 Kos; ml. Bor 0 SHOP",
                          "21 20 Only  1 OFFICE"}));
    QCOMPARE(site.rows("select LASTNAME from employees where ID=3"), QStringList{"Kept"});
    for (const char *reason : {":5: unknown CALCSET \"NONE\"", ":6: no personal number", ":7: no name",
                               ":8: ACTIVE is not a whole number", ":9: the ID 20 belongs to another employee"})
        QVERIFY2(site.output().contains(QLatin1String(reason)), reason);
    QVERIFY(site.output().contains("employees: 3 added, 2 skipped"));
}

void TestZukImport::calendar()
{
    Site site;
    const QStringList range{"--create", "--time-zone", "Europe/Ljubljana", "--calendar", "28.3.2026..2026-04-06"};
    QCOMPARE(site.run(range), ImportReport::AllImported);
    const QString days = "select (DATE-%1)/3600, DATESTAMP, PRAZNIK from calendar order by DATE limit 4";
    // The 29th has 23 hours.
    QCOMPARE(site.rows(days.arg(utc("2026-03-27 23:00"))),
             QStringList({"0 28.3.2026 ", "24 29.3.2026 ", "47 30.3.2026 ", "71 31.3.2026 "}));
    const QString file = site.write("days.csv", "date,name\n3.4.2026,works party\n1.5.2026,outside\nx,y\n");
    QCOMPARE(site.run(range + QStringList{"--slovenian-holidays", "--holidays", file}), ImportReport::SomeRefused);
    QCOMPARE(site.rows("select count(*) from calendar"), QStringList{"10"});
    QCOMPARE(site.rows("select DATESTAMP,PRAZNIK from calendar where PRAZNIK<>'' order by DATE"),
             QStringList({"3.4.2026 works party", QString::fromUtf8("5.4.2026 velika noč"),
                          QString::fromUtf8("6.4.2026 velikonočni ponedeljek")}));
}

void TestZukImport::nothingDone()
{
    const struct {
        const char *arguments; // @ stands for a right file
        const char *reason;
    } rows[] = {{"--punches none.csv", "none.csv"},
                {"--punches @ --punch-column time=when", "no column when"},
                {"--punches @ --calcset X", "no calcset X"},
                {"--punches @ --encoding klingon", "unknown encoding"},
                {"--punches @ --delimiter ::", "not one character"},
                {"--punches @ --time-zone Mars/North", "is not a zone"},
                {"--punches @ --word IN=106", "the code must be"},
                {"--punches @ --word IN=1012", "the code must be"},
                {"--punches @ --word A=101 --word a=102", "another meaning"},
                {"--punches @ --going-out X=101", "a departure names"},
                {"--calendar 2026-02-01..2026-01-01", "not FROM..TO"},
                {"--punches @ --slovenian-holidays", "need the --calendar"},
                {"", "nothing to import"},
                {"--punches @ --time-format unix", "is not a time"}};
    for (const auto &row : rows) {
        Site site;
        const QString file = site.write("p.csv", "employee,time,direction\n1,2026-03-02 08:00,IN\n");
        QStringList arguments = QString(row.arguments).split(' ', Qt::SkipEmptyParts).replaceInStrings("@", file);
        QCOMPARE(site.run(arguments + QStringList{"--create", "--create-employees"}), ImportReport::NothingDone);
        QVERIFY2(site.output().contains(row.reason), qPrintable(site.output()));
        QVERIFY(!QFile::exists(site.database()));
    }
}

QTEST_GUILESS_MAIN(TestZukImport)
#include "tst_zukimport.moc"
