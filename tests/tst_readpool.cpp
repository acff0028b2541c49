#include "poolsite.h"

using calc::Crew;
using Size = PoolSite::Size;

namespace {

/// What a work does that nobody ends but its cancellation.
void waitForCancellation(const Crew &crew)
{
    while (!crew.isCancelled())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace

/// The pool of workers: who goes first, what is refused, who is cancelled, and that it always comes to an end.
class TestReadPool : public QObject
{
    Q_OBJECT
private slots:
    void theTextComesBackToThePoolsThread();
    void smallGoesBeforeLarge();
    void smallIsTakenBetweenShares();
    void oneLargeGoesAtATime();
    void whatWaitsIsBounded();
    void anOwnerThatGoesCancelsItsWork();
    void whatEndedIsNotHandedOutAfterItsOwnerWent();
    void aReceiverMaySubmitCancelAndStop();
    void whoIsGivenUpMayCancelOthers();
    void everythingStops_data();
    void everythingStops();
};

void TestReadPool::theTextComesBackToThePoolsThread()
{
    PoolSite site;
    const std::thread::id here = std::this_thread::get_id();
    std::thread::id worker;
    PoolSite::Text text;
    QVERIFY(site.pool.submit(
        Size::Small, "owner",
        [&worker](Crew &) {
            worker = std::this_thread::get_id();
            return PoolSite::Text{"[1,", "2]"};
        },
        [&](PoolSite::Text told) {
            QCOMPARE(std::this_thread::get_id(), here);
            text = std::move(told);
        }));
    QVERIFY(text.empty()); // never before the event loop runs
    QVERIFY(QTest::qWaitFor([&] { return !text.empty(); }));
    QCOMPARE(text, (PoolSite::Text{"[1,", "2]"}));
    QVERIFY(worker != here);
}

void TestReadPool::smallGoesBeforeLarge()
{
    PoolSite site;
    site.occupy();
    const auto nothing = [](Crew &) {};
    QVERIFY(site.submit(Size::Large, "large", nothing));
    QVERIFY(site.submit(Size::Small, "small", nothing));
    QVERIFY(site.submit(Size::Small, "later", nothing));
    site.leave.add();
    QVERIFY(site.waitForEnded(5));
    // Two workers may begin two of them at a time, but neither takes the large one while small ones wait.
    const QStringList order = site.started().mid(2);
    QVERIFY2(order.indexOf("large") > 0, qPrintable(order.join(' ')));
}

void TestReadPool::smallIsTakenBetweenShares()
{
    for (const int threads : {2, 3}) {
        PoolSite site(threads);
        Counter shares;
        Counter small;
        std::atomic<int> inVain{0};
        const auto large = [&](Crew &crew) {
            crew.run(20, [&](int, int) {
                shares.add();
                // Behind the first ones every share waits for the small work, which so cannot come behind all of them.
                inVain += site.leave.waitFor(1) && (shares.count() <= threads || small.waitFor(1)) ? 0 : 1;
            });
        };
        QVERIFY(site.submit(Size::Large, "large", large));
        QVERIFY(shares.waitFor(threads)); // every worker is in a share
        QVERIFY(site.submit(Size::Small, "small", [&](Crew &) { small.add(); }));
        site.leave.add();
        QVERIFY(site.waitForEnded(2));
        QCOMPARE(shares.count(), 20);
        QCOMPARE(inVain.load(), 0);
    }
}

void TestReadPool::oneLargeGoesAtATime()
{
    PoolSite site(3);
    std::atomic<int> running{0};
    std::atomic<int> most{0};
    for (int i = 0; i < 5; ++i) {
        QVERIFY(site.submit(Size::Large, QString::number(i), [&](Crew &) {
            most = std::max(most.load(), ++running);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            --running;
        }));
    }
    QVERIFY(site.waitForEnded(5));
    QCOMPARE(most.load(), 1);
    QCOMPARE(site.ended, QStringList({"0", "1", "2", "3", "4"}));
}

void TestReadPool::whatWaitsIsBounded()
{
    PoolSite site(2, 2, 1);
    site.occupy();
    const auto nothing = [](Crew &) {};
    const auto kept = std::make_shared<int>();
    QVERIFY(site.submit(Size::Small, "small 1", nothing));
    QVERIFY(site.submit(Size::Small, "small 2", nothing));
    QVERIFY(!site.submit(Size::Small, "refused", [kept](Crew &) {}));
    QVERIFY(site.submit(Size::Large, "large", nothing)); // each kind has its own bound
    QVERIFY(!site.submit(Size::Large, "refused", [kept](Crew &) {}));
    QCOMPARE(kept.use_count(), 1);
    site.pool.cancel("nobody");
    QVERIFY(!site.submit(Size::Small, "refused", nothing));
    site.leave.add();
    QVERIFY(site.waitForEnded(5));
    QVERIFY(site.submit(Size::Small, "again", nothing));
    QVERIFY(site.waitForEnded(6));
    QVERIFY(!site.started().contains("refused"));
}

void TestReadPool::anOwnerThatGoesCancelsItsWork()
{
    PoolSite site(2, 2);
    const int object = 0;
    const QString gone = PoolSite::Pool::ownerOf(&object);
    Counter cancelled;
    QVERIFY(site.submit(
        Size::Large, "running large",
        [&](Crew &crew) {
            crew.run(100, [&](int, int) { waitForCancellation(crew); });
            cancelled.add();
        },
        gone));
    QVERIFY(site.begun.waitFor(1));
    const auto held = std::make_shared<int>();
    QVERIFY(site.submit(
        Size::Large, "waiting", [held](Crew &) {}, gone));
    QVERIFY(site.submit(
        Size::Large, "of another", [](Crew &) {}, "another"));
    site.pool.cancel(gone);
    QCOMPARE(held.use_count(), 1); // what waited is released
    QVERIFY(cancelled.waitFor(1));
    QVERIFY(site.waitForEnded(1));
    QCOMPARE(site.ended, QStringList("of another"));
    QVERIFY(!site.started().contains("waiting"));
    QCOMPARE(site.readers.misuses.load(), 0);
}

void TestReadPool::whatEndedIsNotHandedOutAfterItsOwnerWent()
{
    PoolSite site;
    for (const char *owner : {"gone", "staying"})
        QVERIFY(site.submit(
            Size::Small, owner, [](Crew &) {}, owner));
    QVERIFY(site.begun.waitFor(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // both lie ready
    site.pool.cancel("gone");
    QVERIFY(site.waitForEnded(1));
    QTest::qWait(20);
    QCOMPARE(site.ended, QStringList("staying"));
}

void TestReadPool::aReceiverMaySubmitCancelAndStop()
{
    PoolSite site;
    QStringList told;
    const auto nothing = [](Crew &) { return PoolSite::Text{"x"}; };
    const auto tell = [&told](const char *name) { return [&told, name](const PoolSite::Text &) { told += name; }; };
    QVERIFY(site.pool.submit(Size::Small, "a", nothing, [&](const PoolSite::Text &) {
        told += "first";
        QVERIFY(site.pool.submit(Size::Small, "b", nothing, tell("cancelled")));
        site.pool.cancel("b");
        QVERIFY(site.pool.submit(Size::Small, "c", nothing, [&](const PoolSite::Text &) {
            told += "second";
            site.pool.stop();
        }));
    }));
    QVERIFY(QTest::qWaitFor([&] { return told.size() == 2; }));
    QTest::qWait(20);
    QCOMPARE(told, QStringList({"first", "second"}));
    QVERIFY(!site.pool.submit(Size::Small, "d", nothing, tell("after the stop")));
}

/// As an answer does that ends with its socket.
void TestReadPool::whoIsGivenUpMayCancelOthers()
{
    constexpr int count = 50;
    const auto nothing = [](Crew &) { return PoolSite::Text{"x"}; };
    for (const bool stops : {true, false}) {
        PoolSite site(2, count);
        site.occupy();
        int givenUp = 0;
        for (int i = 0; i < count; ++i) {
            const std::shared_ptr<int> held(new int(i), [&](const int *number) {
                ++givenUp;
                site.pool.cancel(QString::number((*number + 1) % count));
                delete number;
            });
            QVERIFY(site.pool.submit(Size::Small, QString::number(i), nothing, [held](const PoolSite::Text &) {}));
        }
        if (stops) {
            site.leave.add();
            site.pool.stop();
        } else {
            site.pool.cancel("7");
        }
        QCOMPARE(givenUp, count);
        site.leave.add();
    }
}

void TestReadPool::everythingStops_data()
{
    QTest::addColumn<QString>("moment");
    for (const char *moment : {"idle", "at once", "in small ones", "in a large one", "in its shares", "in its reading",
                               "behind its reading", "behind the end"})
        QTest::newRow(moment) << moment;
}

void TestReadPool::everythingStops()
{
    QFETCH(QString, moment);
    for (int round = 0; round < 5; ++round) {
        PoolSite site(3);
        const auto steps = [&](Crew &crew) {
            const auto wait = [&](const QString &step) {
                if (moment == step) {
                    site.leave.add();
                    waitForCancellation(crew);
                }
            };
            wait("in small ones");
            wait("in a large one");
            crew.read(20, [&](int, int, storage::Reader &) { wait("in its reading"); });
            crew.endReading();
            wait("behind its reading");
            crew.run(20, [&](int, int) { wait("in its shares"); });
        };
        const Size size = moment == "in small ones" ? Size::Small : Size::Large;
        for (int i = 0; i < 4 && moment != "idle"; ++i)
            QVERIFY(site.submit(size, QString::number(i), steps));
        if (moment == "behind the end")
            QVERIFY(site.begun.waitFor(4));
        else if (moment != "idle" && moment != "at once")
            QVERIFY(site.leave.waitFor(1));
        const auto before = std::chrono::steady_clock::now();
        site.pool.stop();
        QVERIFY(std::chrono::steady_clock::now() - before < std::chrono::seconds(2));
        QCoreApplication::processEvents();
        QCOMPARE(site.ended, QStringList());
        QCOMPARE(site.readers.open.load(), 0);
        QCOMPARE(site.readers.misuses.load(), 0);
        QVERIFY(!site.submit(size, "late", steps));
    }
}

QTEST_GUILESS_MAIN(TestReadPool)
#include "tst_readpool.moc"
