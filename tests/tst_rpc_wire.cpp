#include "knetrpc/rpcconnection.h"
#include "net/acceptor.h"
#include "rows.h"
#include "rpcpeer.h"

#include <QRandomGenerator>
#include <QSocketNotifier>
#include <QTest>

#include <algorithm>
#include <ctime>
#include <vector>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <unistd.h>
#endif

using KNet::RpcController;
using KNet::RpcLimits;

namespace {

const char *const kClose = "close";
const QByteArray kEchoes = callText("test.echo", "1") + callText("test.echo", "2", "2");

/// What a stranger might send: streams of right messages with a few bytes changed.
QByteArray strangeStream(QRandomGenerator &random)
{
    static const QList<QByteArray> kRight = {
        callText("test.echo", R"({"a":[1,2.5,null,true,"\u010d\"\\"],"b":{}})"),
        callText("test.echo", "7", "7"),
        callText("nobody.home", "[]", "null"),
        callText("test.hidden", "[]"),
        kPing,
        kPong,
        R"({"knetrpc":"1.0","id":"3","result":{"error":1}})",
        R"({"knetrpc":"1.0","id":"4","error":{"code":10100,"message":"x"}})",
        " \r\n/* */ ",
    };
    const auto below = [&random](int bound) { return static_cast<int>(random.bounded(bound)); };
    QByteArray bytes;
    for (int i = 1 + below(4); i > 0; --i)
        bytes += kRight.at(below(kRight.size()));
    for (int i = below(4); i > 0; --i) {
        // Nothing, any byte, some of JSON's own, or some that stand elsewhere come in the place of some or none.
        const QByteArray others[] = {QByteArray(), QByteArray(1, static_cast<char>(below(256))),
                                     QByteArray(below(8), "{}[]\",:0\\"[below(9)]),
                                     bytes.mid(below(bytes.size()), below(8))};
        bytes.replace(below(bytes.size()), below(8), others[below(4)]);
        if (bytes.isEmpty())
            bytes = "{";
    }
    return bytes;
}

} // namespace

/// The protocol as a peer sees it that writes its own bytes.
class TestRpcWire : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void signalsAndSlotsInOrder();
    void framing();
    void classification_data();
    void classification();
    void callableSlots();
    void registration();
    void authorization();
    void namesAndAddresses();
    void listening();
    void outOfDescriptors();
    void blockedLoopDropsNobody();
    void silentPeerIsDropped();
    void pingsGoToThoseThatCame();
    void closing();
    void neverReading();
    void messageBound_data();
    void messageBound();
    void strangersMessageIsBounded();
    void strangersAreBoundedTogether();
    void busyPeerKeepsNobodyWaiting();
    void lastWordsAreHeard();
    void strangers();
};

void TestRpcWire::signalsAndSlotsInOrder()
{
    QCOMPARE(methodsOf(RpcController::staticMetaObject),
             QByteArray("incoming(QString) connected(QString) disconnected(QString) error(QString,QString) "
                        "timeoutPendingCalls() pingRemoteConnections() "));
    QCOMPARE(methodsOf(KNet::RpcConnection::staticMetaObject),
             QByteArray("onConnected() onDisconnected() onError(QAbstractSocket::SocketError) onReadyRead() "
                        "onBytesWritten(qlonglong) onActivityTimeout() "));
}

void TestRpcWire::framing()
{
    RpcSite site;
    const auto peer = site.peer();
    const QByteArray params = "[\"\u010de\u0161nja } \\\" ]\",{\"a\":{}}]";
    const QByteArray stream =
        callText("test.echo", params) + "\r\n\t " + kPing + "/* , */" + callText("test.echo", "2");
    const auto answered = [&] {
        return peer->next() == resultText(params) && peer->next() == canonical(kPong) &&
               peer->next() == resultText("2");
    };
    for (const int piece : {0, 1, 2, 7, 64}) {
        peer->write(stream, piece);
        QVERIFY2(answered(), QByteArray::number(piece));
    }
    // Compact texts with nothing in between; only the order of members is free.
    QCOMPARE(peer->raw.size(), 5 * (resultText(params) + canonical(kPong) + resultText("2")).size());
    for (int cut = 1; cut < stream.size(); ++cut) {
        peer->write(stream.left(cut));
        settle();
        peer->write(stream.mid(cut));
        QVERIFY2(answered(), stream.left(cut));
    }
    // Not before its last byte, but then at once.
    site.service->calls.clear();
    peer->write(stream.chopped(1));
    QVERIFY(!peer->next().isEmpty() && !peer->next().isEmpty());
    settle();
    QCOMPARE(site.service->calls.size(), 1);
    QCOMPARE(peer->ask(stream.right(1)), resultText("2"));
}

void TestRpcWire::classification_data()
{
    // answer: kClose, empty for none
    const auto row = columns<QByteArray, QByteArray>({"message", "answer"});
    const auto with = [](const QByteArray &members) { return R"({"knetrpc":"1.0",)" + members + '}'; };
    const auto call = [](const QByteArray &id) { return callText("test.echo", "1", id); };

    row("another protocol", "GET / HTTP/1.1\r\n\r\n", kClose);

    row("list", "[\"knetrpc\",\"id\"]", kClose);
    row("no tag", R"({"id":"1","method":"test.echo","params":1})", kClose);
    row("no id", with(R"("method":"test.echo","params":1)"), kClose);
    row("version 2.0", R"({"knetrpc":"2.0","id":"1","method":"test.echo","params":1})", kClose);
    row("version as number", R"({"knetrpc":1.0,"id":"1","method":"test.echo","params":1})", kClose);

    row("id text", call("\"a\\\"\u010d\""), resultText("1", "\"a\\\"\u010d\""));
    row("id empty text", call("\"\""), resultText("1", "\"\""));
    row("id integer", call("7"), resultText("1", "\"7\""));
    row("id largest", call("9223372036854775807"), resultText("1", "\"9223372036854775807\""));
    row("id boolean", call("true"), kClose);
    row("id double", call("7.0"), kClose);

    row("ping before method", callText("test.echo", "1", "\"<PING>\""), kPong);
    row("ping in small letters", with(R"("id":"<ping>")"), kClose);
    row("pong", kPong, "");
    row("pong before method", callText("test.echo", "1", "\"<PONG>\""), "");

    row("call without params", with(R"("id":"1","method":"test.echo")"), resultText("null"));
    row("call with more members",
        with(R"("id":"1","method":"test.echo","params":[],"result":1,"error":0,"x":{}})").chopped(1), resultText("[]"));
    row("no dot", callText("testecho", "1"), errorText(10100, "No such service"));
    row("unknown service", callText("nobody.echo", "1"), errorText(10100, "No such service"));
    row("split at the first dot", callText("test.echo.more", "1"), errorText(10110, "No such method"));

    row("method is no text", with(R"("id":"1","method":5)"), kClose);
    row("method is no text, but a result", with(R"("id":"1","method":5,"result":1)"), "");
    row("null result", with(R"("id":"1","result":null)"), "");
    row("result without id", with(R"("id":null,"result":1)"), "");
    row("result before error", with(R"("id":"1","result":1,"error":5)"), "");
    row("error without text", with(R"("id":"1","error":{"code":1})"), "");
    row("error with text code", with(R"("id":"1","error":{"code":"10100","message":"x"})"), kClose);
    row("error without code", with(R"("id":"1","error":{"message":"x"})"), kClose);
    row("neither call nor answer", with(R"("id":"1","params":1)"), kClose);

    row("notification", call("null"), "");
    row("notification without dot", callText("test", "1", "null"), "");
}

void TestRpcWire::classification()
{
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, answer);
    const Warnings warnings;
    RpcSite site;
    const auto peer = site.peer();
    peer->write(callText("test.echo", "0", "0") + message + kPing);
    QCOMPARE(peer->next(), resultText("0", "\"0\"")); // what came before is not lost
    if (answer == kClose) {
        QVERIFY(peer->waitClosed());
        QTRY_COMPARE(site.gone, QStringList(peer->connectionId));
    } else {
        if (!answer.isEmpty())
            QCOMPARE(peer->next(), canonical(answer));
        QCOMPARE(peer->next(), canonical(kPong));
    }
    QVERIFY(peer->messages.isEmpty());
    QCOMPARE(site.service->calls.size(), answer.contains("\"result\"") ? 2 : 1);
}

void TestRpcWire::callableSlots()
{
    const Warnings warnings;
    RpcSite site;
    const auto peer = site.peer();
    const std::pair<QByteArray, QByteArray> callable[] = {
        {"redeclared", "4"}, {"overloaded", "5"}, {"byReference", "8"}, {"withDefault", "9"}};
    for (const auto &[method, result] : callable)
        QCOMPARE(peer->ask(callText("test." + method, "[]")), resultText(result));
    QVERIFY(Warnings::lines.isEmpty());
    QStringList told;
    const auto refused = [&told](const char *method) {
        told += QStringLiteral("KNet::RpcAdaptor::invokeMethod() no such method name \"%1\"").arg(method);
        return Warnings::lines == told;
    };
    for (const char *method : {"inherited", "invokable", "text", "nothing", "threeParameters", "hidden", "secret",
                               "signal", "deleteLater", "echo(QString,QAny)", "overloaded(QString)"}) {
        QCOMPARE(peer->ask(callText(QByteArray("test.") + method, "[]")), errorText(10110, "No such method"));
        QVERIFY2(refused(method), method);
    }
    // Deliberate: a notification reaches nobody, for the name that is looked up begins with the dot.
    QCOMPARE(peer->ask(callText("test.echo", "1", "null") + kPing), canonical(kPong));
    QVERIFY(refused(".echo") && site.service->calls.isEmpty());
}

void TestRpcWire::registration()
{
    RpcSite site;
    RpcTestService second;
    QVERIFY(!site.controller->registerService("test", &second));
    const auto peer = site.peer();
    QCOMPARE(peer->ask(callText("test.echo", "1")), resultText("1"));
    QCOMPARE(site.service->callers, QStringList(peer->connectionId));
    QVERIFY(site.controller->registerService("second", &second));
    QCOMPARE(peer->ask(callText("second.echo", "1")), resultText("1"));
    QCOMPARE(second.calls.size(), 1);

    QVERIFY(!site.controller->unregisterService("third"));
    QVERIFY(site.controller->unregisterService("test"));
    QVERIFY(!site.controller->unregisterService("test"));
    QCOMPARE(peer->ask(callText("test.echo", "1")), errorText(10100, "No such service"));
    QVERIFY(site.controller->registerService("test", &second));
    QCOMPARE(peer->ask(callText("test.echo", "1")), resultText("1"));
    QCOMPARE(second.calls.size(), 2);

    const Warnings warnings;
    site.controller->registerService("first", site.service.get());
    site.service.reset();
    QCOMPARE(peer->ask(callText("first.echo", "1")), errorText(10120, "Remote invoke error"));
    QCOMPARE(Warnings::lines.join('|'), "KNet::RpcAdaptor::invokeMethod() error on invoke");
}

void TestRpcWire::authorization()
{
    RpcSite site;
    RpcController &controller = *site.controller;
    const auto peer = site.peer();
    const auto other = site.peer();
    const QString id = peer->connectionId;
    const QByteArray call = callText("test.echo", "1");
    const QByteArray granted = resultText("1");
    const QByteArray refused = errorText(10200, "Not authorized");
    // Of what is unknown nothing happens.
    controller.addServiceRequirement("nobody", "a");
    controller.removeServiceRequirement("nobody", "a");
    controller.addAuthorization("nobody", "a");
    controller.removeAuthorization("nobody", "a");
    QVERIFY(controller.authorizations("nobody").isEmpty());

    controller.addServiceRequirement("test", "a");
    controller.addServiceRequirement("test", "b");
    controller.addAuthorization(id, "a");
    controller.addAuthorization(id, "c");
    QCOMPARE(peer->ask(call), refused);
    QCOMPARE(peer->ask(callText("test.nothere", "1")), refused);
    controller.addAuthorization(id, "b");
    QCOMPARE(controller.authorizations(id), (QSet<QString>{"a", "b", "c"}));
    QCOMPARE(peer->ask(call), granted);
    QCOMPARE(other->ask(call), refused);
    controller.removeAuthorization(id, "b");
    QCOMPARE(peer->ask(call), refused);
    controller.removeServiceRequirement("test", "b");
    QCOMPARE(peer->ask(call), granted);
    QCOMPARE(site.service->calls.size(), 2);
}

void TestRpcWire::namesAndAddresses()
{
    RpcSite site;
    RpcController &controller = *site.controller;
    const auto one = site.peer();
    const auto two = site.peer();
    QCOMPARE(two->connectionId, QString::number(one->connectionId.toULongLong() + 1));
    controller.setConnectionName("nobody", "12");
    QCOMPARE(controller.connectionIdByName("12"), QString());
    controller.setConnectionName(one->connectionId, "12");
    controller.setConnectionName(two->connectionId, "13");
    QCOMPARE(controller.connectionName(one->connectionId), "12");
    QCOMPARE(controller.connectionName("nobody"), QString());
    QCOMPARE(controller.connectionIdByName("13"), two->connectionId);
    QCOMPARE(controller.peerAddress(one->connectionId), QHostAddress(QHostAddress::LocalHost));
    one->socket->disconnectFromHost();
    QTRY_COMPARE(site.gone, QStringList(one->connectionId));
    QCOMPARE(controller.connectionIdByName("12"), QString());
    QVERIFY(controller.peerAddress(one->connectionId).isNull());
}

void TestRpcWire::listening()
{
    RpcSite site;
    RpcController &controller = *site.controller;
    const auto peer = site.peer();
    const quint16 former = controller.serverPort();
    RpcController second;
    QVERIFY(!second.listen(QHostAddress::LocalHost, former));
    QVERIFY(!second.isListening() && second.serverPort() == 0 && !second.errorString().isEmpty());
    QVERIFY(controller.listen(0));
    QVERIFY(controller.serverPort() != 0 && controller.serverPort() != former);
    QVERIFY(site.isServing());
    QVERIFY2(second.listen(QHostAddress::LocalHost, former), "the former server still holds its port");
    controller.close();
    QVERIFY(!controller.isListening() && controller.serverPort() == 0);
    QCOMPARE(peer->ask(kPing), canonical(kPong));
}

void TestRpcWire::outOfDescriptors()
{
#ifdef Q_OS_LINUX
    // A sanitizer looks at the type of an object through a pipe, for which there is no descriptor later, but once.
    QSocketNotifier(0, QSocketNotifier::Exception).setEnabled(false);
    const Warnings warnings;
    RpcSite site;
    QVERIFY(site.isServing()); // which has left an accept that found nothing
    QTRY_COMPARE(site.gone.size(), 1);
    site.incoming.clear();
    // The system has taken both connections; there is no descriptor left to accept them.
    RpcPeer one(site.controller->serverPort());
    RpcPeer two(site.controller->serverPort());
    rlimit limit{};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit few = limit;
    few.rlim_cur = static_cast<rlim_t>(openDescriptors()) + 20;
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<int> taken;
    for (int copy = dup(0); copy >= 0; copy = dup(0))
        taken.push_back(copy);
    one.write(kPing);
    const std::clock_t before = std::clock();
    waitFor([] { return false; }, 300);
    const double busy = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    // The few that get free are left to files.
    for (int i = 0; i < 2; ++i, taken.pop_back())
        close(taken.back());
    waitFor([&] { return !site.incoming.isEmpty(); }, Net::Acceptor::kPauseMs + 200);
    const int accepted = site.incoming.size();
    std::for_each(taken.begin(), taken.end(), close);
    setrlimit(RLIMIT_NOFILE, &limit);
    QVERIFY2(busy < 0.1, QByteArray::number(busy));
    QCOMPARE(accepted, 0);
    QCOMPARE(one.next(), canonical(kPong));
    QCOMPARE(two.ask(kPing), canonical(kPong));
    QCOMPARE(Warnings::lines.size(), 1);
    QVERIFY2(Warnings::lines.first().startsWith("Net::Acceptor "), qPrintable(Warnings::lines.first()));
#else
    QSKIP("needs the limits of a Unix process");
#endif
}

/// Who sent in time is not dropped because we were busy for longer than the time-out.
void TestRpcWire::blockedLoopDropsNobody()
{
    RpcLimits limits;
    limits.activityTimeoutMs = 300;
    RpcSite site(limits);
    const auto busy = site.peer();
    const auto alive = site.peer();
    QElapsedTimer elapsed;
    elapsed.start();
    alive->write(kPing);
    alive->socket->flush();
    while (!elapsed.hasExpired(600)) {
    }
    QCOMPARE(alive->next(), canonical(kPong));
    QTRY_COMPARE(site.gone, QStringList(busy->connectionId));
}

void TestRpcWire::silentPeerIsDropped()
{
    RpcLimits limits;
    limits.activityTimeoutMs = 400;
    RpcSite site(limits);
    const auto silent = site.peer();
    const auto dialled = site.dial();
    const auto halting = site.peer();
    const auto alive = site.peer();
    site.controller->setLimits(RpcLimits());
    const auto patient = site.peer();
    QElapsedTimer elapsed;
    elapsed.start();
    // Bytes that make no message do not count.
    QTimer drip;
    connect(&drip, &QTimer::timeout, this, [&] {
        if (!halting->isClosed())
            halting->write(" ");
        alive->write(kPong);
    });
    drip.start(50);
    QTRY_COMPARE(site.gone.size(), 3);
    QVERIFY(elapsed.elapsed() > 350 && elapsed.elapsed() < 2000);
    QVERIFY(silent->waitClosed() && dialled->waitClosed() && halting->waitClosed());
    waitFor([&] { return elapsed.hasExpired(1200); });
    QVERIFY(!alive->isClosed() && !patient->isClosed());
    drip.stop();
    QTRY_VERIFY(alive->isClosed());
    QVERIFY(!patient->isClosed());
}

void TestRpcWire::pingsGoToThoseThatCame()
{
    RpcSite site;
    QElapsedTimer sinceStart;
    sinceStart.start();
    const auto came = site.peer();
    const auto dialled = site.dial();
    QVERIFY(waitFor([&] { return came->pings > 0; }, 6000));
    QVERIFY2(sinceStart.elapsed() > 4500, "pinged too early");
    site.controller->pingRemoteConnections();
    QVERIFY(waitFor([&] { return came->pings > 1; }));
    QCOMPARE(came->raw.size(), 2 * kPing.size());
    // An answer of its own shows that nothing went before it.
    QCOMPARE(dialled->ask(kPing), canonical(kPong));
    QCOMPARE(dialled->pings, 0);
}

void TestRpcWire::closing()
{
    RpcSite site;
    RpcController &controller = *site.controller;
    QVERIFY(!controller.closeConnection("nobody"));
    QVERIFY(!controller.abortConnection("nobody"));
    // Without grace the signal has come when the call returns.
    const auto other = site.peer();
    QVERIFY(controller.abortConnection(other->connectionId));
    QCOMPARE(site.gone.last(), other->connectionId);
    QVERIFY(other->waitClosed());
    QVERIFY(!controller.closeConnection(other->connectionId));
    // So it has for one that is not yet connected.
    QString id;
    QVERIFY(controller.connectToHost("127.0.0.1", controller.serverPort(), id, 0));
    QVERIFY(controller.closeConnection(id));
    QCOMPARE(site.gone.last(), id);
    settle();
    QCOMPARE(site.gone.count(id), 1);
    QVERIFY(site.connected.isEmpty());
}

/// Closed by the server, which waits for the grace.
void TestRpcWire::neverReading()
{
    RpcLimits limits;
    limits.closeGraceMs = 300;
    limits.maxUnreadBytes = 1'000'000;
    RpcSite site(limits);
    const auto peer = site.peer();
    int runs = 0;
    site.service->action = [&](const QString &, const QAny &) {
        ++runs;
        return QAny(QString(16'000'000, 'x')); // a single answer may be larger than the bound
    };
    peer->stopReading();
    peer->write(callText("test.run", "1"));
    QTRY_COMPARE(runs, 1);
    settle();
    QVERIFY(site.gone.isEmpty());
    QElapsedTimer elapsed;
    elapsed.start();
    QVERIFY(site.controller->closeConnection(peer->connectionId));
    QTRY_COMPARE(site.gone, QStringList(peer->connectionId));
    QVERIFY(elapsed.elapsed() < 2000 && elapsed.elapsed() >= 290);
    QVERIFY(site.isServing());
}

void TestRpcWire::messageBound_data()
{
    const auto row = columns<QByteArray, bool>({"message", "tooLong"});
    const auto text = [](int count) { return callText("test.echo", '"' + QByteArray(count, 'x') + '"'); };
    row("just within", text(1000 - text(0).size()), false);
    row("one byte more", text(1001 - text(0).size()), true);
    row("never ends", "{\"a\":\"" + QByteArray(1000, 'x'), true);
    row("whitespace in it", callText("test.echo", QByteArray(1000, ' ') + '1'), true);
    // The list, its elements, and the message with its three members besides.
    const auto ones = [](int count) {
        return callText("test.echo", '[' + QByteArray("1,").repeated(count - 1) + "1]");
    };
    row("just as many values", ones(95), false);
    row("one value more", ones(96), true);
}

void TestRpcWire::messageBound()
{
    QFETCH(QByteArray, message);
    QFETCH(bool, tooLong);
    const Warnings warnings;
    RpcLimits limits;
    limits.maxMessageBytes = 1000;
    limits.maxMessageValues = 100;
    for (const int piece : {0, 100}) {
        Warnings::lines.clear();
        RpcSite site(limits);
        const auto peer = site.peer();
        const auto other = site.peer();
        peer->write(message, piece);
        if (tooLong) {
            QVERIFY(peer->waitClosed());
            QVERIFY(peer->messages.isEmpty() && site.service->calls.isEmpty());
            QCOMPARE(Warnings::lines.size(), 1);
            QVERIFY2(Warnings::lines.first().startsWith("KNet::RpcConnection::"), qPrintable(Warnings::lines.first()));
        } else {
            // The bound is on each message, not on what comes together.
            peer->write(message + message);
            for (int i = 0; i < 3; ++i)
                QVERIFY(peer->next().contains("\"result\""));
            QVERIFY(Warnings::lines.isEmpty());
        }
        QCOMPARE(other->ask(callText("test.echo", "1")), resultText("1"));
    }
}

void TestRpcWire::strangersMessageIsBounded()
{
    const Warnings warnings;
    RpcLimits limits;
    limits.maxStrangerMessageBytes = 1000;
    RpcSite site(limits);
    const auto stranger = site.peer();
    const auto known = site.peer();
    const auto dialled = site.dial();
    site.controller->addAuthorization(known->connectionId, "a");
    const QByteArray text = '"' + QByteArray(1000, 'x') + '"';
    for (const auto &peer : {known.get(), dialled.get()})
        QCOMPARE(peer->ask(callText("test.echo", text)), resultText(text));
    site.controller->removeAuthorization(known->connectionId, "a");
    for (const auto &peer : {stranger.get(), known.get()}) {
        QCOMPARE(peer->ask(callText("test.echo", "1")), resultText("1"));
        peer->write(callText("test.echo", text));
        QVERIFY(peer->waitClosed());
    }
    QCOMPARE(Warnings::lines.filter("message of more than 1000 bytes").size(), 2);
    QCOMPARE(Warnings::lines.size(), 2);
}

void TestRpcWire::strangersAreBoundedTogether()
{
    const Warnings warnings;
    RpcLimits limits;
    limits.maxStrangersBytes = 1'000'000;
    RpcSite site(limits);
    site.service->action = [](const QString &, const QAny &) { return QAny(QString(16'000'000, 'x')); };
    const auto known = site.peer();
    const auto dialled = site.dial();
    site.controller->addAuthorization(known->connectionId, "a");
    const auto large = site.peer();
    const auto small = site.peer();
    const auto begin = [&](RpcPeer &peer, int bytes) {
        peer.write(R"({"knetrpc":"1.0","id":"1","method":"test.echo","params":")" + QByteArray(bytes, 'x'));
        return waitFor([&] { return site.controller->bytesOfMessageInProgress(peer.connectionId) > bytes; });
    };
    QVERIFY(begin(*known, 2'000'000) && begin(*dialled, 2'000'000));
    known->stopReading();
    QVERIFY(begin(*large, 600'000) && begin(*small, 300'000));
    // What is complete counts no longer, and neither does who has gone.
    for (int i = 0; i < 3; ++i) {
        const auto passing = site.peer();
        QVERIFY(begin(*passing, 90'000));
        passing->write("\"}");
        QVERIFY(passing->next().contains("\"result\""));
        QVERIFY(begin(*passing, 90'000));
        site.controller->abortConnection(passing->connectionId);
    }
    site.gone.clear();
    QVERIFY(Warnings::lines.isEmpty());
    // One byte too many is anybody's; who holds most goes.
    small->write(QByteArray(110'000, 'x'));
    QVERIFY(large->waitClosed());
    QCOMPARE(site.gone, QStringList(large->connectionId));
    QCOMPARE(Warnings::lines.size(), 1);
    // So it is with answers that a stranger does not read.
    const auto silent = site.peer();
    silent->stopReading();
    silent->write(callText("test.run", "1"));
    QTRY_COMPARE(site.gone.size(), 2);
    QCOMPARE(site.gone.last(), silent->connectionId);
    // And with short values, which take more than their text.
    const auto dense = site.peer();
    dense->write(R"({"knetrpc":"1.0","id":"1","method":"test.echo","params":[)" + QByteArray("0,").repeated(40'000));
    QTRY_COMPARE(site.gone.size(), 3);
    QCOMPARE(site.gone.last(), dense->connectionId);
    small->write("\"}");
    QVERIFY(small->next().contains("\"result\""));
    for (const auto &peer : {known.get(), dialled.get()})
        peer->write("\"}" + callText("test.run", "1"));
    QVERIFY(dialled->next().size() > 2'000'000 && dialled->next(30000).size() > 16'000'000);
    QVERIFY(!known->isClosed());
    QCOMPARE(Warnings::lines.size(), 3);
}

void TestRpcWire::busyPeerKeepsNobodyWaiting()
{
    constexpr int kCalls = 3000;
    QByteArray burst;
    for (int i = 0; i < kCalls; ++i)
        burst += callText("test.echo", QByteArray::number(i), QByteArray::number(i));
    for (const bool slow : {false, true}) {
        RpcLimits limits;
        if (slow) // long work ends a turn, however few messages it was
            limits.maxTurnMs = 0;
        RpcSite site(limits);
        const auto busy = site.peer();
        const auto other = site.peer();
        busy->write(burst);
        other->write(callText("test.echo", "-1"));
        QCOMPARE(other->next(), resultText("-1"));
        const int turn = site.service->calls.indexOf(QAny(-1));
        QVERIFY2(turn >= 0 && turn <= (slow ? 20 : 4 * limits.maxMessagesPerTurn), QByteArray::number(turn));
        for (int i = 0; i < kCalls; ++i) {
            const QByteArray number = QByteArray::number(i);
            QCOMPARE(busy->next(), resultText(number, '"' + number + '"'));
        }
    }
}

void TestRpcWire::lastWordsAreHeard()
{
    constexpr int kCalls = 300; // more than one turn's
    RpcSite site;
    int heard = -1;
    connect(site.controller.get(), &RpcController::disconnected, this, [&] { heard = site.service->calls.size(); });
    const auto peer = site.peer();
    QByteArray words;
    for (int i = 0; i < kCalls; ++i)
        words += callText("test.echo", QByteArray::number(i));
    peer->write(words);
    peer->socket->disconnectFromHost();
    QTRY_COMPARE(site.gone.size(), 1);
    QCOMPARE(heard, kCalls);
    QCOMPARE(site.service->calls.last(), QAny(kCalls - 1));
}

void TestRpcWire::strangers()
{
    constexpr quint32 kSeed = 20240229;
    constexpr int kStreams = 10000;
    constexpr int kAtOnce = 50;
    qDebug("seed %u", kSeed);
    const Warnings warnings; // thousands of unknown methods
    QRandomGenerator random(kSeed);
    RpcSite site;
    const auto friendly = site.peer();
    QCOMPARE(friendly->ask(kPing), canonical(kPong));
    settle();
    const int descriptors = openDescriptors();
    for (int i = 0; i < kStreams; i += kAtOnce) {
        std::vector<std::unique_ptr<RpcPeer>> peers;
        for (int j = 0; j < kAtOnce; ++j) {
            peers.push_back(std::make_unique<RpcPeer>(site.controller->serverPort()));
            if (j == 0) // says nothing
                continue;
            peers.back()->write(strangeStream(random));
            if (j % 10 == 1)
                peers.back()->socket->abort();
            else if (j % 10 < 5)
                peers.back()->socket->disconnectFromHost();
        }
        QCOMPARE(friendly->ask(kEchoes), resultText("1"));
        QCOMPARE(friendly->next(), resultText("2", "\"2\""));
        peers.clear();
        QTRY_COMPARE(site.gone.size(), i + kAtOnce);
    }
    QCOMPARE(site.incoming.size(), kStreams + 1);
    QCOMPARE(QSet<QString>(site.gone.begin(), site.gone.end()).size(), kStreams);
    QTRY_COMPARE(openDescriptors(), descriptors);
    QVERIFY(site.isServing());
}

QTEST_GUILESS_MAIN(TestRpcWire)
#include "tst_rpc_wire.moc"
