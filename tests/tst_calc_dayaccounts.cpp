#include "calc/output/explanation.h"
#include "calc/output/records.h"
#include "calc/rules/dayrules.h"
#include "calcsite.h"

#include <QRandomGenerator>

using namespace calc;

namespace {

const QDate kFirstDay(2026, 3, 23); // a Monday, the clock is changed on the Sunday behind it
constexpr int kDays = 10;
constexpr int kEmployees = 50;

// One draw to a statement: the same days on every compiler.

/// Each of the words with an even chance.
QString someOf(const QString &words, QRandomGenerator &random)
{
    QStringList chosen;
    for (const QString &word : words.split(' ')) {
        if (random.bounded(2) == 0)
            chosen += word;
    }
    return chosen.join(' ');
}

QString oneOf(const QStringList &texts, QRandomGenerator &random)
{
    return texts[random.bounded(texts.count())];
}

QString randomSettings(QRandomGenerator &random)
{
    if (random.bounded(12) == 0)
        return {};
    const QString type = oneOf({"TYPE=EVENTTYPE", "TYPE=METAPERTYPE", "TYPE=MIXTYPE"}, random);
    return type +
           " SALDO/ARRINT=1 SALDO/WTROUNDTRH=7 SALDO/MAXHOURSLIM=8.5 OVERTIME/COMPDELTRH=60 HOURS/MAXHOURS=9 "
           "HOURS/ADDHOURSNUM=0.25 FACTOR/PUBHOL=1.5 META/FACTOR=1 " +
           someOf("WAR/EARLYARRWAR=1 WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1 WAR/LATEEXITWAR=1 SALDO/ARRINTIN=1 "
                  "SALDO/ARRINTOUT=1 SALDO/ARRINT60=1 SALDO/ARRINT10=1 SALDO/NWOUTIN=1 SALDO/NWOUTOUT=1 "
                  "SALDO/WTROUND=1 SALDO/MSXHOURS=1 SALDO/FORFREE=1 SALDO/EMPTYSALDO=1 OVERTIME/COMPDELAY=1 "
                  "OVERTIME/TRHIN=20 OVERTIME/TRHOUT=20 OVERTIME/ININT=1 OVERTIME/OUTINT=1 OVERTIME/COMPLUNCH=1 "
                  "SCHEDULE/FORFREE=1 FACTOR/ENABLED=1 HOURS/SHOWEMPTYDAYS=1 HOURS/TOOMANYHOURS=1 HOURS/LOWSALDO=1 "
                  "HOURS/TOOMANYFREEHOURS=1 HOURS/TOOMANYOVERHOURS=1 HOURS/ADDHOURS=1",
                  random);
}

QString randomSchedule(QRandomGenerator &random)
{
    const QString more = " FREEHOURS=0:20 OVERTIME=0:15" + oneOf({"", " LUNCH=0:30"}, random);
    return oneOf({kDay, QString("1-5 ") + kDay, kNight, QString("1-6 ") + kNight,
                  "STARTB=7:00 STARTE=8:00 ENDB=13:00 ENDE=14:00 MINHOURS=7:00 LUNCH=0:20 PLUNCH=0:05 ALUNCH=1 "
                  "ALUNCHSTART=10:00"},
                 random) +
           more;
}

QString event(qint64 time, const QString &code)
{
    return duration(time) + ' ' + code + "; ";
}

/// A day with a lunch that may take long, from morning or somewhat later to afternoon or evening.
QString ordinaryDay(QRandomGenerator &random)
{
    const qint64 arrival = seconds("5:30") + random.bounded(4 * 3600);
    const qint64 lunch = seconds("11:00") + random.bounded(3600);
    const qint64 back = lunch + random.bounded(3600);
    const qint64 departure = seconds("13:00") + random.bounded(7 * 3600);
    return event(arrival, "101") + event(lunch, "102") + event(lunch + 1, "101") + event(back, "103") +
           event(back + 2, "101") + event(departure, "102");
}

/// Passages of all kinds, some of them forgotten; also none.
QString oddDay(QRandomGenerator &random)
{
    const QStringList codes{"102", "102", "102:1", "102:3", "102:9", "103", "104", "105", "105"};
    QString script;
    qint64 time = seconds(oneOf({"4:50", "16:10", "20:00"}, random));
    time += random.bounded(9000);
    bool isIn = false;
    for (int left = random.bounded(9); left > 0 && time < 86400; --left) {
        isIn = random.bounded(12) == 0 ? isIn : !isIn;
        const QString kind = random.bounded(20) == 0 ? "/MP" : "";
        script += event(time, (isIn ? QString("101") : oneOf(codes, random)) + kind);
        time += random.bounded(random.bounded(2) == 0 ? 3600 : 5 * 3600);
    }
    return script;
}

QString randomEvents(QRandomGenerator &random)
{
    QString script;
    for (int day = 0; day < kDays; ++day) {
        const int kind = random.bounded(10);
        script += kFirstDay.addDays(day).toString("d.M.yyyy; ");
        // A few minutes are less than the rules may take.
        script += kind == 0 ? "7:01-7:06; " : kind < 5 ? ordinaryDay(random) : oddDay(random);
    }
    return script;
}

CalcRows randomCompany()
{
    QRandomGenerator random(20260302);
    CalcRows rows;
    for (int id = 1; id <= kEmployees; ++id) {
        const QString schedule = randomSchedule(random);
        rows.employee(id, "Novak Ana", schedule, randomSettings(random));
        rows.events(id, randomEvents(random));
    }
    rows.holiday("25.3.2026", "Dan upora");
    rows.holiday("26.3.2026", "1");
    rows.today = date("31.3.2026");
    return rows;
}

QStringList namesOfRules()
{
    QStringList names;
    for (const rules::DayRule &rule : Calc21sett::inOrder())
        names += rule.name;
    names.sort();
    return names;
}

/// What is wrong with the steps of a day whose rows before and after the rules are these; empty when nothing is.
QString faultOf(const QAny &entry, const QAny &before, const QAny &after)
{
    QHash<QString, QAny> shown{{"DC", before.value("DELO")}, {"IN", before.value("IN")}, {"OUT", before.value("OUT")}};
    QStringList rules, remarks;
    for (int i = 0; i < entry.value("STEPS").count(); ++i) {
        const QAny step = entry["STEPS"][i];
        const QString field = step.value("FIELD").toString(), text = step.value("TEXT").toString();
        if (field.isEmpty() ? text.isEmpty() : shown.value(field) != step.value("BEFORE"))
            return "does not follow: " + step.toJson();
        if (!field.isEmpty() && step.value("AFTER") == step.value("BEFORE"))
            return "changes nothing: " + step.toJson();
        shown[field] = step.value("AFTER");
        const QString rule = step.value("RULE").toString();
        const bool isFirst = rules.isEmpty() || rules.last() != rule;
        if (!isFirst && !text.isEmpty())
            return "text in a later step: " + step.toJson();
        if (isFirst)
            rules += rule;
        if (!text.isEmpty())
            remarks += text;
    }
    for (const auto &[field, column] : {std::pair("DC", "DELO"), std::pair("IN", "IN"), std::pair("OUT", "OUT")}) {
        if (shown.value(field) != after.value(column))
            return QString("the day shows another %1").arg(field);
    }
    if (QAny(remarks) != after.value("OPOMBA"))
        return "the day has other remarks: " + remarks.join("; ");
    for (int i = 0; i < entry.value("IDLE").count(); ++i)
        rules += entry["IDLE"][i].value("RULE").toString();
    rules.sort();
    return rules == namesOfRules() ? QString() : "not every rule once: " + rules.join(' ');
}

/// What the day row says of the result and of the pairs' categories, in the words of the entry.
QString rowFaultOf(const QAny &entry, const QAny &before, const QAny &after)
{
    for (const QString &column : entry.value("RESULT").keys()) {
        if (entry["RESULT"].value(column) != after.value(column))
            return "another " + column;
    }
    QHash<QString, qint64> sums;
    for (int i = 0; i < entry.value("PAIRS").count(); ++i)
        sums[entry["PAIRS"][i].value("CATEGORY").toString()] += entry["PAIRS"][i].value("SECONDS").toInteger();
    for (const char *category : {"DELO", "DOPUST", "MALICA", "SLUŽBENO", "ZASEBNO"}) {
        if (before.value(category) != QAny(sums.value(category)))
            return QString("pairs of another %1").arg(category);
    }
    return {};
}

} // namespace

/// Whatever the settings and the events are: the account of a day adds up to its row.
class TestCalcDayAccounts : public QObject
{
    Q_OBJECT
private slots:
    void accountsOfAnyDayAddUp();
};

void TestCalcDayAccounts::accountsOfAnyDayAddUp()
{
    const CalcRows rows = randomCompany();
    const CalcRun run = rows.run("23.3.2026", "1.4.2026", "AUTOEVENTS=1 ISROUND30=1 EARLYEXIT=4", true);
    const QAny entries = output::explanationOf(run.result);
    const QAny records = output::recordsOf(run.result);
    QCOMPARE(entries.count(), kEmployees * kDays);
    QSet<QString> steps, reasons;
    QSet<qint64> events;
    int listed = 0;
    for (int i = 0; i < entries.count(); ++i) {
        const QAny before = records["DAYSorg"][i], after = records["DAYS"][i];
        QCOMPARE(values(entries[i], "USER DATE"), values(after, "USER DATE"));
        QCOMPARE(faultOf(entries[i], before, after), QString());
        QCOMPARE(rowFaultOf(entries[i], before, after), QString());
        for (int k = 0; k < entries[i].value("STEPS").count(); ++k)
            steps.insert(entries[i]["STEPS"][k].value("RULE").toString());
        for (int k = 0; k < entries[i].value("IDLE").count(); ++k)
            reasons.insert(entries[i]["IDLE"][k].value("WHY").toString());
        for (int k = 0; k < entries[i].value("EVENTS").count(); ++k, ++listed)
            events.insert(entries[i]["EVENTS"][k].value("ID").toInteger());
    }
    // The days were various enough: every rule wrote something, every reason was given.
    for (const QString &rule : namesOfRules())
        QVERIFY2(steps.contains(rule), qPrintable(rule));
    QCOMPARE(reasons.count(), 8);
    size_t read = 0;
    for (const rules::Employee &employee : run.result.inputs.employees)
        read += employee.events.size();
    QVERIFY(read > 1500);
    QCOMPARE(size_t(listed), read); // each event stands in one entry
    QCOMPARE(size_t(events.count()), read);
}

QTEST_GUILESS_MAIN(TestCalcDayAccounts)
#include "tst_calc_dayaccounts.moc"
