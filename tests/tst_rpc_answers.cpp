#include "knetrpc/rpcanswer.h"
#include "rows.h"
#include "rpcpeer.h"

#include "knetrpc/rpccall.h"

#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>

using KNet::RpcAnswer;
using KNet::RpcController;
using KNet::RpcLimits;

namespace {

QByteArray result(const QByteArray &id, const QByteArray &value)
{
    return resultText(value, '"' + id + '"');
}

/// "7 text" is an error, anything else a text.
QByteArray answerOf(const QByteArray &id, const QByteArray &answer)
{
    const int code = answer.left(answer.indexOf(' ')).toInt();
    return code > 0 ? errorText(code, answer.mid(answer.indexOf(' ') + 1), '"' + id + '"')
                    : result(id, '"' + answer + '"');
}

/// "wait a" or "later.wait a": a call with "a" as parameter and id.
QByteArray call(const QString &step)
{
    const QStringList words = step.split(' ');
    const QString method = words[0].contains('.') ? words[0] : QStringLiteral("later.") + words[0];
    const QByteArray key = '"' + words[1].toUtf8() + '"';
    return callText(method.toUtf8(), key, key);
}

} // namespace

/// Takes the answers of its calls: "wait" and "together" keep them under the call's parameters.
class LaterService : public QObject
{
    Q_OBJECT
public:
    LaterService(RpcController *controller, QStringList *log) : calls(*log), m_controller(controller) {}

    QStringList &calls; // parameters, in the order in which the calls were dispatched
    std::map<QString, RpcAnswer> kept;
    int counted = 0;

    RpcAnswer taken(const QString &key)
    {
        RpcAnswer answer = std::move(kept.at(key));
        kept.erase(key);
        return answer;
    }
    void give(const QString &key) { taken(key).give(key + QStringLiteral(" later")); }

public Q_SLOTS:
    QAny wait(QString connectionId, QAny params) { return keep(connectionId, params, RpcController::Behind::Wait); }
    QAny together(QString connectionId, QAny params)
    {
        return keep(connectionId, params, RpcController::Behind::Together);
    }
    QAny now(QString, QAny params)
    {
        calls.append(params.toString());
        return params;
    }
    QAny count(QString, QAny) { return ++counted; }
    /// Another one of this object is called directly while it waits.
    QAny loop(QString connectionId, QAny params)
    {
        QEventLoop loop;
        QTimer::singleShot(1, &loop, [&] {
            calls.append(wait(connectionId, "direct").toString());
            loop.quit();
        });
        loop.exec();
        return keep(connectionId, params, RpcController::Behind::Wait);
    }
    /// Not the slot that was called.
    QAny indirect(QString connectionId, QAny params)
    {
        return LaterService(m_controller, &calls).wait(connectionId, params);
    }

private:
    QAny keep(const QString &connectionId, const QAny &params, RpcController::Behind behind)
    {
        const QString key = params.toString();
        calls.append(key);
        RpcAnswer answer = m_controller->takeAnswer(this, connectionId, behind);
        if (!answer)
            return params;
        if (m_controller->takeAnswer(this, connectionId, behind))
            return "twice";
        kept[key] = std::move(answer);
        return "not used";
    }

    RpcController *const m_controller;
};

/// A server with a service "later" and a second one of its kind, "other".
struct LaterSite : RpcSite {
    explicit LaterSite(const RpcLimits &limits = {})
        : RpcSite(limits), later(std::make_unique<LaterService>(controller.get(), &calls)),
          other(std::make_unique<LaterService>(controller.get(), &calls))
    {
        controller->registerService(QStringLiteral("later"), later.get());
        controller->registerService(QStringLiteral("other"), other.get());
    }
    QStringList calls;
    std::unique_ptr<LaterService> later;
    std::unique_ptr<LaterService> other;
};

using EndDeed = std::function<void(LaterSite &, const QString &)>;
Q_DECLARE_METATYPE(EndDeed)

/// Answers that come later than the slot that was called returns.
class TestRpcAnswers : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void order_data();
    void order();
    void direct();
    void thousand();
    void resting();
    void lastWords_data();
    void lastWords();
    void texts();
    void ends_data();
    void ends();
};

void TestRpcAnswers::order_data()
{
    // A script of one peer: "wait a" calls later.wait with "a" as parameter and id; "+a" gives its answer, "!a" an
    // error, "-a" none.
    // dispatched: what was called when all calls had come
    const auto row = columns<QString, QString, QString>({"script", "dispatched", "answers"});
    row("one", "wait a,+a", "a", "a later");
    row("calls wait", "wait a,now b,other.now c,+a", "a", "a later,b,c");
    row("each for itself", "wait a,wait b,now c,+a,+b", "a", "a later,b later,c");
    row("together", "together a,together b,now c,+b,+a", "a b c", "a later,b later,c");
    row("another service waits", "together a,other.now b,now c,+a", "a", "a later,b,c");
    row("together, then wait", "together a,wait b,together c,+b,+a,+c", "a b", "a later,b later,c later");
    row("wait, then together", "wait a,together b,together c,now d,+a,+c,+b", "a", "a later,b later,c later,d");
    row("error", "wait a,now b,!a", "a", "7 text,b");
    row("dropped", "wait a,now b,-a", "a", "10120 Remote invoke error,b");
    row("no service, and no right", "together a,nobody.now b,secret.now c,+a", "a",
        "a later,10100 No such service,10200 Not authorized");
    row("direct call in a loop of the slot", "loop a,+a", "direct direct a", "a later");
    row("not the slot that was called", "indirect a,now b", "a b", "a,b");
}

void TestRpcAnswers::order()
{
    QFETCH(QString, script);
    QFETCH(QString, dispatched);
    QFETCH(QString, answers);
    LaterSite site;
    site.controller->registerService("secret", site.other.get());
    site.controller->addServiceRequirement("secret", "key");
    const auto peer = site.peer();
    const auto stranger = site.peer();
    for (const QString &step : script.split(',')) {
        if (step.size() > 2)
            peer->write(call(step));
    }
    QTRY_COMPARE(site.calls.join(' '), dispatched);
    // A ping is answered at once, and so is everyone else.
    peer->write(kPing);
    QCOMPARE(stranger->ask(callText("test.echo", "1")), resultText("1"));
    QTRY_VERIFY(peer->messages.contains(canonical(kPong)));
    peer->messages.removeOne(canonical(kPong));
    QCOMPARE(site.calls.join(' '), dispatched);
    for (const QString &step : script.split(',')) {
        const QString key = step.right(1);
        if (step.size() > 2)
            continue;
        QTRY_VERIFY(site.later->kept.count(key) == 1);
        if (step.startsWith('+'))
            site.later->give(key);
        else if (step.startsWith('!'))
            site.later->taken(key).giveError(7, "text");
        else
            site.later->taken(key);
    }
    char id = 'a';
    for (const QString &answer : answers.split(','))
        QCOMPARE(peer->next(), answerOf(QByteArray(1, id++), answer.toUtf8()));
    QCOMPARE(peer->ask(call("later.now z")), result("z", "\"z\""));
}

void TestRpcAnswers::direct()
{
    LaterSite site;
    const auto peer = site.peer();
    QCOMPARE(site.later->wait(peer->connectionId, "a"), QAny("a"));
    QAny returned;
    QVERIFY(QMetaObject::invokeMethod(site.later.get(), "together", Q_RETURN_ARG(QAny, returned),
                                      Q_ARG(QString, peer->connectionId), Q_ARG(QAny, "b")));
    QCOMPARE(returned, QAny("b"));
    // Also while another slot, or the same one, is called and waits in an event loop; its answer is still its own.
    site.service->action = [&](const QString &id, const QAny &) {
        QTimer inside;
        QEventLoop loop;
        QObject::connect(&inside, &QTimer::timeout, &loop, [&] {
            returned = site.later->wait(id, "c");
            loop.quit();
        });
        inside.start(1);
        loop.exec();
        return QAny(bool(site.controller->takeAnswer(site.later.get(), id))); // the called one is another service
    };
    QCOMPARE(peer->ask(callText("test.run", "1")), resultText("false"));
    QCOMPARE(returned, QAny("c"));
    QVERIFY(site.later->kept.empty());
}

/// A thousand that waited keep nobody else waiting.
void TestRpcAnswers::thousand()
{
    constexpr int kCalls = 1000;
    LaterSite site;
    const auto peer = site.peer();
    QByteArray burst;
    for (int i = 0; i < kCalls; ++i)
        burst += call(QStringLiteral("now %1").arg(i));
    const auto other = site.peer();
    peer->write(call("wait a") + burst);
    QTRY_COMPARE(site.later->kept.size(), 1U);
    site.calls.clear();
    site.later->give("a");
    QCOMPARE(other->ask(kPing), canonical(kPong));
    QVERIFY2(site.calls.size() <= 8 * RpcLimits().maxMessagesPerTurn, QByteArray::number(site.calls.size()));
    QTRY_COMPARE(site.calls.size(), kCalls);
}

/// Beyond the bound of what waits nothing more is read, and no time runs.
void TestRpcAnswers::resting()
{
    constexpr int kCalls = 1500;
    const QByteArray filler(10000, 'x');
    RpcLimits limits;
    limits.maxWaitingBytes = 500'000;
    limits.activityTimeoutMs = 2000;
    LaterSite site(limits);
    const auto peer = site.peer();
    QByteArray ours;
    peer->onCall = [&](const QAny &message) { ours = message.lookup("id").toJsonUtf8(); };
    AnswerList heard;
    for (const int timeout : {1500, 1500})
        KNet::RpcCall(site.controller.get())
            .call(peer->connectionId, "far.ask", 1, &heard, SLOT(onAnswer(QString, QAny)), timeout);
    QTRY_VERIFY(!ours.isEmpty());
    QByteArray burst = call("wait a");
    for (int i = 0; i < kCalls; ++i)
        burst += callText("other.count", '"' + filler + '"', QByteArray::number(i));
    peer->socket->write(burst + resultText("5", ours) + kPing);
    QTest::qWait(500);
    const qint64 left = peer->socket->bytesToWrite();
    QTest::qWait(1800);
    QVERIFY(left > 0 && peer->socket->bytesToWrite() == left);
    QVERIFY(site.other->counted == 0 && heard.answers.isEmpty() && site.gone.isEmpty());
    site.later->give("a");
    QTRY_COMPARE_WITH_TIMEOUT(site.other->counted, kCalls, 20000);
    // One call of ours was answered in time then, the other one has its rest of the time.
    QTRY_COMPARE(heard.answers, (QList<QByteArray>{"5", R"({"error":{"code":10400,"message":"Timeout"}})"}));
    QCOMPARE(peer->next(), answerOf("a", "a later"));
    for (int i = 0; i < kCalls; ++i)
        QCOMPARE(peer->next(), result(QByteArray::number(i), QByteArray::number(i + 1)));
    QCOMPARE(peer->next(), canonical(kPong));
}

void TestRpcAnswers::lastWords_data()
{
    // end: what the peer, or the server, does behind its calls
    // before: what has been called when no answer is given
    // after: when the one of "a" has been given, or never will be
    const auto row = columns<QString, QString, QString, QString, bool>({"calls", "end", "before", "after", "given"});
    row("gone", "wait a,now b,now c", "close", "a b c", "a b c", false);
    row("vanished", "wait a,now b", "vanish", "a b", "a b", false);
    row("another answer taken", "wait a,wait b,now c", "close", "a b c", "a b c", false);
    row("stored before", "together a,now b,other.now c,now d", "close", "a b", "a b c d", true);
    row("never stored", "together a,now b,other.now c,now d", "close", "a b", "a b c d", false);
    row("nonsense", "wait a,now b", "nonsense", "a", "a b", true);
    row("nonsense, then gone", "wait a,now b", "nonsense close", "a b", "a b", false);
    row("nonsense alone", "wait a", "nonsense", "a", "a", true);
    row("closed by the server", "wait a,now b", "server", "a", "a", false);
}

void TestRpcAnswers::lastWords()
{
    QFETCH(QString, calls);
    QFETCH(QString, end);
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(bool, given);
    RpcLimits limits;
    limits.closeGraceMs = given ? 5000 : 300;
    LaterSite site(limits);
    const QStringList &called = site.calls;
    QString atTheEnd;
    connect(site.controller.get(), &RpcController::disconnected, this, [&] { atTheEnd = called.join(' '); });
    const auto peer = site.peer();
    QByteArray words;
    for (const QString &step : calls.split(','))
        words += call(step);
    peer->write(words);
    QTRY_VERIFY(!called.isEmpty());
    settle();
    if (end.contains("nonsense"))
        peer->write("nonsense");
    if (end.contains("close"))
        peer->socket->disconnectFromHost();
    if (end == "vanish")
        peer->socket->abort();
    if (end == "server")
        site.controller->closeConnection(peer->connectionId);
    QTRY_COMPARE(called.join(' '), before);
    if (given) {
        QTest::qWait(50);
        QCOMPARE(called.join(' '), before);
        QVERIFY(site.gone.isEmpty());
        site.later->give("a");
    }
    QTRY_COMPARE(site.gone, QStringList(peer->connectionId));
    QCOMPARE(atTheEnd, after);
    QCOMPARE(called.join(' '), after);
    if (end == "nonsense") { // what was asked before is answered
        QCOMPARE(peer->next(), answerOf("a", "a later"));
        QVERIFY(peer->waitClosed());
    }
    site.later->kept.clear(); // for nobody
    QVERIFY(site.isServing());
}

void TestRpcAnswers::texts()
{
    const Warnings warnings;
    LaterSite site;
    const auto peer = site.peer();
    const auto asked = [&](std::vector<QByteArray> pieces) {
        peer->write(call("wait a"));
        if (waitFor([&] { return !site.later->kept.empty(); }))
            site.later->taken("a").giveText(std::move(pieces));
        return peer->next();
    };
    QCOMPARE(asked({"[1,", "", "{\"a\":", "2}]"}), result("a", R"([1,{"a":2}])"));
    QCOMPARE(asked({}), result("a", "null"));
    // A long text is a reference to it for each piece, so this needs no memory.
    const QByteArray piece(1024 * 1024, ' ');
    QVERIFY(Warnings::lines.isEmpty());
    QCOMPARE(asked(std::vector<QByteArray>(2048, piece)), answerOf("a", "10120 Remote invoke error"));
    QCOMPARE(Warnings::lines.join('|'), "KNet::RpcController::respond() answer too long for one message");
}

void TestRpcAnswers::ends_data()
{
    // answer: that the peer gets; empty for none, when the connection goes
    const auto row = columns<QByteArray, EndDeed>({"answer", "deed"});
    row("service", "10120 Remote invoke error", [](LaterSite &site, const QString &) { site.later.reset(); });
    row("service, but not its answer", "a later", [](LaterSite &site, const QString &) {
        RpcAnswer answer = site.later->taken("a");
        site.later.reset();
        answer.give("a later");
        QVERIFY(!answer);
        answer.give("twice");
    });
    row("registration", "a later", [](LaterSite &site, const QString &) {
        site.controller->unregisterService("later");
        site.later->give("a");
    });
    row("controller", "", [](LaterSite &site, const QString &) {
        site.controller.reset();
        site.later->give("a");
    });
    row("connection", "", [](LaterSite &site, const QString &id) {
        site.controller->abortConnection(id);
        site.later->give("a");
    });
    row("connection, given while it ends", "", [](LaterSite &site, const QString &id) {
        connect(site.controller.get(), &RpcController::disconnected, [&site] { site.later->kept.clear(); });
        site.controller->abortConnection(id);
    });
    row("all, because of the answer", "", [](LaterSite &site, const QString &id) {
        connect(site.controller.get(), &RpcController::disconnected, [&site] {
            site.later.reset();
            site.controller.reset();
        });
        site.controller->pingRemoteConnections();
        KNet::RpcAnswer answer = site.later->taken("a");
        site.controller->abortConnection(id);
        answer.give("a later");
    });
    row("another answer takes its place", "10120 Remote invoke error",
        [](LaterSite &site, const QString &) { site.later->kept["a"] = RpcAnswer(); });
}

void TestRpcAnswers::ends()
{
    QFETCH(QByteArray, answer);
    QFETCH(EndDeed, deed);
    LaterSite site;
    const auto peer = site.peer();
    peer->write(call("wait a") + callText("test.echo", "1"));
    QTRY_COMPARE(site.later->kept.size(), 1U);
    settle();
    deed(site, peer->connectionId);
    if (answer.isEmpty()) {
        QVERIFY(peer->waitClosed() && peer->messages.isEmpty() && site.service->calls.isEmpty());
    } else {
        QCOMPARE(peer->next(), answerOf("a", answer));
        QCOMPARE(peer->next(), resultText("1"));
    }
    QVERIFY(!site.controller || site.isServing());
}

QTEST_GUILESS_MAIN(TestRpcAnswers)
#include "tst_rpc_answers.moc"
