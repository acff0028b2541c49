#include "server/reader/csvfollower.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using server::reader::CsvFollower;

class TestCsvFollower : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void polls_data();
    void polls();
    void whatIsNoFile();
    void growsWhileItIsRead();
    void endlessLine();

private:
    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(QStringLiteral("ekey.csv"));
};

static void write(const QString &path, const QByteArray &bytes, QIODevice::OpenMode mode)
{
    QFile file(path);
    QVERIFY(file.open(mode));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

/// Steps: "+…" appends, "=…" writes anew, "del" deletes, "reset"; else what a poll must give, "1:" with the line.
void TestCsvFollower::polls_data()
{
    QTest::addColumn<QByteArrayList>("steps");
    using Steps = QByteArrayList;
    QTest::newRow("no file yet") << Steps{"-3", "-3", "+a\n", "1:a", "0"};
    QTest::newRow("a line in pieces") << Steps{"+a;", "0", "0", "+b", "0", "+\r\nc", "1:a;b", "0", "+\n", "1:c", "0"};
    QTest::newRow("more comes before all is read") << Steps{"+a\nb\n", "1:a", "+c\n", "1:b", "1:c", "0"};
    QTest::newRow("any CR, empty line") << Steps{"+a\r;\r\rb\r\n\r\n", "1:a;b", "1:", "0"};
    QTest::newRow("rubbish") << Steps{QByteArray("+\0\xff\x1a;\0\n", 7), QByteArray("1:\0\xff\x1a;\0", 7), "0"};
    QTest::newRow("cut, told until it is begun anew")
        << Steps{"+a\nb\n", "1:a", "1:b", "0", "=c\n", "-2", "-2", "reset", "1:c", "0"};
    QTest::newRow("replaced by a shorter one") << Steps{"+a\nb\n", "1:a", "1:b", "del", "-3", "+c\n", "-2"};
    QTest::newRow("replaced by one of this size is not seen") << Steps{"+a\n", "1:a", "=b\n", "0"};
    QTest::newRow("half a line of the deleted file is forgotten")
        << Steps{"+a\nb", "1:a", "0", "del", "-3", "+z\nxyz\n", "1:xyz", "0"};
}

void TestCsvFollower::polls()
{
    QFETCH(QByteArrayList, steps);
    QFile::remove(m_path);
    CsvFollower follower(m_path);
    for (const QByteArray &step : qAsConst(steps)) {
        if (step.startsWith('+')) {
            write(m_path, step.mid(1), QIODevice::Append);
        } else if (step.startsWith('=')) {
            write(m_path, step.mid(1), QIODevice::WriteOnly);
        } else if (step == "del") {
            QVERIFY(QFile::remove(m_path));
        } else if (step == "reset") {
            follower.reset();
        } else {
            const int result = follower.poll();
            QCOMPARE(QByteArray::number(result) + (result == 1 ? ":" + follower.line() : QByteArray()), step);
        }
    }
}

void TestCsvFollower::whatIsNoFile()
{
    const auto poll = [](const QString &path) { return int(CsvFollower(path).poll()); };
    write(m_folder.filePath("file"), "a\n", QIODevice::WriteOnly);
    QCOMPARE(poll(m_folder.path()), -1);
    QCOMPARE(poll(m_folder.filePath("missing/ekey.csv")), -3);
    QCOMPARE(poll(m_folder.filePath("file/ekey.csv")), -3);
    QCOMPARE(poll(QString()), -3);
#ifdef Q_OS_UNIX
    QCOMPARE(poll("/dev/zero"), -1); // a device without end
#endif
}

/// Lines of all lengths around a block's, written in pieces that end anywhere.
void TestCsvFollower::growsWhileItIsRead()
{
    QByteArrayList lines;
    QByteArray bytes;
    for (int i = 0; bytes.size() < 5 * CsvFollower::kBlockBytes; ++i) {
        lines += QByteArray::number(i) + QByteArray(i % 400 == 399 ? 300000 + i : i % 97, 'x');
        bytes += lines.last() + '\n';
    }
    QFile::remove(m_path);
    CsvFollower follower(m_path);
    QByteArrayList read;
    constexpr int piece = 70001;
    for (int at = 0; at < bytes.size(); at += piece) {
        write(m_path, bytes.mid(at, piece), QIODevice::Append);
        // Now one line at a time behind the writer, now up to its end.
        while (follower.poll() == CsvFollower::NewLine) {
            read += follower.line();
            if (at % 2 && at + piece < bytes.size())
                break;
        }
    }
    QVERIFY(read == lines);
}

void TestCsvFollower::endlessLine()
{
    write(m_path, QByteArray(CsvFollower::kMaxLineBytes + 100000, 'x') + "\nnext\n", QIODevice::WriteOnly);
    CsvFollower follower(m_path);
    QCOMPARE(follower.poll(), CsvFollower::NewLine);
    QVERIFY(follower.line() == QByteArray(CsvFollower::kMaxLineBytes, 'x'));
    QCOMPARE(follower.poll(), CsvFollower::NewLine);
    QCOMPARE(follower.line(), QByteArray("next"));
}

QTEST_GUILESS_MAIN(TestCsvFollower)
#include "tst_csvfollower.moc"
