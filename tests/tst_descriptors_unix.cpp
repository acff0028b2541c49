#include "server/process/acceptloop.h"
#include "server/process/descriptorreserve.h"
#include "server/process/peergone.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace server::process;

/// What a process does that is short of descriptors.
class TestDescriptors : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QCOMPARE(getrlimit(RLIMIT_NOFILE, &m_limit), 0); }
    void cleanup() { setLimit(m_limit.rlim_cur); }

    void reserve();
    void acceptsAgain();
    void peerGone();

private:
    static int lowestFree()
    {
        const int lowest = fcntl(0, F_DUPFD, 0);
        close(lowest);
        return lowest;
    }
    void setLimit(rlim_t most) const
    {
        const struct rlimit limit = {most, m_limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
    }

    struct rlimit m_limit = {};
};

void TestDescriptors::reserve()
{
    QCOMPARE(reserveOf(200), qint64(50));
    QCOMPARE(reserveOf(16384), qint64(4096));
    QCOMPARE(reserveOf(1000000), qint64(4096));
    setLimit(200);
    QVERIFY(!isInReserve(149));
    QVERIFY(isInReserve(150));

    const int high = fcntl(0, F_DUPFD, 160);
    const int lowest = lowestFree();
    QCOMPARE(movedDown(high), qintptr(lowest));
    QCOMPARE(fcntl(high, F_GETFD), -1);
    QCOMPARE(movedDown(lowest), qintptr(lowest));
    closeSocket(lowest);
    QCOMPARE(lowestFree(), lowest);
}

void TestDescriptors::acceptsAgain()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    server.pauseAccepting();
    QList<qintptr> accepted;
    AcceptLoop loop(server.serverPort() ? server.socketDescriptor() : -1, "Test",
                    [&](qintptr descriptor) { accepted += descriptor; });
    QTcpSocket first;
    QTcpSocket second;
    first.connectToHost(QHostAddress::LocalHost, server.serverPort());
    QTRY_COMPARE(accepted.size(), 1);

    // One is left, for the client's own socket.
    static int warnings = 0;
    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext &, const QString &) { warnings += type == QtWarningMsg ? 1 : 0; });
    setLimit(rlim_t(lowestFree()) + 1);
    second.connectToHost(QHostAddress::LocalHost, server.serverPort());
    const clock_t start = clock();
    QTest::qWait(3 * AcceptLoop::kPauseMs);
    const double busy = double(clock() - start) / CLOCKS_PER_SEC;
    qInstallMessageHandler(before);
    QCOMPARE(accepted.size(), 1);
    QCOMPARE(warnings, 1);
    QVERIFY2(busy < 0.3, qPrintable(QString::number(busy)));
    setLimit(m_limit.rlim_cur);
    QTRY_COMPARE(accepted.size(), 2);
    for (const qintptr descriptor : qAsConst(accepted))
        closeSocket(descriptor);
}

void TestDescriptors::peerGone()
{
    int pair[2];
    QCOMPARE(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    QVERIFY(!isPeerGone(pair[0]));
    QCOMPARE(write(pair[1], "unread", 6), ssize_t(6));
    QVERIFY(!isPeerGone(pair[0]));
    close(pair[1]);
    QVERIFY(isPeerGone(pair[0]));
    close(pair[0]);
}

QTEST_GUILESS_MAIN(TestDescriptors)
#include "tst_descriptors_unix.moc"
