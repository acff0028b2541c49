#include "calc/input/settingsstore.h"
#include "calcsite.h"

using namespace calc;

namespace {
const QString kMonday = "2.3.2026";
const QString kShiftPair = "2.3. 07:00-15:00 102 8:00";
} // namespace

/// Where the settings of a calculation come from and how they are stored.
class TestCalcSettings : public QObject
{
    Q_OBJECT
private slots:
    void settingsOfTheRequestReplaceTheStored();
    void settingsAreStoredWhole();
    void tapsOfOnePassageAreSetBesideTheSettings_data();
    void tapsOfOnePassageAreSetBesideTheSettings();
    void tapsOfOnePassageAreOne();

private:
    std::unique_ptr<CalcSite> m_site; ///< of the rows of a function
};

void TestCalcSettings::settingsOfTheRequestReplaceTheStored()
{
    CalcSite site("07:00:40 101; 15:00 102");
    QAny request{{"STARTDATE", kMonday}, {"ENDDATE", kMonday}};
    site.storeConfig("CALCWTIMES", "{\"ISROUND30\":true}");
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:01-15:00 102 7:59"));
    request["SETT"] = QAny(QAny::Hash);
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:00:40-15:00 102 7:59:20"));
    request.remove("SETT");
    site.storeConfig("CALCWTIMES", "{ISROUND30");
    QCOMPARE(site.run(request).pairTexts(1), QString("2.3. 07:00:40-15:00 102 7:59:20"));
}

void TestCalcSettings::settingsAreStoredWhole()
{
    const QStringList keys = QString("ISROUND30 NEAREVENTS AUTOEVENTS STARTOFF ENDOFF NEAREVLEN ISSEC ISSETT CALCREM "
                                     "SHOWNOEV ISTREE ISDEBUG ISSUMSUM ISAUTOCALC EARLYEXIT ISACS ISCODES ISZUKEV "
                                     "ISSRVCALC TIPRERAZ NOMETASETT ISTEST ISTZ")
                                 .split(' ');
    const QStringList numbers{"STARTOFF", "ENDOFF", "NEAREVLEN", "CALCREM", "SHOWNOEV", "EARLYEXIT"};
    CalcSite site;
    QAny written = input::settingsHash({});
    QCOMPARE(written.keys(), keys);
    for (const QString &key : keys) { // each on its own, so that no two can be mixed up
        QAny one = written.deepCopy();
        one[key] = numbers.contains(key) ? QAny(7) : QAny(true);
        one["OWN"] = "kept";
        input::saveSettings(site.database(), one);
        QCOMPARE(QAny::fromJson(site.database().configValue("CALCWTIMES")), one);
        one.remove("OWN");
        QCOMPARE(input::settingsHash(input::loadSettings(site.database())), one);
    }
    QCOMPARE(input::settingsHash(input::settingsFromHash(QAny::list())), written);
}

void TestCalcSettings::tapsOfOnePassageAreSetBesideTheSettings_data()
{
    m_site = std::make_unique<CalcSite>();
    columns<QString, QAny, qint64>("stored", "request", "seconds");
    const auto row = [](const char *name, const QString &stored, const QAny &request, qint64 seconds) {
        addRow(name, stored, request, seconds);
    };
    const auto wanting = [](const QAny &seconds) { return QAny{{"DOUBLETAP", seconds}}; };
    const QAny nothing(QAny::Hash);
    row("stored", "120", nothing, 120);
    row("stored as nothing", "", nothing, 0);
    row("stored as a text that is none", "dve minuti", nothing, 0);
    row("stored below nothing", "-5", nothing, 0);
    row("asked for", "120", wanting(60), 60);
    row("asked for as a text", "120", wanting("60"), 60);
    row("asked off", "120", wanting(0), 0);
    row("asked off as a text", "120", wanting("0"), 0);
    row("asked for by a text that is none", "120", wanting("dve minuti"), 0);
    row("asked below nothing", "120", wanting(-5), 0);
    row("more than an hour", "120", wanting(7200), 3600);
    row("no key of the settings", "120", QAny{{"SETT", wanting(60)}}, 120);
}

void TestCalcSettings::tapsOfOnePassageAreSetBesideTheSettings()
{
    QFETCH(QString, stored);
    QFETCH(QAny, request);
    QFETCH(qint64, seconds);
    m_site->storeConfig("DOUBLETAP", stored);
    QCOMPARE(input::doubleTapSecondsOf(m_site->database(), request), seconds);
}

void TestCalcSettings::tapsOfOnePassageAreOne()
{
    CalcSite site("07:00 101; 07:01:40 101; 14:59 102; 15:00 102");
    QAny request = CalcSite::request(kMonday, kMonday);
    const QString separate = "2.3. 07:00- 0:00; 2.3. 07:01:40-14:59 102 7:57:20; 2.3. -15:00 102 0:00";
    QCOMPARE(site.run(request).pairTexts(1), separate);
    site.storeConfig("DOUBLETAP", "100");
    QCOMPARE(site.run(request).pairTexts(1), kShiftPair);
    request["DOUBLETAP"] = 0;
    QCOMPARE(site.run(request).pairTexts(1), separate);
}

QTEST_GUILESS_MAIN(TestCalcSettings)
#include "tst_calc_settings.moc"
