#include "calc/rules/dayrules.h"
#include "rows.h"
#include "tools/zukadmin/daytimeline.h"
#include "tools/zukadmin/explanationtext.h"
#include "tools/zukadmin/explanationtimes.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

Q_DECLARE_METATYPE(Language)
Q_DECLARE_METATYPE(tools::zukadmin::DayTimeline)

using namespace tools::zukadmin;

namespace {

qint64 at(int day, int hour, int minute, int second = 0)
{
    return QDateTime(QDate(2026, 10, day), QTime(hour, minute, second)).toSecsSinceEpoch();
}

QAny eventOf(int number, qint64 time, const char *code, const char *use, const char *source = "terminal 3")
{
    return {{"N", number}, {"TIMESTAMP", time}, {"AC", code}, {"USE", use}, {"SOURCE", source}};
}

QAny pairOf(const QAny &from, const QAny &to, const QAny &category, int seconds)
{
    return {{"N", 1}, {"FROM", from}, {"TO", to}, {"CATEGORY", category}, {"SECONDS", seconds}};
}

QAny stepOf(const char *rule, const char *field, const QAny &before, const QAny &after, const char *setting,
            const QAny &value, const char *text = "")
{
    return {{"RULE", rule},       {"FIELD", field}, {"BEFORE", before}, {"AFTER", after},
            {"SETTING", setting}, {"VALUE", value}, {"TEXT", text}};
}

QAny idleOf(const char *rule, const char *why)
{
    return {{"RULE", rule}, {"WHY", why}};
}

/// Neither schedule, events nor settings.
QAny emptyDay(int day)
{
    return {{"USER", 3},
            {"NAME", "Žagar Ana"},
            {"DATE", at(day, 0, 0)},
            {"SCHEDULE", QAny()},
            {"EVENTS", QAny::list()},
            {"PAIRS", QAny::list()},
            {"STEPS", QAny::list()},
            {"IDLE", QAny::list({idleOf("paidLunch", "no settings"), idleOf("lunch", "no settings")})},
            {"RESULT", QAny{{"DELO", 0}, {"SKUPAJ", 0}, {"SALDO", QAny()}, {"PLUSMINUS", -28800}}}};
}

/// Work and a lunch. The arrival is late, the lunch too long, the working time is rounded.
QAny officeDay()
{
    QAny day = emptyDay(7);
    day["SCHEDULE"] =
        QAny{{"SHIFT", 1}, {"STARTB", 25200}, {"STARTE", 28800}, {"ENDB", 54000}, {"ENDE", 57600}, {"MINHOURS", 28800}};
    day["EVENTS"] = QAny::list({eventOf(1, at(7, 8, 14, 47), "101:Prihod", "arrival"),
                                eventOf(2, at(7, 8, 15, 13), "101:Prihod", "second tap"),
                                eventOf(3, at(7, 11, 58), "102:Odhod", "departure"),
                                eventOf(4, at(7, 11, 58), "101:Prihod", "arrival", "entered by Kos Bor"),
                                eventOf(5, at(7, 12, 29, 28), "103:Malica", "departure")});
    day["EVENTS"][4].insert("STORED", at(7, 12, 29, 20));
    day["PAIRS"] = QAny::list({pairOf(1, 3, "DELO", 13393), pairOf(4, 5, "MALICA", 1888)});
    day["STEPS"] = QAny::list({stepOf("arrivalWarning", "", QAny(), QAny(), "STARTE", "8:00", "Prepozen prihod 1 2"),
                               stepOf("paidLunch", "DC", 28332, 30220, "LUNCH", "0:30"),
                               stepOf("lunch", "DC", 30220, 30132, "LUNCH", "0:30"),
                               stepOf("workTimeRounding", "DC", 30132, 30000, "SALDO/WTROUNDTRH", 5, "Zaokrožitev")});
    day["IDLE"] = QAny::list(
        {idleOf("dayFactor", "off"), idleOf("maximumHours", "below its limit"), idleOf("addedHours", "off")});
    day["RESULT"] = QAny{{"DELO", 30000}, {"SKUPAJ", 30000}, {"SALDO", 1200}, {"PLUSMINUS", 1200}};
    return day;
}

/// Over midnight with an automatic lunch; the arrival is rounded.
QAny nightShift()
{
    QAny day = emptyDay(7);
    day["SCHEDULE"] = QAny{{"SHIFT", 3}, {"STARTB", 79200}, {"ENDE", 108000}};
    day["EVENTS"] = QAny::list(
        {eventOf(1, at(7, 21, 48), "101:Prihod", "arrival"), eventOf(2, at(8, 6, 40), "102:Odhod", "departure")});
    day["PAIRS"] = QAny::list({pairOf(1, QAny(), "DELO", 15120), pairOf(QAny(), 2, "DELO", 15000)});
    day["STEPS"] = QAny::list({stepOf("arrivalRounding", "IN", 78480, 79200, "SALDO/ARRINT15", 1, "Kompenzacija"),
                               stepOf("arrivalRounding", "DC", 30120, 29400, "SALDO/ARRINT15", 1),
                               stepOf("lateDeparture", "OUT", 110400, 108000, "ENDE", "6:00")});
    return day;
}

/// Of a server that knows more than this client.
QAny newerDay()
{
    QAny day = emptyDay(7);
    day["EVENTS"] = QAny::list({eventOf(1, at(7, 7, 0), "106:X", "seen twice", "gate")});
    day["STEPS"] = QAny::list({stepOf("bonus", "IN2", "a", "b", "BONUS/ON", 2, "Dodatek")});
    day["PAIRS"] = QAny::list({pairOf(1, 9, "BONUS", 600), pairOf(8, 9, QAny(), 60)});
    day["IDLE"] = QAny::list({idleOf("penalty", "too rich")});
    day["RESULT"].insert("EXTRA", 60);
    return day;
}

} // namespace

class TestExplanationText : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tells_data();
    void tells();
    void clockChange();
    void nothingSteersTheTerminal();
    void catalogueIsComplete();
    void timeline_data();
    void timeline();
    void times();
    void localeDecides();
};

void TestExplanationText::tells_data()
{
    // parts: in this order, however the lines are broken
    const auto row = columns<QAny, Language, QStringList>({"day", "language", "parts"});
    row("office day", officeDay(), Language::English,
        {"Žagar Ana (3), Wednesday, 7 October 2026 Shift 1: arrival from 07:00 to 08:00,",
         "departure from 15:00 to 16:00, required hours 8:00",
         "2 08:15:13 101:Prihod terminal 3 second tap of one passage, not counted",
         "4 11:58:00 101:Prihod entered by Kos Bor arrival", "departure; stored as 12:29:20",
         "11:58:00 12:29:28 0:31:28 lunch", "7:52:12 work as of the pairs",
         "remark: arrival after the time to arrive (STARTE = 8:00)", "\"Prepozen prihod 1 2\"",
         "+0:31:28 8:23:40 the lunch is added", "-0:01:28 8:22:12 the lunch is longer than allowed",
         "-0:02:12 8:20:00 the working time is rounded down", "(SALDO/WTROUNDTRH = 5 min) \"Zaokrožitev\"",
         "the limit was not reached: maximum hours", "switched off or without a value: day factor, added hours",
         "SALDO +0:20", "Faults and remarks Ni Izhoda!"});
    row("office day in Slovenian", officeDay(), Language::Slovenian,
        {"Žagar Ana (3), sreda, 7. 10. 2026 Izmena 1: prihod od 07:00 do 08:00,", "D delo, M malica",
         "vnos: Kos Bor prihod", "+0:31:28 8:23:40 malica se prišteje",
         "izklopljeno ali brez vrednosti: faktor dneva, dodane ure"});
    row("night shift", nightShift(), Language::English,
        {"Shift 3: arrival from 22:00, departure until 06:00 (next day)", "06:40 (next day) 102:Odhod",
         "21:48 02:00 (next day) (automatic) 4:12 work", "02:30 (next day) (automatic) 06:40 (next day) 4:10 work",
         "8:22 work as of the pairs -0:12 8:10 the arrival is rounded up",
         "counts at 22:00 instead of 21:48 (SALDO/ARRINT15 = 1)",
         "counts at 06:00 (next day) instead of 06:40 (next day) (ENDE = 6:00)"});
    row("nothing at all", emptyDay(10), Language::Slovenian,
        {"sobota, 10. 10. 2026 Za ta dan ni urnika.", "Za ta dan ni dogodkov.", "Za ta dan ni popolnih parov.",
         "0:00 delovni čas; nobeno pravilo ga ni spremenilo", "zaposleni nima nastavitev obračuna: vsa pravila",
         "SALDO prazno", "PLUSMINUS -8:00"});
    row("names of a newer server", newerDay(), Language::Slovenian,
        {"o glej dogodke, + BONUS", "106:X gate seen twice", "07:00 07:10 0:10 BONUS", "? ? 0:01 brez vrste",
         "bonus: IN2 je b namesto a (BONUS/ON = 2) \"Dodatek\"", "too rich: penalty", "EXTRA 0:01"});
}

void TestExplanationText::tells()
{
    QFETCH(QAny, day);
    QFETCH(Language, language);
    QFETCH(QStringList, parts);
    QString text = explanationText(day, {"Ni Izhoda!"}, language);
    text.replace(QRegularExpression("\\s+"), " ");
    int position = 0;
    for (const QString &part : qAsConst(parts)) {
        const int found = text.indexOf(part, position);
        QVERIFY2(found >= 0, qPrintable("missing or too early: " + part + "\n" + text));
        position = found + part.size();
    }
}

/// The night of nine hours: the clock's times as they were, the length as it passed.
void TestExplanationText::clockChange()
{
    QAny day = emptyDay(24);
    day["EVENTS"] =
        QAny::list({eventOf(1, at(24, 22, 0), "101", "arrival"), eventOf(2, at(25, 6, 0), "102", "departure")});
    day["PAIRS"] = QAny::list({pairOf(1, 2, "DELO", static_cast<int>(at(25, 6, 0) - at(24, 22, 0)))});
    const QString text = explanationText(day, {}, Language::English);
    QVERIFY2(text.contains("22:00  06:00 (next day)    9:00  work"), qPrintable(text));
    QVERIFY2(!text.contains("time zone"), qPrintable(text));
    day["DATE"] = at(24, 0, 0) - 3600; // midnight of a zone in the east
    const QString other = explanationText(day, {}, Language::English);
    QVERIFY2(other.contains("Saturday, 24 October 2026") && other.contains("time zone"), qPrintable(other));
}

void TestExplanationText::nothingSteersTheTerminal()
{
    QAny day = newerDay();
    const QString evil = "a\x1b[31m\nb\u009bc";
    day["NAME"] = evil;
    day["EVENTS"][0] = eventOf(1, at(7, 7, 0), qPrintable(evil), qPrintable(evil), qPrintable(evil));
    day["PAIRS"] = QAny::list({pairOf(1, QAny(), evil, 60)});
    day["STEPS"][0] = stepOf(qPrintable(evil), qPrintable(evil), evil, evil, qPrintable(evil), evil, qPrintable(evil));
    day["IDLE"] = QAny::list({idleOf(qPrintable(evil), qPrintable(evil))});
    day["RESULT"] = QAny{{evil, evil}};
    const QString text = explanationText(day, {evil}, Language::Slovenian);
    for (const QChar c : text)
        QVERIFY2(c == '\n' || c.category() != QChar::Other_Control, qPrintable(text));
    QVERIFY2(!text.contains("\nb"), qPrintable(text));
}

void TestExplanationText::catalogueIsComplete()
{
    const QStringList reasons{"no settings", "rules skipped", "after today",   "off",
                              "no schedule", "free day",      "nothing to do", "below its limit"};
    const QStringList uses{"arrival", "departure", "other half missing",       "second tap",
                           "doubled", "no code",   "deleted by an hour check", "outside the period"};
    const QStringList categories{"DELO",   "DOPUST", "BOLNIŠKA", "TEREN",    "SALDOURE", "IZRDOPUST",
                                 "ODDOMA", "DRUGO",  "MALICA",   "SLUŽBENO", "ZASEBNO"};
    const ExplanationWords sl(Language::Slovenian);
    const ExplanationWords en(Language::English);
    const auto isTold = [](const QString &slovenian, const QString &english, const QString &name) {
        return slovenian != name && !slovenian.isEmpty() && !english.isEmpty() && slovenian != english;
    };
    for (const calc::rules::DayRule &rule : Calc21sett::inOrder()) {
        const QString name = rule.name;
        QVERIFY2(isTold(sl.rule(name), en.rule(name), name), qPrintable(name));
        QVERIFY2(isTold(sl.done(name, {}), en.done(name, {}), name), qPrintable(name));
    }
    for (const QString &name : reasons)
        QVERIFY2(isTold(sl.why(name), en.why(name), name), qPrintable(name));
    for (const QString &name : uses)
        QVERIFY2(isTold(sl.use(name), en.use(name), name), qPrintable(name));
    for (const ExplanationWords &words : {sl, en}) {
        QSet<QChar> letters;
        for (const QString &name : categories) {
            QVERIFY2(isTold(sl.category(name), en.category(name), name), qPrintable(name));
            letters.insert(words.letter(name));
        }
        QCOMPARE(letters.size(), categories.size());
    }
}

void TestExplanationText::timeline_data()
{
    const auto row = columns<DayTimeline, QStringList>({"day", "rows"}); // those below the scale
    const auto hours = [](double hour) { return static_cast<qint64>(hour * 3600); };
    DayTimeline day;
    row("nothing", day, QStringList{});
    day.window = {hours(1), hours(2), hours(4), hours(5)};
    row("window", day, QStringList{"   ===------==="});
    day.window = {std::nullopt, hours(2), std::nullopt, hours(4)};
    row("window without its outer start", day, QStringList{"      ------"});
    day = {};
    day.marks = {{hours(1), '>', false}, {hours(3), '<', true},    {hours(3), '>', false},
                 {hours(4), '<', true},  {hours(1.1), 'x', false}, {hours(-1), '>', false}};
    day.bars = {{hours(1), hours(3), 'D'}, {hours(3), hours(4), 'M'}};
    row("marks over the ends of the bars", day, QStringList{"   *    <> <", "   DDDDDDMMM"});
    day = {};
    day.bars = {{hours(1), hours(2), 'D'}, {hours(2), hours(2.05), 'Z'}, {hours(2.05), hours(3), 'D'}};
    row("minutes between hours stay visible", day, QStringList{"   DDDZDD"});
    day.bars = {{hours(22), hours(30), 'D'}};
    row("past midnight", day, QStringList{QString(44, ' ') + QString(16, 'D')});
    day.bars = {{hours(70), hours(100), 'D'}};
    row("past all that is shown", day, QStringList{QString(70, ' ') + "D~"});
}

void TestExplanationText::timeline()
{
    QFETCH(DayTimeline, day);
    QTEST(QStringList(day.lines().mid(DayTimeline::kScaleLines)), "rows");
    QCOMPARE(day.lines().at(0).left(2), "00");
}

void TestExplanationText::times()
{
    const ExplanationWords words(Language::Slovenian);
    const ExplanationTimes minutes(words, std::vector<qint64>{60, -1200});
    QCOMPARE(minutes.clock(-3600), "23:00 (prejšnji dan)");
    QCOMPARE(minutes.clock(3 * 86400), "00:00 (dan +3)");
    QCOMPARE(minutes.duration(612000), "170:00");
    QCOMPARE(minutes.change(0), "0:00");
}

void TestExplanationText::localeDecides()
{
    const auto languageIn = [](const char *all, const char *messages, const char *language) {
        qputenv("LC_ALL", all);
        qputenv("LC_MESSAGES", messages);
        qputenv("LANG", language);
        return languageOfLocale();
    };
    QCOMPARE(languageIn("", "", "sl_SI.UTF-8"), Language::Slovenian);
    QCOMPARE(languageIn("", "C", "sl_SI"), Language::English);
    QCOMPARE(languageIn("sl", "C", "C"), Language::Slovenian);
    QCOMPARE(languageIn("", "", "de_AT.UTF-8"), Language::English);
}

QTEST_GUILESS_MAIN(TestExplanationText)
#include "tst_explanationtext.moc"
