#include "database.h"
#include "logger.h"

#include <QTemporaryDir>
#include <QTest>

class TestLogger : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void lineIsLastOctetOfSiteAddress_data();
    void lineIsLastOctetOfSiteAddress();
    void rowsOfTheServer();
    void withoutDatabaseNothingHappens();
};

static QList<QHostAddress> addresses(const QStringList &texts)
{
    QList<QHostAddress> list;
    for (const QString &text : texts)
        list.append(QHostAddress(text));
    return list;
}

void TestLogger::lineIsLastOctetOfSiteAddress_data()
{
    QTest::addColumn<QStringList>("machine");
    QTest::addColumn<int>("line");
    QTest::newRow("second address") << QStringList{"10.0.0.5", "192.168.4.77"} << 77;
    QTest::newRow("first of two wins") << QStringList{"192.168.9.200", "192.168.4.77"} << 200;
    QTest::newRow("neighbouring networks") << QStringList{"192.167.4.1", "192.169.4.2", "193.168.4.3"} << 0;
    QTest::newRow("IPv6 only") << QStringList{"::1", "fe80::c0a8:4d"} << 0;
    QTest::newRow("no address") << QStringList{} << 0;
}

void TestLogger::lineIsLastOctetOfSiteAddress()
{
    QFETCH(QStringList, machine);
    QTEST(Logger::lineNumber(addresses(machine)), "line");
}

void TestLogger::rowsOfTheServer()
{
    QTemporaryDir folder;
    DataBase database(folder.filePath(QStringLiteral("log.db")));
    setDb(&database);
    QStringList machine{QStringLiteral("10.0.0.5")};
    Logger log([&machine] { return addresses(machine); });

    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    log.log(QStringLiteral("no network yet"));
    machine = QStringList{"192.168.4.77"};
    log.log(3, 7, QStringLiteral("network is up"), QAny{{QStringLiteral("a"), 1}});
    machine = QStringList{"192.168.4.99"};
    log.log(QStringLiteral("line is kept"));
    const qint64 after = QDateTime::currentMSecsSinceEpoch();

    const QAny rows = database.select(
        QStringLiteral("select LINE as L,ID as I,FTIMESTAMP as T,LLEVEL as V,LGROUP as G,FMESSAGE as M,DATA as D "
                       "from logs order by IDX"));
    setDb(nullptr);
    QCOMPARE(rows.count(), 3);
    const int lines[] = {0, 77, 77};
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(rows.at(i).lookup(QStringLiteral("L")).toInt(), lines[i]);
        QCOMPARE(rows.at(i).lookup(QStringLiteral("I")).toInt(), 0);
        const qint64 time = rows.at(i).lookup(QStringLiteral("T")).toInteger();
        QVERIFY(before <= time && time <= after);
        QCOMPARE(rows.at(i).lookup(QStringLiteral("V")).toInt(), i == 1 ? 3 : 0);
        QCOMPARE(rows.at(i).lookup(QStringLiteral("G")).toInt(), i == 1 ? 7 : 0);
    }
    QCOMPARE(rows.at(0).lookup(QStringLiteral("M")).toString(), QStringLiteral("no network yet"));
    QCOMPARE(rows.at(0).lookup(QStringLiteral("D")).toString(), QStringLiteral("{\"DATA\":null}"));
    QCOMPARE(rows.at(1).lookup(QStringLiteral("D")).toString(), QStringLiteral("{\"DATA\":{\"a\":1}}"));
}

void TestLogger::withoutDatabaseNothingHappens()
{
    Logger log;
    log.log(QStringLiteral("dropped"));
    QVERIFY(!db());
}

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
