#include "rows.h"
#include "server/process/localtime.h"

#include <QDateTime>
#include <QTest>
#include <QTimeZone>

#include <ctime>

/// Which zone the process keeps to.
class TestLocalTime : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void keepsTheZone_data();
    void keepsTheZone();
};

void TestLocalTime::keepsTheZone_data()
{
    const auto row = columns<QByteArray, QByteArray>({"before", "after"});
#ifdef Q_OS_UNIX
    row("the system's", QByteArray(), ":/etc/localtime");
#else
    row("the system's", QByteArray(), QByteArray());
#endif
    row("a zone of its own", "America/New_York", "America/New_York");
    row("empty, which is UTC", "", "");
}

void TestLocalTime::keepsTheZone()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    if (before.isNull())
        qunsetenv("TZ");
    else
        qputenv("TZ", before);
    tzset();
    const auto shown = [] {
        QStringList texts{QString::fromLatin1(QTimeZone::systemTimeZoneId())};
        for (const int month : {1, 7}) {
            const QDateTime time(QDate(2026, month, 1), QTime(12, 0));
            texts << QString::number(time.toSecsSinceEpoch()) << time.timeZoneAbbreviation()
                  << QString::number(QTimeZone::systemTimeZone().offsetFromUtc(time));
        }
        return texts;
    };
    const QStringList zone = shown();
    server::process::keepTimeZone();
    QCOMPARE(qgetenv("TZ"), after);
    QCOMPARE(qEnvironmentVariableIsSet("TZ"), !after.isNull());
    QCOMPARE(shown(), zone);
}

QTEST_GUILESS_MAIN(TestLocalTime)
#include "tst_localtime.moc"
