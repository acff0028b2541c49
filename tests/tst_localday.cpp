#include "calc/rules/localday.h"
#include "calc/rules/timeformat.h"
#include "rows.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <QTest>
#include <QTimeZone>

using namespace calc::rules;

class TestLocalDay : public QObject
{
    Q_OBJECT
private slots:
    void clockTimes_data();
    void clockTimes();
    void processZone();
    void leftOutDay();
    void readsAsQt();
    void tellsAnOffset();
};

static QString utcText(qint64 instant)
{
    return QDateTime::fromSecsSinceEpoch(instant, Qt::UTC).toString("yyyy-MM-dd HH:mm:ss");
}

void TestLocalDay::clockTimes_data()
{
    // expected: UTC, the second one behind "/"
    const auto row = columns<QString, QString, QString>({"zone", "time", "expected"});
    const char *const here = "Europe/Ljubljana", *const brazil = "America/Sao_Paulo";
    row("summer", here, "2026-07-05 08:00", "2026-07-05 06:00:00");
    row("spring, before the change", here, "2026-03-29 01:59", "2026-03-29 00:59:00");
    row("spring, first minute skipped", here, "2026-03-29 02:00", "skipped 2026-03-29 01:00:00");
    row("spring, last minute skipped", here, "2026-03-29 02:59", "skipped 2026-03-29 01:00:00");
    row("spring, after the change", here, "2026-03-29 03:00", "2026-03-29 01:00:00");
    row("autumn, before the hour", here, "2026-10-25 01:59", "2026-10-24 23:59:00");
    row("autumn, first minute twice", here, "2026-10-25 02:00", "2026-10-25 00:00:00/2026-10-25 01:00:00");
    row("autumn, last minute twice", here, "2026-10-25 02:59", "2026-10-25 00:59:00/2026-10-25 01:59:00");
    row("autumn, behind the hour", here, "2026-10-25 03:00", "2026-10-25 02:00:00");
    // Brazil changed its clocks at midnight.
    row("midnight skipped", brazil, "2018-11-04 00:30", "skipped 2018-11-04 03:00:00");
    row("behind a skipped midnight", brazil, "2018-11-04 01:00", "2018-11-04 03:00:00");
    row("the last hour twice", brazil, "2018-02-17 23:30", "2018-02-18 01:30:00/2018-02-18 02:30:00");
    row("the day behind it", brazil, "2018-02-18 00:00", "2018-02-18 03:00:00");
    row("half an hour", "Australia/Lord_Howe", "2026-04-05 01:45", "2026-04-04 14:45:00/2026-04-04 15:15:00");
}

void TestLocalDay::clockTimes()
{
    QFETCH(QString, zone);
    QFETCH(QString, time);
    const LocalDay local(QDate::fromString(time.left(10), Qt::ISODate), QTimeZone(zone.toLatin1()));
    const qint64 clock = QTime::fromString(time.mid(11), "HH:mm").msecsSinceStartOfDay() / 1000;
    const LocalDay::Instants shown = local.instantsOf(clock);
    QString found = (shown.isSkipped ? "skipped " : "") + utcText(shown.first);
    if (shown.isTwice())
        found += '/' + utcText(shown.second);
    QTEST(found, "expected");
    if (shown.isSkipped)
        return;
    for (const qint64 instant : {shown.first, shown.second}) {
        QVERIFY(local.contains(instant));
        QCOMPARE(local.clockSeconds(instant), clock);
    }
}

/// Each day as long as its hours, one behind the other.
void TestLocalDay::processZone()
{
    const std::vector<LocalDay> days = LocalDay::range({2026, 1, 1}, {2026, 12, 31});
    QCOMPARE(days.size(), size_t(365));
    qint64 end = QDateTime({2025, 12, 31}, {23, 0}, Qt::UTC).toSecsSinceEpoch();
    for (const LocalDay &day : days) {
        QCOMPARE(day.begin(), end);
        end = LocalDay(day.date()).end();
        const int hours = day.date() == QDate(2026, 3, 29) ? 23 : day.date() == QDate(2026, 10, 25) ? 25 : 24;
        QCOMPARE(day.end() - day.begin(), hours * 3600);
        QCOMPARE(day.change() < day.end(), hours != 24);
    }
    QCOMPARE(LocalDay::range({2026, 1, 2}, {2026, 1, 1}).size(), size_t(0));
}

/// Samoa went from one side of the date line to the other.
void TestLocalDay::leftOutDay()
{
    const QTimeZone zone("Pacific/Apia");
    const LocalDay none({2011, 12, 30}, zone);
    QCOMPARE(utcText(none.begin()), "2011-12-30 10:00:00");
    QCOMPARE(none.end(), none.begin());
    QVERIFY(none.instantsOf(12 * 3600).isSkipped);
    QCOMPARE(LocalDay({2011, 12, 29}, zone).end(), none.begin());
    QCOMPARE(LocalDay({2011, 12, 31}, zone).begin(), none.end());
}

/// Any digits and separators, right and wrong ones; but also the times that the local clock skips.
void TestLocalDay::readsAsQt()
{
    QRandomGenerator random(1);
    int valid = 0;
    for (const char *text : {"d.M.yyyy hh:mm:ss", "dd.MM.yyyy HH:mm", "h:m:s d/M/yyyy", "d.M.yy hh:mm",
                             "d. MMM yyyy hh:mm", "ddMMyyyy hh:mm", "d.M.yyyy", "d.d.yyyy hh:mm", "d.M.yyyy h:mm ap"}) {
        const TimeFormat format(text);
        for (int i = 0; i < 3000; ++i) {
            QDateTime time(QDate(2025, 1, 1), QTime(), Qt::UTC);
            time = time.addSecs(random.bounded(31536000));
            QString field = time.toString(random.bounded(2) ? QString(text) : QString(text).replace("d.M", "dd.MM"));
            if (random.bounded(3) == 0)
                field[random.bounded(field.size())] = QLatin1Char("0123456789.: x"[random.bounded(14)]);
            const auto found = format.read(field);
            if (found && LocalDay(found->date).instantsOf(found->second).isSkipped)
                continue;
            const QDateTime expected = QDateTime::fromString(field, text);
            QVERIFY2(found.has_value() == expected.isValid() &&
                         (!found || (found->date == expected.date() && !found->offset &&
                                     found->second == expected.time().msecsSinceStartOfDay() / 1000)),
                     qPrintable(QString(text) + ": " + field));
            valid += expected.isValid();
        }
    }
    QVERIFY(valid > 10000);
    for (const char *text : {"d.M.yyyy h:mm", "d. MMM yyyy hh:mm"})
        QVERIFY(TimeFormat(text).read(QDateTime({2025, 3, 30}, {2, 30}, Qt::UTC).toString(text)));
}

void TestLocalDay::tellsAnOffset()
{
    const auto utc = [](const std::optional<WrittenTime> &time) {
        return time && time->offset ? utcText(time->asUtc() - *time->offset) : QString();
    };
    QCOMPARE(utc(TimeFormat("d.M.yyyy hh:mm t").read("1.7.2026 08:00 +02:30")), "2026-07-01 05:30:00");
    QCOMPARE(utc(TimeFormat::readIso("1969-12-31T23:00:30-0100")), "1970-01-01 00:00:30");
    QCOMPARE(utc(TimeFormat::readIso("2026-07-01 08:00Z")), "2026-07-01 08:00:00");
    QVERIFY(!TimeFormat::readIso("2026-07-01 08:00")->offset);
    QVERIFY(!TimeFormat("d.M.yyyy 'at' hh:mm").read("1.7.2026 at 08:00")->offset);
    for (const char *text : {"20-10-25 02:30", "2026-07-01", "2026-07-01 08:00+", "2026-07-01 08:00+15:00",
                             "2026-07-01 08:00Zx", "2026-07-01 08:00:00.", "2026-07-01 08:60"})
        QVERIFY2(!TimeFormat::readIso(text), text);
}

QTEST_GUILESS_MAIN(TestLocalDay)
#include "tst_localday.moc"
