#include "server/web/guests.h"
#include "server/web/inbox.h"
#include "server/web/knowntags.h"
#include "server/web/loginbrake.h"

#include <QTest>

using namespace server::web;

/// What bounds and slows down web clients, without clients.
class TestWebGuards : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void brakeHoldsOneName();
    void brakeForgets();
    void brakeRemembersTheWorst();
    void tags();
    void tagsOfSeveralClients();
    void guests();
    void inbox();

private:
    /// How many of so many logins, each of which fails, are tried now.
    static int tried(LoginBrake &brake, const QString &name, int logins);
};

int TestWebGuards::tried(LoginBrake &brake, const QString &name, int logins)
{
    int count = 0;
    for (int i = 0; i < logins; ++i) {
        if (!brake.allows(name))
            continue;
        brake.failed(name);
        ++count;
    }
    return count;
}

void TestWebGuards::brakeHoldsOneName()
{
    qint64 now = 5000;
    LoginBrake brake([&now] { return now; });
    QCOMPARE(tried(brake, "ana", 50), 10);
    QVERIFY(!brake.allows("ANA"));
    QVERIFY(brake.allows("bor"));
    now += 999;
    QCOMPARE(tried(brake, "ana", 50), 0);
    now += 1;
    QCOMPARE(tried(brake, "ana", 50), 1);
    // One that succeeds takes its turn as well.
    now += 1000;
    QVERIFY(brake.allows("ana"));
    QVERIFY(!brake.allows("ana"));
    for (int i = 0; i < 300; ++i) {
        now += 1000;
        QCOMPARE(tried(brake, "ana", 3), 1);
    }
}

void TestWebGuards::brakeForgets()
{
    qint64 now = 0;
    LoginBrake brake([&now] { return now; });
    QCOMPARE(tried(brake, "ana", 5), 5);
    now = 59999;
    QCOMPARE(tried(brake, "ana", 50), 5);
    now = 60000; // the first five were a minute ago
    QCOMPARE(tried(brake, "ana", 50), 5);
    QVERIFY(!brake.allows("ana"));
    now += 59998;
    QVERIFY(brake.allows("ana"));
    QVERIFY(!brake.allows("ana"));
    now += 1;
    QCOMPARE(tried(brake, "ana", 50), 5);
    now += 60000;
    QCOMPARE(tried(brake, "ana", 50), 10);
}

void TestWebGuards::brakeRemembersTheWorst()
{
    qint64 now = 0;
    LoginBrake brake([&now] { return now; }, 3);
    QCOMPARE(tried(brake, "ana", 12), 10);
    for (int i = 0; i < 100; ++i)
        QCOMPARE(tried(brake, QString::number(i), 2), 2);
    QCOMPARE(brake.count(), 3);
    QVERIFY(!brake.allows("ana"));
    // Of a long name the beginning counts, in the memory as well.
    QCOMPARE(tried(brake, QString(1000, 'x') + "1", 10), 10);
    QVERIFY(!brake.allows(QString(1000, 'x') + "2"));
}

void TestWebGuards::tags()
{
    const QObject here;
    const QObject gone;
    KnownTags tags(3);
    tags.add("old", &here);
    tags.add("left", &gone);
    tags.add("new", &here);
    tags.clientIsGone(&gone);
    QVERIFY(tags.contains("left"));
    tags.add("new", &here); // known already
    QCOMPARE(tags.count(), 3);
    tags.add("4", &here);
    QVERIFY(!tags.contains("left") && tags.contains("old"));
    tags.add("5", &here); // nobody has gone
    QVERIFY(!tags.contains("old") && tags.contains("new") && tags.contains("5"));
    QCOMPARE(tags.count(), 3);
}

void TestWebGuards::tagsOfSeveralClients()
{
    const QObject one;
    const QObject other;
    KnownTags tags(2);
    tags.add("shared", &one);
    tags.add("shared", &other);
    tags.add("own", &other);
    tags.clientIsGone(&one);
    tags.clientIsGone(&one);
    tags.remove("own");
    tags.remove("own");
    tags.clientIsGone(&other);
    tags.add("shared", &one); // and so it is not left any more
    tags.add("second", &other);
    tags.clientIsGone(&other);
    tags.add("third", &one);
    QVERIFY(tags.contains("shared") && tags.contains("third") && !tags.contains("second"));
    tags.remove("shared");
    tags.clientIsGone(&one);
    QCOMPARE(tags.count(), 1);
}

void TestWebGuards::guests()
{
    const auto socket = [](quintptr number) { return reinterpret_cast<QTcpSocket *>(number); };
    Guests guests;
    QCOMPARE(guests.longest(), nullptr);
    for (const quintptr number : {1, 2, 3, 1})
        guests.add(socket(number));
    QCOMPARE(guests.longest(), socket(1));
    guests.remove(socket(1)); // logs in
    guests.remove(socket(4));
    QCOMPARE(guests.longest(), socket(2));
    guests.add(socket(1)); // and out
    guests.remove(socket(2));
    QCOMPARE(guests.longest(), socket(3));
    guests.remove(socket(3));
    QCOMPARE(guests.longest(), socket(1));

    const qint64 third = Guests::kMaxBytes / 3;
    for (const quintptr number : {2, 3, 4})
        guests.add(socket(number));
    guests.setBytes(socket(1), third - 1);
    guests.setBytes(socket(2), third + 1);
    guests.setBytes(socket(3), third);
    guests.setBytes(socket(5), Guests::kMaxBytes); // no guest
    QCOMPARE(guests.tooLarge(), nullptr);
    guests.setBytes(socket(4), 3);
    QCOMPARE(guests.tooLarge(), socket(2));
    guests.setBytes(socket(2), 0);
    QCOMPARE(guests.tooLarge(), nullptr);
    guests.setBytes(socket(2), third + 1);
    guests.remove(socket(1));
    QCOMPARE(guests.tooLarge(), nullptr);
}

void TestWebGuards::inbox()
{
    Inbox small;
    for (int i = 0; i < 256; ++i) {
        QVERIFY(!small.isFull());
        small.add({Message::Binary, {}, {}});
    }
    QVERIFY(small.isFull() && !small.hasRoom());
    for (int i = 0; i < 128; ++i)
        small.take();
    QVERIFY(!small.isFull() && small.hasRoom());

    Inbox large;
    large.add({Message::Text, QString(4 * 1024 * 1024, 'x'), {}});
    QVERIFY(!large.isFull() && large.hasRoom());
    large.add({Message::Binary, {}, QByteArray(8 * 1024 * 1024, 'x')});
    QVERIFY(large.isFull() && !large.hasRoom());
    large.take();
    QVERIFY(!large.isFull() && large.hasRoom());
    large.take();
    QVERIFY(large.isEmpty() && large.hasRoom());
}

QTEST_APPLESS_MAIN(TestWebGuards)
#include "tst_webguards.moc"
