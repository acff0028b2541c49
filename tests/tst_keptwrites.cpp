#include "storage/keptwrites.h"

#include <QTemporaryDir>
#include <QTest>

using storage::KeptWrites;
using storage::Status;

class TestKeptWrites : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void waitingWritesAreNotAttempted();
    void manyInFewTurns();
    void whatIsLostIsTold();

private:
    KeptWrites::Write row(int user);
    QList<int> stored();
    void expect(const char *warning) { QTest::ignoreMessage(QtWarningMsg, warning); }

    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
    QHash<int, Status> m_fails; // what the file answers, by user
    QStringList m_log;          // attempts, and what was told
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
                return m_fails.value(user);
            },
            [this, user](Status status) { m_log += QStringLiteral("%1 %2").arg(status ? "stored" : "lost").arg(user); },
            QString::number(user)};
}

QList<int> TestKeptWrites::stored()
{
    QList<int> users;
    m_database->forEachRow("select USER from events order by ID", {},
                           [&users](const QSqlQuery &row) { users += row.value(0).toInt(); });
    return users;
}

/// Each attempt may block for seconds.
void TestKeptWrites::waitingWritesAreNotAttempted()
{
    KeptWrites writes("Owner::do", 10);
    writes.setRetryInterval(1);
    m_fails = {{1, Status::Passing}, {2, Status::Lasting}};
    expect("Owner::do not stored, kept for another attempt: 1");
    QCOMPARE(writes.submit(row(1)), KeptWrites::Outcome::Kept);
    QCOMPARE(writes.submit(row(2)), KeptWrites::Outcome::Kept);
    expect("Owner::do not stored, kept for another attempt: 1");
    while (m_log.size() < 2)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCOMPARE(m_log, (QStringList{"try 1", "try 1"}));
    QCOMPARE(stored(), QList<int>());
    m_fails.remove(1);
    QCOMPARE(writes.enqueue(row(3)), KeptWrites::Outcome::Kept);
    expect("Owner::do not stored: 2");
    while (writes.count() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCOMPARE(m_log.mid(2), (QStringList{"try 1", "try 2", "try 3", "stored 1", "lost 2", "stored 3"}));
    expect("Owner::do not stored: 2");
    QCOMPARE(writes.submit(row(2)), KeptWrites::Outcome::Ended);
    QCOMPARE(writes.submit(row(4)), KeptWrites::Outcome::Ended);
    QCOMPARE(stored(), (QList<int>{1, 3, 4}));
}

/// Each flush of the file costs milliseconds; a failure in the midst loses nothing of what is before it.
void TestKeptWrites::manyInFewTurns()
{
    constexpr int kWrites = 3000;
    KeptWrites writes("Owner::do", kWrites);
    writes.setRetryInterval(1);
    m_fails = {{1, Status::Passing}, {500, Status::Passing}};
    QList<int> all;
    for (int user = 1; user <= kWrites; ++user) {
        writes.submit(row(user));
        all += user;
    }
    m_fails.remove(1);
    int turns = 0;
    for (int before = kWrites; before > 0; before = writes.count()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (!m_fails.isEmpty() && writes.count() == kWrites - 499) {
            QCOMPARE(stored(), all.mid(0, 499));
            m_fails.clear();
        }
        turns += writes.count() < before ? 1 : 0;
        QVERIFY(before - writes.count() <= KeptWrites::kTurnWrites);
    }
    QCOMPARE(stored(), all);
    QVERIFY(turns < kWrites / 10);
}

void TestKeptWrites::whatIsLostIsTold()
{
    KeptWrites writes("Owner::do", 2);
    m_fails[2] = Status::Passing;
    expect("Owner::do dropped, too many are kept: 3");
    expect("Owner::do not stored, kept for another attempt: 2");
    expect("Owner::do lost at the end: 2");
    for (int user : {1, 2, 3})
        writes.enqueue(row(user));
    QCOMPARE(m_log, QStringList("lost 3"));
    writes.flush();
    QCOMPARE(writes.count(), 0);
    QCOMPARE(stored(), QList<int>{1});
}

QTEST_GUILESS_MAIN(TestKeptWrites)
#include "tst_keptwrites.moc"
