#include "pagesite.h"
#include "warnings.h"

#include <QFile>
#include <QTest>
#include <QWebSocket>

using page::Sessions;

/// A browser's live connection, and all that was heard on it.
class LivePeer
{
public:
    LivePeer(const PageSite &site, const QByteArray &cookie) : socket(QString::fromLatin1(site.origin))
    {
        QObject::connect(&socket, &QWebSocket::textMessageReceived, &socket,
                         [this](const QString &text) { heard.append(QAny::fromJson(text)); });
        QNetworkRequest request(QUrl(QStringLiteral("ws://127.0.0.1:%1/live").arg(site.server->port())));
        request.setRawHeader("Cookie", cookie);
        socket.open(request);
    }
    ~LivePeer() { socket.disconnect(); }

    void say(const char *json) { socket.sendTextMessage(QString::fromUtf8(json)); }
    /// Waits for the first of a kind that was not taken yet; Invalid when none comes.
    QAny take(const QString &key, const QAny &value, int ms = 5000)
    {
        QAny found(QAny::Invalid);
        const auto look = [&] {
            for (int i = 0; i < heard.size(); ++i) {
                if (heard[i].lookup(key) == value) {
                    found = heard.takeAt(i);
                    return true;
                }
            }
            return false;
        };
        (void)QTest::qWaitFor(look, ms);
        return found;
    }
    QAny push(const char *kind, int ms = 5000) { return take("push", QString(kind), ms); }
    QAny ask(const char *json)
    {
        say(json);
        return take("id", QAny::fromJson(QByteArray(json)).lookup("id"));
    }
    bool isSignedOut()
    {
        return push("signedOut").isHash() && QTest::qWaitFor([this] {
                   return socket.closeCode() == 4401 && socket.state() == QAbstractSocket::UnconnectedState;
               });
    }

    QWebSocket socket;
    QVector<QAny> heard;
};

/// What is asked and pushed on a live connection, and how long one may be signed in.
class TestPageLive : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void hello();
    void answers_data();
    void answers();
    void tooManyAsks();
    void tooLongMessage();
    void changes();
    void presence();
    void dayAndFile();
    void strangers();
    void personLeaves();
    void openPageIsIdle();
    void askingKeepsSession();
    void deafPeer();
    void endOfServer();
    void sessionsAreBounded();
};

void TestPageLive::hello()
{
    PageSite site;
    LivePeer peer(site, cookieOf(site, "bor"));
    const QAny hello = peer.push("hello");
    const QAny me = hello.lookup("me");
    QCOMPARE(me.lookup("id").toInteger(), 6);
    QCOMPARE(me.lookup("name").toString(), QString("Rus Bor"));
    QCOMPARE(me.lookup("roles").toJson(), QString(R"([{"role":"supervisor","department":"A"}])"));
    QCOMPARE(hello.lookup("now").toInteger(), 1795000000);
    QCOMPARE(hello.lookup("zone").toString(), QString("Europe/Ljubljana"));
    QCOMPARE(hello.lookup("today").toString(), QString("2026-11-18"));
}

void TestPageLive::answers_data()
{
    QTest::addColumn<QByteArray>("ask");
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<QByteArray>("error"); // empty: answered
    QTest::newRow("read") << QByteArray(R"({"id":3,"ask":"month"})") << QByteArray("3") << QByteArray();
    QTest::newRow("read at length") << QByteArray(R"({"id":-1,"ask":"department"})") << QByteArray("-1")
                                    << QByteArray();
    QTest::newRow("written") << QByteArray(R"({"id":4,"ask":"decide"})") << QByteArray("4") << QByteArray();
    QTest::newRow("no id") << QByteArray(R"({"ask":"month"})") << QByteArray("null") << QByteArray("badRequest");
    QTest::newRow("id of another kind") << QByteArray(R"({"id":{},"ask":"month"})") << QByteArray("null")
                                        << QByteArray("badRequest");
    QTest::newRow("nothing asked") << QByteArray(R"({"id":5,"ask":7})") << QByteArray("5") << QByteArray("badRequest");
    QTest::newRow("list") << QByteArray("[1]") << QByteArray("null") << QByteArray("badRequest");
    QTest::newRow("no JSON") << QByteArray("{") << QByteArray("null") << QByteArray("badRequest");
}

void TestPageLive::answers()
{
    QFETCH(QByteArray, ask);
    QFETCH(QByteArray, id);
    QFETCH(QByteArray, error);
    PageSite site;
    LivePeer peer(site, cookieOf(site));
    QVERIFY(peer.push("hello").isHash());
    peer.say(ask);
    const QAny answer = peer.take("id", QAny::fromJson("[" + id + "]").at(0));
    QCOMPARE(answer.lookup("ok").toBool(), error.isEmpty());
    QCOMPARE(answer.lookup("error").toString(), QString(error));
    QCOMPARE(site.office.written, ask.contains("decide") ? 1 : 0);
}

void TestPageLive::tooManyAsks()
{
    PageSite site;
    LivePeer peer(site, cookieOf(site));
    QVERIFY(peer.push("hello").isHash());
    constexpr int kAsks = 200;
    {
        const QMutexLocker lock(&site.office.gate); // nobody can be answered
        for (int i = 0; i < kAsks; ++i)
            peer.say(R"({"id":1,"ask":"month"})");
        for (int i = 0; i < kAsks - page::Asks::kMaxWaiting - page::Asks::kMaxRunning; ++i)
            QCOMPARE(peer.take("error", "busy").lookup("id").toInteger(), 1);
        QVERIFY(peer.heard.isEmpty());
    }
    for (int i = 0; i < page::Asks::kMaxWaiting + page::Asks::kMaxRunning; ++i)
        QVERIFY(peer.take("id", 1).lookup("ok").toBool());
}

void TestPageLive::tooLongMessage()
{
    PageSite site;
    const QByteArray cookie = cookieOf(site);
    LivePeer peer(site, cookie);
    QVERIFY(peer.push("hello").isHash());
    const QByteArray ask = R"({"id":1,"ask":"month","why":")";
    peer.say(ask + QByteArray(65536 - ask.size() - 2, 'a') + "\"}");
    QVERIFY(peer.take("id", 1).lookup("ok").toBool());
    peer.say(ask + QByteArray(65536 - ask.size() - 1, 'a') + "\"}");
    QVERIFY(QTest::qWaitFor([&] { return peer.socket.state() == QAbstractSocket::UnconnectedState; }));
    LivePeer again(site, cookie);
    QVERIFY(again.push("hello").isHash());
}

void TestPageLive::changes()
{
    PageSite site;
    LivePeer ana(site, cookieOf(site, "ana"));
    LivePeer bor(site, cookieOf(site, "bor"));
    QVERIFY(ana.push("hello").isHash() && bor.push("hello").isHash());
    const auto change = [&site](const page::OfficeDoor::Change &made) {
        const QMutexLocker lock(&site.office.mutex);
        site.office.change = made;
    };
    change({{5, 6, 77}, false, false}); // 77 is on no list
    QCOMPARE(ana.push("changed").lookup("employees").toJson(), QString("[5]"));
    QCOMPARE(bor.push("changed").lookup("employees").toJson(), QString("[5,6]"));
    change({{6}, false, false});
    QCOMPARE(bor.push("changed").lookup("employees").toJson(), QString("[6]"));
    change({{}, true, false});
    QVERIFY(ana.push("requests").isHash() && bor.push("requests").isHash());
    QVERIFY(!ana.push("changed", 0).isHash());
    change({{}, false, true});
    QVERIFY(ana.push("changed").lookup("employees").isNull());
    QVERIFY(bor.push("changed").lookup("employees").isNull());
}

void TestPageLive::presence()
{
    PageSite site;
    LivePeer bor(site, cookieOf(site, "bor"));
    QVERIFY(bor.push("hello").isHash());
    QVERIFY(bor.ask(R"({"id":1,"ask":"presence"})").lookup("ok").toBool());
    QVERIFY(!bor.push("presence", 100).isHash());
    {
        const QMutexLocker lock(&site.office.mutex);
        site.office.presentState = "in";
        site.office.change = {{5}, false, false};
    }
    const QAny changes = bor.push("presence").lookup("changes");
    QCOMPARE(changes.count(), 1);
    QCOMPARE(changes.at(0).lookup("id").toInteger(), 5);
    QCOMPARE(changes.at(0).lookup("state").toString(), QString("in"));
    QVERIFY(!bor.push("presence", 100).isHash());
}

void TestPageLive::dayAndFile()
{
    PageSite site;
    LivePeer peer(site, cookieOf(site));
    QVERIFY(peer.push("hello").isHash());
    site.time += 24 * 3600 * 1000;
    QCOMPARE(peer.push("day").lookup("today").toString(), QString("2026-11-19"));
    QVERIFY(peer.push("changed").lookup("employees").isNull());

    QVERIFY(QFile::rename(site.file, site.file + ".away"));
    QCOMPARE(peer.push("database").lookup("state").toString(), QString("gone"));
    LivePeer late(site, cookieOf(site));
    QCOMPARE(late.push("database").lookup("state").toString(), QString("gone"));
    QVERIFY(QFile::rename(site.file + ".away", site.file));
    QCOMPARE(peer.push("database").lookup("state").toString(), QString("back"));
    QVERIFY(peer.push("changed").lookup("employees").isNull());
}

void TestPageLive::strangers()
{
    PageSite site;
    LivePeer without(site, {});
    QVERIFY(without.isSignedOut());
    LivePeer guessing(site, "zuk_session=" + QByteArray(43, 'A'));
    QVERIFY(guessing.isSignedOut());
    QCOMPARE(guessing.heard.size(), 0);
}

void TestPageLive::personLeaves()
{
    PageSite site;
    const QByteArray cookie = cookieOf(site);
    LivePeer ana(site, cookie);
    LivePeer bor(site, cookieOf(site, "bor"));
    QVERIFY(ana.push("hello").isHash() && bor.push("hello").isHash());
    {
        const QMutexLocker lock(&site.office.mutex);
        site.office.gone = {5};
    }
    // At the next ask at the latest, whatever the file says of changes.
    ana.say(R"({"id":1,"ask":"month"})");
    QVERIFY(ana.isSignedOut());
    QVERIFY(LivePeer(site, cookie).isSignedOut());
    {
        const QMutexLocker lock(&site.office.mutex);
        site.office.gone = {6};
        site.office.change = {{1}, false, false};
    }
    QVERIFY(bor.isSignedOut());
    QCOMPARE(site.server->sessions(), 0);
}

void TestPageLive::openPageIsIdle()
{
    PageSite site;
    LivePeer peer(site, cookieOf(site));
    QVERIFY(peer.push("hello").isHash());
    for (int minute = 1; minute < 30; ++minute) {
        site.steady += 60000;
        QVERIFY(peer.ask(R"({"id":1,"ask":"month","auto":true})").lookup("ok").toBool());
    }
    site.steady += 60000;
    QVERIFY(peer.isSignedOut());
}

void TestPageLive::askingKeepsSession()
{
    PageSite site;
    LivePeer peer(site, cookieOf(site));
    QVERIFY(peer.push("hello").isHash());
    for (int minute = 20; minute < 12 * 60; minute += 20) {
        site.steady += 20 * 60000;
        QVERIFY(peer.ask(R"({"id":1,"ask":"month"})").lookup("ok").toBool());
    }
    site.steady += 20 * 60000;
    QVERIFY(peer.isSignedOut());
}

void TestPageLive::deafPeer()
{
    PageSite site;
    const QByteArray cookie = cookieOf(site);
    RawPeer deaf(site);
    deaf.setReadBufferSize(1000);
    QCOMPARE(deaf.ask(handshakeOf(site, "Cookie: " + cookie + "\r\n")).status, 101);
    LivePeer other(site, cookie);
    QVERIFY(other.push("hello").isHash());
    const Warnings warnings;
    {
        const QMutexLocker lock(&site.office.mutex);
        site.office.presentState = QString(1024 * 1024, 'x');
    }
    for (int i = 0; i < 20 && Warnings::taken().isEmpty(); ++i) {
        {
            const QMutexLocker lock(&site.office.mutex);
            site.office.change = {{5}, false, false};
        }
        QVERIFY(other.push("presence").isHash());
    }
    QCOMPARE(Warnings::taken().size(), 1);
    QVERIFY(Warnings::taken().first().contains("bytes unread"));
}

void TestPageLive::endOfServer()
{
    PageSite site;
    LivePeer peer(site, cookieOf(site));
    QVERIFY(peer.push("hello").isHash());
    peer.say(R"({"id":1,"ask":"department"})");
    site.server.reset();
    QVERIFY(QTest::qWaitFor([&peer] { return peer.socket.state() == QAbstractSocket::UnconnectedState; }));
    QCOMPARE(int(peer.socket.closeCode()), 1001);
}

void TestPageLive::sessionsAreBounded()
{
    qint64 now = 0;
    Sessions sessions([&now] { return now; }, 10);
    QVector<Sessions::Key> keys;
    const auto begin = [&](qint64 access) {
        now += 1;
        keys.append(Sessions::keyOf(sessions.begin({access, access, {}, {}, {}})));
    };
    for (int i = 0; i < Sessions::kMaxOfUser; ++i)
        begin(1);
    now += 1;
    sessions.use(keys[0]);
    begin(1);
    QVERIFY(sessions.person(keys[0]) && !sessions.person(keys[1]) && sessions.person(keys[2]));
    begin(2);
    begin(3);
    begin(4);
    QCOMPARE(sessions.count(), 10);
    QVERIFY(!sessions.person(keys[2]) && sessions.person(keys[0]) && sessions.person(keys.last()));
    now += Sessions::kIdleMs - 3;
    QVERIFY(sessions.person(keys.last()) && !sessions.person(keys[0]));
    sessions.endOld();
    QCOMPARE(sessions.count(), 3);
}

QTEST_GUILESS_MAIN(TestPageLive)
#include "tst_page_live.moc"
