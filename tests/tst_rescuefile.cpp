#include "files.h"
#include "storage/rescuefile.h"
#include "warnings.h"

#include <QTemporaryDir>
#include <QtTest>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#endif

using storage::RescueFile;
using storage::RescueLines;
using Lines = QList<QByteArray>;

namespace {

Lines linesOf(const QString &path)
{
    return RescueFile(path, 0).lines();
}

/// Each of them long enough for sectors of its own.
QByteArray longLine(char c)
{
    return "{\"NAME\":\"" + QByteArray(400, c) + "\"}";
}

} // namespace

class TestRescueFile : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup() { m_warnings.reset(); }

    void keptBeyondTheProcess();
    void killedAtAnyByte();
    void powerFailsWithSomeSectorsWritten();
    void damagedByte();
    void room();
    void cannotBeWritten();
    void deletedWhileOpen();

private:
    QString path() const { return m_folder->filePath("zuknetserver.rescue"); }
    QByteArray content() const { return contentOf(path(), {}); }
    static int told() { return Warnings::lines.filter(QRegularExpression("^RescueFile:")).count(); }
    /// The contents of a file before and after two appends, behind whose end lies what was there before.
    QList<QByteArray> history(const Lines &stale, const Lines &first, const Lines &second) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<Warnings> m_warnings;
};

void TestRescueFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_warnings = std::make_unique<Warnings>();
}

QList<QByteArray> TestRescueFile::history(const Lines &stale, const Lines &first, const Lines &second) const
{
    QFile::remove(path());
    RescueFile file(path(), 4096);
    bool isWritten = file.append(stale) && file.clear();
    QList<QByteArray> states{content()};
    for (const Lines &lines : {first, second}) {
        isWritten = isWritten && file.append(lines);
        states += content();
    }
    return isWritten ? states : QList<QByteArray>();
}

void TestRescueFile::keptBeyondTheProcess()
{
    const Lines odd{"{\"NAME\":\"Č »a\"}", "", " ", QByteArray("\0\x01 b", 4), "1 2 3"};
    {
        RescueFile file(path(), 4096);
        QCOMPARE(file.lines(), Lines());
        QVERIFY(file.append({}) && file.clear());
        QVERIFY(file.append(odd.mid(0, 2)) && file.append(odd.mid(2)));
    }
    {
        RescueFile file(path(), 4096);
        QVERIFY(!file.clear()); // nobody has seen them
        QCOMPARE(file.lines(), odd);
        QCOMPARE(file.lines(), Lines());
        QVERIFY(file.append({"more"}));
    }
    {
        RescueFile file(path(), 4096);
        QCOMPARE(file.lines(), odd + Lines{"more"});
        QVERIFY(file.clear());
        QCOMPARE(linesOf(path()), Lines());
        QVERIFY(file.append({"new"}));
    }
    QCOMPARE(linesOf(path()), Lines{"new"});
    QCOMPARE(told(), 0);
    // The last one was not written to its end.
    const QByteArray whole = content();
    QVERIFY(RescueFile(path(), 0).append({"torn"}));
    QVERIFY(QFile::resize(path(), whole.indexOf("new") + 20));
    QCOMPARE(linesOf(path()), Lines{"new"});
    QCOMPARE(told(), 1);
}

void TestRescueFile::killedAtAnyByte()
{
    // Behind the end: nothing but room, longer lines, the same lines, and lines that end where the new ones end.
    for (const Lines &stale : {Lines(), Lines{"old-1", "old-2", longLine('o'), "old-4"}, Lines{"b-1", "b-2", "b-3"},
                               Lines{"x-1", "x-2", "x-3", "x-4", "x-5"}}) {
        const QList<QByteArray> states = history(stale, {"b-1", "b-2"}, {"b-3"});
        QCOMPARE(states.size(), 3);
        for (int i = 1; i < states.size(); ++i) {
            const QByteArray &after = states.at(i);
            for (int cut = 0; cut <= 400; ++cut) {
                const QByteArray whole = after.left(cut) + states.at(i - 1).mid(cut);
                for (const QByteArray &bytes : {whole, after.left(cut)}) {
                    Lines expected;
                    for (const char *line : {"b-1", "b-2", "b-3"}) {
                        const int end = after.indexOf('\n', after.indexOf(line)) + 1;
                        if (after.contains(line) && bytes.left(end) == after.left(end) &&
                            (i == 2 || line != QByteArray("b-3")))
                            expected += line;
                    }
                    QVERIFY2(RescueLines::parse(bytes).lines == expected, qPrintable(QString::number(cut)));
                }
            }
        }
    }
}

/// The second append did not return: any of its sectors may be on the disk.
void TestRescueFile::powerFailsWithSomeSectorsWritten()
{
    constexpr int kSector = 512;
    const Lines first{longLine('a'), longLine('b')};
    const Lines second{longLine('c'), longLine('d'), longLine('e')};
    const QList<QByteArray> states = history(
        {longLine('1'), longLine('2'), longLine('3'), longLine('4'), longLine('5'), longLine('6'), longLine('7')},
        first, second);
    QCOMPARE(states.size(), 3);
    for (int written = 0; written < 1 << 6; ++written) {
        QByteArray bytes = states.at(1);
        for (int i = 0; i < 6; ++i) {
            if (written & 1 << i)
                bytes.replace((i + 1) * kSector, kSector, states.at(2).mid((i + 1) * kSector, kSector));
        }
        const RescueLines parsed = RescueLines::parse(bytes);
        const Lines found = parsed.lines;
        QCOMPARE(found.mid(0, 2), first);
        for (int i = 2; i < found.size(); ++i)
            QVERIFY2(second.contains(found.at(i)) && found.count(found.at(i)) == 1, found.at(i).constData());
        // Who goes on writes behind the last whole line.
        const QByteArray next = RescueLines::record(parsed.filling, parsed.number + 1, "next") + '\0';
        bytes.replace(static_cast<int>(parsed.end), next.size(), next);
        QCOMPARE(RescueLines::parse(bytes).lines, found + Lines{"next"});
    }
}

void TestRescueFile::damagedByte()
{
    const Lines lines{"line-1", "line-2", "line-3"};
    QVERIFY(RescueFile(path(), 0).append(lines));
    const QByteArray whole = content();
    for (int position = 0; position < whole.size(); ++position) {
        Lines expected;
        for (int i = 0; i < lines.size(); ++i) {
            const int begin = whole.lastIndexOf('\n', whole.indexOf(lines.at(i)));
            const int end = whole.indexOf('\n', begin + 1);
            // The line feed before it belongs to both, unless it ends the first line of the file.
            if (position > end || position < begin || (position == begin && i == 0))
                expected += lines.at(i);
        }
        QByteArray damaged = whole;
        damaged[position] = '\x07';
        const RescueLines parsed = RescueLines::parse(damaged);
        QVERIFY2(parsed.lines == expected && parsed.isDamaged, qPrintable(QString::number(position)));
    }
}

void TestRescueFile::room()
{
    constexpr int kRoom = 1000;
    RescueFile file(path(), kRoom);
    QCOMPARE(content(), QByteArray(kRoom, '\0'));
    QVERIFY(file.append({"short"}));
    QCOMPARE(content().size(), kRoom);
    // More than it was made for.
    const Lines lines{longLine('a'), longLine('b'), longLine('c')};
    QVERIFY(file.append(lines));
    QCOMPARE(linesOf(path()), Lines{"short"} + lines);
    QVERIFY(file.clear());
    QCOMPARE(content().size(), kRoom);
    QCOMPARE(linesOf(path()), Lines());
    // One that was begun with less room gets more.
    const RescueFile larger(path(), 2 * kRoom);
    QCOMPARE(content().size(), 2 * kRoom);
}

void TestRescueFile::cannotBeWritten()
{
    const QString inFolder = m_folder->filePath("missing/zuknetserver.rescue");
    RescueFile file(inFolder, 0);
    QVERIFY(!file.append({"a"}) && !file.append({"a"}));
    QCOMPARE(told(), 1);
    QVERIFY(QDir(m_folder->path()).mkdir("missing"));
    QVERIFY(file.append({"a"}));
    QCOMPARE(linesOf(inFolder), Lines{"a"});
#ifdef Q_OS_UNIX
    // A full disk takes what there is room for.
    constexpr int kRoom = 1000;
    RescueFile full(path(), kRoom);
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    struct rlimit limit = before;
    limit.rlim_cur = kRoom;
    setrlimit(RLIMIT_FSIZE, &limit);
    const auto restore = qScopeGuard([&before] { setrlimit(RLIMIT_FSIZE, &before); });
    Warnings::lines.clear();
    QVERIFY(full.append({"b", longLine('b')}));
    QVERIFY(!full.append({"c", longLine('c'), longLine('d')}) && !full.append({longLine('d'), longLine('d')}));
    QCOMPARE(told(), 1);
    QCOMPARE(linesOf(path()), (Lines{"b", longLine('b')}));
    QVERIFY(full.append({"c"}));
    QVERIFY(!full.append({longLine('d'), longLine('d')}));
    QCOMPARE(told(), 2);
    QCOMPARE(linesOf(path()), (Lines{"b", longLine('b'), "c"}));
#endif
}

void TestRescueFile::deletedWhileOpen()
{
    RescueFile file(path(), 1000);
    QVERIFY(file.append({"a"}));
    QVERIFY(QFile::remove(path()));
    QVERIFY(file.append({"b"}));
    QCOMPARE(linesOf(path()), Lines({"a", "b"}));
    QVERIFY(file.clear());
    QCOMPARE(linesOf(path()), Lines());
    // Another process's, who knows.
    QVERIFY(QFile::remove(path()));
    QVERIFY(RescueFile(path(), 0).append({"theirs"}));
    QVERIFY(!file.append({"c"}));
    QCOMPARE(linesOf(path()), Lines{"theirs"});
}

QTEST_GUILESS_MAIN(TestRescueFile)
#include "tst_rescuefile.moc"
