#include "calcrows.h"

#include <QLoggingCategory>

#include <random>

using namespace calc::rules;

namespace {
const QString kColumns = "IN OUT DAYTYPE IZMENA PRERAZ DELO DOPUST IZRDOPUST BOLNIŠKA DRUGO SALDOURE SLUŽBENO ZASEBNO "
                         "MALICA ODDOMA TEREN NOČNO "
                         "PRISOTNOST PRAZNIK SALDO SKUPAJ PLUSMINUS";
const QString kShifts = QString(kDay) + "|IZM2 STARTB=13:00 STARTE=14:30 ENDB=21:00 ENDE=23:00 MINHOURS=8:00|IZM3 ";
const QString kSchedules[] = {QString("1-5 ") + kLunchAt11, kShifts + kNight,
                              kShifts + kNight + " LUNCH=0:30 ALUNCH=1 ALUNCHSTART=2:00",
                              "STARTB=7:00 ENDE=7:00 MINHOURS=8:00"};
const QString kRules[] = {
    "SALDO/FORFREE=1 SCHEDULE/FORFREE=1",
    "OVERTIME/COMPDELAY=1 OVERTIME/COMPDELTRH=30 SALDO/NWOUTOUT=1 SALDO/NWOUTIN=1 OVERTIME/TRHIN=15 OVERTIME/ININT=1",
    "SALDO/ARRINT=1 SALDO/ARRINT15=1 SALDO/ARRINTIN=1 SALDO/ARRINTOUT=1 HOURS/LOWSALDO=1 TYPE=MIXTYPE",
    "SALDO/WTROUND=1 SALDO/WTROUNDTRH=15 FACTOR/ENABLED=1 FACTOR/PUBHOL=1.5 SALDO/EMPTYSALDO=1 TYPE=METAPERTYPE"};
const QString kRuns[] = {"", "EARLYEXIT=8", "ISROUND30=1 AUTOEVENTS=1"};
// What somebody may do on a day; each arrival has its departure within a day.
const QStringList kDeeds = QString("||7:05:40-15:10|5:40-16:45|7-11; 11-11:40 103; 11:40-12 105; 12-16|7-15 102:1/MP|"
                                   "8:20-16:50; 18-19|14-22:10|21:50:20-6:05|22-2|2:30-5:50|7-7|16 104|"
                                   "7 101; 7:01 101; 11 102")
                               .split('|');
/// Name | nights | presence of both months | schedule.
constexpr char kEdges[] = R"(
one night                      | 31.3.2026 22-6                              | 8:00
nights on both sides           | 30.3.2026 22-6; 31.3.2026 22-6; 1.4.2026 22-6 | 24:00
a night broken after midnight  | 31.3.2026 22-2; 1.4.2026 2:15-6; 22-6       | 15:45
automatic lunch after midnight | 31.3.2026 22-6; 1.4.2026 22-6 | 15:00 | $night LUNCH=0:30 ALUNCH=1 ALUNCHSTART=2:00
)";
constexpr int kCompanies = 16;
constexpr int kPeriodsEach = 14;

QString text(QDate day)
{
    return day.toString("d.M.yyyy");
}

/// What each day of the period came out as, all of it.
QStringList told(const CalcRun &run)
{
    const Period &period = run.result.inputs.period;
    const QStringList pairs = run.pairs().split("; ");
    QStringList days;
    for (const DayResult &result : run.of().days) {
        const QDate date = period.clock.date(result.day);
        const QString day = text(date);
        const DayFacts &facts = result.facts;
        const QString kind =
            QString("%1 outside %2 %3").arg(facts.shiftFlag).arg(facts.outsideBefore).arg(facts.outsideAfter);
        QStringList parts{run.remarks(day), values(run.row("DAYS", 1, day), kColumns), kind};
        for (const QString &pair : pairs)
            if (pair.startsWith(date.toString("d.M. ")))
                parts += pair;
        days += parts.join(" / ");
    }
    return days;
}

/// Three weeks around a change of the clock, with one employee who works as it comes. No pair is longer than a day.
class Company
{
public:
    explicit Company(std::mt19937 &random)
        : m_random(random), m_first(pick(2) ? QDate(2026, 3, 19) : QDate(2026, 10, 15)),
          m_rows("", kSchedules[pick(4)], kRules[pick(4)]), m_settings(kRuns[pick(3)])
    {
        m_rows.doubleTapSeconds = 120 * pick(2);
        for (int i = 0; i < 3; ++i)
            m_rows.holiday(text(day(pick(kDays))), pick(2) ? "1" : "Praznik");
        for (int i = 0; i < 7; ++i) {
            const int from = pick(kDays), to = from + pick(6);
            m_rows.assign(text(day(from)), text(day(to)), QString::number(pick(4)), pick(2) ? "FHOUR=6:00" : "");
            m_edges += {from, to, to + 1};
        }
        // The rest of a night whose shift ends with the day before.
        m_rows.assign(text(day(m_nightRest - 1)), text(day(m_nightRest - 1)), "3", "EMPLID=E1");
        m_rows.events(1, text(day(m_nightRest)) + " 2:30-5:50");
        for (int i = 0; i < kDays; ++i) {
            if (i < m_nightRest - 2 || i > m_nightRest)
                m_rows.events(1, text(day(i)) + ' ' + kDeeds[pick(kDeeds.size())]);
        }
    }

    QDate day(int number) const { return m_first.addDays(number); }
    /// First and last day; many begin or end where an assignment does.
    std::pair<int, int> period()
    {
        const int one = pick(4) == 0 ? m_nightRest : pick(2) ? m_edges[pick(m_edges.size())] % kDays : pick(kDays);
        const int other = pick(2) ? m_edges[pick(m_edges.size())] % kDays : pick(kDays);
        return {std::min(one, other), std::max(one, other)};
    }
    CalcRun run(int from, int to, const QString &settings) const
    {
        return m_rows.run(text(day(from)), text(day(to)), m_settings + settings);
    }
    bool isEmpty(int number)
    {
        const std::vector<Event> &events = m_rows.of(1).events;
        const qint64 from = midnight(text(day(number))), to = midnight(text(day(number + 1)));
        return std::none_of(events.begin(), events.end(),
                            [=](const Event &event) { return event.stored >= from && event.stored < to; });
    }

    static constexpr int kDays = 21;

private:
    int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    std::mt19937 &m_random;
    QDate m_first;
    CalcRows m_rows;
    QString m_settings;
    QList<int> m_edges;
    int m_nightRest = 2 + pick(kDays - 2);
};
} // namespace

/// A day comes out the same in every period that contains it.
class TestCalcPeriods : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QLoggingCategory::setFilterRules("default.debug=false"); }
    void aDayIsTheSameInEveryPeriod_data();
    void aDayIsTheSameInEveryPeriod();
    void aShiftAtTheEdgeCountsOnceOverTwoPeriods_data() { addTable(kEdges); }
    void aShiftAtTheEdgeCountsOnceOverTwoPeriods();
};

void TestCalcPeriods::aDayIsTheSameInEveryPeriod_data()
{
    columns<int>("seed");
    for (int seed = 1; seed <= kCompanies; ++seed)
        addRow(qPrintable(QString("company %1").arg(seed)), seed);
}

void TestCalcPeriods::aDayIsTheSameInEveryPeriod()
{
    QFETCH(int, seed);
    std::mt19937 random(static_cast<unsigned>(seed));
    Company company(random);
    const QStringList all = told(company.run(0, Company::kDays - 1, " NEAREVENTS=1"));
    const QStringList allAlone = told(company.run(0, Company::kDays - 1, ""));
    int compared = 0;
    for (int i = 0; i < kPeriodsEach; ++i) {
        const auto [from, to] = company.period();
        const QStringList near = told(company.run(from, to, " NEAREVENTS=1"));
        const QStringList alone = told(company.run(from, to, ""));
        for (int day = from; day <= to; ++day) {
            QCOMPARE(near[day - from], all[day]);
            // Without the near events only where the days beside it are read too, or hold none.
            if ((day == from && !company.isEmpty(day - 1)) || (day == to && !company.isEmpty(day + 1)))
                continue;
            QCOMPARE(alone[day - from], allAlone[day]);
            ++compared;
        }
    }
    QVERIFY(compared > kPeriodsEach);
}

void TestCalcPeriods::aShiftAtTheEdgeCountsOnceOverTwoPeriods()
{
    QFETCH(TableRow, row);
    const CalcRows rows(row[0], row[2].isEmpty() ? kNight : row[2]);
    const CalcRun march = rows.run("1.3.2026", "31.3.2026", "NEAREVENTS=1");
    const CalcRun april = rows.run("1.4.2026", "30.4.2026", "NEAREVENTS=1");
    QCOMPARE(duration(march.of().sums.presence + april.of().sums.presence), row[1]);
    QCOMPARE(march.errors("ATP OPO") + april.errors("ATP OPO"), QString());
}

QTEST_GUILESS_MAIN(TestCalcPeriods)
#include "tst_calc_periods.moc"
