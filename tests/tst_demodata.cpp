#include "demotaps.h"
#include "toolrun.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <QtTest>

class TestDemoData : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void sameOptionsGiveTheSameRows();
    void everyNightIsWhole();
    void awayFromWorkIsAPairOfItsOwn();
    void calendarIsWhole();
    void companyIsMixed();
    void somebodyIsThereToday();
    void filledDatabaseIsLeftAlone();
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
    QVector<Taps> m_passages; ///< of each user, as the calculation pairs them
};

void TestDemoData::initTestCase()
{
    m_database = std::make_unique<DataBase>(path("year.db"));
    QCOMPARE(generateDemoCompany(*m_database, wholeYear()), QString());
    const QMap<qint64, Taps> all = tapsIn(*m_database);
    for (const Taps &taps : all)
        m_passages.append(passagesOf(taps));
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
                              "metalog", "freehour", "USER_ACCESS", "events"})
        rows += database.select(QString("SELECT rowid, * FROM %1 ORDER BY rowid").arg(table)).toJson();
    return rows;
}

void TestDemoData::sameOptionsGiveTheSameRows()
{
    m_database.reset();
    DemoOptions options = wholeYear();
    options.start = QDate(2025, 10, 1);
    const QStringList first = rowsOf(options, "first.db");
    QCOMPARE(first.size(), 11);
    QCOMPARE(rowsOf(options, "second.db"), first);
    options.seed = 8;
    QVERIFY(rowsOf(options, "third.db") != first);
}

void TestDemoData::everyNightIsWhole()
{
    constexpr int longestSpan = 10 * 3600;
    int nights = 0;
    for (const Taps &taps : qAsConst(m_passages)) {
        for (int i = 0; i < taps.size(); ++i) {
            if (!taps[i].isArrival() || QDateTime::fromSecsSinceEpoch(taps[i].time).time().hour() < 21)
                continue;
            QVERIFY2(i + 1 < taps.size(), "a night at the end of the period was cut");
            const qint64 length = taps[i + 1].time - taps[i].time;
            QVERIFY2(!taps[i + 1].isArrival(), "a night lacks its departure");
            QVERIFY(length < longestSpan);
            ++nights;
        }
    }
    QVERIFY2(nights > 500, qPrintable(QString::number(nights)));
    const qint64 lastMidnight = QDateTime(QDate(2025, 12, 20), QTime(0, 0)).toSecsSinceEpoch();
    QVERIFY(count(QString("allevents WHERE TIMESTAMP>%1").arg(lastMidnight)) > 0);
}

void TestDemoData::awayFromWorkIsAPairOfItsOwn()
{
    QMap<QString, int> seen;
    for (const Taps &taps : qAsConst(m_passages)) {
        for (int i = 1; i < taps.size(); ++i) {
            const QString code = taps[i].code.left(3);
            if (code < "103")
                continue;
            QVERIFY2(taps[i - 1].isArrival(), qPrintable(taps[i].code));
            QVERIFY2(i == 1 || taps[i - 2].code.startsWith("102"), "the work before was not ended");
            ++seen[code];
        }
    }
    QCOMPARE(seen.keys(), QStringList({"103", "104", "105"}));
}

void TestDemoData::calendarIsWhole()
{
    // The work-free days of Slovenia in 2025.
    const QStringList holidays{"1.1.2025",  "2.1.2025",   "8.2.2025",  "20.4.2025",  "21.4.2025",
                               "27.4.2025", "1.5.2025",   "2.5.2025",  "8.6.2025",   "25.6.2025",
                               "15.8.2025", "31.10.2025", "1.11.2025", "25.12.2025", "26.12.2025"};
    const QAny rows = m_database->select("SELECT DATE, PRAZNIK FROM calendar WHERE DATESTAMP LIKE '%.2025' ORDER BY 1");
    QCOMPARE(rows.count(), 365);
    QDate day(2025, 1, 1);
    for (int i = 0; i < rows.count(); ++i, day = day.addDays(1)) {
        QCOMPARE(rows.at(i).value("DATE").toInteger(), QDateTime(day, QTime(0, 0)).toSecsSinceEpoch());
        QCOMPARE(rows.at(i).value("PRAZNIK").toString().isEmpty(), !holidays.contains(day.toString("d.M.yyyy")));
    }
}

void TestDemoData::companyIsMixed()
{
    const QStringList wanted{
        "USER_ACCESS JOIN employees ON IDP=employees.ID WHERE NAME='ana' AND PASSWORD='ana' AND USER_ACCESS.ACTIVE=1 "
        "AND employees.ACTIVE=1",
        "employees WHERE ACTIVE=0",
        "employees WHERE LASTNAME LIKE '%č%'",
        "freehour WHERE STATUS=1",
        "allevents WHERE ACCESS_CODE='102:1:Dopust' AND TYPE='MP' AND REMARK LIKE 'DOP%'",
        "allevents WHERE ACCESS_CODE LIKE '102:2%' AND TYPE='MP'",
        "allevents WHERE ACCESS_CODE LIKE '102:4%'",
        "metalog WHERE ACCESS_CODE LIKE '102:7%' AND TYPE='MP'",
        "metalog WHERE TYPE='ME' AND IDLOG<>USER",
        "allevents A JOIN events E ON A.IDX=E.ID AND A.USER=E.USER AND A.TIMESTAMP=E.TIMESTAMP",
    };
    for (const QString &rows : wanted)
        QVERIFY2(count(rows) > 0, qPrintable(rows));
    QCOMPARE(count("allevents WHERE TYPE='EV'", "DISTINCT TERMINAL"), 3);
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

void TestDemoData::filledDatabaseIsLeftAlone()
{
    const int events = count("allevents");
    QVERIFY(generateDemoCompany(*m_database, wholeYear()).contains("holds employees already"));
    QCOMPARE(count("allevents"), events);
    QCOMPARE(count("employees"), 40);
}

void TestDemoData::program_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("outcome"); // begins the exit code and the text
    const auto row = [](const char *name, const QString &arguments, const QString &outcome) {
        QTest::newRow(name) << arguments.split(' ') << outcome;
    };
    const QString small = "--employees 3 --months 1 ";
    row("fills a file", small + "--start 2025-02-01", "0 .*3 employees, 2025-02-01 to 2025-02-28");
    row("counts back from the end", small + "--end 2025-02-28", "0 .*2025-02-01 to 2025-02-28");
    row("today", small + "--today", "0 .*" + QDate::currentDate().toString(Qt::ISODate));
    row("no number", "--employees many", "2 .*--employees \"many\"");
    row("no date", "--start 1.2.2025", "2 .*--start \"1.2.2025\"");
    row("unknown argument", "more", "2 .*\"more\"");
    row("both ends and a length", small + "--start 2025-02-01 --end 2025-02-28", "2 .*--months");
    row("end before start", "--start 2025-02-01 --end 2025-01-01", "2 .*the period");
    row("missing folder", "--output missing/demo.db", "1 .*missing/demo.db");
}

void TestDemoData::program()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, outcome);
    const QTemporaryDir folder;
    QVERIFY(QDir::setCurrent(folder.path()));
    const QString told = ToolRun(ZUK_DEMODATA, arguments).outcome().simplified();
    QDir::setCurrent(m_folder.path());
    QVERIFY2(QRegularExpression('^' + outcome).match(told).hasMatch(), qPrintable(told));
}

QTEST_GUILESS_MAIN(TestDemoData)
#include "tst_demodata.moc"
