#include "calcsite.h"
#include "files.h"
#include "page/server/office/pagetables.h"
#include "report/outputs.h"
#include "report/remarks.h"
#include "report/reporting.h"
#include "report/workrecord.h"
#include "storage/readconnection.h"

#include <QGuiApplication>
#include <QRawFont>

using report::Kind;

namespace {

const QString kWeek = QString("1-5 ") + kDay;

/// Durations as "8:00" joined by blanks, "-" where there is nothing.
QString told(const std::initializer_list<std::optional<qint64>> &values)
{
    QStringList texts;
    for (const std::optional<qint64> &value : values)
        texts += duration(value);
    return texts.join(' ');
}

/// What stands in the sheet's row that begins with this date, under the headings in Slovenian; "-" for nothing.
QString cellsOf(const report::Sheet &sheet, const QString &begin, const QString &headings)
{
    QStringList texts;
    for (size_t row = 0; row < sheet.rows.size(); ++row) {
        const report::Cell *cells = sheet.row(row);
        size_t first = 0;
        while (cells[first].isEmpty())
            ++first;
        if (!cells[first].shown(Language::Slovenian).contains(begin))
            continue;
        for (const QString &heading : headings.split('|')) {
            for (size_t i = 0; i < sheet.layout->columns.size(); ++i) {
                if (sheet.layout->columns[i].heading.in(Language::Slovenian) == heading)
                    texts += cells[i].isEmpty() ? "-" : cells[i].shown(Language::Slovenian);
            }
        }
        break;
    }
    return texts.join('|');
}

/// Records after RFC 4180, read anew without the code that wrote them.
QVector<QStringList> csvRecords(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    QVector<QStringList> records{{QString()}};
    bool isQuoted = false;
    for (int i = text.startsWith(QChar::ByteOrderMark) ? 1 : 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == '"' && isQuoted && text.mid(i + 1, 1) == "\"")
            records.last().last() += text.at(++i);
        else if (c == '"')
            isQuoted = !isQuoted;
        else if (c == ',' && !isQuoted)
            records.last() += QString();
        else if (c == '\n' && !isQuoted)
            records += QStringList{QString()};
        else if (c != '\r' || isQuoted)
            records.last().last() += c;
    }
    records.removeLast();
    return records;
}

} // namespace

/// A company with what reports are made of.
class ReportSite : public CalcSite
{
public:
    ReportSite()
    {
        job.first = QDate(2026, 3, 1);
        job.last = QDate(2026, 3, 31);
        job.language = Language::Slovenian;
        job.now = {instant("1.5.2026 12:00"), QDate(2026, 5, 1)};
    }

    /// The sheets; the fault is kept.
    std::vector<report::Sheet> sheets(Kind kind)
    {
        std::vector<report::Sheet> made;
        job.kind = kind;
        fault = report::makeReport(database(), job,
                                   [&made](const report::Sheet &sheet) {
                                       made.push_back(sheet);
                                       return QString();
                                   },
                                   {});
        return made;
    }
    report::Sheet sheet(Kind kind)
    {
        const std::vector<report::Sheet> made = sheets(kind);
        if (made.empty())
            qFatal("no sheet: %s", qPrintable(fault));
        return made.front();
    }
    /// Writes the report to a path.
    QString write(Kind kind, const QString &path, report::Format format)
    {
        report::Outputs outputs(path, format, {job.language, "1. 5. 2026 12:00"});
        QString what = outputs.open();
        job.kind = kind;
        if (what.isEmpty())
            what = report::makeReport(database(), job,
                                      [&outputs](const report::Sheet &each) { return outputs.write(each); }, {});
        return what.isEmpty() ? outputs.commit() : what;
    }

    report::Job job;
    QString fault;
};

class TestReport : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void records_data();
    void records();
    void statement();
    void statementOfOddPeople();
    void registerAsMade();
    void registerNamesWhoEntered();
    void whoIsIncluded_data();
    void whoIsIncluded();
    void exceptions();
    void faults_data();
    void faults();
    void batches();
    void csv();
    void texts();
    void remarksAreForPeople_data();
    void remarksAreForPeople();
    void papers_data();
    void papers();
    void lettersOfPapers();
    void wholeFiles();
    void foldersOfFiles();

private:
    QTemporaryDir m_folder;
};

void TestReport::records_data()
{
    // Clock times, then hours regular beyond, then night Sunday holiday, then break and holiday off. 2.3.2026 is a
    // Monday, the lunch of the schedule half an hour; 3.3. is a public holiday, on 29.3. the clock goes forward.
    addTable(R"(
# plain |
a day of its schedule          | 2.3.2026 07:00 101; 15:00 102                              | 7:00-15:00 | 8:00 8:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
seconds are left out           | 2.3.2026 07:00:59 101; 15:00:59 102                        | 7:00-15:00 | 8:00 8:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
longer than the schedule       | 2.3.2026 06:30 101; 16:45 102                              | 6:30-16:45 | 10:15 8:00 2:15 | 0:00 0:00 0:00 | 0:00 0:00
a paid break is work           | 2.3.2026 07:00 101; 11:00 102; 11:00 101; 11:25 103; 11:25 101; 15:00 102 | 7:00-15:00 | 8:00 8:00 0:00 | 0:00 0:00 0:00 | 0:25 0:00
a longer one beyond it is not  | 2.3.2026 07:00 101; 11:00 102; 11:00 101; 11:50 103; 11:50 101; 15:00 102 | 7:00-15:00 | 7:40 7:40 0:00 | 0:00 0:00 0:00 | 0:50 0:00
a private way out is none      | 2.3.2026 07:00 101; 10:00 102; 10:00 101; 11:00 105; 11:00 101; 16:00 102 | 7:00-16:00 | 8:00 8:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
an errand is work              | 2.3.2026 07:00 101; 12:00 102; 12:00 101; 15:00 104        | 7:00-15:00 | 8:00 8:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
leave is no presence           | 2.3.2026 07:00 101/MP; 15:00 102:1/MP                      | ---        | 0:00 0:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
no departure                   | 2.3.2026 07:00 101                                         | 7:00--     | 0:00 0:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
no arrival                     | 2.3.2026 15:00 102                                         | --15:00    | 0:00 0:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
back, and no second departure  | 2.3.2026 07:00 101; 12:00 102; 13:00 101                   | 7:00--     | 5:00 5:00 0:00 | 0:00 0:00 0:00 | 0:00 0:00
# when |
a night                        | 2.3.2026 22:00 101; 3.3.2026 06:30 102                     | 22:00-30:30 | 8:30 8:00 0:30 | 7:00 0:00 6:30 | 0:00 0:00
a public holiday               | 3.3.2026 08:00 101; 11:00 102                              | 8:00-11:00 | 3:00 0:00 3:00 | 0:00 0:00 3:00 | 0:00 5:00
a public holiday off           | 3.3.2026 08:00 105                                         | --8:00     | 0:00 0:00 0:00 | 0:00 0:00 0:00 | 0:00 8:00
Saturday night into Sunday     | 7.3.2026 20:00 101; 8.3.2026 04:00 102                     | 20:00-28:00 | 8:00 0:00 8:00 | 5:00 4:00 0:00 | 0:00 0:00
an hour is skipped             | 28.3.2026 22:00 101; 29.3.2026 06:00 102                   | 22:00-30:00 | 7:00 0:00 7:00 | 6:00 5:00 0:00 | 0:00 0:00
)");
}

void TestReport::records()
{
    QFETCH(TableRow, row);
    CalcRows rows(row[0], kWeek);
    rows.holiday("3.3.2026", "1");
    const CalcRun run = rows.run("1.3.2026", "31.3.2026", "NEAREVENTS=1");
    const QString day = row[0].section(' ', 0, 0);
    const calc::rules::Employee &employee = run.result.inputs.employees.front();
    const auto pairs = report::pairsByDay(run.result.inputs, employee, run.of().pairing.pairs);
    const auto record = report::workRecordOf(run.result.inputs, employee, run.day(day),
                                             pairs[static_cast<size_t>(date(day).day() - 1)]);
    const auto clock = [](const std::optional<qint64> &time) { return time ? duration(time) : QString("-"); };
    QCOMPARE(clock(record.arrival) + "-" + clock(record.departure), row[1]);
    QCOMPARE(told({record.hours, record.regular, record.beyond}), row[2]);
    QCOMPARE(told({record.night, record.sunday, record.holiday}), row[3]);
    QCOMPARE(told({record.breaks, record.freeHoliday}), row[4]);
}

void TestReport::statement()
{
    ReportSite site;
    site.employee(1, "Novak Ana", kWeek, kNoRules, "DEPARTMENT=Razvoj");
    site.holiday("3.3.2026", "Praznik mesta");
    site.events(1, "2.3.2026 07:00 101; 15:30 102; 4.3.2026 07:00 101/MP; 15:00 102:1/MP; 5.3.2026 07:00 101");
    site.insert("freehour", {{"IDU", 1}, {"STATUS", 1}, {"FHOURS", -3}, {"CHGDATE", instant("1.3.2026 06:00")}});
    site.job.last = QDate(2026, 3, 6);
    const report::Sheet sheet = site.sheet(Kind::Statement);
    const QString columns = "Prihod|Odhod|Delo|Dopust|Obvez.|Skupaj|Razlika|Saldo";
    QCOMPARE(cellsOf(sheet, "Prenos", "Saldo"), QString("-3:00"));
    QCOMPARE(cellsOf(sheet, "02.03.2026", columns), QString("07:00|15:30|8:30|-|8:00|8:30|0:30|-2:30"));
    QCOMPARE(cellsOf(sheet, "04.03.2026", columns), QString("07:00|15:00|-|8:00|8:00|8:00|0:00|-2:30"));
    QCOMPARE(cellsOf(sheet, "05.03.2026", columns), QString("07:00|-|-|-|8:00|-|-8:00|-10:30"));
    QVERIFY(cellsOf(sheet, "03.03.2026", "Opombe").startsWith("Praznik mesta"));
    QVERIFY(cellsOf(sheet, "06.03.2026", "Opombe").startsWith("ni zapisa"));
    QVERIFY(cellsOf(sheet, "04.03.2026", "Opombe").contains("ročni vnos"));
    // 8:30 of work and 8:00 of leave; the holiday credits its 8:00. Five working days ask for 40:00.
    QCOMPARE(cellsOf(sheet, "Skupaj", "Delo|Dopust|Praznik|Obvez.|Skupaj|Razlika|Saldo"),
             QString("8:30|8:00|8:00|40:00|24:30|-15:30|-18:30"));
    QCOMPARE(sheet.signatures.size(), 3);
    QCOMPARE(sheet.identity, (QStringList{"1", "E1", "Novak Ana", "Razvoj"}));

    // Days to come ask for nothing yet.
    site.job.now = {instant("2.3.2026 20:00"), QDate(2026, 3, 2)};
    QCOMPARE(cellsOf(site.sheet(Kind::Statement), "Skupaj", "Obvez.|Razlika|Saldo"), QString("8:00|0:30|-2:30"));
    // A part of a month begins with no balance of the month.
    site.job.first = QDate(2026, 3, 2);
    QCOMPARE(cellsOf(site.sheet(Kind::Statement), "Prenos", "Saldo"), QString());
}

void TestReport::statementOfOddPeople()
{
    ReportSite site;
    site.employee(1, "Nihče Brez", "", "");
    site.insert("employees", {{"ID", 2}, {"ACTIVE", 1}});
    const std::vector<report::Sheet> sheets = site.sheets(Kind::Statement);
    QCOMPARE(site.fault, QString());
    QCOMPARE(sheets.size(), size_t(2));
    for (const report::Sheet &sheet : sheets)
        QVERIFY(sheet.notes.contains("ni nastavitev") && sheet.notes.contains("ni urnika"));
    QCOMPARE(sheets.front().subject, QString("#2")); // no name at all
    // Two years, day by day, and the sum.
    site.sql("insert into calendar (DATE,DATESTAMP) values (" + QString::number(midnight("1.1.2025")) + ",'1.1.2025')");
    site.job.first = QDate(2025, 1, 1);
    site.job.last = QDate(2026, 12, 31);
    QCOMPARE(site.sheet(Kind::Register).rows.size(), size_t(QDate(2025, 1, 1).daysTo(QDate(2026, 5, 1)) + 1 + 1));
}

void TestReport::registerAsMade()
{
    ReportSite site;
    // The statement rounds, ends before the lunch and makes an arrival of its own; the record shows what was tapped.
    site.storeConfig("CALCWTIMES", R"({"ISROUND30":true,"AUTOEVENTS":true,"EARLYEXIT":10})");
    site.employee(1, "Novak Ana", QString("1-5 ") + kLunchAt11, "SALDO/ARRINT=15 SALDO/ARRON=1");
    site.events(1, "2.3.2026 06:47:40 101; 15:10:20 102; 3.3.2026 14:00 105; 31.3.2026 22:00 101; 1.4.2026 06:00 102");
    const report::Sheet sheet = site.sheet(Kind::Register);
    const QString columns = "Prihod|Odhod|Ure|Redne|Nad urnikom|Nočne";
    QCOMPARE(cellsOf(sheet, "02.03.2026", columns), QString("06:47|15:10|8:23|8:00|0:23|-"));
    QCOMPARE(cellsOf(sheet, "02.03.2026", "Dogodki"), QString("06:47 101:Ime; 15:10 102:Ime"));
    QCOMPARE(cellsOf(sheet, "03.03.2026", "Prihod|Odhod|Zas.|Opombe"), QString("-|14:00|-|14:00: prihod ni zabeležen"));
    // The night at the period's end is whole, though the stored settings read nothing beyond it.
    QCOMPARE(cellsOf(sheet, "31.03.2026", columns), QString("22:00|06:00+1|8:00|8:00|-|7:00"));
    QCOMPARE(cellsOf(sheet, "Skupaj", "Ure|Redne|Nad urnikom"), QString("16:23|16:00|0:23"));
    QVERIFY(sheet.notes.first().contains("brez zaokroževanja"));
}

void TestReport::registerNamesWhoEntered()
{
    ReportSite site;
    site.employee(1, "Novak Ana", kWeek);
    site.employee(2, "Kos Bor", kWeek);
    site.events(1, "2.3.2026 07:00 101; + 15:00 102/ME; 3.3.2026 07:00 101/MP; 15:00 102:1/MP; + 4.3.2026 07:00 101; "
                   "15:00 102; 5.3.2026 07:00 101/ME");
    site.sql("update metalog set IDLOG=1 where TIMESTAMP<" + QString::number(midnight("3.3.2026")));
    site.sql("update metalog set IDLOG=2 where TIMESTAMP>" + QString::number(midnight("4.3.2026")));
    site.job.staff.users = {1};
    const auto remark = [&site](const QString &day) { return cellsOf(site.sheet(Kind::Register), day, "Opombe"); };
    QCOMPARE(remark("02.03.2026"), QString("15:00 vnesel(a) Novak Ana")); // there is no page_request yet

    QVERIFY(page::office::preparePageTables(site.database()));
    site.sql("insert into page_request (USER,KIND,CODE,FROMDATE,TODATE,ASKED,STATE,DECIDEDBY,METALOG,REVISION) select "
             "1,'punch','102','2026-03-02','2026-03-02',1,'approved',2,'['||ID||']',1 from metalog where IDLOG=1");
    QCOMPARE(remark("02.03.2026"), QString("15:00 vnesel(a) Novak Ana, odobril(a) Kos Bor"));
    QCOMPARE(remark("04.03.2026"), QString("07:00–15:00 vnesel(a) Kos Bor"));
    QVERIFY(remark("05.03.2026").contains("07:00: odhod ni zabeležen"));
    site.sql("update metalog set IDLOG=77");
    QCOMPARE(remark("04.03.2026"), QString("07:00–15:00 vnesel(a) 77")); // nobody has the number
}

void TestReport::whoIsIncluded_data()
{
    columns<int, QString, QString, QString>("kind", "users", "department", "who");
    addRow("register: also who has left and has events", int(Kind::Register), "", "", "Čuk Žiga,Kos Bor,Šega Eva");
    addRow("statement likewise", int(Kind::Statement), "", "", "Čuk Žiga,Kos Bor,Šega Eva");
    addRow("who has left, by name", int(Kind::Register), "4", "", "Zajc Filip");
    addRow("a department", int(Kind::Register), "", "Razvoj", "Kos Bor,Šega Eva");
    addRow("in the order of the department, then of the alphabet", int(Kind::Statement), "2,1,3", "",
           "Čuk Žiga,Kos Bor,Šega Eva");
}

void TestReport::whoIsIncluded()
{
    QFETCH(int, kind);
    QFETCH(QString, users);
    QFETCH(QString, department);
    QFETCH(QString, who);
    ReportSite site;
    site.employee(1, "Kos Bor", kWeek, kNoRules, "DEPARTMENT=Razvoj");
    site.employee(2, "Čuk Žiga", kWeek, kNoRules, "DEPARTMENT=Prodaja");
    site.employee(3, "Šega Eva", kWeek, kNoRules, "DEPARTMENT=Razvoj ACTIVE=0");
    site.employee(4, "Zajc Filip", kWeek, kNoRules, "DEPARTMENT=Razvoj ACTIVE=0");
    site.events(3, "2.3.2026 07:00 101; 15:00 102");
    site.events(4, "2.2.2026 07:00 101; 15:00 102");
    for (const QString &user : users.split(',', Qt::SkipEmptyParts))
        site.job.staff.users += user.toLongLong();
    if (!department.isEmpty())
        site.job.staff.departments = QStringList{department};
    QStringList names;
    for (const report::Sheet &sheet : site.sheets(Kind(kind)))
        names += sheet.subject;
    QCOMPARE(names.join(','), who);
}

void TestReport::exceptions()
{
    ReportSite site;
    site.job.first = QDate(2026, 3, 2);
    site.job.last = QDate(2026, 3, 4);
    site.employee(1, "Novak Ana", kWeek, kWarnings, "DEPARTMENT=Razvoj");
    site.employee(2, "Kos Bor", kWeek, kNoRules, "DEPARTMENT=Prodaja");
    site.events(1, "2.3.2026 07:00 101; 4.3.2026 08:30 101; 15:00 102");
    site.events(2, "2.3.2026 07:00 101; 15:00 102; 3.3.2026 07:00 101; 15:00 102; 4.3.2026 07:00 101; 15:00 102");
    const std::vector<report::Sheet> sheets = site.sheets(Kind::Exceptions);
    QCOMPARE(sheets.size(), size_t(2));
    QCOMPARE(sheets[0].subject, QString("Prodaja"));
    QVERIFY(sheets[0].rows.empty() && !sheets[0].notes.isEmpty());
    QCOMPARE(sheets[1].subject, QString("Razvoj"));
    QStringList told;
    for (size_t i = 0; i < sheets[1].rows.size(); ++i)
        told += sheets[1].row(i)[3].shown(Language::Slovenian) + ' ' + sheets[1].row(i)[4].text;
    QCOMPARE(told,
             (QStringList{"pon 02.03.2026 nepopoln par", "tor 03.03.2026 dan brez ur", "sre 04.03.2026 opozorilo"}));
}

void TestReport::faults_data()
{
    columns<QString, QString>("what", "fault");
    addRow("no such employee", "user", "there is no employee 99");
    addRow("nobody there", "department", "nobody is in the department");
    addRow("no calendar", "period", "Ni koledarja za izbrano obdobje!");
    addRow("no tables", "tables", "lacks tables");
}

void TestReport::faults()
{
    QFETCH(QString, what);
    QFETCH(QString, fault);
    ReportSite site;
    site.employee(1, "Novak Ana", kWeek);
    if (what == "user")
        site.job.staff.users = {1, 99};
    if (what == "department")
        site.job.staff.departments = QStringList{"Nikjer"};
    if (what == "period")
        site.job.first = site.job.last = QDate(2031, 1, 1);
    if (what == "tables")
        site.sql("drop table RAZPOREDC");
    QVERIFY(site.sheets(Kind::Register).empty());
    QVERIFY2(site.fault.contains(fault), qPrintable(site.fault));
}

void TestReport::batches()
{
    // A batch holds a bounded number of days, whatever the period, and somebody is in it.
    QCOMPARE(report::batchSize(31), 193);
    QCOMPARE(report::batchSize(1), 200);
    QCOMPARE(report::batchSize(100000), 1);
    ReportSite site;
    const int people = report::batchSize(31) + 2;
    for (int id = 1; id <= people; ++id)
        site.insert("employees", {{"ID", id}, {"LASTNAME", QString("P%1").arg(id, 4)}, {"ACTIVE", 1}});
    site.events(people, "2.3.2026 07:00 101; 15:00 102");
    const std::vector<report::Sheet> sheets = site.sheets(Kind::Register);
    QCOMPARE(sheets.size(), size_t(people));
    QCOMPARE(cellsOf(sheets.back(), "02.03.2026", "Ure"), QString("8:00"));
    QCOMPARE(cellsOf(sheets.front(), "02.03.2026", "Ure"), QString("-"));
}

void TestReport::csv()
{
    ReportSite site;
    site.employee(1, "=Novak Ana", kWeek, kNoRules, "DEPARTMENT='Razvoj, \"A\"'");
    site.sql("update employees set DEPARTMENT='Razvoj, \"A\"', FIRSTNAME='" + QString("Ž").repeated(300) + "\n'");
    site.events(1, "2.3.2026 07:00 101; 3.3.2026 01:00 102");
    site.job.last = QDate(2026, 3, 4);
    const QString path = m_folder.filePath("out.csv");
    QCOMPARE(site.write(Kind::Statement, path, report::Format::Csv), QString());
    const QByteArray bytes = contentOf(path);
    QVERIFY(bytes.startsWith("\xef\xbb\xbf") && bytes.endsWith("\r\n"));
    const QVector<QStringList> records = csvRecords(bytes);
    QCOMPARE(records.size(), 1 + 4 + 1);
    for (const QStringList &record : records)
        QCOMPARE(record.size(), records.first().size());
    QCOMPARE(records[2].mid(0, 3), (QStringList{"dan", "1", "E1"}));
    QVERIFY(records[2][3].startsWith("'=Novak ŽŽŽ"));
    // The rules count up to the end of the schedule's window, 16:00.
    QCOMPARE(records[2].mid(4, 5).join('|'), QString("Razvoj, \"A\"|2026-03-02|07:00|01:00+1|9:00"));
    QCOMPARE(records.last().first(), QString("skupaj"));
}

void TestReport::texts()
{
    ReportSite site;
    site.employee(1, "Novak\x1b[31m Ana", kWeek);
    site.events(1, "2.3.2026 07:00 101; 15:00 102");
    site.job.language = Language::English;
    const QString path = m_folder.filePath("out.txt");
    QCOMPARE(site.write(Kind::Statement, path, report::Format::Text), QString());
    const QString text = QString::fromUtf8(contentOf(path));
    QVERIFY(!text.contains('\x1b') && text.contains("March 2026") && text.contains("Mon 2026-03-02    07:00  15:00"));
    QVERIFY(!text.contains("Sick")); // nothing stands in that column
}

void TestReport::remarksAreForPeople_data()
{
    columns<QString, QString, QString>("said", "slovenian", "english");
    addRow("seconds", "Prepozen prihod 36933 23400", "prepozen prihod", "late arrival");
    addRow("numbers of the rule", "delo izven urnika ODH2-1-0", "čas po urniku ne šteje",
           "time after the schedule does not count");
    addRow("told once", "Ni Prihoda!;Ni Prihoda!;Ni delovnih ur!", "ni prihoda;ni delovnih ur", "no arrival;no hours");
    addRow("a remark of somebody, with a number", "teren 12", "teren 12", "teren 12");
    addRow("numbers alone", "12", "12", "12");
}

void TestReport::remarksAreForPeople()
{
    QFETCH(QString, said);
    QFETCH(QString, slovenian);
    QFETCH(QString, english);
    QCOMPARE(report::remarkTexts(said.split(';'), Language::Slovenian).join(';'), slovenian);
    QCOMPARE(report::remarkTexts(said.split(';'), Language::English).join(';'), english);
}

void TestReport::papers_data()
{
    columns<int, int, QString, int>("kind", "months", "name", "pages");
    addRow("a month's statement on one page", int(Kind::Statement), 1, "Novak Ana", 1);
    addRow("a month's record", int(Kind::Register), 1, "Novak Ana", 1);
    addRow("a name of 300 letters", int(Kind::Register), 1, "Č" + QString("ž").repeated(300) + " Š", 1);
    addRow("a year", int(Kind::Register), 12, "Novak Ana", 0);
    addRow("exceptions", int(Kind::Exceptions), 1, "Novak Ana", 1);
}

void TestReport::papers()
{
    QFETCH(int, kind);
    QFETCH(int, months);
    QFETCH(QString, name);
    QFETCH(int, pages);
    if (const QString fault = report::loadPaperFonts(); !fault.isEmpty())
        QSKIP(qPrintable(fault));
    ReportSite site;
    site.employee(1, name, kWeek);
    // With a column for each kind of absence the paper lies across.
    site.events(1, "2.3.2026 07:00 101; 15:00 102; 3.3.2026 07:00 101; 4.3.2026 07:00 101/MP; 15:00 102:1/MP; "
                   "5.3.2026 07:00 101/MP; 15:00 102:2/MP; 6.3.2026 07:00 101/MP; 15:00 102:4/MP; "
                   "9.3.2026 07:00 101/MP; 15:00 102:6/MP; 10.3.2026 07:00 101/MP; 15:00 102:7/MP");
    site.job.first = QDate(2026, 1, 1).addMonths(months == 1 ? 2 : 0);
    site.job.last = site.job.first.addMonths(months).addDays(-1);
    site.job.now.today = QDate(2027, 1, 1);
    const QString path = m_folder.filePath("out.pdf");
    QCOMPARE(site.write(Kind(kind), path, report::Format::Pdf), QString());
    const QByteArray pdf = contentOf(path);
    QVERIFY(pdf.startsWith("%PDF-") && pdf.trimmed().endsWith("%%EOF"));
    const int found = pdf.count("/Type /Page\n");
    // 365 rows of some 4.5 mm on pages of 250 mm.
    QVERIFY2(pages > 0 ? found == pages : found >= 7 && found <= 12, qPrintable(QString::number(found)));
}

void TestReport::lettersOfPapers()
{
    if (const QString fault = report::loadPaperFonts(); !fault.isEmpty())
        QSKIP(qPrintable(fault));
    for (const bool isBold : {false, true}) {
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setBold(isBold);
        const QRawFont raw = QRawFont::fromFont(font);
        for (const QChar letter : QString("čšžČŠŽćđĆĐ–·€ëöüàЖ"))
            QVERIFY2(raw.supportsCharacter(letter), qPrintable(QString(letter)));
    }
}

void TestReport::wholeFiles()
{
    ReportSite site;
    site.employee(1, "Novak Ana", kWeek);
    const QString path = writeFile(m_folder.filePath("kept.csv"), "before");
    // What fails on the way leaves what was there, and nothing beside it.
    site.job.staff.users = {1, 99};
    QVERIFY(!site.write(Kind::Register, path, report::Format::Csv).isEmpty());
    QCOMPARE(contentOf(path), QByteArray("before"));
    QCOMPARE(QDir(m_folder.path()).entryList({"kept*"}, QDir::Files | QDir::Hidden), QStringList{"kept.csv"});
    const QString nowhere = m_folder.filePath("no/such/folder.csv");
    site.job.staff.users.clear();
    QVERIFY(site.write(Kind::Register, nowhere, report::Format::Csv).contains("cannot be written"));
}

void TestReport::foldersOfFiles()
{
    ReportSite site;
    site.employee(1, "Novak/.. " + QString("Ž").repeated(300), kWeek, kNoRules, "DEPARTMENT=A.B");
    site.employee(2, "", kWeek, kNoRules, "DEPARTMENT=A/B");
    const QString folder = m_folder.filePath("made/here/");
    QCOMPARE(site.write(Kind::Statement, folder, report::Format::Csv), QString());
    QCOMPARE(site.write(Kind::Exceptions, folder, report::Format::Text), QString());
    const QStringList files = QDir(folder).entryList(QDir::Files, QDir::Name);
    // Departments that differ by what no file name holds have a file each.
    QCOMPARE(files.filter("exceptions"),
             (QStringList{"exceptions-2026-03-01-A-B-2.txt", "exceptions-2026-03-01-A-B.txt"}));
    QCOMPARE(files.filter("statement").size(), 2);
    QVERIFY(files.filter("statement-2026-03-01-1-Novak-Ž").size() == 1);
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    TestReport test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_report.moc"
