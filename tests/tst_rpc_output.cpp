#include "knetrpc/rpcanswer.h"
#include "knetrpc/rpccall.h"
#include "rows.h"
#include "rpcpeer.h"

#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

using KNet::RpcController;
using KNet::RpcLimits;

namespace {

constexpr int kPieceBytes = 100'000;

/// A text in pieces that share their memory, and what it looks like to the peer.
std::vector<QByteArray> largeText(int pieces)
{
    std::vector<QByteArray> text(static_cast<size_t>(pieces), QByteArray(kPieceBytes, 'x'));
    text.front() = "\"";
    text.emplace_back("\"");
    return text;
}

QByteArray largeAnswer(int pieces)
{
    return resultText('"' + QByteArray((pieces - 1) * kPieceBytes, 'x') + '"');
}

/// A server whose method "test.run" answers with that many pieces.
struct LargeSite : RpcSite {
    LargeSite(const RpcLimits &limits, int pieces) : RpcSite(limits)
    {
        service->action = [this, pieces](const QString &id, const QAny &) {
            controller->takeAnswer(service.get(), id).giveText(largeText(pieces));
            return QAny();
        };
    }
};

const QByteArray kRun = callText("test.run", "1");

} // namespace

using Deed = std::function<void(LargeSite &, RpcPeer &)>;
Q_DECLARE_METATYPE(Deed)

/// Answers that are too large to leave at once.
class TestRpcOutput : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void inPieces();
    void slowReader();
    void unread_data();
    void unread();
    void closeBehindAnswers();
    void abortBehindAnswers();
    void goneWhileUnderWay();
};

void TestRpcOutput::inPieces()
{
    constexpr int kPieces = 300; // 30 MB
    LargeSite site({}, kPieces);
    const auto slow = site.peer();
    const auto other = site.peer();
    slow->stopReading();
    slow->write(kRun + kPing);
    QTRY_VERIFY(site.controller->bytesToWrite(slow->connectionId) > 0);
    // The rest waits, all of it is counted, and nobody is held up.
    const qint64 all = (kPieces - 1) * kPieceBytes;
    QTest::qWait(50);
    const qint64 waiting = site.controller->bytesToWrite(slow->connectionId);
    QVERIFY2(waiting > all / 2 && waiting < all, QByteArray::number(waiting));
    for (int i = 0; i < 100; ++i)
        QCOMPARE(other->ask(kPing), canonical(kPong));
    // It comes as it was given, and before what was answered after it.
    slow->readSlowly(4'000'000);
    QVERIFY(slow->next(30000) == largeAnswer(kPieces));
    QCOMPARE(slow->next(), canonical(kPong));
    QCOMPARE(site.controller->bytesToWrite(slow->connectionId), 0);
}

/// Who takes a large answer is not cut off, however long it takes, but who does not is.
void TestRpcOutput::slowReader()
{
    constexpr int kPieces = 500; // 50 MB, at most 20 MB a second
    RpcLimits limits;
    limits.maxUnreadBytes = 1'000'000;
    limits.activityTimeoutMs = 1000;
    limits.closeGraceMs = 100;
    LargeSite site(limits, kPieces);
    const auto slow = site.peer();
    const auto silent = site.peer();
    slow->onCall = [&](const QAny &call) { slow->write(resultText("5", call.lookup("id").toJsonUtf8())); };
    slow->readSlowly(kPieceBytes);
    silent->stopReading();
    slow->write(kRun);
    silent->write(kRun);
    QTRY_VERIFY(site.controller->bytesToWrite(slow->connectionId) > limits.maxUnreadBytes);
    QTRY_VERIFY(site.controller->bytesToWrite(silent->connectionId) > limits.maxUnreadBytes);
    AnswerList ours;
    AnswerList lost;
    for (auto [peer, list] : {std::pair(&slow, &ours), std::pair(&silent, &lost)})
        KNet::RpcCall(site.controller.get())
            .call((*peer)->connectionId, "far.ask", 1, list, SLOT(onAnswer(QString, QAny)), 1500);
    QTimer pings;
    connect(&pings, &QTimer::timeout, site.controller.get(), &RpcController::pingRemoteConnections);
    pings.start(50);
    QElapsedTimer elapsed;
    elapsed.start();
    QTRY_COMPARE_WITH_TIMEOUT(ours.answers, QList<QByteArray>{"5"}, 20000);
    QVERIFY2(elapsed.elapsed() > 2 * limits.activityTimeoutMs, "not slow enough to tell");
    QVERIFY(slow->next() == largeAnswer(kPieces));
    QVERIFY(slow->pings > 10);
    QVERIFY(site.gone.contains(silent->connectionId));
    QCOMPARE(lost.answers.size(), 1);
    // Pings to one that has read everything and says nothing any more are no sign of life.
    const auto mute = site.peer();
    mute->readSlowly(1'000'000);
    mute->write(kRun);
    QVERIFY(mute->next(20000) == largeAnswer(kPieces));
    QTRY_VERIFY(site.gone.contains(mute->connectionId));
}

void TestRpcOutput::unread_data()
{
    // What comes behind a large answer that the peer does not read.
    const auto row = columns<bool, Deed>({"isCutOff", "deed"});
    row("ping of the peer", true, [](LargeSite &, RpcPeer &peer) { peer.write(kPing); });
    row("another answer", true, [](LargeSite &, RpcPeer &peer) { peer.write(callText("test.echo", "1")); });
    row("pings of ours", false, [](LargeSite &site, RpcPeer &) {
        for (int i = 0; i < 100; ++i)
            site.controller->pingRemoteConnections();
    });
    row("calls of ours", false, [](LargeSite &site, RpcPeer &peer) {
        for (int i = 0; i < 100; ++i)
            KNet::RpcCall(site.controller.get()).call(peer.connectionId, "far.ask", 1, nullptr, SLOT(x()), 0);
    });
    row("too many calls of ours", true, [](LargeSite &site, RpcPeer &peer) {
        for (const int size : {2'000'000, 1})
            KNet::RpcCall(site.controller.get())
                .call(peer.connectionId, "far.ask", QString(size, 'x'), nullptr, SLOT(x()), 0);
    });
}

void TestRpcOutput::unread()
{
    QFETCH(bool, isCutOff);
    QFETCH(Deed, deed);
    const Warnings warnings;
    RpcLimits limits;
    limits.maxUnreadBytes = 1'000'000;
    LargeSite site(limits, 150);
    const auto peer = site.peer();
    peer->onCall = [](const QAny &) {};
    peer->stopReading();
    peer->write(kRun);
    QTRY_VERIFY(site.controller->bytesToWrite(peer->connectionId) > limits.maxUnreadBytes);
    deed(site, *peer);
    if (isCutOff) {
        QTRY_COMPARE(site.gone, QStringList(peer->connectionId));
        QCOMPARE(Warnings::lines.filter("KNet::RpcConnection::sendText() more than").size(), 1);
        return;
    }
    peer->readSlowly(1'000'000);
    QVERIFY(peer->next(20000) == largeAnswer(150));
    QCOMPARE(peer->ask(kPing), canonical(kPong));
    QVERIFY(Warnings::lines.isEmpty());
}

void TestRpcOutput::closeBehindAnswers()
{
    constexpr int kPieces = 200;
    RpcLimits limits;
    limits.closeGraceMs = 300;
    LargeSite site(limits, kPieces);
    const auto peer = site.peer();
    peer->readSlowly(kPieceBytes);
    peer->write(kRun + callText("test.echo", "2", "2"));
    QTRY_COMPARE(site.service->calls.size(), 1);
    QElapsedTimer elapsed;
    elapsed.start();
    QVERIFY(site.controller->closeConnection(peer->connectionId));
    QVERIFY(site.controller->closeConnection(peer->connectionId)); // changes nothing
    QVERIFY(waitFor([&] { return peer->messages.size() == 2; }, 20000));
    QVERIFY(peer->next() == largeAnswer(kPieces));
    QCOMPARE(peer->next(), resultText("2", "\"2\""));
    QVERIFY2(elapsed.elapsed() > 2 * limits.closeGraceMs, "not slow enough to tell");
    QVERIFY(peer->waitClosed());
    QTRY_COMPARE(site.gone, QStringList(peer->connectionId));
}

/// A server that ends gives what it has answered, before the event loop could.
void TestRpcOutput::abortBehindAnswers()
{
    RpcSite site;
    const auto peer = site.peer();
    site.service->action = [&site](const QString &id, const QAny &) {
        site.controller->takeAnswer(site.service.get(), id).give(true);
        site.controller->flush();
        site.controller->abortConnection(id);
        return QAny();
    };
    peer->write(kRun);
    QCOMPARE(peer->next(), resultText("true"));
    QVERIFY(peer->waitClosed());
}

void TestRpcOutput::goneWhileUnderWay()
{
    const Deed deeds[] = {[](LargeSite &, RpcPeer &peer) { peer.socket->abort(); },
                          [](LargeSite &site, RpcPeer &peer) { site.controller->abortConnection(peer.connectionId); },
                          [](LargeSite &site, RpcPeer &) { site.controller.reset(); }};
    for (const Deed &deed : deeds) {
        LargeSite site({}, 150);
        const auto peer = site.peer();
        peer->stopReading();
        peer->write(kRun);
        QTRY_VERIFY(site.controller->bytesToWrite(peer->connectionId) > 0);
        deed(site, *peer);
        if (!site.controller)
            continue;
        QTRY_COMPARE(site.gone, QStringList(peer->connectionId));
        QVERIFY(site.isServing());
    }
}

QTEST_GUILESS_MAIN(TestRpcOutput)
#include "tst_rpc_output.moc"
