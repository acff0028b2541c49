#include "calc/crew.h"
#include "calc/dialogcalc3.h"
#include "calc/recalctext.h"
#include "calc/rules/calculation.h"
#include "calcsite.h"

using namespace calc;

namespace {

/// Does the shares in another order than they stand, each by another member, on one thread. Cancelled after so many.
class ScatteredCrew : public Crew
{
public:
    ScatteredCrew(storage::Reader &database, int size, int shareLimit = -1)
        : m_reader(database), m_size(size), m_left(shareLimit)
    {
    }

    int size() const override { return m_size; }
    storage::Reader &reader() override { return m_reader; }
    void run(int shares, const Share &work) override
    {
        for (int step = 0; step < shares && !isCancelled(); ++step) {
            // The odd ones from behind, then the even ones.
            const int odd = shares / 2;
            const int share = step < odd ? 2 * (odd - step) - 1 : 2 * (step - odd);
            done += isReading ? 0 : 1;
            m_left -= m_left > 0 ? 1 : 0;
            work(share, (share * 5 + step) % m_size);
        }
    }
    void read(int shares, const ReadingShare &work) override
    {
        QVERIFY(isReading);
        readingShares = shares;
        run(shares, [&](int share, int member) { work(share, member, m_reader); });
    }
    void endReading() override { isReading = false; }
    bool isCancelled() const override { return m_left == 0; }

    bool isReading = true;
    int readingShares = 0;
    int done = 0; ///< behind the reading

private:
    storage::Reader &m_reader;
    const int m_size;
    int m_left;
};

QByteArray joined(const std::vector<QByteArray> &pieces)
{
    QByteArray text;
    for (const QByteArray &piece : pieces)
        text += piece;
    return text;
}

QByteArray withoutTime(const QByteArray &text)
{
    const int time = text.lastIndexOf("\"TIME\":");
    return time < 0 ? text + " has no TIME" : text.left(time);
}

/// Employees with every kind of fault, the borders of shares between them; nobody has the same days as another.
void fillCompany(CalcSite &site)
{
    const struct {
        const char *name;
        const char *schedule;
        const char *settings;
        const char *columns;
        const char *events;
    } people[] = {
        {"Novak Ana", kDay, kWarnings, "PRERAZDC=A", "28.2.2026 21-5; 2.3.2026 5:30-15; 3.3.2026 9-17"},
        {"Kos Bine", kNight, "HOURS/SHOWEMPTYDAYS=1", "", "28.2.2026 22-6; 31.3.2026 22-6"},
        {"Hribar \"Č\"", kDay, kNoRules, "", ""},
        {"Zupan Dane", "", "", "", "2.3.2026 8-16"},
        {"Novak Ana", kLunchAt11, "SALDO/ARRINT=1", "", "2.3.2026 7-16; 10-10:30 103; 4.3.2026 7 101; 8 101"},
        {"Oven Edo", kDay, "TYPE=MIXTYPE", "",
         "2.3.2026 8 102; 3.3.2026 8 105 + 3.3.2026 8 105; 9 101/MP; 12 102:1/MP"},
        {"Rak Fani", kDay, kNoRules, "TIMEZ=3600", "2.3.2026 7 101; 7:01 101; 15 102:3; 16 104; 1.4.2026 1 102"},
    };
    qint64 id = 0;
    for (int round = 0; round < 2; ++round) {
        for (const auto &person : people) {
            site.employee(++id, person.name, person.schedule, person.settings, person.columns);
            site.events(id, person.events);
            site.events(id, QString("%1.5.2026 7-%2").arg(id).arg(8 + id % 9));
        }
    }
    site.holiday("3.3.2026", 1);
    site.storeConfig("CALCDAYHDR", R"([{"KEY":"DATE","TXT":"Dan"}])");
    site.assign("1.3.2026", "5.3.2026", "0");
    site.sql("insert into allevents (USER,TIMESTAMP,ACCESS_CODE,TYPE) values (99,1772440000,'101:X','EV')");
}

/// Name | period | settings | what the request holds beside.
constexpr char kRequests[] = R"(
$all = NEAREVENTS=1 CALCREM=1 ISACS=1 ISSUMSUM=1 AUTOEVENTS=1 SHOWNOEV=1 ISTZ=1 EARLYEXIT=4
a year, four in a share  | 1.1.2026 - 31.12.2026 | $all | {}
a year without switches  | 1.1.2026 - 31.12.2026 |      | {}
half a year, eight       | 1.1.2026 - 30.6.2026  | $all ISSEC=1 | {"DOUBLETAP":120,"SORT":"desc"}
a month in one share     | 1.3.2026 - 31.3.2026  | $all | {"NAMEFIRST":true}
a list                   | 1.1.2026 - 31.12.2026 | $all | {"USER":[2,3,5,7,11,13,77]}
one                      | 1.3.2026 - 31.3.2026  | $all | {"USER":6}
explained                | 1.1.2026 - 30.6.2026  | $all | {"EXPLAIN":true}
the form of clients      | 1.1.2026 - 31.12.2026 | $all | {"CALC21":true}
both                     | 1.1.2026 - 30.6.2026  | $all | {"CALC21":true,"EXPLAIN":1}
no events                | 1.8.2026 - 31.8.2026  | $all | {"CALC21":true,"EXPLAIN":true}
events of others only    | 2.3.2026 - 2.3.2026   |      | {"USER":[99,3]}
nobody                   | 1.3.2026 - 31.3.2026  | $all | {"USER":[]}
no period                | 31.3.2026 - 1.3.2026  | $all | {}
)";

} // namespace

/// A calculation in shares: the same whoever does them.
class TestCalcShares : public QObject
{
    Q_OBJECT
private slots:
    void allAreInOneShare();
    void everyCrewWritesTheSame_data();
    void everyCrewWritesTheSame();
    void pairsAreNumberedThrough();
    void nothingToReadIsToldApart_data();
    void nothingToReadIsToldApart();
    void aCancelledCalculationEnds_data();
    void aCancelledCalculationEnds();
    void oneEmployeesMonthIsSmall_data();
    void oneEmployeesMonthIsSmall();

private:
    std::unique_ptr<CalcSite> m_site; ///< of the rows of a function
};

void TestCalcShares::allAreInOneShare()
{
    for (const int days : {0, 1, 31, 365, 40000}) {
        for (const size_t employees : {size_t(0), size_t(1), size_t(999)}) {
            size_t next = 0;
            for (const rules::Share &share : rules::Share::of(employees, days)) {
                QCOMPARE(share.first, next);
                QVERIFY(share.count() > 0);
                QVERIFY(share.count() == 1 || share.count() * size_t(days) <= rules::Share::kDays);
                QVERIFY(share.count() <= rules::Share::employeesFor(days));
                next = share.end;
            }
            QCOMPARE(next, employees);
        }
    }
}

void TestCalcShares::everyCrewWritesTheSame_data()
{
    m_site = std::make_unique<CalcSite>();
    fillCompany(*m_site);
    addTable(kRequests);
}

void TestCalcShares::everyCrewWritesTheSame()
{
    QFETCH(TableRow, row);
    QAny request = CalcSite::request(row[0].section(" - ", 0, 0), row[0].section(" - ", 1), row[1]);
    const QAny beside = QAny::fromJson(row[2]);
    for (const QString &key : beside.keys())
        request[key] = beside.value(key);
    const QByteArray expected = withoutTime(m_site->pack(request).toJsonUtf8());
    for (const int size : {1, 2, 3, 7}) {
        ScatteredCrew crew(m_site->database(), size);
        const QByteArray text = joined(recalcText(crew, request, m_site->today));
        QVERIFY(QAny::fromJson(text).isHash());
        QCOMPARE(withoutTime(text), expected);
    }
}

/// From 1, those that stand outside the period included.
void TestCalcShares::pairsAreNumberedThrough()
{
    CalcRows rows("1.3.2026 7-15; 2.3.2026 7-11; 12-15");
    rows.employee(2);
    rows.events(2, "2.3.2026 7-15");
    const CalcRun run = rows.run("2.3.2026", "2.3.2026", "NEAREVENTS=1");
    QCOMPARE(run.row("CALC", 2).value("PAIRS")[0].value("IDP"), QAny(4));
}

void TestCalcShares::nothingToReadIsToldApart_data()
{
    m_site.reset(); // one file is open at a time
    columns<QString, QString, QString>("events", "user", "fault");
    const QString none = "Ni dogodkov za izbrano obdobje!";
    const QString others = "Ni dogodkov za obdobje!";
    addRow("nobody has any", QString(), QString("null"), none);
    addRow("who is no employee has some", QString("2.3.2026 7-15"), QString("null"), others);
    addRow("by hand", QString("2.3.2026 + 7 101"), QString("null"), others);
    addRow("nobody asked for him", QString("2.3.2026 7-15"), QString("[1]"), none);
    addRow("he was asked for too", QString("2.3.2026 7-15"), QString("[1,50]"), others);
    addRow("at another time", QString("9.3.2026 7-15"), QString("null"), none);
}

void TestCalcShares::nothingToReadIsToldApart()
{
    QFETCH(QString, events);
    QFETCH(QString, user);
    QFETCH(QString, fault);
    CalcSite site;
    site.employee(1);
    site.events(50, events);
    QAny request = CalcSite::request("2.3.2026", "3.3.2026");
    request["USER"] = QAny::fromJson(user);
    QCOMPARE(site.run(request).errors("NAP"), "NAP " + fault);
}

void TestCalcShares::aCancelledCalculationEnds_data()
{
    columns<int>("shares"); // that are done before
    for (const int shares : {0, 1, 4, 5, 8, 9, 11})
        addRow(qPrintable(QString::number(shares)), shares);
}

void TestCalcShares::aCancelledCalculationEnds()
{
    QFETCH(int, shares);
    CalcSite site;
    fillCompany(site); // 14 employees: four shares, three times
    ScatteredCrew crew(site.database(), 2, shares);
    QVERIFY(recalcText(crew, CalcSite::request("1.1.2026", "31.12.2026"), site.today).empty());
    QVERIFY(crew.done <= std::max(0, shares - 4));
}

void TestCalcShares::oneEmployeesMonthIsSmall_data()
{
    columns<QString, QString, bool>("user", "last", "isSmall");
    addRow("one", QString("[5]"), QString("31.3.2026"), true);
    addRow("one in a list, twice", QString("[5,\"5\"]"), QString("31.3.2026"), true);
    addRow("two", QString("[5,6]"), QString("31.3.2026"), false);
    addRow("everybody", QString("null"), QString("1.3.2026"), false);
    addRow("one for a year", QString("[5]"), QString("28.2.2027"), false);
    addRow("no period, which is answered at once", QString("[5]"), QString("x"), true);
}

void TestCalcShares::oneEmployeesMonthIsSmall()
{
    QFETCH(QString, user);
    QFETCH(QString, last);
    QFETCH(bool, isSmall);
    const QAny request{{"STARTDATE", "1.3.2026"}, {"ENDDATE", last}, {"USER", QAny::fromJson(user)}};
    QCOMPARE(isSmallRecalc(request), isSmall);
}

QTEST_GUILESS_MAIN(TestCalcShares)
#include "tst_calc_shares.moc"
