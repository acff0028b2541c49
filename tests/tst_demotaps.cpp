#include "calc/calc21.h"
#include "demotaps.h"
#include "tools/demodata/secondtaps.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <QtTest>

class TestDemoTaps : public QObject
{
    Q_OBJECT
private slots:
    void secondTapsAreOfOnePassage();
    void secondTapsKeepThePlan_data();
    void secondTapsKeepThePlan();
    void passagesCountOnce();

private:
    QTemporaryDir m_folder;
};

void TestDemoTaps::secondTapsAreOfOnePassage()
{
    DataBase database(m_folder.filePath("year.db"));
    QCOMPARE(generateDemoCompany(database, wholeYear()), QString());
    constexpr qint64 hour = 3600;
    int atTerminal = 0;
    int unpaired = 0;
    Taps again;
    const QMap<qint64, Taps> all = tapsIn(database);
    for (const Taps &taps : all) {
        for (int i = 1; i < taps.size(); ++i) {
            const Tap &before = taps[i - 1];
            const Tap &tap = taps[i];
            if (before.code != tap.code)
                continue;
            QVERIFY2(isOnePassage(before, tap) ? before.terminal == tap.terminal : tap.time - before.time > hour,
                     qPrintable(tap.code));
        }
        const Taps passages = passagesOf(taps, &again);
        for (int i = 0; i < passages.size(); ++i) {
            atTerminal += passages[i].terminal.isEmpty() ? 0 : 1;
            unpaired += i > 0 && passages[i].isArrival() == passages[i - 1].isArrival() ? 1 : 0;
        }
    }
    QVERIFY2(again.size() > atTerminal / 50 && again.size() < atTerminal / 20,
             qPrintable(QString::number(again.size())));
    // Those forgotten and never found out; an event that came between two taps would be one more.
    QVERIFY2(unpaired < atTerminal / 500, qPrintable(QString::number(unpaired)));
    QCOMPARE(database.firstRow("SELECT VALUE FROM config WHERE KEY='DOUBLETAP'").value("VALUE").toString(),
             QString("120"));
    const qint64 recent = QDateTime(wholeYear().end.addDays(-30), QTime(0, 0)).toSecsSinceEpoch();
    const auto isRecent = [recent](const Tap &tap) { return tap.time > recent; };
    QVERIFY(std::any_of(again.cbegin(), again.cend(), isRecent));
    const QString unseen = "SELECT ID FROM allevents WHERE TYPE='EV' AND IDX IS NULL AND TIMESTAMP>%1";
    QCOMPARE(database.select(unseen.arg(recent)).count(), 0);
}

void TestDemoTaps::secondTapsKeepThePlan_data()
{
    QTest::addColumn<QString>("plan"); // seconds and code
    QTest::addColumn<bool>("atTerminal");
    QTest::addColumn<bool>("hasSecondTaps");
    QTest::newRow("day with lunch") << "0 101,9000 102,9000 101,10800 103,10800 101,28800 102" << true << true;
    QTest::newRow("entered by hand") << "0 101,28800 102" << false << false;
    QTest::newRow("no room between arrival and departure") << "0 101,5 102" << true << false;
    QTest::newRow("room before and after, none between") << "0 102,0 101" << true << true;
}

void TestDemoTaps::secondTapsKeepThePlan()
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
void TestDemoTaps::passagesCountOnce()
{
    DataBase database(m_folder.filePath("october.db"));
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

QTEST_GUILESS_MAIN(TestDemoTaps)
#include "tst_demotaps.moc"
