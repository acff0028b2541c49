#include "keptwrites.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using Failure = DataBase::Failure;

class TestKeptWrites : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void waitingWritesAreNotAttempted();
    void outcomeOfEach();
    void fullQueueDropsTheNewest();
    void manyInFewTurns();
    void whatFailsAtTheEndIsTold();

private:
    KeptWrites::Write row(int user);
    QList<int> stored();
    bool runUntilEmpty(KeptWrites &writes);
    void expect(const char *warning) { QTest::ignoreMessage(QtWarningMsg, warning); }

    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
    QHash<int, Failure> m_fails; // what the file answers, by user
    QStringList m_log;           // attempts, and what was told
};

void TestKeptWrites::init()
{
    m_database = std::make_unique<DataBase>(m_folder.filePath(QTest::currentTestFunction()));
    setDb(m_database.get());
    m_fails.clear();
    m_log.clear();
}

void TestKeptWrites::cleanup()
{
    setDb(nullptr);
    m_database.reset();
}

/// A write that leaves something behind also where it fails.
KeptWrites::Write TestKeptWrites::row(int user)
{
    return {[this, user](DataBase &database) {
                m_log += QStringLiteral("try %1").arg(user);
                database.insert("events", {{"USER", user}});
                return m_fails.value(user, Failure::None);
            },
            [this, user](Failure outcome) {
                m_log += QStringLiteral("%1 %2").arg(outcome == Failure::None ? "stored" : "lost").arg(user);
            },
            QString::number(user)};
}

QList<int> TestKeptWrites::stored()
{
    QList<int> users;
    m_database->forEachRow("select USER from events order by ID", {},
                           [&users](const QSqlQuery &row) { users += row.value(0).toInt(); });
    return users;
}

bool TestKeptWrites::runUntilEmpty(KeptWrites &writes)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (writes.count() > 0 && elapsed.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return writes.count() == 0;
}

/// Each attempt may block for seconds.
void TestKeptWrites::waitingWritesAreNotAttempted()
{
    KeptWrites writes("Owner::do", 10);
    writes.setRetryInterval(1);
    m_fails[1] = Failure::Passing;
    expect("Owner::do not stored, kept for another attempt: 1");
    QCOMPARE(writes.submit(row(1)), KeptWrites::Outcome::Kept);
    QCOMPARE(writes.submit(row(2)), KeptWrites::Outcome::Kept);
    expect("Owner::do not stored, kept for another attempt: 1");
    while (m_log.size() < 2)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCOMPARE(m_log, (QStringList{"try 1", "try 1"}));
    QCOMPARE(stored(), QList<int>());
    m_fails.clear();
    QCOMPARE(writes.submit(row(3)), KeptWrites::Outcome::Kept);
    QVERIFY(runUntilEmpty(writes));
    QCOMPARE(m_log.mid(2), (QStringList{"try 1", "try 2", "try 3", "stored 1", "stored 2", "stored 3"}));
    QCOMPARE(writes.submit(row(4)), KeptWrites::Outcome::Ended);
    QCOMPARE(stored(), (QList<int>{1, 2, 3, 4}));
}

void TestKeptWrites::outcomeOfEach()
{
    KeptWrites writes("Owner::do", 10);
    writes.setRetryInterval(1);
    m_fails = {{1, Failure::Lasting}, {2, Failure::Passing}, {3, Failure::Lasting}};
    expect("Owner::do not stored: 1");
    QCOMPARE(writes.submit(row(1)), KeptWrites::Outcome::Ended);
    for (int user : {2, 3, 4})
        writes.submit(row(user));
    m_fails[2] = Failure::None;
    expect("Owner::do not stored: 3");
    QVERIFY(runUntilEmpty(writes));
    QCOMPARE(m_log.filter("lost"), (QStringList{"lost 1", "lost 3"}));
    QCOMPARE(m_log.filter("stored"), (QStringList{"stored 2", "stored 4"}));
    QCOMPARE(stored(), (QList<int>{2, 4}));
}

void TestKeptWrites::fullQueueDropsTheNewest()
{
    KeptWrites writes("Owner::do", 2);
    m_fails[1] = Failure::Passing;
    for (int user : {1, 2})
        QCOMPARE(writes.submit(row(user)), KeptWrites::Outcome::Kept);
    expect("Owner::do dropped, too many are kept: 3");
    QCOMPARE(writes.submit(row(3)), KeptWrites::Outcome::Dropped);
    QCOMPARE(m_log.last(), QString("lost 3"));
    m_fails.clear();
    writes.flush();
    QCOMPARE(stored(), (QList<int>{1, 2}));
}

/// Each flush of the file costs milliseconds; a failure in the midst loses nothing of what is before it.
void TestKeptWrites::manyInFewTurns()
{
    constexpr int kWrites = 3000;
    KeptWrites writes("Owner::do", kWrites);
    writes.setRetryInterval(1);
    m_fails = {{1, Failure::Passing}, {500, Failure::Passing}};
    QList<int> all;
    for (int user = 1; user <= kWrites; ++user) {
        writes.submit(row(user));
        all += user;
    }
    m_fails.remove(1);
    int turns = 0;
    QElapsedTimer elapsed;
    elapsed.start();
    int before = kWrites;
    while (writes.count() > 0 && elapsed.elapsed() < 20000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (before == kWrites && writes.count() < kWrites) {
            QCOMPARE(writes.count(), kWrites - 499);
            QCOMPARE(stored(), all.mid(0, 499));
            m_fails.clear();
        }
        turns += writes.count() < before ? 1 : 0;
        QVERIFY(before - writes.count() <= KeptWrites::kTurnWrites);
        before = writes.count();
    }
    QCOMPARE(stored(), all);
    QVERIFY(turns < kWrites / 10);
}

void TestKeptWrites::whatFailsAtTheEndIsTold()
{
    KeptWrites writes("Owner::do", 10);
    m_fails[2] = Failure::Passing;
    writes.submit(row(2));
    writes.submit(row(3));
    expect("Owner::do lost at the end: 2 from 2");
    writes.flush();
    QCOMPARE(writes.count(), 0);
    QCOMPARE(stored(), QList<int>());
}

QTEST_GUILESS_MAIN(TestKeptWrites)
#include "tst_keptwrites.moc"
