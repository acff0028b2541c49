#include "storage/keptwrites.h"
#include "storage/readconnection.h"
#include "storage/rescue.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using storage::KeptWrites;
using storage::Status;

/// What is gathered waits for the event loop to have looked at everything that is ready.
static void comeRound()
{
    constexpr int kRounds = 5;
    for (int round = 0; round < kRounds; ++round)
        QCoreApplication::processEvents();
}

class TestKeptWrites : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void gatheredWritesShareATransaction();
    void waitingWritesAreNotAttempted();
    void whoDoesNotWaitIsRefused();
    void manyInFewTurns();
    void whatMeetsDamageIsPutAside();
    void replacedFileGetsWhatWentToTheFormer();
    void whoSendsFasterHasToWait();
    void whatIsLostIsTold();
    void whatIsRescuedComesBack_data();
    void whatIsRescuedComesBack();

private:
    storage::Write row(int user);
    QList<int> stored();
    void expect(const char *warning) { QTest::ignoreMessage(QtWarningMsg, warning); }

    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
    QHash<int, Status> m_fails; // what the file answers, by user
    QStringList m_log;          // attempts, and what was told
};

void TestKeptWrites::init()
{
    m_database =
        std::make_unique<DataBase>(m_folder.filePath(QString(QTest::currentTestFunction()) + QTest::currentDataTag()));
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
storage::Write TestKeptWrites::row(int user)
{
    storage::Write write;
    write.store = [this, user](DataBase &database, storage::Delivery) {
        m_log += QStringLiteral("try %1").arg(user);
        database.insert("events", {{"USER", user}});
        return m_fails.value(user);
    };
    write.told = [this, user](storage::Fate fate) {
        const char *const fates[] = {"stored", "kept", "refused", "failed", "dropped"};
        m_log += QStringLiteral("%1 %2").arg(fates[int(fate)]).arg(user);
    };
    write.name = [user] { return QString::number(user); };
    return write;
}

QList<int> TestKeptWrites::stored()
{
    QList<int> users;
    m_database->forEachRow("select USER from events order by ID", {},
                           [&users](const QSqlQuery &row) { users += row.value(0).toInt(); });
    return users;
}

/// One flush of the file serves them all.
void TestKeptWrites::gatheredWritesShareATransaction()
{
    KeptWrites writes("Owner::do", 10);
    QList<int> seenInside;
    for (int user : {1, 2, 3}) {
        storage::Write write = row(user);
        write.store = [this, user, &seenInside](DataBase &database, storage::Delivery) {
            storage::ReadConnection other(database.filePath());
            seenInside += other.select("select 1 from events").count();
            database.insert("events", {{"USER", user}});
            return m_fails.value(user);
        };
        m_fails[2] = Status::Lasting;
        QVERIFY(writes.gather(write));
    }
    QCOMPARE(m_log, QStringList());
    expect("Owner::do not stored: 2");
    comeRound();
    QCOMPARE(m_log, (QStringList{"stored 1", "failed 2", "stored 3"}));
    QCOMPARE(seenInside, (QList<int>{0, 0, 0}));
    QCOMPARE(stored(), (QList<int>{1, 3}));
    // Before the server closes its connections it does not wait for the event loop.
    writes.gather(row(4));
    writes.finishTurn();
    QCOMPARE(stored(), (QList<int>{1, 3, 4}));
    comeRound();
    QCOMPARE(m_log.mid(3), (QStringList{"try 4", "stored 4"}));
}

void TestKeptWrites::whoDoesNotWaitIsRefused()
{
    KeptWrites writes("Owner::do", 10);
    m_fails[1] = Status::Passing;
    writes.submit(row(1));
    m_log.clear();
    storage::Write line = row(2);
    line.isKept = false;
    writes.gather(line);
    writes.gather(row(3));
    comeRound();
    // It is attempted all the same, behind the older ones: its sender wants to know.
    QCOMPARE(m_log, (QStringList{"try 1", "refused 2", "kept 3"}));
    m_fails.clear();
    m_log.clear();
    writes.gather(line);
    comeRound();
    QCOMPARE(m_log, (QStringList{"try 1", "try 3", "try 2", "stored 1", "stored 3", "stored 2"}));
    QCOMPARE(stored(), (QList<int>{1, 3, 2}));
    // When nobody else waits, its failure is forgotten.
    m_fails[2] = Status::Passing;
    expect("Owner::do not stored, kept for another attempt: 2");
    writes.gather(line);
    comeRound();
    QCOMPARE(m_log.last(), QString("refused 2"));
    writes.submit(row(4));
    QCOMPARE(m_log.last(), QString("stored 4"));
}

/// Nothing that was not refused is dropped.
void TestKeptWrites::whoSendsFasterHasToWait()
{
    constexpr int kWrites = 2500;
    KeptWrites writes("Owner::do", 10);
    QStringList told;
    for (int user = 1; user <= kWrites; ++user) {
        QVERIFY(writes.gather(row(user)));
        QVERIFY(writes.count() < storage::WriteQueue::kTurnWrites);
        told += QStringLiteral("stored %1").arg(user);
    }
    QCOMPARE(m_log.filter("stored"), QStringList());
    comeRound();
    QCOMPARE(m_log.filter("stored"), told);
}

/// Each attempt may block for seconds.
void TestKeptWrites::waitingWritesAreNotAttempted()
{
    KeptWrites writes("Owner::do", 10);
    writes.setRetryInterval(1);
    m_fails = {{1, Status::Passing}, {2, Status::Lasting}};
    expect("Owner::do not stored, kept for another attempt: 1");
    QVERIFY(writes.submit(row(1)));
    QVERIFY(writes.submit(row(2)));
    expect("Owner::do not stored, kept for another attempt: 1");
    while (m_log.size() < 4)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCOMPARE(m_log, (QStringList{"try 1", "kept 1", "try 1", "kept 2"}));
    QCOMPARE(stored(), QList<int>());
    m_fails.remove(1);
    QVERIFY(writes.enqueue(row(3)));
    expect("Owner::do not stored: 2");
    while (writes.count() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCOMPARE(m_log.mid(4), (QStringList{"try 1", "try 2", "try 3", "stored 1", "failed 2", "stored 3"}));
    expect("Owner::do not stored: 2");
    QVERIFY(writes.submit(row(2)));
    QVERIFY(writes.submit(row(4)));
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
        QVERIFY(before - writes.count() <= storage::WriteQueue::kTurnWrites);
    }
    QCOMPARE(stored(), all);
    QVERIFY(turns < kWrites / 10);
}

/// One part of the file that cannot be read must not stop what goes elsewhere.
void TestKeptWrites::whatMeetsDamageIsPutAside()
{
    KeptWrites writes("Owner::do", 10);
    writes.setRetryInterval(1);
    m_fails[2] = Status::Damaged;
    expect("Owner::do met damage, put aside: 2");
    for (int user : {1, 2, 3})
        writes.gather(row(user));
    comeRound();
    QCOMPARE(m_log.filter("stored") + m_log.filter("kept"), (QStringList{"stored 1", "stored 3", "kept 2"}));
    QCOMPARE(stored(), (QList<int>{1, 3}));
    writes.gather(row(4));
    comeRound();
    QCOMPARE(stored(), (QList<int>{1, 3, 4}));
    // A line that is not kept meets damage as well: whoever sent it knows that it is not stored.
    m_fails[5] = Status::Damaged;
    storage::Write line = row(5);
    line.isKept = false;
    writes.gather(line);
    comeRound();
    QVERIFY(m_log.contains("refused 5"));
    // Traffic does not put the next attempt off.
    m_fails.clear();
    while (writes.count() > 0) {
        writes.gather(row(6));
        comeRound();
    }
    QCOMPARE(m_log.filter("stored 2").size(), 1);
}

/// Between the last look at the path and the next, somebody moves another file over it.
void TestKeptWrites::replacedFileGetsWhatWentToTheFormer()
{
    QStringList deliveries;
    const auto write = [this, &deliveries](int user) {
        storage::Write one = row(user);
        one.store = [this, user, &deliveries](DataBase &database, storage::Delivery delivery) {
            deliveries += QString::number(user) + (delivery == storage::Delivery::Again ? " again" : "");
            database.insert("events", {{"USER", user}});
            return m_fails.value(user);
        };
        return one;
    };
    const QString path = m_database->filePath();
    KeptWrites writes("Owner::do", 10);
    writes.setRetryInterval(1);
    writes.submit(write(1));
    m_database->select("PRAGMA wal_checkpoint");
    QVERIFY(QFile::copy(path, path + ".copy"));
    writes.submit(write(2));
    writes.submit(write(3));
    const auto moveOver = [&](const QString &other) {
        QFile::remove(path);
        return other.isEmpty() || QFile::rename(other, path);
    };
    QVERIFY(moveOver(path + ".copy"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^DataBase: the file"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^DataBase: the file"));
    writes.submit(write(4));
    // What was stored before the path was last seen to name the file went with it.
    QCOMPARE(deliveries, (QStringList{"1", "2", "3", "3 again", "4"}));
    QCOMPARE(stored(), (QList<int>{1, 3, 4}));
    // Without anything further to store it is noticed as well.
    deliveries.clear();
    writes.submit(write(5));
    QVERIFY(QFile::copy(path, path + ".copy"));
    QVERIFY(moveOver(path + ".copy"));
    while (deliveries.size() < 2)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCOMPARE(deliveries, (QStringList{"5", "5 again"}));
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
    QCOMPARE(m_log, QStringList("dropped 3"));
    writes.flush();
    QCOMPARE(writes.count(), 0);
    QCOMPARE(stored(), QList<int>{1});
}

void TestKeptWrites::whatIsRescuedComesBack_data()
{
    QTest::addColumn<bool>("isStopped");
    QTest::newRow("killed") << false;
    QTest::newRow("stopped") << true;
}

/// Neither a stop nor a crash loses what was accepted.
void TestKeptWrites::whatIsRescuedComesBack()
{
    const auto make = [this](const QAny &rescued) {
        storage::Write write = row(rescued.toInt());
        write.rescued = rescued;
        return write;
    };
    {
        storage::Rescue rescue(m_database->filePath());
        storage::setRescue(&rescue);
        KeptWrites writes("Owner::do", 10);
        KeptWrites others("Other::do", 10);
        m_fails = {{1, Status::Passing}, {9, Status::Passing}};
        for (int user : {1, 2})
            writes.gather(make(user));
        others.gather(make(9));
        comeRound();
        QCOMPARE(m_log.filter("kept"), (QStringList{"kept 1", "kept 2", "kept 9"}));
        QFETCH(const bool, isStopped);
        if (isStopped) {
            expect("Owner::do left in the rescue file: 1");
            expect("Owner::do left in the rescue file: 2");
            writes.flush();
        }
    }
    QTest::ignoreMessage(QtWarningMsg, "Rescue::Rescue 3 writes of the former run are stored now");
    storage::Rescue rescue(m_database->filePath());
    storage::setRescue(&rescue);
    KeptWrites writes("Owner::do", 10);
    m_fails.clear();
    writes.restore(make);
    writes.submit(row(3));
    while (writes.count() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCOMPARE(stored(), (QList<int>{1, 2, 3}));
    // The other owner's still waits for it.
    KeptWrites others("Other::do", 10);
    others.restore(make);
    others.flush();
    QCOMPARE(stored(), (QList<int>{1, 2, 3, 9}));
    // Whatever characters a terminal sent.
    const QString text = QString("a").append(QChar(1)).append(QChar(0));
    QVERIFY(rescue.add("Nobody", {text}));
    QTest::ignoreMessage(QtWarningMsg, "Rescue::Rescue 1 writes of the former run are stored now");
    storage::Rescue next(m_database->filePath());
    QVERIFY(next.take("Owner::do").empty());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("1 writes of the former run are nobody's, kept in"));
    next.setAsideUntaken();
    QFile unread(m_database->filePath() + "-rescue-unread");
    QVERIFY(unread.open(QIODevice::ReadOnly));
    QCOMPARE(unread.readAll(), QString(R"({"OWNER":"Nobody","WRITE":"%1"})").arg(text).toUtf8() + '\n');
    storage::setRescue(nullptr);
    QVERIFY(storage::Rescue(m_database->filePath()).take("Nobody").empty());
}

QTEST_GUILESS_MAIN(TestKeptWrites)
#include "tst_keptwrites.moc"
