#include "knetrpc/rpcanswer.h"
#include "rows.h"
#include "rpcpeer.h"

#include <QTest>

#include <map>

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
    explicit LaterService(RpcController *controller) : m_controller(controller) {}

    QStringList calls; // parameters, in the order in which the calls were dispatched
    std::map<QString, RpcAnswer> kept;

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
    /// Not the slot that was called.
    QAny indirect(QString connectionId, QAny params) { return LaterService(m_controller).wait(connectionId, params); }

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
        : RpcSite(limits), later(std::make_unique<LaterService>(controller.get())),
          other(std::make_unique<LaterService>(controller.get()))
    {
        controller->registerService(QStringLiteral("later"), later.get());
        controller->registerService(QStringLiteral("other"), other.get());
    }
    std::unique_ptr<LaterService> later;
    std::unique_ptr<LaterService> other;
};

/// Answers that come later than the slot that was called returns.
class TestRpcAnswers : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void order_data();
    void order();
    void direct();
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
    row("not the slot that was called", "indirect a,now b", "b", "a,b");
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
    bool allCame = false;
    for (const QString &step : script.split(',')) {
        const QString key = step.right(1);
        if (step.size() > 2) {
            peer->write(call(step));
            continue;
        }
        if (!allCame) {
            // A ping is answered at once, and so is everyone else.
            QCOMPARE(peer->ask(kPing), canonical(kPong));
            QCOMPARE(stranger->ask(call("later.now x")), result("x", "\"x\""));
            allCame = true;
            site.later->calls.removeOne("x");
            QCOMPARE(site.later->calls.join(' '), dispatched);
        }
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

QTEST_GUILESS_MAIN(TestRpcAnswers)
#include "tst_rpc_answers.moc"
