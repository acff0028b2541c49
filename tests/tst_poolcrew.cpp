#include "calc/recalctext.h"
#include "calcsite.h"
#include "peer.h"
#include "poolsite.h"
#include "server/workers/filereaders.h"

#include <QTemporaryDir>

#include <cstdio>
#include <numeric>
#include <set>

using calc::Crew;
using Size = PoolSite::Size;

/// The crew of a large work: its shares, and that all of its readers see one state of the file.
class TestPoolCrew : public QObject
{
    Q_OBJECT
private slots:
    void everyShareIsDoneOnce();
    void allReadersSeeOneState();
    void whoIsBusyDoesNotReadWithTheTeam();
    void whoComesTooLateDoesNotReadWithTheTeam();
    void aFileThatIsWrittenIsReadByTheLeader();
    void aReplacedFileIsOpenedAnew();
    void whoHasNothingToDoClosesItsReaders();
    void aFileThatCameBackChangedIsOpened();
    void aStateThatFailsIsBegunAnew();
    void aLargeWorkKeepsItsStateWhileSmallOnesSeeWhatIsNew();
    void theCalculationIsTheSameOnThreads();
};

void TestPoolCrew::everyShareIsDoneOnce()
{
    constexpr int threads = 3;
    constexpr int shares = 200;
    PoolSite site(threads);
    std::vector<int> done(shares);      // by share
    std::vector<int> inMember(threads); // not atomic: one member does one share at a time
    std::vector<int> ownOfMember(threads);
    std::atomic<int> faults{0};
    QVERIFY(site.submit(Size::Large, "large", [&](Crew &crew) {
        if (crew.size() != threads)
            ++faults;
        for (int step = 0; step < 3; ++step) {
            crew.run(shares, [&](int share, int member) {
                ++done[size_t(share)];
                faults += ++inMember[size_t(member)] == 1 ? 0 : 1;
                ++ownOfMember[size_t(member)];
                --inMember[size_t(member)];
            });
        }
        crew.run(0, [&](int, int) { ++faults; });
    }));
    QVERIFY(site.waitForEnded(1));
    QCOMPARE(faults.load(), 0);
    QCOMPARE(done, std::vector<int>(shares, 3));
    QCOMPARE(std::accumulate(ownOfMember.begin(), ownOfMember.end(), 0), 3 * shares);
}

void TestPoolCrew::allReadersSeeOneState()
{
    PoolSite site(3);
    Counter inShares;
    QVERIFY(site.submit(Size::Large, "large", [&](Crew &crew) {
        crew.read(3, [&](int, int, storage::Reader &reader) {
            reader.configValue("x");
            inShares.add();
            inShares.waitFor(3); // all three at a time: no member reads two of them
        });
        crew.endReading();
    }));
    QVERIFY(site.waitForEnded(1));
    QCOMPARE(inShares.count(), 3);
    QCOMPARE(site.readers.held.load(), 1);
    QCOMPARE(site.readers.begunUnheld.load(), 0);
    QCOMPARE(site.readers.misuses.load(), 0);
    QVERIFY(QTest::qWaitFor([&] { return site.readers.states == 0; }));
}

void TestPoolCrew::whoIsBusyDoesNotReadWithTheTeam()
{
    PoolSite site(2);
    Counter reading;
    QVERIFY(site.submitWaiting(Size::Small, "busy"));
    QVERIFY(site.begun.waitFor(1));
    std::set<int> readingMembers;
    std::set<int> members;
    std::mutex mutex;
    QVERIFY(site.submit(Size::Large, "large", [&](Crew &crew) {
        crew.read(5, [&](int, int member, storage::Reader &reader) {
            reader.configValue("x");
            readingMembers.insert(member); // there is but one
        });
        site.leave.add();
        crew.endReading();
        Counter both;
        crew.run(2, [&](int, int member) {
            both.add();
            both.waitFor(2);
            const std::lock_guard<std::mutex> lock(mutex);
            members.insert(member);
        });
    }));
    QVERIFY(site.waitForEnded(2));
    QCOMPARE(readingMembers.size(), size_t(1));
    QCOMPARE(members.size(), size_t(2));
    QCOMPARE(site.readers.misuses.load(), 0);
}

/// It has begun to join, and takes longer than the writers can wait for it.
void TestPoolCrew::whoComesTooLateDoesNotReadWithTheTeam()
{
    PoolSite site(2);
    std::set<QString> readers; // one thread alone fills it
    Counter both;
    const auto work = [&](Crew &crew) {
        crew.read(5, [&](int, int, storage::Reader &reader) { readers.insert(reader.configValue("x")); });
        site.readers.leave.add();
        crew.run(2, [&](int, int) {
            both.add();
            both.waitFor(2); // it does what needs no reader
        });
        crew.read(5, [&](int, int, storage::Reader &reader) { readers.insert(reader.configValue("x")); });
    };
    site.readers.delays = 1;
    QVERIFY(site.submit(Size::Large, "large", work));
    QVERIFY(QTest::qWaitFor([&] { return !site.ended.isEmpty(); }, 30000));
    QCOMPARE(readers.size(), size_t(1));
    QVERIFY(QTest::qWaitFor([&] { return site.readers.states == 0; }));
    QCOMPARE(site.readers.misuses.load(), 0);
}

void TestPoolCrew::aFileThatIsWrittenIsReadByTheLeader()
{
    PoolSite site(2);
    site.readers.canHold = false;
    std::set<QString> readers; // one thread alone fills it
    QVERIFY(site.submit(Size::Large, "large", [&](Crew &crew) {
        const QString own = crew.reader().configValue("x");
        crew.read(20, [&](int, int, storage::Reader &reader) { readers.insert(reader.configValue("x")); });
        readers.insert(own);
    }));
    QVERIFY(site.waitForEnded(1));
    QCOMPARE(readers.size(), size_t(1));
    QCOMPARE(site.readers.misuses.load(), 0);
}

void TestPoolCrew::aReplacedFileIsOpenedAnew()
{
    PoolSite site(2);
    int ended = 0;
    // Both workers have both of their readers open.
    const auto readBySmall = [&] {
        Counter both;
        for (int i = 0; i < 2; ++i)
            QVERIFY(site.submit(Size::Small, "small", [&](Crew &crew) {
                crew.reader().configValue("x");
                both.add();
                both.waitFor(2);
            }));
        QVERIFY(site.waitForEnded(ended += 2));
    };
    const auto readByLarge = [&] {
        QVERIFY(site.submit(Size::Large, "large", [&](Crew &) {}));
        QVERIFY(site.waitForEnded(ended += 1));
    };
    for (const int opened : {4, 4, 8}) {
        if (opened == 8)
            site.generation = 2;
        readBySmall();
        readByLarge();
        for (int more = 0; more < 50 && site.readers.opened < opened; ++more)
            readByLarge(); // a machine with much to do lets a worker come too late
        QCOMPARE(site.readers.opened.load(), opened);
        QCOMPARE(site.readers.open.load(), 4);
    }
    QCOMPARE(site.readers.misuses.load(), 0);
}

void TestPoolCrew::whoHasNothingToDoClosesItsReaders()
{
    constexpr int restMs = 20;
    PoolSite site(2, 10, 10, restMs);
    QVERIFY(site.submit(Size::Small, "small", [](Crew &crew) { crew.reader().configValue("x"); }));
    QVERIFY(site.waitForEnded(1));
    QTRY_COMPARE(site.readers.open.load(), 0);
    QVERIFY(site.submit(Size::Large, "large", [&](Crew &crew) {
        std::this_thread::sleep_for(std::chrono::milliseconds(3 * restMs)); // the other has a state, and no share yet
        crew.read(20, [](int, int, storage::Reader &reader) { reader.configValue("x"); });
    }));
    QVERIFY(site.waitForEnded(2));
    QTRY_COMPARE(site.readers.open.load(), 0);
    QCOMPARE(site.readers.misuses.load(), 0);
}

void TestPoolCrew::aFileThatCameBackChangedIsOpened()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("a.db");
    const QString away = folder.filePath("away.db");
    const QString copy = folder.filePath("copy.db");
    DataBase database(path);
    database.setRetryInterval(10);
    constexpr int restMs = 50;
    PoolSite::Pool pool(
        std::make_unique<server::workers::FileReaders>(path),
        [&] {
            database.look();
            return server::workers::WantedFile{database.readersGeneration(), database.fileState()};
        },
        PoolSite::Pool::Options{2, 10, 10, restMs});
    QByteArray told;
    const auto read = [&] {
        told.clear();
        QVERIFY(pool.submit(
            Size::Large, "x",
            [](Crew &crew) {
                return PoolSite::Text{crew.reader().select("SELECT count(*) N FROM events").toJsonUtf8()};
            },
            [&told](const PoolSite::Text &text) { told = text.front(); }));
        QVERIFY(QTest::qWaitFor([&] { return !told.isEmpty(); }));
    };
    const auto move = [](const QString &from, const QString &to) {
        QCOMPARE(std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()), 0);
    };
    QVERIFY(database.insert("events", {{"USER", "1"}}));
    QVERIFY(database.exec("VACUUM INTO '" + copy + "'"));
    QVERIFY(Peer(copy).run("INSERT INTO events (USER) VALUES ('2')"));
    read();
    QCOMPARE(told, QByteArray("[{\"N\":1}]"));
    move(path, away);
    QVERIFY(!database.look());
    {
        QFile changed(away);
        QFile from(copy);
        QVERIFY(from.open(QIODevice::ReadOnly) && changed.open(QIODevice::WriteOnly));
        QVERIFY(changed.write(from.readAll()) > 0);
    }
    move(away, path);
    read(); // maybe nothing
    QTRY_VERIFY(database.isOpen());
    read();
    QCOMPARE(told, QByteArray("[{\"N\":2}]"));
}

void TestPoolCrew::aStateThatFailsIsBegunAnew()
{
    PoolSite site(2);
    QString path;
    const auto work = [&path](Crew &crew) { path = crew.reader().filePath(); };
    int ended = 0;
    for (const Size size : {Size::Small, Size::Large}) {
        // A connection that was good fails, then also the one in its place: all is read, if not of one state.
        for (const int failures : {0, 2, 1000, 0}) {
            site.readers.failures = failures;
            const int opened = site.readers.opened;
            path.clear();
            QVERIFY(site.submit(size, "x", work));
            QVERIFY(site.waitForEnded(++ended));
            QVERIFY(!path.isEmpty());
            QVERIFY(failures == 0 || site.readers.opened > opened);
            QVERIFY(QTest::qWaitFor([&] { return site.readers.states == 0; }));
        }
    }
    QCOMPARE(site.readers.misuses.load(), 0);
}

void TestPoolCrew::aLargeWorkKeepsItsStateWhileSmallOnesSeeWhatIsNew()
{
    CalcSite site;
    site.storeConfig("KEY", "before");
    PoolSite::Pool pool(std::make_unique<server::workers::FileReaders>(site.database().filePath()), {},
                        PoolSite::Pool::Options{2, 10, 10});
    Counter began;
    Counter written;
    QStringList told;
    const auto tell = [&told](const PoolSite::Text &text) { told += QString::fromUtf8(text.front()); };
    QVERIFY(pool.submit(
        Size::Large, "large",
        [&](Crew &crew) {
            began.add();
            written.waitFor(1);
            std::vector<QByteArray> seen(2);
            Counter both;
            crew.read(2, [&](int share, int, storage::Reader &reader) {
                both.add();
                both.waitFor(2);
                seen[size_t(share)] = reader.configValue("KEY").toUtf8();
            });
            return PoolSite::Text{seen[0] + ' ' + seen[1]};
        },
        tell));
    QVERIFY(began.waitFor(1));
    site.storeConfig("KEY", "after");
    QVERIFY(pool.submit(
        Size::Small, "small", [](Crew &crew) { return PoolSite::Text{crew.reader().configValue("KEY").toUtf8()}; },
        tell));
    QVERIFY(QTest::qWaitFor([&] { return told.size() == 1; }));
    written.add();
    QVERIFY(QTest::qWaitFor([&] { return told.size() == 2; }));
    QCOMPARE(told, QStringList({"after", "before before"}));
}

void TestPoolCrew::theCalculationIsTheSameOnThreads()
{
    CalcSite site;
    for (int id = 1; id <= 20; ++id) {
        site.employee(id, QString("Novak %1").arg(id), id % 2 ? kDay : kNight, kWarnings);
        site.events(id, "2.3.2026 7-15; 3.3.2026 8 102; 4.3.2026 21-5; 5.3.2026 7 101");
    }
    const QAny request = CalcSite::request("1.1.2026", "31.12.2026", "NEAREVENTS=1 ISACS=1 ISSUMSUM=1");
    PoolSite::Pool pool(std::make_unique<server::workers::FileReaders>(site.database().filePath()), {},
                        PoolSite::Pool::Options{3, 10, 10});
    QByteArray text;
    QVERIFY(pool.submit(
        Size::Large, "x",
        [request = request.deepCopy(), today = site.today](Crew &crew) {
            return calc::recalcText(crew, request, today);
        },
        [&text](const PoolSite::Text &pieces) {
            for (const QByteArray &piece : pieces)
                text += piece;
        }));
    QVERIFY(QTest::qWaitFor([&] { return !text.isEmpty(); }, 20000));
    const QByteArray alone = site.pack(request).toJsonUtf8();
    const auto withoutTime = [](const QByteArray &whole) { return whole.left(whole.lastIndexOf("\"TIME\"")); };
    QVERIFY(alone.size() > 1000000);
    QCOMPARE(withoutTime(text), withoutTime(alone));
}

QTEST_GUILESS_MAIN(TestPoolCrew)
#include "tst_poolcrew.moc"
