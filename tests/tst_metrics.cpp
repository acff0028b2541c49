// The figures of the server for who watches it: their format, their file, and what is known of events.

#include "server/host/metricsfile.h"
#include "server/host/metricstext.h"
#include "server/logger/eventfigures.h"
#include "warnings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using server::host::MetricsFile;
using server::host::MetricsText;
using server::logger::EventFigures;

class TestMetrics : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void text();
    void fileIsReplaced();
    void folderThatIsMissing();
    void events();
};

void TestMetrics::text()
{
    MetricsText text;
    text.metric("a_total", MetricsText::Counter, "So many.").sample(1795350310);
    text.metric("b", MetricsText::Gauge, "Now.").sample("kind", "a\"b\\c\nd", 0.25).sample("kind", "e", -3);
    QCOMPARE(text.text(), QByteArray("# HELP a_total So many.\n# TYPE a_total counter\na_total 1795350310\n"
                                     "# HELP b Now.\n# TYPE b gauge\nb{kind=\"a\\\"b\\\\c\\nd\"} 0.25\nb{kind=\"e\"} "
                                     "-3\n"));
}

void TestMetrics::fileIsReplaced()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("zuk.prom");
    const auto content = [&path] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    {
        int told = 0;
        MetricsFile file(path, [&told] { return QByteArray::number(++told); });
        QCOMPARE(content(), QByteArray("1"));
        QVERIFY(QFile::permissions(path) & QFile::ReadOther);
        file.setInterval(1);
        QTRY_VERIFY(content().toInt() > 2);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList("zuk.prom"));
    }
    QVERIFY(!QFile::exists(path));
}

void TestMetrics::folderThatIsMissing()
{
    const QTemporaryDir folder;
    const Warnings warnings;
    MetricsFile file(folder.filePath("none/zuk.prom"), [] { return QByteArray("x"); });
    file.setInterval(1);
    QTest::qWait(20);
    QCOMPARE(Warnings::lines.size(), 1);
    QVERIFY(Warnings::lines.first().contains("can't write"));
    QVERIFY(QDir(folder.path()).mkdir("none"));
    QTRY_VERIFY(QFile::exists(folder.filePath("none/zuk.prom")));
    QCOMPARE(Warnings::lines.size(), 2);
}

void TestMetrics::events()
{
    EventFigures figures;
    figures.noteStored(3, 0);             // has none
    figures.noteStored(4, 1000);          // known from the file
    figures.noteAcknowledged(4, 0, 5000); // under another terminal's number
    figures.noteAcknowledged(5, 2000, 2060);
    figures.noteAcknowledged(5, 1500, 2070); // an older one comes later
    QCOMPARE(figures.acknowledged(), 3u);
    QCOMPARE(figures.terminals().size(), size_t(2));
    QCOMPARE(figures.terminals().at(4).newest, 1000);
    QCOMPARE(figures.terminals().at(5).newest, 2000);
    QCOMPARE(figures.terminals().at(5).delay, 570);
    for (int terminal = 100; terminal < 100 + int(EventFigures::kMaxTerminals); ++terminal)
        figures.noteStored(terminal, 1);
    QCOMPARE(figures.terminals().size(), EventFigures::kMaxTerminals);
    figures.noteAcknowledged(5, 3000, 3000);
    QCOMPARE(figures.terminals().at(5).newest, 3000);
}

QTEST_GUILESS_MAIN(TestMetrics)
#include "tst_metrics.moc"
