#include "calcsite.h"
#include "files.h"
#include "rows.h"
#include "toolrun.h"

#include <QDir>

/// The program itself, on a site's file.
class TestZukReport : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void usage_data();
    void usage();
    void failures_data();
    void failures();
    void reports();
    void fullDisk();
    void lockedFile();

private:
    QString told(const QStringList &arguments) { return ToolRun(ZUK_REPORT, arguments).outcome(); }
    QStringList usual() const
    {
        return {"register", "--month", "2026-03", "--database", m_site->database().filePath()};
    }

    std::unique_ptr<CalcSite> m_site;
    QTemporaryDir m_folder;
};

void TestZukReport::initTestCase()
{
    m_site = std::make_unique<CalcSite>("2.3.2026 07:00 101; 15:30 102", QString("1-5 ") + kDay);
}

void TestZukReport::usage_data()
{
    const auto row = columns<QStringList, QString>({"arguments", "reason"});
    row("no report", {}, "one report is needed");
    row("unknown report", {"payslip"}, "unknown report: payslip");
    row("two reports", {"register", "statement"}, "unexpected: statement");
    row("no month", {"register", "--month", "2026-13"}, "is not a month");
    row("month and range", {"register", "--month", "2026-03", "--from", "2026-03-01"}, "not both");
    row("half a range", {"register", "--from", "2026-03-01"}, "--from needs --to");
    row("backwards", {"register", "--from", "2.3.2026", "--to", "1.3.2026"}, "ends before it begins");
    row("users", {"register", "--user", "Ana"}, "--user \"Ana\"");
    row("format", {"register", "--format", "docx"}, "is not text, csv or pdf");
    row("language", {"register", "--lang", "de"}, "--lang \"de\" is not sl or en");
    row("option", {"register", "--fast"}, "unknown option 'fast' (--help shows more)");
    row("empty database", {"register", "--database", ""}, "--database is empty");
}

void TestZukReport::usage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    const QString text = told(arguments);
    QVERIFY2(text.startsWith("2 zukreport: ") && text.contains(reason), qPrintable(text));
}

void TestZukReport::failures_data()
{
    const auto row = columns<QStringList, QString>({"arguments", "reason"});
    const QString text = writeFile(m_folder.filePath("no.db"), QByteArray("no database ").repeated(1000));
    row("no file", {"--database", "/no/such.db"}, "no such file");
    row("no database", {"--database", text}, "database");
    row("no employee", {"--user", "99"}, "there is no employee 99");
    row("no folder", {"--output", m_folder.filePath("no/such/file.csv")}, "cannot be written");
}

void TestZukReport::failures()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    const QString text = told(usual() + arguments);
    QVERIFY2(text.startsWith("1 ") && text.contains("zukreport: ") && text.contains(reason), qPrintable(text));
}

void TestZukReport::reports()
{
    QVERIFY(told({"--help"}).contains("Exit code: 0 done"));
    const QString text = told(usual() + QStringList{"--lang", "en"});
    QVERIFY2(text.startsWith("0 Record of working time\nNovak Ana\n"), qPrintable(text));
    QVERIFY(text.contains("Mon 2026-03-02") && text.contains("8:30"));
    // The name's end tells the form, and nothing is said.
    const QString path = m_folder.filePath("out.csv");
    QCOMPARE(told(usual() + QStringList{"--output", path}), QString("0 "));
    QVERIFY(contentOf(path).contains(",2026-03-02,07:00,15:30,"));
    QCOMPARE(told(usual() + QStringList{"--format", "pdf", "--output", m_folder.filePath("papers/")}), QString("0 "));
    QCOMPARE(QDir(m_folder.filePath("papers")).entryList(QDir::Files),
             QStringList{"register-2026-03-01-1-Novak-Ana.pdf"});
}

void TestZukReport::fullDisk()
{
    if (!QFile::exists("/dev/full"))
        QSKIP("no device that is always full");
    for (const char *format : {"text", "csv", "pdf"}) {
        QProcess shell;
        QStringList words{ZUK_REPORT};
        for (const QString &word : usual() + QStringList{"--format", format})
            words += '\'' + word + '\'';
        shell.start("/bin/sh", {"-c", words.join(' ') + " >/dev/full"});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.exitCode(), 1);
        QVERIFY(shell.readAllStandardError().contains("cannot be written"));
    }
    // No file may grow beyond 1 KiB: what is there stays, and nothing half is left beside it.
    const QString path = writeFile(m_folder.filePath("full.csv"), "before");
    QProcess shell;
    shell.start("/bin/sh",
                {"-c", "trap '' XFSZ; ulimit -f 1; " ZUK_REPORT " register --from 2026-01-01 --to 2026-12-31 "
                       "--database '" +
                           m_site->database().filePath() + "' --output '" + path + "'"});
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.exitCode(), 1);
    QCOMPARE(contentOf(path), QByteArray("before"));
    QCOMPARE(QDir(m_folder.path()).entryList({"full*"}, QDir::Files), QStringList{"full.csv"});
}

void TestZukReport::lockedFile()
{
    m_site->sql("PRAGMA locking_mode=EXCLUSIVE");
    m_site->sql("update employees set REMARK='held'");
    const QString text = told(usual());
    QVERIFY2(text.startsWith("1 ") && text.contains("another program holds it"), qPrintable(text));
}

QTEST_GUILESS_MAIN(TestZukReport)
#include "tst_zukreport.moc"
