#include "calc/calc21.h"
#include "rows.h"
#include "storage/database.h"
#include "toolrun.h"
#include "tools/demodata/democompany.h"
#include "tools/demodata/secondtaps.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>

namespace {

/// Both changes of the clock lie inside; the last day is a Friday, on whose evening nights begin.
DemoOptions wholeYear()
{
    DemoOptions options;
    options.employees = 40;
    options.start = QDate(2025, 1, 1);
    options.end = QDate(2025, 12, 19);
    options.seed = 7;
    return options;
}

/// An event of the demo as it is stored.
struct Tap {
    qint64 id = 0;
    qint64 time = 0;
    QString code;
    QString terminal; ///< empty of one that was entered by hand
    bool isArrival() const { return code.startsWith("101"); }
};
using Taps = QVector<Tap>;

/// By user, in the order in which the calculation reads them.
QMap<qint64, Taps> tapsIn(DataBase &database)
{
    QMap<qint64, Taps> all;
    const QAny rows = database.select("SELECT ID, USER, TIMESTAMP, ACCESS_CODE, TERMINAL FROM allevents UNION ALL "
                                      "SELECT ID, USER, TIMESTAMP, ACCESS_CODE, '' FROM metalog");
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &row = rows.at(i);
        all[row.value("USER").toInteger()].append({row.value("ID").toInteger(), row.value("TIMESTAMP").toInteger(),
                                                   row.value("ACCESS_CODE").toString(),
                                                   row.value("TERMINAL").toString()});
    }
    for (Taps &taps : all) {
        std::stable_sort(taps.begin(), taps.end(), [](const Tap &a, const Tap &b) {
            return a.time != b.time ? a.time < b.time : !a.isArrival() && b.isArrival();
        });
    }
    return all;
}

bool isOnePassage(const Tap &tap, const Tap &next)
{
    constexpr qint64 doubleTap = 120;
    return !tap.terminal.isEmpty() && !next.terminal.isEmpty() && tap.code == next.code &&
           next.time - tap.time <= doubleTap;
}

/// What counts of the taps of one passage: the first arrival, the last departure. The others go to `dropped`.
Taps passagesOf(const Taps &taps, Taps *dropped = nullptr)
{
    Taps passages;
    for (int i = 0; i < taps.size(); ++i) {
        const Tap &tap = taps[i];
        if (i == 0 || !isOnePassage(taps[i - 1], tap)) {
            passages.append(tap);
            continue;
        }
        if (dropped)
            dropped->append(tap.isArrival() ? tap : passages.last());
        if (!tap.isArrival())
            passages.last() = tap;
    }
    return passages;
}

} // namespace

class TestDemoData : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void sameOptionsGiveTheSameRows();
    void companyIsMixed();
    void somebodyIsThereToday();
    void nobodyPunchesInTheFuture();
    void filledDatabaseIsLeftAlone();
    void secondTapsKeepThePlan_data();
    void secondTapsKeepThePlan();
    void passagesCountOnce();
    void passagesMakePairs();
    void program_data();
    void program();

private:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QStringList rowsOf(const DemoOptions &options, const QString &name) const;
    int count(const QString &rows, const char *what = "*") const
    {
        return m_database->firstRow(QString("SELECT count(%1) AS N FROM %2").arg(what, rows)).value("N").toInt();
    }

    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
};

void TestDemoData::initTestCase()
{
    m_database = std::make_unique<DataBase>(path("year.db"));
    QCOMPARE(generateDemoCompany(*m_database, wholeYear()), QString());
}

/// Tests open files of their own, and there is one connection.
void TestDemoData::init()
{
    m_database.reset();
    m_database = std::make_unique<DataBase>(path("year.db"));
}

QStringList TestDemoData::rowsOf(const DemoOptions &options, const QString &name) const
{
    DataBase database(path(name));
    if (!generateDemoCompany(database, options).isEmpty())
        return {};
    QStringList rows;
    for (const char *table : {"config", "employees", "allevents", "calendar", "RAZPOREDC", "calcset", "wtimset",
                              "metalog", "freehour", "USER_ACCESS", "page_role", "events"})
        rows += database.select(QString("SELECT rowid, * FROM %1 ORDER BY rowid").arg(table)).toJson();
    return rows;
}

void TestDemoData::sameOptionsGiveTheSameRows()
{
    m_database.reset();
    DemoOptions options = wholeYear();
    options.start = QDate(2025, 10, 1);
    const QStringList first = rowsOf(options, "first.db");
    QCOMPARE(first.size(), 12);
    QCOMPARE(rowsOf(options, "second.db"), first);
    options.seed = 8;
    QVERIFY(rowsOf(options, "third.db") != first);
}

void TestDemoData::companyIsMixed()
{
    const QStringList wanted{
        "USER_ACCESS JOIN employees ON IDP=employees.ID WHERE NAME='ana' AND PASSWORD='ana' AND USER_ACCESS.ACTIVE=1 "
        "AND employees.ACTIVE=1",
        "page_role JOIN USER_ACCESS ON page_role.IDP=USER_ACCESS.IDP WHERE ROLE='hr' AND PASSWORD=NAME AND ACTIVE=1",
        "employees WHERE ACTIVE=0",
        "employees WHERE LASTNAME LIKE '%č%'",
        "freehour WHERE STATUS=1",
        "allevents WHERE ACCESS_CODE='102:1:Dopust' AND TYPE='MP' AND REMARK LIKE 'DOP%'",
        "allevents WHERE ACCESS_CODE LIKE '102:2%' AND TYPE='MP'",
        "allevents WHERE ACCESS_CODE LIKE '102:4%'",
        "metalog WHERE ACCESS_CODE LIKE '102:7%' AND TYPE='MP'",
        "metalog WHERE TYPE='ME' AND IDLOG<>USER",
        // A midnight behind the change of the clock, and a work-free day.
        "calendar WHERE DATESTAMP='27.10.2025' AND DATE=1761519600 AND PRAZNIK=''",
        "calendar WHERE DATESTAMP='1.5.2025' AND PRAZNIK<>''",
        "allevents A JOIN events E ON A.IDX=E.ID AND A.USER=E.USER AND A.TIMESTAMP=E.TIMESTAMP",
    };
    for (const QString &rows : wanted)
        QVERIFY2(count(rows) > 0, qPrintable(rows));
    QCOMPARE(count("allevents WHERE TYPE='EV'", "DISTINCT TERMINAL"), 3);
    // A supervisor of its own for each department that is not tiny.
    QCOMPARE(count("(SELECT DEPARTMENT FROM employees WHERE ACTIVE=1 GROUP BY DEPARTMENT HAVING count(*)>2 EXCEPT "
                   "SELECT page_role.DEPARTMENT FROM page_role JOIN employees ON IDP=employees.ID AND "
                   "page_role.DEPARTMENT=employees.DEPARTMENT WHERE ROLE='supervisor' AND ACTIVE=1)"),
             0);
    QCOMPARE(count("employees JOIN calcset ON CALCSET=calcset.KEY JOIN wtimset ON WTIMSET=wtimset.KEY"), 40);
}

void TestDemoData::somebodyIsThereToday()
{
    DemoOptions options = wholeYear();
    options.start = options.end = QDate(2025, 12, 25);
    for (const bool duty : {false, true}) {
        m_database.reset();
        m_database = std::make_unique<DataBase>(path(duty ? "duty.db" : "holiday.db"));
        options.dutyOnLastDay = duty;
        QCOMPARE(generateDemoCompany(*m_database, options), QString());
        // Of the office.
        QCOMPARE(count("allevents JOIN employees ON USER=employees.ID WHERE TYPE='EV' AND PRERAZDC=''") > 0, duty);
    }
}

void TestDemoData::nobodyPunchesInTheFuture()
{
    DemoOptions options = wholeYear();
    options.start = QDate(2025, 12, 1);
    options.end = QDate(2025, 12, 17); // a working day
    const qint64 noon = QDateTime(options.end, QTime(12, 0)).toSecsSinceEpoch();
    options.now = noon;
    m_database = std::make_unique<DataBase>(path("noon.db"));
    QCOMPARE(generateDemoCompany(*m_database, options), QString());
    QCOMPARE(count(QString("allevents WHERE TYPE='EV' AND TIMESTAMP>%1").arg(noon)), 0);
    QVERIFY(count(QString("allevents WHERE TYPE='EV' AND TIMESTAMP>%1").arg(noon - 12 * 3600)) > 0);
    QVERIFY(count(QString("allevents WHERE TIMESTAMP>%1").arg(noon)) > 0); // absences end as planned
}

void TestDemoData::filledDatabaseIsLeftAlone()
{
    const int events = count("allevents");
    QVERIFY(generateDemoCompany(*m_database, wholeYear()).contains("holds employees already"));
    QCOMPARE(count("allevents"), events);
    QCOMPARE(count("employees"), 40);
}

void TestDemoData::secondTapsKeepThePlan_data()
{
    // plan: seconds and code
    const auto row = columns<QString, bool, bool>({"plan", "atTerminal", "hasSecondTaps"});
    row("day with lunch", "0 101,9000 102,9000 101,10800 103,10800 101,28800 102", true, true);
    row("entered by hand", "0 101,28800 102", false, false);
    row("no room between arrival and departure", "0 101,5 102", true, false);
    row("room before and after, none between", "0 102,0 101", true, true);
}

void TestDemoData::secondTapsKeepThePlan()
{
    using tools::demodata::DemoPunch;
    QFETCH(QString, plan);
    QFETCH(bool, atTerminal);
    QFETCH(bool, hasSecondTaps);
    std::vector<DemoPunch> punches;
    const auto source = atTerminal ? DemoPunch::Source::Terminal : DemoPunch::Source::Planned;
    const QStringList items = plan.split(',');
    for (const QString &item : items)
        punches.push_back({item.section(' ', 0, 0).toInt(), item.section(' ', 1), source, {}});
    constexpr int days = 1000;
    tools::demodata::SecondTaps secondTaps(1, 1);
    Taps again;
    for (int day = 0; day < days; ++day) {
        Taps made;
        for (const DemoPunch &punch : secondTaps.addedTo(punches))
            made.append({0, punch.second, punch.code, atTerminal ? "ZUK1" : ""});
        QStringList counted;
        for (const Tap &tap : passagesOf(made, &again))
            counted.append(QString("%1 %2").arg(tap.time).arg(tap.code));
        QCOMPARE(counted.join(','), plan);
    }
    QCOMPARE(!again.isEmpty(), hasSecondTaps);
}

/// The hours of the company are those of the same company without its second taps.
void TestDemoData::passagesCountOnce()
{
    m_database.reset();
    DataBase database(path("october.db"));
    DemoOptions options = wholeYear();
    options.start = QDate(2025, 10, 1);
    options.end = QDate(2025, 10, 31);
    QCOMPARE(generateDemoCompany(database, options), QString());
    const auto calculated = [&database] {
        return Calc21(database, QDate(2025, 12, 1)).calcAll({{"STARTDATE", "1.10.2025"}, {"ENDDATE", "31.10.2025"}});
    };
    const QAny asStored = calculated();
    QVERIFY(database.exec("UPDATE config SET VALUE='0' WHERE KEY='DOUBLETAP'"));
    const QAny withEveryTap = calculated();
    Taps again;
    const QMap<qint64, Taps> all = tapsIn(database);
    for (const Taps &taps : all)
        passagesOf(taps, &again);
    for (const Tap &tap : qAsConst(again))
        QVERIFY(database.exec(QString("DELETE FROM allevents WHERE ID=%1").arg(tap.id)));
    const QAny withoutThem = calculated();
    QVERIFY(withEveryTap.value("ERR").count() > withoutThem.value("ERR").count());
    for (const char *part : {"CALC", "CALCsum", "DAYS", "ERR"})
        QVERIFY2(asStored.value(part) == withoutThem.value(part), part);
}

/// Nights are whole, also that behind the last day, and an absence is a pair of its own: else halves were left alone.
void TestDemoData::passagesMakePairs()
{
    const QAny request{{"STARTDATE", "1.1.2025"}, {"ENDDATE", "19.12.2025"}, {"SETT", QAny{{"NEAREVENTS", true}}}};
    const QAny calculated = Calc21(*m_database, QDate(2026, 1, 1)).calcAll(request);
    int halves = 0;
    const QList<QAny> faults = calculated.value("ERR").toList();
    for (const QAny &fault : faults) {
        for (const char *text : {"Ni Prihoda!", "Ni Izhoda!", "Zadnji dogodek ni izhod!"})
            halves += fault.value("NAPAKA") == QAny(text) ? 1 : 0;
    }
    const int passages = count("allevents WHERE TYPE='EV'");
    QVERIFY2(halves < passages / 2000, qPrintable(QString("%1 of %2").arg(halves).arg(passages)));
    const qint64 end = QDateTime(QDate(2025, 12, 20), QTime(0, 0)).toSecsSinceEpoch();
    QVERIFY(count(QString("allevents WHERE TIMESTAMP>%1").arg(end)) > 0);
    for (const char *code : {"103", "104", "105"})
        QVERIFY2(count(QString("allevents WHERE ACCESS_CODE LIKE '%1%'").arg(code)) > 0, code);
}

void TestDemoData::program_data()
{
    // outcome: begins the exit code and the text
    const auto row = columns<QString, QString>({"arguments", "outcome"});
    const QString small = "--employees 3 --months 1 ";
    row("fills a file", small + "--start 2025-02-01", "0 .*3 employees, 2025-02-01 to 2025-02-28");
    row("counts back from the end", small + "--end 2025-02-28", "0 .*2025-02-01 to 2025-02-28");
    row("today", small + "--today", "0 .*" + QDate::currentDate().toString(Qt::ISODate));
    row("no number", "--employees many", "2 .*--employees \"many\"");
    row("no date", "--start 31.2.2025", "2 .*--start \"31.2.2025\"");
    row("unknown argument", "more", "2 .*unexpected: more");
    row("help with what is wrong", "--fast more --help", "0 Usage: .*Exit code: ");
    row("both ends and a length", small + "--start 2025-02-01 --end 2025-02-28", "2 .*--months");
    row("end before start", "--start 2025-02-01 --end 2025-01-01", "2 .*the period");
    row("missing folder", "--output missing/demo.db", "1 .*missing/demo.db");
}

void TestDemoData::program()
{
    QFETCH(QString, arguments);
    QFETCH(QString, outcome);
    const QTemporaryDir folder;
    QVERIFY(QDir::setCurrent(folder.path()));
    const QString told = ToolRun(ZUK_DEMODATA, arguments.split(' ')).outcome().simplified();
    QDir::setCurrent(m_folder.path());
    QVERIFY2(QRegularExpression('^' + outcome).match(told).hasMatch(), qPrintable(told));
}

QTEST_GUILESS_MAIN(TestDemoData)
#include "tst_demodata.moc"
