#include "database.h"
#include "democompany.h"

#include <QDateTime>
#include <QProcess>
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

struct Event {
    qint64 time = 0;
    QString code;
    bool isArrival() const { return code.startsWith("101"); }
};

} // namespace

class TestDemoData : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void sameOptionsGiveTheSameRows();
    void everyNightIsWhole();
    void awayFromWorkIsAPairOfItsOwn();
    void workdaysHaveLunch();
    void calendarKnowsEveryHoliday_data();
    void calendarKnowsEveryHoliday();
    void calendarHasEveryDayOnce();
    void shiftsBelongToGroups();
    void companyIsMixed_data();
    void companyIsMixed();
    void somebodyIsThereToday();
    void refuses_data();
    void refuses();
    void filledDatabaseIsLeftAlone();
    void program_data();
    void program();

private:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QStringList rowsOf(const DemoOptions &options, const QString &name) const;
    QAny select(const QString &sql) const { return m_database->select(sql); }
    qint64 number(const QString &sql) const { return select(sql).value(0).value("N").toInteger(); }

    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
    QMap<qint64, QVector<Event>> m_events; ///< by user, as the calculation reads them
};

void TestDemoData::initTestCase()
{
    m_database = std::make_unique<DataBase>(path("year.db"));
    QCOMPARE(generateDemoCompany(*m_database, wholeYear()), QString());
    const QAny rows = select("SELECT USER, TIMESTAMP, ACCESS_CODE FROM allevents UNION ALL "
                             "SELECT USER, TIMESTAMP, ACCESS_CODE FROM metalog");
    for (int i = 0; i < rows.count(); ++i)
        m_events[rows.at(i).value("USER").toInteger()].append(
            {rows.at(i).value("TIMESTAMP").toInteger(), rows.at(i).value("ACCESS_CODE").toString()});
    for (QVector<Event> &events : m_events) {
        std::stable_sort(events.begin(), events.end(), [](const Event &a, const Event &b) {
            return a.time != b.time ? a.time < b.time : !a.isArrival() && b.isArrival();
        });
    }
}

QStringList TestDemoData::rowsOf(const DemoOptions &options, const QString &name) const
{
    DataBase database(path(name));
    if (!generateDemoCompany(database, options).isEmpty())
        return {};
    QStringList rows;
    for (const char *table : {"config", "employees", "allevents", "calendar", "RAZPOREDC", "calcset", "wtimset",
                              "metalog", "freehour", "USER_ACCESS", "events"})
        rows += database.select(QString("SELECT rowid, * FROM %1 ORDER BY rowid").arg(table)).toJson();
    return rows;
}

void TestDemoData::sameOptionsGiveTheSameRows()
{
    m_database.reset(); // there is one connection
    DemoOptions options = wholeYear();
    options.start = QDate(2025, 10, 1);
    const QStringList first = rowsOf(options, "first.db");
    QCOMPARE(first.size(), 11);
    QCOMPARE(rowsOf(options, "second.db"), first);
    options.seed = 8;
    QVERIFY(rowsOf(options, "third.db") != first);
    m_database = std::make_unique<DataBase>(path("year.db"));
}

void TestDemoData::everyNightIsWhole()
{
    constexpr qint64 longestSpan = 10 * 3600;
    constexpr qint64 doubled = 30;
    int nights = 0;
    for (auto user = m_events.cbegin(); user != m_events.cend(); ++user) {
        const QVector<Event> &events = user.value();
        for (int i = 0; i < events.size(); ++i) {
            if (!events[i].isArrival() || QDateTime::fromSecsSinceEpoch(events[i].time).time().hour() < 21)
                continue;
            QVERIFY2(i + 1 < events.size(), "a night at the end of the period was cut");
            const qint64 length = events[i + 1].time - events[i].time;
            if (events[i + 1].isArrival())
                QVERIFY2(length < doubled, "a night lacks its departure");
            QVERIFY(length < longestSpan);
            ++nights;
        }
    }
    QVERIFY2(nights > 500, qPrintable(QString::number(nights)));
    const qint64 lastMidnight = QDateTime(QDate(2025, 12, 20), QTime(0, 0)).toSecsSinceEpoch();
    QVERIFY(number(QString("SELECT count(*) AS N FROM allevents WHERE TIMESTAMP>%1").arg(lastMidnight)) > 0);
}

void TestDemoData::awayFromWorkIsAPairOfItsOwn()
{
    QMap<QString, int> seen;
    for (const QVector<Event> &events : qAsConst(m_events)) {
        for (int i = 1; i < events.size(); ++i) {
            const QString code = events[i].code.left(3);
            if (code < "103")
                continue;
            QVERIFY2(events[i - 1].isArrival(), qPrintable(events[i].code));
            QVERIFY2(i == 1 || events[i - 2].code.startsWith("102"), "the work before was not ended");
            ++seen[code];
        }
    }
    QCOMPARE(seen.keys(), QStringList({"103", "104", "105"}));
}

void TestDemoData::workdaysHaveLunch()
{
    const QString days = "SELECT count(*) AS N FROM (SELECT count(*) AS P FROM allevents JOIN employees ON "
                         "USER=employees.ID WHERE TYPE='EV' AND DEPARTMENT<>'Skladišče' AND PRERAZDC='' "
                         "GROUP BY USER, date(TIMESTAMP,'unixepoch','localtime')) WHERE P%1";
    // Only a forgotten punch makes it fewer.
    QVERIFY(number(days.arg(">=4")) > 2000);
    QCOMPARE(number(days.arg("<4")), 0LL);
}

void TestDemoData::calendarKnowsEveryHoliday_data()
{
    QTest::addColumn<QString>("date");
    // The work-free days of Slovenia in 2025.
    for (const char *day : {"2025-01-01", "2025-01-02", "2025-02-08", "2025-04-20", "2025-04-21", "2025-04-27",
                            "2025-05-01", "2025-05-02", "2025-06-08", "2025-06-25", "2025-08-15", "2025-10-31",
                            "2025-11-01", "2025-12-25", "2025-12-26"})
        QTest::newRow(day) << QString(day);
}

void TestDemoData::calendarKnowsEveryHoliday()
{
    QFETCH(QString, date);
    const QDateTime midnight(QDate::fromString(date, Qt::ISODate), QTime(0, 0));
    QCOMPARE(number(QString("SELECT count(*) AS N FROM calendar WHERE DATE=%1 AND PRAZNIK<>''")
                        .arg(midnight.toSecsSinceEpoch())),
             1LL);
    QCOMPARE(number("SELECT count(*) AS N FROM calendar WHERE PRAZNIK<>'' AND DATESTAMP LIKE '%.2025'"), 15LL);
}

void TestDemoData::calendarHasEveryDayOnce()
{
    for (QDate day(2025, 1, 1); day <= QDate(2025, 12, 31); day = day.addDays(1)) {
        const QAny rows =
            select(QString("SELECT DATE FROM calendar WHERE DATESTAMP='%1'").arg(day.toString("d.M.yyyy")));
        QCOMPARE(rows, QAny::list({QAny({{"DATE", QDateTime(day, QTime(0, 0)).toSecsSinceEpoch()}})}));
    }
}

void TestDemoData::shiftsBelongToGroups()
{
    QCOMPARE(number("SELECT count(*) AS N FROM employees WHERE PRERAZDC<>'' AND PRERAZDC NOT IN "
                    "(SELECT RGROUP FROM RAZPOREDC)"),
             0LL);
    // Every group has one shift for each day of the year.
    for (const char *group : {"IZM-A", "IZM-B", "IZM-C", "NEP-A", "NEP-B", "NEP-C", "NEP-D"}) {
        for (const QDate &day : {QDate(2025, 1, 1), QDate(2025, 3, 30), QDate(2025, 10, 26), QDate(2025, 12, 31)}) {
            const qint64 midnight = QDateTime(day, QTime(0, 0)).toSecsSinceEpoch();
            QCOMPARE(number(QString("SELECT count(*) AS N FROM RAZPOREDC WHERE RGROUP='%1' AND FDATE<=%2 AND TDATE>=%2")
                                .arg(group)
                                .arg(midnight)),
                     1LL);
        }
    }
}

void TestDemoData::companyIsMixed_data()
{
    QTest::addColumn<QString>("sql");
    QTest::newRow("the documented user can log in")
        << "SELECT count(*) AS N FROM USER_ACCESS JOIN employees ON IDP=employees.ID WHERE NAME='ana' AND "
           "PASSWORD='ana' AND USER_ACCESS.ACTIVE=1 AND employees.ACTIVE=1";
    QTest::newRow("rules differ") << "SELECT count(DISTINCT CALCSET)>3 AS N FROM employees";
    QTest::newRow("rules exist")
        << "SELECT count(*)=40 AS N FROM employees JOIN calcset ON CALCSET=calcset.KEY JOIN wtimset ON "
           "WTIMSET=wtimset.KEY";
    QTest::newRow("some have left") << "SELECT count(*) AS N FROM employees WHERE ACTIVE=0";
    QTest::newRow("names with carons") << "SELECT count(*) AS N FROM employees WHERE LASTNAME LIKE '%č%'";
    QTest::newRow("one current balance each")
        << "SELECT count(*)=40 AND count(DISTINCT IDU)=40 AS N FROM freehour WHERE STATUS=2";
    QTest::newRow("other balances") << "SELECT count(DISTINCT STATUS)=3 AS N FROM freehour";
    QTest::newRow("leave") << "SELECT count(*) AS N FROM allevents WHERE ACCESS_CODE='102:1:Dopust' AND TYPE='MP' AND "
                              "REMARK LIKE 'DOP%'";
    QTest::newRow("sickness") << "SELECT count(*) AS N FROM allevents WHERE ACCESS_CODE LIKE '102:2%' AND TYPE='MP'";
    QTest::newRow("each department stamps at its terminal")
        << "SELECT count(DISTINCT TERMINAL)=3 AS N FROM allevents WHERE TYPE='EV'";
    QTest::newRow("lunches left to the automatic one")
        << "SELECT count(*) AS N FROM (SELECT count(*) AS P FROM allevents JOIN employees ON USER=employees.ID WHERE "
           "TYPE='EV' AND DEPARTMENT='Skladišče' GROUP BY USER, date(TIMESTAMP,'unixepoch','localtime')) WHERE P=2";
    QTest::newRow("home office") << "SELECT count(*) AS N FROM metalog WHERE ACCESS_CODE LIKE '102:7%' AND TYPE='MP'";
    QTest::newRow("field work") << "SELECT count(*) AS N FROM allevents WHERE ACCESS_CODE LIKE '102:4%'";
    QTest::newRow("corrections") << "SELECT count(*) AS N FROM metalog WHERE TYPE='ME' AND IDLOG<>USER";
    QTest::newRow("doubled punches")
        << "SELECT count(*) AS N FROM allevents A JOIN allevents B ON A.USER=B.USER AND A.ACCESS_CODE=B.ACCESS_CODE "
           "AND B.TIMESTAMP>A.TIMESTAMP AND B.TIMESTAMP<A.TIMESTAMP+30";
    QTest::newRow("night events are read around the period")
        << R"(SELECT VALUE LIKE '%"NEAREVENTS":true%"NEAREVLEN":24%' AS N FROM config WHERE KEY='CALCWTIMES')";
    QTest::newRow("the journal names the terminals' events")
        << "SELECT count(*)=(SELECT count(*) FROM events) AS N FROM allevents A JOIN events E ON A.IDX=E.ID AND "
           "A.USER=E.USER AND A.TIMESTAMP=E.TIMESTAMP AND A.ACCESS_CODE=E.ACCESS_CODE";
}

void TestDemoData::companyIsMixed()
{
    QFETCH(QString, sql);
    QVERIFY(number(sql) > 0);
}

void TestDemoData::somebodyIsThereToday()
{
    m_database.reset();
    DemoOptions options = wholeYear();
    options.start = options.end = QDate(2025, 12, 25);
    const QString office =
        "SELECT count(*) AS N FROM allevents JOIN employees ON USER=employees.ID WHERE TYPE='EV' AND "
        "PRERAZDC=''";
    for (const bool duty : {false, true}) {
        DataBase database(path(duty ? "duty.db" : "holiday.db"));
        options.dutyOnLastDay = duty;
        QCOMPARE(generateDemoCompany(database, options), QString());
        QCOMPARE(database.select(office).value(0).value("N").toInteger() > 0, duty);
    }
    m_database = std::make_unique<DataBase>(path("year.db"));
}

void TestDemoData::refuses_data()
{
    QTest::addColumn<int>("employees");
    QTest::addColumn<QDate>("start");
    QTest::addColumn<QDate>("end");
    const QDate day(2025, 1, 31);
    QTest::newRow("nobody") << 0 << day << day;
    QTest::newRow("too many") << 100001 << day << day;
    QTest::newRow("no start") << 5 << QDate() << day;
    QTest::newRow("end before start") << 5 << day << day.addDays(-1);
    QTest::newRow("centuries") << 5 << QDate(1000, 1, 1) << day;
}

void TestDemoData::refuses()
{
    QFETCH(int, employees);
    QFETCH(QDate, start);
    QFETCH(QDate, end);
    DemoOptions options;
    options.employees = employees;
    options.start = start;
    options.end = end;
    m_database.reset();
    {
        DataBase database(path("refused.db"));
        QVERIFY(!generateDemoCompany(database, options).isEmpty());
        QCOMPARE(database.select("SELECT name FROM sqlite_master WHERE name='employees'").count(), 0);
    }
    m_database = std::make_unique<DataBase>(path("year.db"));
}

void TestDemoData::filledDatabaseIsLeftAlone()
{
    const qint64 events = number("SELECT count(*) AS N FROM allevents");
    QVERIFY(generateDemoCompany(*m_database, wholeYear()).contains("holds employees already"));
    QCOMPARE(number("SELECT count(*) AS N FROM allevents"), events);
    QCOMPARE(number("SELECT count(*) AS N FROM employees"), 40LL);
}

void TestDemoData::program_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    const QStringList small{"--employees", "3", "--months", "1"};
    QTest::newRow("fills a file") << small + QStringList{"--start", "2025-02-01"} << 0
                                  << "3 employees, 2025-02-01 to 2025-02-28";
    QTest::newRow("counts back from the end")
        << small + QStringList{"--end", "2025-02-28"} << 0 << "2025-02-01 to 2025-02-28";
    QTest::newRow("today") << small + QStringList{"--today"} << 0 << QDate::currentDate().toString(Qt::ISODate);
    QTest::newRow("no number") << QStringList{"--employees", "many"} << 2 << "--employees \"many\"";
    QTest::newRow("no date") << QStringList{"--start", "1.2.2025"} << 2 << "--start \"1.2.2025\"";
    QTest::newRow("unknown argument") << QStringList{"more"} << 2 << "\"more\"";
    QTest::newRow("both ends and a length")
        << small + QStringList{"--start", "2025-02-01", "--end", "2025-02-28"} << 2 << "--months";
    QTest::newRow("end before start") << QStringList{"--start", "2025-02-01", "--end", "2025-01-01"} << 2
                                      << "the period";
    QTest::newRow("missing folder") << QStringList{"--output", "missing/demo.db"} << 1 << "missing/demo.db";
}

void TestDemoData::program()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    QTemporaryDir folder;
    QProcess process;
    process.setWorkingDirectory(folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(ZUK_DEMODATA, arguments);
    QVERIFY(process.waitForFinished());
    const QString output = QString::fromUtf8(process.readAll());
    QVERIFY2(output.contains(message), qPrintable(output));
    QTEST(process.exitCode(), "exitCode");
}

QTEST_GUILESS_MAIN(TestDemoData)
#include "tst_demodata.moc"
