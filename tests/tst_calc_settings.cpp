#include "calc/input/settingsstore.h"
#include "calcsite.h"

using namespace calc;

namespace {
const QString kMonday = "2.3.2026";

/// Name | stored | request | seconds.
constexpr char kTaps[] = R"(
stored                          | 120  | {}                       | 120
stored as nothing               |  | {}                           | 0
stored as a text that is none   | dve minuti | {}                 | 0
stored below nothing            | -5   | {}                       | 0
asked for                       | 120  | {"DOUBLETAP":60}         | 60
asked for as a text             | 120  | {"DOUBLETAP":"60"}       | 60
asked off                       | 120  | {"DOUBLETAP":0}          | 0
asked for by a text that is none | 120 | {"DOUBLETAP":"dve"}      | 0
asked below nothing             | 120  | {"DOUBLETAP":-5}         | 0
more than an hour               | 120  | {"DOUBLETAP":7200}       | 3600
no key of the settings          | 120  | {"SETT":{"DOUBLETAP":60}} | 120
)";
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

private:
    std::unique_ptr<CalcSite> m_site; ///< of the rows of a function
};

void TestCalcSettings::settingsOfTheRequestReplaceTheStored()
{
    CalcSite site("7:00:40-15");
    QAny request{{"STARTDATE", kMonday}, {"ENDDATE", kMonday}};
    site.storeConfig("CALCWTIMES", "{\"ISROUND30\":true}");
    QCOMPARE(site.run(request).pairs(), QString("2.3. 07:01-15:00 102 7:59"));
    request["SETT"] = QAny(QAny::Hash);
    QCOMPARE(site.run(request).pairs(), QString("2.3. 07:00:40-15:00 102 7:59:20"));
    request.remove("SETT");
    site.storeConfig("CALCWTIMES", "{ISROUND30");
    QCOMPARE(site.run(request).pairs(), QString("2.3. 07:00:40-15:00 102 7:59:20"));
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
    addTable(kTaps);
}

void TestCalcSettings::tapsOfOnePassageAreSetBesideTheSettings()
{
    QFETCH(TableRow, row);
    m_site->storeConfig("DOUBLETAP", row[0]);
    QCOMPARE(input::doubleTapSecondsOf(m_site->database(), QAny::fromJson(row[1])), row[2].toLongLong());
}

QTEST_GUILESS_MAIN(TestCalcSettings)
#include "tst_calc_settings.moc"
