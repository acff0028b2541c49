#include "knetrpc/idgenerator.h"
#include "knetrpc/rpccall.h"
#include "knetrpc/rpcserver.h"
#include "rows.h"
#include "rpcpeer.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTest>
#include <QThread>

#include <thread>

using KNet::RpcCall;
using KNet::RpcController;
using KNet::RpcLimits;

namespace {

const QByteArray kTimeout = R"({"error":{"code":10400,"message":"Timeout"}})";
const QByteArray kClosed = R"({"error":{"code":10310,"message":"Connection closed"}})";
const QByteArray kConnectionError = R"({"error":{"code":10300,"message":"Connection error"}})";
const QByteArray kDirect = "\"direct\""; // of a service that asks nobody
const QByteArray kRun = callText("test.run", "0");

/// Members sorted where it has members.
QByteArray sorted(const QByteArray &json)
{
    const QByteArray text = canonical(json);
    return text.isEmpty() ? json : text;
}

QByteArray idOf(const QAny &message)
{
    return message.lookup(QStringLiteral("id")).toJsonUtf8();
}

/// A service method whose answer is what its caller answers it.
std::function<QAny(const QString &, const QAny &)> askingCaller(RpcSite &site)
{
    return [&](const QString &id, const QAny &) { return RpcCall(site.controller.get()).call(id, "far.ask", 1, 0); };
}

/// What befalls a server whose service waits for the peer's answer.
struct Wait {
    RpcSite &site;
    RpcPeer &peer;
    QPointer<RpcCall> call;
    QByteArray id; // of the call that the peer has not answered

    void answer() { peer.write(resultText("5", id)); }
};
using Deed = std::function<void(Wait &)>;

} // namespace

Q_DECLARE_METATYPE(Deed)

/// Calls that the server makes, and what may happen while it waits.
class TestRpcCalls : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void ids();
    void answers_data();
    void answers();
    void timeouts();
    void sweep();
    void answersToOthers();
    void lostConnection();
    void memberIsNoSlot();
    void receiverGone();
    void connectToHost();
    void connectToHostFails_data();
    void connectToHostFails();
    void whileWaiting_data();
    void whileWaiting();
    void quitWhileWaiting();
    void furtherMessagesWhileWaiting();
    void boundOfNestedCalls();
    void activityWhileWaiting();
    void waitInsideACompletion();
    void insideDisconnected();
    void serverEndsInItsSignal();
};

void TestRpcCalls::ids()
{
    KNet::IdGenerator fresh;
    KNet::IdGenerator zero(0);
    KNet::IdGenerator last(~quint64(0));
    const QStringList ids{fresh.next(), fresh.next(), zero.next(), last.next(), last.next()};
    QCOMPARE(ids.join(' '), "1 2 1 18446744073709551615 1");

    constexpr int kEach = 5000;
    KNet::IdGenerator shared;
    QStringList taken[4];
    std::vector<std::thread> threads;
    for (QStringList &list : taken) {
        threads.emplace_back([&shared, &list] {
            for (int i = 0; i < kEach; ++i)
                list.append(shared.next());
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    const QStringList all = taken[0] + taken[1] + taken[2] + taken[3];
    QCOMPARE(QSet<QString>(all.begin(), all.end()).size(), 4 * kEach);
    QVERIFY(all.contains(QString::number(4 * kEach)));
}

void TestRpcCalls::answers_data()
{
    // answer: %1 is the call's id
    const auto row = columns<QByteArray, QByteArray>({"answer", "response"});
    row("null", R"("id":"%1","result":null)", "null");
    row("hash", R"("id":"%1","result":{"a":[1,"x"]})", R"({"a":[1,"x"]})");
    row("id as number", R"("id":%1,"result":5)", "5");
    row("result goes before error", R"("id":"%1","error":{"code":1},"result":5)", "5");
    row("error as it is", R"("id":"%1","error":{"code":77,"x":[1]})", R"({"error":{"code":77,"x":[1]}})");
    row("first answer counts", R"("id":"%1","result":5}{"knetrpc":"1.0","id":"%1","result":6)", "5");
    row("answers to others", R"("id":"0%1","result":6}{"knetrpc":"1.0","id":"%1","result":5)", "5");
    row("a broken answer closes", R"("id":"%1","error":{"code":"1"})", kClosed);
}

void TestRpcCalls::answers()
{
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, response);
    RpcSite site;
    for (const bool dialled : {false, true}) {
        const auto peer = dialled ? site.dial() : site.peer();
        QByteArray id;
        peer->onCall = [&](const QAny &call) {
            id = call.lookup("id").toString().toLatin1();
            QCOMPARE(text(call), canonical(callText("far.ask", "[1]", idOf(call))));
            QVERIFY(call.lookup("id").isString() && id.toULongLong() > 0);
            peer->write(R"({"knetrpc":"1.0",)" + QByteArray(answer).replace("%1", id) + '}');
        };
        RpcCall call(site.controller.get());
        QCOMPARE(text(call.call(peer->connectionId, "far.ask", QAny::list({1}), 5000)), sorted(response));
        QVERIFY(!call.isWaiting());
        if (response == kClosed)
            continue;
        // The handle is free again, and so is the connection; ids go on by one.
        const quint64 former = id.toULongLong();
        QCOMPARE(text(call.call(peer->connectionId, "far.ask", QAny::list({1}), 5000)).isEmpty(), false);
        QCOMPARE(id.toULongLong(), former + 1);
        QCOMPARE(peer->ask(kPing), canonical(kPong));
    }
}

void TestRpcCalls::timeouts()
{
    RpcSite site;
    const auto peer = site.peer();
    QByteArray id;
    peer->onCall = [&](const QAny &call) { id = idOf(call); };
    RpcCall call(site.controller.get());
    QElapsedTimer elapsed;
    elapsed.start();
    QCOMPARE(text(call.call(peer->connectionId, "far.ask", 1, 150)), kTimeout);
    QVERIFY2(elapsed.elapsed() > 150 && elapsed.elapsed() < 600, QByteArray::number(elapsed.elapsed()));
    // The late answer counts for nothing, but is no offence.
    QCOMPARE(peer->ask(resultText("5", id) + kPing), canonical(kPong));

    // Without a time-out, and with the default one, the wait is longer.
    AnswerList receiver;
    for (const int timeout : {0, -1})
        call.call(peer->connectionId, "far.ask", timeout, &receiver, SLOT(onAnswer(QString, QAny)), timeout);
    QTest::qWait(500);
    QVERIFY(receiver.answers.isEmpty());
    peer->write(resultText("5", id));
    QTRY_COMPARE(receiver.answers, QList<QByteArray>{"5"});
    peer->socket->abort();
    QTRY_COMPARE(receiver.answers, (QList<QByteArray>{"5", kClosed}));
}

void TestRpcCalls::sweep()
{
    // What is due together is completed together: asynchronous calls, and waits one within the other.
    RpcSite site;
    const auto peer = site.peer();
    QList<QByteArray> got;
    site.service->action = [&](const QString &id, const QAny &) {
        got.append(text(RpcCall(site.controller.get()).call(id, "far.ask", 1, 120)));
        return QAny();
    };
    AnswerList receiver;
    RpcCall call(site.controller.get());
    for (int i = 0; i < 2; ++i)
        call.call(peer->connectionId, "far.ask", 1, &receiver, SLOT(onAnswer(QString, QAny)), 120);
    peer->onCall = [](const QAny &) {};
    peer->write(kRun + kRun + kRun);
    QTRY_COMPARE(got, (QList<QByteArray>{kTimeout, kTimeout, kTimeout}));
    QCOMPARE(receiver.answers, (QList<QByteArray>{kTimeout, kTimeout}));
    // Answers that came while the event loop was blocked have one more sweep's time to be read, but not for ever.
    call.call(peer->connectionId, "far.ask", 1, &receiver, SLOT(onAnswer(QString, QAny)), 120);
    QThread::msleep(1020);
    site.controller->timeoutPendingCalls();
    QCOMPARE(receiver.answers.size(), 2);
    QThread::msleep(1020);
    site.controller->timeoutPendingCalls();
    QCOMPARE(receiver.answers.size(), 3);
}

void TestRpcCalls::answersToOthers()
{
    RpcSite site;
    const auto peer = site.peer();
    const auto stranger = site.peer();
    RpcCall call(site.controller.get());
    bool refused = false;
    peer->onCall = [&](const QAny &message) {
        // Two guesses of a stranger, then a question that shows that they were taken.
        stranger->write(resultText("6", idOf(message)) + errorText(1, "x", idOf(message)) + kPing);
        QTimer::singleShot(0, this, [&, id = idOf(message)] {
            refused = stranger->next() == canonical(kPong);
            peer->write(resultText("5", id));
        });
    };
    QCOMPARE(text(call.call(peer->connectionId, "far.ask", 1, 5000)), QByteArray("5"));
    QVERIFY(refused);
    // What comes for a cancelled call is not for the handle's next one.
    QByteArray first;
    peer->onCall = [&](const QAny &message) {
        first = idOf(message);
        call.cancel();
    };
    QCOMPARE(text(call.call(peer->connectionId, "far.ask", 1, 0)), QByteArray("null"));
    peer->onCall = [&](const QAny &message) {
        peer->write(resultText("6", first));
        QTimer::singleShot(50, peer->socket.get(), [&, id = idOf(message)] { peer->write(resultText("5", id)); });
    };
    QCOMPARE(text(call.call(peer->connectionId, "far.ask", 1, 5000)), QByteArray("5"));
}

void TestRpcCalls::lostConnection()
{
    RpcSite site;
    const auto peer = site.peer();
    const auto other = site.peer();
    AnswerList lost;
    AnswerList kept;
    RpcCall call(site.controller.get());
    // The callers know before the world does.
    QStringList order;
    lost.then = [&] { order.append("answer"); };
    connect(site.controller.get(), &RpcController::disconnected, this, [&] { order.append("disconnected"); });
    for (int i = 0; i < 3; ++i)
        call.call(peer->connectionId, "far.ask", i, &lost, SLOT(onAnswer(QString, QAny)), 0);
    call.call(other->connectionId, "far.ask", 1, &kept, SLOT(onAnswer(QString, QAny)), 0);
    peer->socket->disconnectFromHost();
    QTRY_COMPARE(order.join(' '), QStringLiteral("answer answer answer disconnected"));
    QCOMPARE(lost.answers, (QList<QByteArray>{kClosed, kClosed, kClosed}));
    QCOMPARE(lost.from.count(peer->connectionId), 3);
    QVERIFY(kept.answers.isEmpty());
    QVERIFY(site.controller->abortConnection(other->connectionId));
    QCOMPARE(kept.answers, QList<QByteArray>{kClosed});
    // No call goes out on a connection that is closing, or that nobody knows.
    for (const QString &id : {other->connectionId, QString("nobody")}) {
        QCOMPARE(text(call.call(id, "far.ask", 1, 0)), kConnectionError);
        call.call(id, "far.ask", 1, &kept, SLOT(onAnswer(QString, QAny)), 0);
        QCOMPARE(kept.answers.last(), kConnectionError);
        QCOMPARE(kept.from.last(), id);
    }
}

void TestRpcCalls::memberIsNoSlot()
{
    const Warnings warnings;
    RpcSite site;
    const auto peer = site.peer();
    peer->onCall = [&](const QAny &call) { peer->write(resultText("5", idOf(call))); };
    RpcCall call(site.controller.get());
    AnswerList receiver;
    call.call(peer->connectionId, "far.ask", 1, &receiver, SIGNAL(destroyed(QObject *)), 0);
    QCOMPARE(Warnings::lines.join('|'), "KNet::RpcCall::call() receiver member should be a SLOT");
    QCOMPARE(peer->ask(kPing), canonical(kPong));
    QVERIFY(receiver.answers.isEmpty());
    // A slot that is not there shows when the answer comes.
    call.call(peer->connectionId, "far.ask", 1, &receiver, SLOT(notThere(QString, QAny)), 0);
    const QString warning =
        QStringLiteral("KNet::RpcPendingCall::sendResponse() can't invoke \"notThere\" on AnswerList(");
    QTRY_COMPARE(Warnings::lines.filter(warning).size(), 1); // beside Qt's own
    QCOMPARE(peer->ask(kPing), canonical(kPong));
}

void TestRpcCalls::receiverGone()
{
    const Warnings warnings;
    RpcLimits limits;
    limits.maxUnreadBytes = 1000;
    RpcSite site(limits);
    const auto peer = site.peer();
    QByteArray id;
    peer->onCall = [&](const QAny &call) { id = idOf(call); };
    RpcCall call(site.controller.get());
    auto receiver = std::make_unique<AnswerList>();
    for (const int timeout : {0, 50})
        call.call(peer->connectionId, "far.ask", 1, receiver.get(), SLOT(onAnswer(QString, QAny)), timeout);
    QTRY_VERIFY(!id.isEmpty());
    receiver.reset();
    QCOMPARE(peer->ask(resultText("5", id) + kPing), canonical(kPong));
    QTest::qWait(2 * RpcController::kSweepIntervalMs);
    // The same in the send that fails: it ends the connection, which ends the receiver.
    receiver = std::make_unique<AnswerList>();
    connect(site.controller.get(), &RpcController::disconnected, this, [&] { receiver.reset(); });
    peer->stopReading();
    AnswerList other;
    call.call(peer->connectionId, "far.ask", QString(16'000'000, 'x'), &other, SLOT(onAnswer(QString, QAny)), 0);
    call.call(peer->connectionId, "far.ask", 1, receiver.get(), SLOT(onAnswer(QString, QAny)), 0);
    QVERIFY(!receiver);
    QCOMPARE(other.answers, QList<QByteArray>{kClosed});
    QCOMPARE(site.gone, QStringList(peer->connectionId));
    QVERIFY(site.isServing());
}

void TestRpcCalls::connectToHost()
{
    RpcSite site;
    QTcpServer far;
    QVERIFY(far.listen(QHostAddress::LocalHost));
    QString id;
    // Blocking: nothing else has happened when it returns.
    QVERIFY(site.controller->connectToHost("127.0.0.1", far.serverPort(), id, 3000));
    QVERIFY(site.events.isEmpty());
    QVERIFY(!id.isEmpty());
    QTRY_COMPARE(site.events, QStringList("connected " + id));
    // Not blocking; a call may be made at once and goes out with the connection.
    QString second;
    QVERIFY(site.controller->connectToHost("127.0.0.1", far.serverPort(), second, 0));
    QVERIFY(second != id);
    AnswerList receiver;
    RpcCall(site.controller.get()).call(second, "far.ask", 1, &receiver, SLOT(onAnswer(QString, QAny)), 3000);
    QVERIFY(!site.connected.contains(second));
    QTRY_VERIFY(site.connected.contains(second));
    delete far.nextPendingConnection();
    RpcPeer peer(far.nextPendingConnection());
    peer.socket->setParent(nullptr);
    peer.onCall = [&](const QAny &call) { peer.write(resultText("5", idOf(call))); };
    QTRY_COMPARE(receiver.answers, QList<QByteArray>{"5"});
    // Services are there for the other direction, too.
    QCOMPARE(peer.ask(callText("test.echo", "1")), resultText("1"));
    QCOMPARE(site.service->callers, QStringList(second));
    QVERIFY(site.incoming.isEmpty());
}

void TestRpcCalls::connectToHostFails_data()
{
    const auto row = columns<QString, int, bool>({"host", "timeout", "isSilent"});
    row("refused, blocking", "127.0.0.1", 2000, false);
    row("refused, later", "127.0.0.1", 0, false);
    row("no such host, blocking", "no.such.host.invalid", 3000, false);
#ifdef Q_OS_LINUX
    row("nobody answers, blocking", "127.0.0.1", 200, true);
#endif
}

void TestRpcCalls::connectToHostFails()
{
    QFETCH(QString, host);
    QFETCH(int, timeout);
    QFETCH(bool, isSilent);
    RpcSite site;
    QTcpServer far;
    QVERIFY(far.listen(QHostAddress::LocalHost));
    const quint16 port = far.serverPort();
    QTcpSocket waiting[3];
    if (isSilent) {
        // The system answers no more of them than this.
        KNet::setListenBacklog(far.socketDescriptor(), 0);
        for (QTcpSocket &socket : waiting) {
            socket.connectToHost(QHostAddress::LocalHost, port);
            socket.waitForConnected(20);
        }
    } else {
        far.close();
    }
    QString id;
    QElapsedTimer elapsed;
    elapsed.start();
    QCOMPARE(site.controller->connectToHost(host, port, id, timeout), timeout == 0);
    QVERIFY(!isSilent || elapsed.elapsed() < 4000);
    QVERIFY(!id.isEmpty());
    QTRY_COMPARE(site.gone, QStringList(id));
    settle();
    QCOMPARE(site.gone.size(), 1);
    QVERIFY(site.connected.isEmpty());
    QVERIFY(!site.controller->closeConnection(id));
    if (host == "127.0.0.1" && !isSilent)
        QCOMPARE(site.events, (QStringList{"error " + id, "disconnected " + id}));
}

void TestRpcCalls::whileWaiting_data()
{
    // response: of the call that the service makes
    // answered: whether the peer gets the service's answer
    const auto row = columns<QByteArray, bool, Deed>({"response", "answered", "deed"});
    row("peer closes", kClosed, false, [](Wait &w) { w.peer.socket->disconnectFromHost(); });
    row("peer vanishes", kClosed, false, [](Wait &w) { w.peer.socket->abort(); });
    row("peer answers and closes", "5", false, [](Wait &w) {
        w.answer();
        w.peer.socket->disconnectFromHost();
    });
    row("peer sends nonsense", kClosed, false, [](Wait &w) { w.peer.write("nonsense"); });
    row("server closes", kClosed, false, [](Wait &w) { w.site.controller->closeConnection(w.peer.connectionId); });
    row("server aborts", kClosed, false, [](Wait &w) { w.site.controller->abortConnection(w.peer.connectionId); });
    row("server ends", "null", false, [](Wait &w) { w.site.controller.reset(); });
    row("waits end", "null", true, [](Wait &w) { w.site.controller->endWaitingCalls(); });
    row("wait is cancelled", "null", true, [](Wait &w) { w.call->cancel(); });
    row("handle ends", "null", true, [](Wait &w) { delete w.call; });
    row("service is unregistered", "5", true, [](Wait &w) {
        w.site.controller->unregisterService("test");
        w.answer();
    });
    row("service ends", "5", true, [](Wait &w) {
        w.site.service.reset();
        w.answer();
    });
    row("peer calls back", "5", true,
        [](Wait &w) { w.peer.write(callText("test.echo", "1", "2") + resultText("5", w.id)); });
    row("another peer is served", "5", true, [](Wait &w) {
        QTimer::singleShot(0, w.call, [w]() mutable {
            if (w.site.isServing())
                w.answer();
        });
    });
    row("handle is asked again", "5", true, [](Wait &w) {
        QVERIFY(w.call->isWaiting() && w.site.controller->hasWaitingCalls());
        QCOMPARE(text(w.call->call(w.peer.connectionId, "far.ask", 1, 0)), QByteArray("null"));
        QCOMPARE(Warnings::lines.join('|'), "KNet:RpcCall::call(): Recursive call detected");
        w.answer();
    });
    // The same without a wait: the slot itself does it.
    row("unregisters its service", kDirect, true, [](Wait &w) { w.site.controller->unregisterService("test"); });
    row("deletes its service", kDirect, true, [](Wait &w) { w.site.service.reset(); });
    row("closes its caller", kDirect, false, [](Wait &w) { w.site.controller->closeConnection(w.peer.connectionId); });
    row("aborts its caller, which is deleted", kDirect, false, [](Wait &w) {
        w.site.controller->abortConnection(w.peer.connectionId);
        QTest::qWait(1);
    });
    row("deletes the server", kDirect, false, [](Wait &w) { w.site.controller.reset(); });
}

void TestRpcCalls::whileWaiting()
{
    QFETCH(QByteArray, response);
    QFETCH(bool, answered);
    QFETCH(Deed, deed);
    const Warnings warnings;
    RpcSite site;
    const auto peer = site.peer();
    Wait wait{site, *peer, nullptr, {}};
    QByteArray got;
    site.service->action = [&](const QString &id, const QAny &) {
        if (response == kDirect) {
            deed(wait);
            got = kDirect;
            return QAny("direct");
        }
        wait.call = new RpcCall(site.controller.get());
        const QAny value = wait.call->call(id, "far.ask", 1, 0);
        delete wait.call;
        got = text(value);
        return value;
    };
    peer->onCall = [&](const QAny &call) {
        wait.id = idOf(call);
        deed(wait);
    };
    peer->write(kRun);
    QTRY_COMPARE(got, sorted(response));
    if (answered) {
        QTRY_VERIFY(peer->messages.contains(resultText(response)));
        peer->write(kPing);
        QTRY_COMPARE(peer->messages.last(), canonical(kPong));
    } else {
        QVERIFY(peer->waitClosed());
        QVERIFY(peer->messages.isEmpty());
    }
    if (!site.controller)
        return;
    QTRY_COMPARE(site.gone.count(peer->connectionId), answered ? 0 : 1);
    QVERIFY(!site.controller->hasWaitingCalls());
    if (!site.service)
        return;
    site.controller->registerService("test", site.service.get());
    QVERIFY(site.isServing());
}

void TestRpcCalls::quitWhileWaiting()
{
    RpcSite site;
    const auto peer = site.peer();
    site.service->action = askingCaller(site);
    peer->onCall = [](const QAny &) { QCoreApplication::exit(3); };
    QTimer::singleShot(0, this, [&] { peer->write(kRun); });
    QTimer::singleShot(5000, peer->socket.get(), [] { QCoreApplication::exit(4); });
    QCOMPARE(QCoreApplication::exec(), 3);
    QCOMPARE(peer->next(), resultText("null"));
    QVERIFY(site.isServing());
}

void TestRpcCalls::furtherMessagesWhileWaiting()
{
    // Of the same segment, before and behind the answer that the first one waits for.
    RpcSite site;
    const auto peer = site.peer();
    site.service->action = askingCaller(site);
    peer->onCall = [&](const QAny &call) {
        peer->write(callText("test.echo", "3", "3") + resultText("5", idOf(call)) + callText("test.echo", "4", "4"));
    };
    // More of them than one turn takes, so that the rest of the turn has to come within the wait.
    QByteArray burst = kRun;
    for (int i = 0; i < 200; ++i)
        burst += callText("test.echo", "2", "2");
    peer->write(burst);
    QTRY_COMPARE(peer->messages.size(), 203);
    QCOMPARE(peer->messages.count(resultText("2", "\"2\"")), 200);
    QVERIFY(peer->messages.contains(resultText("5")));
    QCOMPARE(site.service->calls.mid(0, 200), (QList<QAny>::fromVector(QVector<QAny>(200, 2))));
}

void TestRpcCalls::boundOfNestedCalls()
{
    constexpr int kMore = 50;
    constexpr int kAll = RpcCall::kMaxNestedCalls + kMore;
    const Warnings warnings;
    RpcSite site;
    const auto peer = site.peer();
    site.service->action = askingCaller(site);
    QList<QByteArray> ids;
    peer->onCall = [&](const QAny &call) { ids.prepend(idOf(call)); };
    QByteArray burst;
    for (int i = 0; i < kAll; ++i)
        burst += kRun;
    peer->write(burst);
    QTimer::singleShot(10000, peer->socket.get(), [&] { peer->socket->abort(); });
    // The test's own loop is on the stack below all of them.
    connect(peer->socket.get(), &QTcpSocket::readyRead, this, [&] {
        if (peer->messages.size() < kMore || ids.size() < RpcCall::kMaxNestedCalls)
            return;
        const QList<QByteArray> waiting = ids;
        ids.clear();
        for (const QByteArray &id : waiting)
            peer->write(resultText("5", id));
    });
    QTRY_COMPARE_WITH_TIMEOUT(peer->messages.size(), kAll, 12000);
    QCOMPARE(peer->messages.count(resultText(kConnectionError)), kMore);
    QCOMPARE(peer->messages.count(resultText("5")), kAll - kMore);
    QVERIFY(!site.controller->hasWaitingCalls());
}

void TestRpcCalls::activityWhileWaiting()
{
    // The time that a service takes is not the peer's idleness.
    RpcLimits limits;
    limits.activityTimeoutMs = 200;
    RpcSite site(limits);
    const auto busy = site.peer();
    site.controller->setLimits(RpcLimits());
    const auto slow = site.peer();
    site.service->action = [&](const QString &, const QAny &) {
        return RpcCall(site.controller.get()).call(slow->connectionId, "far.ask", 1, 500);
    };
    busy->write(kRun);
    QCOMPARE(busy->next(), resultText(kTimeout));
    QVERIFY(busy->waitClosed(1000));
}

void TestRpcCalls::waitInsideACompletion()
{
    RpcSite site;
    const auto peer = site.peer();
    const auto silent = site.peer();
    RpcCall call(site.controller.get());
    for (const bool closed : {false, true}) {
        AnswerList first;
        AnswerList second;
        QByteArray got;
        int atThatTime = -1;
        first.then = [&] {
            const QAny value = RpcCall(site.controller.get()).call(silent->connectionId, "far.ask", 1, 150);
            got = text(value);
            atThatTime = second.answers.size();
        };
        const int timeout = closed ? 0 : 100;
        call.call(peer->connectionId, "far.ask", 1, &first, SLOT(onAnswer(QString, QAny)), timeout);
        call.call(peer->connectionId, "far.ask", 2, &second, SLOT(onAnswer(QString, QAny)), timeout);
        if (closed)
            peer->socket->disconnectFromHost();
        QTRY_COMPARE(got, kTimeout);
        // One receiver that waits does not keep the next waiting.
        QCOMPARE(atThatTime, 1);
        QCOMPARE(second.answers, QList<QByteArray>{closed ? kClosed : kTimeout});
        QCOMPARE(first.answers, second.answers);
    }
    QTRY_COMPARE(site.gone, QStringList(peer->connectionId));
    QVERIFY(site.isServing());
}

void TestRpcCalls::insideDisconnected()
{
    RpcSite site;
    const auto first = site.peer();
    const auto second = site.peer();
    const auto third = site.peer();
    auto receiver = std::make_unique<AnswerList>();
    RpcCall call(site.controller.get());
    for (const auto *peer : {&first, &second})
        call.call((*peer)->connectionId, "far.ask", 1, receiver.get(), SLOT(onAnswer(QString, QAny)), 0);
    QByteArray got;
    connect(site.controller.get(), &RpcController::disconnected, this, [&](const QString &id) {
        if (id != first->connectionId)
            return;
        QVERIFY(!site.controller->abortConnection(id));
        QCOMPARE(receiver->answers.size(), 1);
        receiver.reset();
        site.service.reset();
        site.controller->unregisterService("test");
        QVERIFY(site.controller->abortConnection(second->connectionId));
        got = text(RpcCall(site.controller.get()).call(third->connectionId, "far.ask", 1, 100));
    });
    third->onCall = [](const QAny &) {};
    first->socket->disconnectFromHost();
    QTRY_COMPARE(got, kTimeout);
    QCOMPARE(site.gone, (QStringList{first->connectionId, second->connectionId}));
}

void TestRpcCalls::serverEndsInItsSignal()
{
    const auto ends = [](const std::function<void(RpcSite &, const QString &)> &deed) {
        RpcSite site;
        const auto peer = site.peer();
        deed(site, peer->connectionId);
        return !site.controller && peer->waitClosed();
    };
    QVERIFY(ends([](RpcSite &site, const QString &) { // in an event loop
        QObject::connect(site.controller.get(), &RpcController::incoming, [&site] {
            QTimer::singleShot(0, [&site] { site.controller.reset(); });
            waitFor([&site] { return !site.controller; });
            settle();
        });
        const RpcPeer guest(site.controller->serverPort());
        settle();
    }));
    QVERIFY(ends([](RpcSite &site, const QString &id) {
        QObject::connect(site.controller.get(), &RpcController::disconnected, [&site] { site.controller.reset(); });
        site.controller->abortConnection(id);
    }));
    QVERIFY(ends([](RpcSite &site, QString id) {
        QObject::connect(site.controller.get(), &RpcController::error, [&site] { site.controller.reset(); });
        QVERIFY(!site.controller->connectToHost("127.0.0.1", 1, id, 1000));
    }));
}

QTEST_GUILESS_MAIN(TestRpcCalls)
#include "tst_rpc_calls.moc"
