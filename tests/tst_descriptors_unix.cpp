#include "server/process/descriptorreserve.h"
#include "server/process/peergone.h"

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
