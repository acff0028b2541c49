#include "pagesite.h"
#include "warnings.h"

#include <QTest>

#include <list>

using page::http::Limits;
using page::http::Origin;
using page::http::Places;
using page::http::Request;

/// The page's server as bytes on a connection have it.
class TestPageHttp : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { m_site = std::make_unique<PageSite>(); }
    void requests_data();
    void requests();
    void upgrades_data();
    void upgrades();
    void posts_data();
    void posts();
    void slowPeers_data();
    void slowPeers();
    void idlePeer();
    void answersKeepTheirOrder();
    void files();
    void safetyHeaders();
    void cookies_data();
    void cookies();
    void logout();
    void origins_data();
    void origins();
    void manyWrongPasswords();
    void connectionsInAll();
    void connectionsBehindProxy();
    void placesOfAddresses();
    void clientAddresses_data();
    void clientAddresses();

private:
    std::unique_ptr<PageSite> m_site; ///< that nothing changes
};

void TestPageHttp::requests_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QVector<int>>("statuses");
    QTest::addColumn<bool>("closes");
    const auto row = [](const char *name, const QByteArray &bytes, const QVector<int> &statuses, bool closes) {
        QTest::newRow(name) << bytes << statuses << closes;
    };
    const auto refused = [&row](const char *name, int status, const QByteArray &bytes) {
        row(name, bytes, {status}, true);
    };
    const QByteArray good = requestOf("GET /");
    row("a file", good, {200}, false);
    row("with a query", requestOf("GET /index.html?v=1"), {200}, false);
    row("pipelined", good + requestOf("GET /nothing") + good, {200, 404, 200}, false);
    row("of the older version", "GET / HTTP/1.0\r\n\r\n", {200}, true);
    row("the last one", requestOf("GET /", "Connection: close\r\n") + good, {200}, true);
    row("no body announced", requestOf("GET /", "Content-Length: 0\r\n") + good, {200, 200}, false);
    row("unknown path", requestOf("GET /nothing"), {404}, false);
    row("dots", requestOf("GET /../index.html"), {404}, false);
    row("dots of a folder", requestOf("GET /vendor/../index.html"), {404}, false);
    row("escaped dots", requestOf("GET /%2e%2e/etc/passwd"), {404}, false);
    row("escaped slash", requestOf("GET /vendor%2flit.mjs"), {404}, false);
    row("escaped NUL", requestOf("GET /index.html%00"), {404}, false);
    row("backslash", requestOf("GET /vendor\\lit.mjs"), {404}, false);
    row("two slashes", requestOf("GET //index.html"), {404}, false);
    row("a folder", requestOf("GET /vendor/"), {404}, false);
    row("other letters", requestOf("GET /INDEX.html"), {404}, false);
    row("wrong method", requestOf("DELETE /"), {405}, false);
    row("form sent to a file", requestOf("POST /", "Content-Length: 3\r\n", "a=1") + good, {405, 200}, false);
    row("login read", requestOf("GET /login"), {405}, false);
    row("export without a session", requestOf("GET /export/month.csv"), {403}, false);
    row("export written", requestOf("POST /export/month.csv", "Content-Length: 0\r\n"), {405}, false);
    row("socket without upgrade", requestOf("GET /live"), {426}, false);

    refused("without a host", 400, "GET / HTTP/1.1\r\n\r\n");
    refused("two hosts", 400, requestOf("GET /", "Host: other\r\n"));
    refused("bare line feeds", 400, "GET / HTTP/1.1\nHost: zuk\n\n");
    refused("one bare line feed", 400, "GET / HTTP/1.1\r\nHost: zuk\nX: 1\r\n\r\n");
    refused("bare carriage return", 400, requestOf("GET /", "X: 1\rY: 2\r\n"));
    refused("line that goes on", 400, requestOf("GET /", "X: 1\r\n and more\r\n"));
    refused("blank before the colon", 400, requestOf("GET /", "Content-Length : 0\r\n"));
    refused("no colon", 400, requestOf("GET /", "nothing\r\n"));
    refused("control character", 400, requestOf("GET /", "X: a\x01\r\n"));
    refused("NUL", 400, requestOf("GET /", QByteArray("X: a\0b\r\n", 8)));
    refused("empty line first", 400, "\r\n" + good);
    refused("two blanks", 400, "GET  / HTTP/1.1\r\nHost: zuk\r\n\r\n");
    refused("no version", 400, "GET /\r\n\r\n");
    refused("another protocol", 400, "GET / SIP/2.0\r\nHost: zuk\r\n\r\n");
    refused("another version", 505, "GET / HTTP/2.0\r\nHost: zuk\r\n\r\n");
    refused("address of another", 400, requestOf("GET http://other/"));
    refused("tunnel", 400, requestOf("CONNECT other:443"));
    refused("letter beyond ASCII", 400, requestOf("GET /\xc4\x8d"));
    refused("two lengths", 400, requestOf("POST /login", "Content-Length: 3\r\nContent-Length: 40\r\n", "a=1"));
    refused("two equal lengths", 400, requestOf("POST /login", "Content-Length: 3\r\nContent-Length: 3\r\n", "a=1"));
    refused("list of lengths", 400, requestOf("POST /login", "Content-Length: 3, 3\r\n", "a=1"));
    refused("signed length", 400, requestOf("POST /login", "Content-Length: +3\r\n", "a=1"));
    refused("empty length", 400, requestOf("POST /login", "Content-Length:\r\n"));
    refused("chunks", 400, requestOf("POST /login", "Transfer-Encoding: chunked\r\n", "0\r\n\r\n"));
    refused("chunks and a length", 400,
            requestOf("POST /login", "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n", "0\r\n\r\n" + good));
    refused("body of a GET", 400, requestOf("GET /", "Content-Length: 3\r\n", "a=1"));
    refused("no length", 411, requestOf("POST /login"));
    refused("body of 1025", 413, requestOf("POST /login", "Content-Length: 1025\r\n", QByteArray(1025, 'a')));
    refused("body without end", 413, requestOf("POST /login", "Content-Length: 99999999999999999999\r\n"));
    refused("body after leave", 417, requestOf("POST /login", "Content-Length: 3\r\nExpect: 100-continue\r\n"));
    refused("header of 9 KiB", 431, requestOf("GET /", "X: " + QByteArray(9 * 1024, 'a') + "\r\n"));
    refused("header without end", 431, "GET / HTTP/1.1\r\nX: " + QByteArray(100000, 'a'));
    refused("many lines", 431, requestOf("GET /", QByteArray("X: 1\r\n").repeated(100)));
    refused("refused, and one behind it", 400, requestOf("GET /", "Host: other\r\n") + good);
}

void TestPageHttp::requests()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QVector<int>, statuses);
    QFETCH(bool, closes);
    for (const int piece : {1 << 20, 7}) {
        RawPeer peer(*m_site);
        peer.send(bytes, piece);
        for (const int status : statuses)
            QCOMPARE(peer.answer().status, status);
        if (closes) {
            QVERIFY(peer.isClosed());
            QCOMPARE(peer.answer().status, 0);
        } else {
            QCOMPARE(peer.ask(requestOf("GET /")).status, 200);
        }
    }
}

void TestPageHttp::upgrades_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("status");
    QTest::newRow("as it should be") << QByteArray() << QByteArray() << 101;
    QTest::newRow("another path") << QByteArray("GET /live") << QByteArray("GET /") << 400;
    QTest::newRow("path of a form") << QByteArray("GET /live") << QByteArray("GET /login") << 400;
    QTest::newRow("another protocol") << QByteArray("websocket\r") << QByteArray("h2c\r") << 400;
    QTest::newRow("not for this connection") << QByteArray(", Upgrade") << QByteArray() << 400;
    QTest::newRow("another method") << QByteArray("GET") << QByteArray("PUT") << 400;
    QTest::newRow("another version") << QByteArray("Version: 13") << QByteArray("Version: 8") << 426;
    QTest::newRow("foreign origin") << QByteArray("Origin: http") << QByteArray("Origin: https") << 403;
    QTest::newRow("no origin") << QByteArray("Origin:") << QByteArray("X-Origin:") << 403;
}

void TestPageHttp::upgrades()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, status);
    RawPeer peer(*m_site);
    QByteArray request = handshakeOf(*m_site, {});
    if (!from.isEmpty())
        request.replace(request.indexOf(from), from.size(), to);
    QCOMPARE(peer.ask(request).status, status);
    QVERIFY(peer.isClosed()); // nobody is signed in
}

void TestPageHttp::posts_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("status");
    const QByteArray form = "application/x-www-form-urlencoded";
    QTest::newRow("right") << QByteArray() << QByteArray() << 200;
    QTest::newRow("with a character set") << form << form + "; charset=utf-8" << 200;
    QTest::newRow("escaped") << QByteArray("=ana") << QByteArray("=%61na") << 200;
    QTest::newRow("by another name") << QByteArray("127.0.0.1") << QByteArray("localhost") << 200;
    QTest::newRow("wrong password") << QByteArray("=geslo") << QByteArray("=Geslo") << 403;
    QTest::newRow("no such user") << QByteArray("=ana") << QByteArray("=eva") << 403;
    QTest::newRow("file cannot be read") << QByteArray("=ana") << QByteArray("=fault") << 503;
    QTest::newRow("no password") << QByteArray("&pass=") << QByteArray("&word=") << 400;
    QTest::newRow("another type") << form << QByteArray("text/plain") << 415;
    QTest::newRow("foreign origin") << QByteArray("127.0.0.1") << QByteArray("127.0.0.2") << 403;
    QTest::newRow("origin of nobody") << QByteArray("Origin: http://127.0.0.1") << QByteArray("Origin: null") << 403;
    QTest::newRow("no origin") << QByteArray("Origin:") << QByteArray("X-Origin:") << 403;
    QTest::newRow("longer origin") << QByteArray("127.0.0.1") << QByteArray("127.0.0.1.evil.example") << 403;
}

void TestPageHttp::posts()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, status);
    PageSite site;
    RawPeer peer(site);
    QByteArray request = loginOf(site, "ana", "geslo");
    if (!from.isEmpty())
        request.replace(request.indexOf(from), from.size(), to);
    const int length = request.size() - request.indexOf("\r\n\r\n") - 4;
    request.replace("Content-Length: 19", "Content-Length: " + QByteArray::number(length));
    const RawPeer::Answer answer = peer.ask(request);
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.headers.contains("set-cookie"), status == 200);
    QCOMPARE(site.server->sessions(), status == 200 ? 1 : 0);
}

void TestPageHttp::slowPeers_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("silent") << QByteArray();
    QTest::newRow("half a header") << QByteArray("GET / HTTP/1.1\r\nHost: z");
    QTest::newRow("half a body") << requestOf("POST /login", "Content-Length: 19\r\n", "user=");
}

void TestPageHttp::slowPeers()
{
    QFETCH(QByteArray, bytes);
    Limits limits = PageSite::quickLimits();
    limits.receiveMs = 100;
    PageSite site(limits);
    RawPeer first(site);
    RawPeer second(site);
    first.send(bytes);
    QCOMPARE(first.answer().status, 408);
    QVERIFY(first.isClosed());
    // One that never stops does not have more time.
    RawPeer trickling(site);
    trickling.send("GET / HTTP/1.1\r\n");
    QVERIFY(QTest::qWaitFor([&trickling] {
        trickling.send("X");
        return trickling.bytesAvailable() > 0;
    }));
    QCOMPARE(trickling.answer().status, 408);
}

void TestPageHttp::idlePeer()
{
    Limits limits = PageSite::quickLimits();
    limits.idleMs = 50;
    PageSite site(limits);
    RawPeer peer(site);
    QCOMPARE(peer.ask(requestOf("GET /")).status, 200);
    QVERIFY(peer.isClosed());
    QCOMPARE(peer.answer().status, 0);
}

void TestPageHttp::answersKeepTheirOrder()
{
    PageSite site;
    RawPeer peer(site);
    // The login is answered by the pool, the file at once.
    peer.send(loginOf(site, "ana", "wrong") + requestOf("GET /") + loginOf(site, "ana", "geslo"));
    for (const int status : {403, 200, 200})
        QCOMPARE(peer.answer().status, status);
    // Who goes while it is answered is forgotten.
    {
        RawPeer gone(site);
        gone.send(loginOf(site, "bor", "geslo"));
    }
    QCOMPARE(peer.ask(requestOf("GET /")).status, 200);
}

void TestPageHttp::files()
{
    PageSite site;
    RawPeer peer(site);
    const RawPeer::Answer plain = peer.ask(requestOf("GET /"));
    QVERIFY(plain.body.startsWith("<p>page</p>"));
    QCOMPARE(plain.headers["content-type"], QByteArray("text/html; charset=utf-8"));
    const RawPeer::Answer packed = peer.ask(requestOf("GET /index.html", "Accept-Encoding: br, gzip;q=0.5\r\n"));
    QCOMPARE(packed.body, QByteArray("gzipped"));
    QCOMPARE(packed.headers["content-encoding"], QByteArray("gzip"));
    QVERIFY(packed.headers["etag"] != plain.headers["etag"]);
    QVERIFY(!peer.ask(requestOf("GET /", "Accept-Encoding: gzip;q=0\r\n")).headers.contains("content-encoding"));

    const RawPeer::Answer known =
        peer.ask(requestOf("GET /", "If-None-Match: \"x\", W/" + plain.headers["etag"] + "\r\n"));
    QCOMPARE(known.status, 304);
    QVERIFY(known.body.isEmpty() && known.headers["etag"] == plain.headers["etag"]);
    QCOMPARE(peer.ask(requestOf("GET /", "If-None-Match: " + packed.headers["etag"] + "\r\n")).status, 200);

    peer.send(requestOf("HEAD /"));
    QCOMPARE(peer.answer(false).headers["content-length"], QByteArray::number(plain.body.size()));
    const RawPeer::Answer module = peer.ask(requestOf("GET /vendor/lit.mjs"));
    QCOMPARE(module.headers["content-type"], QByteArray("text/javascript; charset=utf-8"));
    QCOMPARE(module.body, QByteArray("export {}"));
}

void TestPageHttp::safetyHeaders()
{
    PageSite site;
    for (const QByteArray &request : {requestOf("GET /"), requestOf("GET /nothing"), QByteArray("\n")}) {
        RawPeer peer(site);
        const RawPeer::Answer answer = peer.ask(request);
        const QByteArray policy = answer.headers["content-security-policy"];
        QVERIFY(policy.startsWith("default-src 'none';"));
        QVERIFY(policy.contains("require-trusted-types-for 'script'; trusted-types lit-html"));
        QVERIFY(!policy.contains("unsafe") && !policy.contains('*'));
        QCOMPARE(answer.headers["x-content-type-options"], QByteArray("nosniff"));
        QCOMPARE(answer.headers["referrer-policy"], QByteArray("no-referrer"));
    }
}

void TestPageHttp::cookies_data()
{
    QTest::addColumn<QByteArray>("headers");
    QTest::addColumn<int>("status");
    // "@" stands for the session's.
    QTest::newRow("its own") << QByteArray("Cookie: @\r\n") << 200;
    QTest::newRow("among others") << QByteArray("Cookie: a=1; @; b=2\r\n") << 200;
    QTest::newRow("on another line") << QByteArray("Cookie: a=1\r\nCookie: @\r\n") << 200;
    QTest::newRow("missing") << QByteArray() << 403;
    QTest::newRow("empty") << QByteArray("Cookie: zuk_session=\r\n") << 403;
    QTest::newRow("guessed") << QByteArray("Cookie: zuk_session=" + QByteArray(43, 'A') + "\r\n") << 403;
    QTest::newRow("beside a foreign one") << QByteArray("Cookie: zuk_session=x; @\r\n") << 403;
    QTest::newRow("under a longer name") << QByteArray("Cookie: x@\r\n") << 403;
    QTest::newRow("longer") << QByteArray("Cookie: @A\r\n") << 403;
    QTest::newRow("in another header") << QByteArray("X-Cookie: @\r\n") << 403;
}

void TestPageHttp::cookies()
{
    QFETCH(QByteArray, headers);
    QFETCH(int, status);
    PageSite site;
    const QByteArray cookie = cookieOf(site);
    QCOMPARE(cookie.size(), int(sizeof("zuk_session=") - 1) + 43); // 256 bits
    RawPeer peer(site);
    const RawPeer::Answer answer = peer.ask(requestOf("GET /export/month.csv?user=5", headers.replace("@", cookie)));
    QCOMPARE(answer.status, status);
    if (status == 200) {
        QCOMPARE(answer.body, QByteArray("5;month.csv"));
        QCOMPARE(answer.headers["content-disposition"], QByteArray("attachment; filename=\"mesec___-C.csv\""));
        QCOMPARE(answer.headers["cache-control"], QByteArray("no-store"));
        QCOMPARE(peer.ask(requestOf("GET /export/month.csv?user=99", headers)).status, 403);
        QCOMPARE(peer.ask(requestOf("GET /export/fault.csv?user=99", headers)).status, 503);
    }
}

void TestPageHttp::logout()
{
    PageSite site;
    const QByteArray cookie = "Cookie: " + cookieOf(site) + "\r\n";
    const QByteArray other = "Cookie: " + cookieOf(site) + "\r\n";
    QVERIFY(cookie != other);
    const auto logOut = [&](const QByteArray &origin) {
        RawPeer peer(site);
        return peer.ask(requestOf("POST /logout", "Content-Length: 0\r\nOrigin: " + origin + "\r\n" + cookie));
    };
    RawPeer peer(site);
    QCOMPARE(logOut("http://evil.example").status, 403);
    QCOMPARE(peer.ask(requestOf("GET /export/a.csv", cookie)).status, 200);
    const RawPeer::Answer done = logOut(site.origin);
    QCOMPARE(done.status, 200);
    QVERIFY(done.headers["set-cookie"].contains("Max-Age=0"));
    QCOMPARE(peer.ask(requestOf("GET /export/a.csv", cookie)).status, 403);
    QCOMPARE(peer.ask(requestOf("GET /export/a.csv", other)).status, 200);
    // An id that the browser brought along to the login is not taken over.
    QByteArray login = loginOf(site, "bor", "geslo");
    login.replace("Host: zuk\r\n", "Host: zuk\r\n" + other);
    QVERIFY(!peer.ask(login).headers["set-cookie"].startsWith(other.mid(8).trimmed()));
    QCOMPARE(peer.ask(requestOf("GET /export/a.csv", other)).status, 403);
}

void TestPageHttp::origins_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QByteArray>("origin"); // empty: not taken
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("isSecure");
    QTest::newRow("a path of its own") << "https://Zuk.example.com/page/" << QByteArray("https://zuk.example.com")
                                       << QByteArray("/page") << true;
    QTest::newRow("all of a host") << "https://zuk.example.com" << QByteArray("https://zuk.example.com")
                                   << QByteArray("/") << true;
    QTest::newRow("the usual port") << "https://zuk.example.com:443" << QByteArray("https://zuk.example.com")
                                    << QByteArray("/") << true;
    QTest::newRow("another port") << "http://[::1]:8080/" << QByteArray("http://[::1]:8080") << QByteArray("/")
                                  << false;
    QTest::newRow("no scheme") << "zuk.example.com" << QByteArray() << QByteArray() << false;
    QTest::newRow("another scheme") << "ftp://zuk.example.com" << QByteArray() << QByteArray() << false;
    QTest::newRow("a query") << "https://zuk.example.com/?a" << QByteArray() << QByteArray() << false;
    QTest::newRow("more of a cookie") << "https://zuk.example.com/a;Domain=com" << QByteArray() << QByteArray()
                                      << false;
}

void TestPageHttp::origins()
{
    QFETCH(QString, url);
    QFETCH(QByteArray, origin);
    const std::optional<Origin> found = Origin::fromUrl(url);
    QCOMPARE(found.has_value(), !origin.isEmpty());
    if (!found)
        return;
    QCOMPARE(found->texts, QVector<QByteArray>{origin});
    QTEST(found->path, "path");
    QTEST(found->isSecure, "isSecure");
}

void TestPageHttp::manyWrongPasswords()
{
    PageSite site;
    std::list<RawPeer> peers;
    for (int i = 0; i < 100; ++i) {
        peers.emplace_back(site);
        peers.back().send(loginOf(site, "ana", "wrong").repeated(10));
    }
    int answered = 0;
    const auto count = [&] {
        for (RawPeer &peer : peers)
            answered += peer.readAll().count("HTTP/1.1 403");
        return answered;
    };
    QVERIFY(QTest::qWaitFor([&] { return count() >= 10; }));
    // Nobody else waits, and who knows the password of this name waits like those who do not.
    RawPeer other(site);
    QCOMPARE(other.ask(loginOf(site, "bor", "geslo")).status, 200);
    QCOMPARE(count(), 10);
    {
        const Warnings warnings;
        site.steady += 1000;
        QVERIFY(QTest::qWaitFor([&] { return count() >= 11; }));
        QCOMPARE(other.ask(loginOf(site, "bor", "geslo")).status, 200);
        QCOMPARE(count(), 11);
        QCOMPARE(Warnings::taken().size(), 1);
        QVERIFY(Warnings::taken().first().contains("many failed logins of \"ana\""));
        QVERIFY(!Warnings::taken().first().contains("wrong"));
    }
    // But not behind all who guess from one address.
    RawPeer owner(site);
    owner.send(loginOf(site, "ana", "geslo").replace("Origin:", "X-Forwarded-For: 192.0.2.7\r\nOrigin:"));
    QTest::qWait(20);
    for (int tries = 0; tries < 2; ++tries) {
        const int before = count();
        site.steady += 1000;
        QVERIFY(QTest::qWaitFor([&] { return owner.bytesAvailable() > 0 || count() > before; }));
    }
    QCOMPARE(owner.answer().status, 200);
    QVERIFY(count() <= 12);
}

void TestPageHttp::connectionsInAll()
{
    Limits limits = PageSite::quickLimits();
    limits.maxConnections = 3;
    PageSite site(limits);
    std::list<RawPeer> peers;
    for (int i = 0; i < 3; ++i)
        peers.emplace_back(site);
    RawPeer more(site);
    QCOMPARE(more.answer().status, 429);
    QVERIFY(more.isClosed());
    QCOMPARE(peers.front().ask(requestOf("GET /")).status, 200);
    peers.pop_back();
    QVERIFY(QTest::qWaitFor([&] {
        RawPeer again(site);
        return again.ask(requestOf("GET /")).status == 200;
    }));
}

void TestPageHttp::connectionsBehindProxy()
{
    Limits limits = PageSite::quickLimits();
    limits.maxOfAddress = 2;
    PageSite site(limits);
    const QByteArray cookie = "Cookie: " + cookieOf(site) + "\r\n";
    const auto shake = [&](RawPeer &peer, const QByteArray &chain) {
        return peer.ask(handshakeOf(site, cookie + "X-Forwarded-For: " + chain + "\r\n")).status;
    };
    std::list<RawPeer> peers;
    for (const char *chain : {"203.0.113.5", "10.0.0.1, 203.0.113.5"}) {
        peers.emplace_back(site);
        QCOMPARE(shake(peers.back(), chain), 101);
    }
    // What the client itself says stands before what the proxy adds.
    RawPeer third(site);
    QCOMPARE(shake(third, "198.51.100.7, 203.0.113.5"), 429);
    RawPeer other(site);
    QCOMPARE(shake(other, "203.0.113.5, 198.51.100.7"), 101);
    // The proxy's own connections are no client's: one after the other serves many.
    RawPeer kept(site);
    for (int i = 0; i < 5; ++i)
        QCOMPARE(kept.ask(requestOf("GET /", "X-Forwarded-For: 192.0.2.1\r\n")).status, 200);
    QCOMPARE(kept.ask(requestOf("GET /", "X-Forwarded-For: 203.0.113.5\r\n")).status, 429);
    peers.clear();
    QVERIFY(QTest::qWaitFor([&] {
        RawPeer again(site);
        return shake(again, "203.0.113.5") == 101;
    }));
}

void TestPageHttp::placesOfAddresses()
{
    Places places(Limits().maxOfAddress);
    const auto taken = [&places](const char *address, std::list<Places::Place> &held) {
        for (int i = 0; i < 65; ++i)
            held.push_back(places.enter(QHostAddress(QString::fromLatin1(address).replace("%1", QString::number(i)))));
        return int(std::count_if(held.begin(), held.end(), [](const Places::Place &place) { return bool(place); }));
    };
    std::list<Places::Place> one;
    std::list<Places::Place> network;
    std::list<Places::Place> local;
    std::list<Places::Place> many;
    QCOMPARE(taken("203.0.113.5", one), 64);
    QVERIFY(!places.enter(QHostAddress("::ffff:203.0.113.5")));
    QCOMPARE(taken("2001:db8::%1", network), 64);
    QVERIFY(places.enter(QHostAddress("2001:db8:0:1::1")));
    QCOMPARE(taken("127.0.0.1", local), 65);
    QCOMPARE(taken("198.51.100.%1", many), 65);
    one.pop_front();
    QVERIFY(places.enter(QHostAddress("203.0.113.5")));
}

void TestPageHttp::clientAddresses_data()
{
    QTest::addColumn<QString>("peer");
    QTest::addColumn<QByteArray>("chain");
    QTest::addColumn<QString>("client");
    QTest::newRow("direct") << "203.0.113.5" << QByteArray() << "203.0.113.5";
    QTest::newRow("direct, and pretends") << "203.0.113.5" << QByteArray("127.0.0.1") << "203.0.113.5";
    QTest::newRow("proxy") << "127.0.0.1" << QByteArray("198.51.100.7, 203.0.113.5") << "203.0.113.5";
    QTest::newRow("proxy on IPv6") << "::1" << QByteArray("2001:db8::7") << "2001:db8::7";
    QTest::newRow("this machine") << "127.0.0.1" << QByteArray() << "127.0.0.1";
    QTest::newRow("proxy that says nothing of use") << "127.0.0.1" << QByteArray("unknown") << "127.0.0.1";
}

void TestPageHttp::clientAddresses()
{
    QFETCH(QString, peer);
    QFETCH(QByteArray, chain);
    QFETCH(QString, client);
    Request request;
    if (!chain.isEmpty())
        request.headers = {{"x-forwarded-for", "192.0.2.1"}, {"x-forwarded-for", chain}};
    QCOMPARE(page::http::clientAddress(QHostAddress(peer), request), QHostAddress(client));
}

QTEST_GUILESS_MAIN(TestPageHttp)
#include "tst_page_http.moc"
