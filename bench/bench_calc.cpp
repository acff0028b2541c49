// The calculation against reading the same rows, its growth with the company, and one employee's month in companies
// of very different size.

#include "alternating.h"
#include "calc/dialogcalc3.h"
#include "calcyear.h"
#include "company.h"
#include "server/web/readings.h"
#include "target.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr double kCalculationLimit = 1.9; ///< times the bare reading of the same rows
constexpr double kExplanationLimit = 2.0; ///< times the same without
constexpr double kWebLimit = 1.3;         ///< large company against small one
constexpr double kThreadsLimit = 0.75;    ///< two threads against one
constexpr double kMemoryLimitMiB = 135.0;
constexpr double kMinPunches = 4.0; ///< per workday of an employee
constexpr size_t kRounds = 7;
constexpr size_t kYearRounds = 3;
constexpr size_t kManyRounds = 201; ///< for what takes a millisecond or two

/// Calculates and packs the period up to the month's end; the release of the result is part of it.
void calculateMonth(DataBase &database, const QDate &start = kMonthStart)
{
    const QAny result = DialogCalc3(database, kToday).recalc(requestSince(start));
    benchmark::DoNotOptimize(result.count());
}

qint64 readAll(const QString &sql)
{
    QSqlQuery query;
    query.setForwardOnly(true);
    if (!query.exec(sql))
        qFatal("%s", qPrintable(sql));
    const int columns = query.record().count();
    qint64 rows = 0;
    for (; query.next(); ++rows) {
        for (int column = 0; column < columns; ++column)
            benchmark::DoNotOptimize(query.value(column));
    }
    return rows;
}

/// The rows of all queries of the calculation, with every column.
qint64 readMonth()
{
    constexpr qint64 near = 24 * 3600;
    const qint64 from = kMonthStart.startOfDay().toSecsSinceEpoch();
    const qint64 to = kMonthEnd.addDays(1).startOfDay().toSecsSinceEpoch() - 1;
    readAll(QStringLiteral("SELECT value FROM config where KEY='CALCWTIMES'"));
    readAll(QStringLiteral("select * from RAZPOREDC where FDATE<=%1 and TDATE>=%2").arg(to + near).arg(from - near));
    readAll(QStringLiteral("select * from calendar where date>=%1 and date<=%2").arg(from).arg(to));
    readAll(QStringLiteral(
        "select employees.ID as USER,FIRSTNAME,LASTNAME,(LASTNAME || ' ' || FIRSTNAME) as NAME,EMPLID,OFFDAYS,STIMUL,"
        "CALCSET.VALUE as CALCS,WTIMSET.VALUE as WTIM,PRERAZDC,OTHER,TIMEZ from employees"
        " left join calcset on employees.calcset = calcset.key left join wtimset on employees.wtimset = wtimset.key"
        " where active=1 order by LASTNAME"));
    readAll(
        QStringLiteral("select * from metalog where timestamp>=%1 and timestamp<=%2").arg(from - near).arg(to + near));
    return readAll(
        QStringLiteral("select allevents.ID as ID,USER,TYPE,allevents.REMARK as REMARK,TIMESTAMP,ACCESS_CODE as AC,"
                       "PTIME,IDX,TAG,PARAM,(LASTNAME || ' ' || FIRSTNAME) as NAME,TIMEZ from allevents"
                       " left join employees on user=employees.id where timestamp>=%1 and timestamp<=%2"
                       " order by user,timestamp")
            .arg(from - near)
            .arg(to + near));
}

/// Events of an employee on a day that is worked at the terminals, in the median.
double punchesPerWorkday(DataBase &database)
{
    const QAny rows =
        database.select(QStringLiteral("select count(*) as N from allevents where TYPE='EV'"
                                       " group by USER, date(TIMESTAMP,'unixepoch','localtime') order by N"));
    return rows.value(rows.count() / 2).value(QStringLiteral("N")).toDouble();
}

/// Peak memory of this process; 0 where the system does not tell.
double peakMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return 0;
}

bool compareWithReading(const QTemporaryDir &folder)
{
    const auto database = Company(folder, 1000, 1).open();
    const double punches = punchesPerWorkday(*database);
    qint64 rows = 0;
    const std::vector<double> seconds =
        alternatingMedians({[&] { calculateMonth(*database); }, [&] { rows = readMonth(); }}, kRounds);
    const double memory = peakMiB();
    std::printf("1,000 employees x 1 month: %lld events (median %.0f punches per workday)\n",
                static_cast<long long>(rows), punches);
    std::printf("  calculation with packing %.3f s, bare reading %.3f s\n", seconds[0], seconds[1]);
    const bool swift = atMost("calculation of 1,000 employees x 1 month with its packing", "ratio",
                              seconds[0] / seconds[1], kCalculationLimit, "bare reading of the same rows");
    const bool small = atMost("peak memory of the process meanwhile", "MiB", memory, kMemoryLimitMiB, "");
    return swift && small && punches >= kMinPunches;
}

/// Seconds of a calculation, in the median.
double calculationSeconds(int employees, int months)
{
    const QTemporaryDir folder;
    const auto database = Company(folder, employees, months).open();
    const QDate start = kMonthEnd.addDays(1).addMonths(-months);
    const double seconds = alternatingMedians({[&] { calculateMonth(*database, start); }}, 3).front();
    const double days = static_cast<double>(employees) * static_cast<double>(start.daysTo(kMonthEnd) + 1);
    std::printf("  %4d employees x %2d months: %7.1f ms, %5.1f us per day of an employee\n", employees, months,
                seconds * 1e3, seconds * 1e6 / days);
    return seconds;
}

void showGrowth()
{
    for (const int employees : {100, 500, 1000, 1500, 2000})
        tellPoint("calculation by employees", employees, calculationSeconds(employees, 1));
    for (const int months : {1, 3, 6, 9, 12}) {
        const QDate start = kMonthEnd.addDays(1).addMonths(-months);
        tellPoint("calculation by days", static_cast<double>(start.daysTo(kMonthEnd) + 1),
                  calculationSeconds(100, months));
    }
}

/// One employee's month with the account of every day and without.
bool compareExplanation(const QTemporaryDir &folder)
{
    const auto database = Company(folder, 50, 1).open();
    const auto recalc = [&](bool isExplained) {
        QAny request = requestSince(kMonthStart);
        request.insert(QStringLiteral("USER"), 1);
        if (isExplained)
            request.insert(QStringLiteral("EXPLAIN"), true);
        const QAny result = DialogCalc3(*database, kToday).recalc(request);
        if (isExplained && result.value(QStringLiteral("EXPLAIN")).count() != kMonthEnd.day())
            qFatal("no explanation");
    };
    const std::vector<double> seconds =
        alternatingMedians({[&] { recalc(true); }, [&] { recalc(false); }}, kManyRounds);
    std::printf("one employee's month explained %.2f ms, plain %.2f ms\n", seconds[0] * 1e3, seconds[1] * 1e3);
    return atMost("an employee's month with its explanation", "ratio", seconds[0] / seconds[1], kExplanationLimit,
                  "the same without");
}

/// A month for the web of each of ten employees, as a worker of the server makes it, down to its text. Of ten, since
/// one may have far more events in one company than in the other.
class WebMonths
{
public:
    static constexpr int kEmployees = 10;

    explicit WebMonths(const Company &company) : m_reader(company.file()) {}
    void operator()()
    {
        QAny request(QAny::Hash);
        QAny data = requestSince(kMonthStart);
        for (int employee = 1; employee <= kEmployees; ++employee) {
            data.insert(QStringLiteral("USER"), employee);
            request.insert(QStringLiteral("data"), data);
            m_reader.beginRead();
            const QByteArray text = server::web::workTimeAnswer(m_reader, request, kToday).toJsonUtf8();
            m_reader.endRead();
            if (!text.contains("\"DAYS\""))
                qFatal("%s", text.constData());
        }
    }

private:
    storage::ReadConnection m_reader;
};

bool compareWebMonth(const QTemporaryDir &folder)
{
    constexpr size_t rounds = 51;
    const Company smallCompany(folder, WebMonths::kEmployees, 1);
    const Company largeCompany(folder, 1000, 24);
    WebMonths small(smallCompany);
    WebMonths large(largeCompany);
    const std::vector<double> seconds = alternatingMedians({std::ref(large), std::ref(small)}, rounds);
    constexpr double kEachMs = 1e3 / WebMonths::kEmployees;
    std::printf("an employee's month for the web: %.2f ms in 10 x 1, %.2f ms in 1,000 x 24\n", seconds[1] * kEachMs,
                seconds[0] * kEachMs);
    return atMost("an employee's month for the web, in a company of 1,000 x 24 months", "ratio",
                  seconds[0] / seconds[1], kWebLimit, "in a company of 10 x 1 month");
}

/// A company's year on two threads and on one.
bool compareThreads(const QTemporaryDir &folder)
{
    const Company company(folder, 1000, 12);
    const auto database = company.open(); // as in the server, it holds the journal open
    const QAny request = requestSince(kMonthEnd.addDays(1).addMonths(-12));
    ReadPool::Options options;
    options.threads = 2;
    ReadPool pool(std::make_unique<server::workers::FileReaders>(company.file()), {}, options);
    qint64 bytes = 0;
    {
        const Text text = textOfOne(company.file(), request);
        for (const QByteArray &piece : text)
            bytes += piece.size();
        if (!isSameText(text, textOfPool(pool, request)))
            qFatal("the text of two threads is another one");
    }
    const std::vector<double> seconds = alternatingMedians(
        {[&] { textOfOne(company.file(), request); }, [&] { textOfPool(pool, request); }}, kYearRounds);
    std::printf("1,000 employees x 12 months, text of %lld MB: one thread %.2f s, two %.2f s\n",
                static_cast<long long>(bytes / 1000000), seconds[0], seconds[1]);
    return atMost("a year of 1,000 employees on two threads", "ratio", seconds[1] / seconds[0], kThreadsLimit,
                  "the same on one thread");
}

void benchCalculation(benchmark::State &state)
{
    const QTemporaryDir folder;
    const auto database = Company(folder, static_cast<int>(state.range(0)), 1).open();
    while (state.KeepRunning())
        calculateMonth(*database);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(benchCalculation)->Arg(100)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    // The diagnostic lines would be measured too, on a terminal that scrolls.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    const QTemporaryDir folder;
    bool met = compareWithReading(folder);
    showGrowth();
    met = compareExplanation(folder) && met;
    met = compareWebMonth(folder) && met;
    met = compareThreads(folder) && met;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return met ? 0 : 1;
}
