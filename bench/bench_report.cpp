// Reports against the calculation that they are made from, and the memory of a large company's.

#include "alternating.h"
#include "calc/calc21.h"
#include "company.h"
#include "report/outputs.h"
#include "report/reporting.h"
#include "storage/readconnection.h"
#include "target.h"

#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QFile>
#include <QGuiApplication>

#include <cstdio>
#include <ctime>

namespace {

constexpr double kCsvLimit = 1.3;    ///< times the calculation alone
constexpr double kPaperLimitMs = 40; ///< each, on top of the calculation
constexpr double kMemoryLimitMiB = 400;
constexpr int kEmployees = 1000;
constexpr int kManyEmployees = 10000;
constexpr int kPapers = 100;
constexpr size_t kRounds = 7;

report::Job jobOf(report::Kind kind)
{
    report::Job job;
    job.kind = kind;
    job.first = kMonthStart;
    job.last = kMonthEnd;
    job.language = Language::Slovenian;
    job.now = {kToday.startOfDay().toSecsSinceEpoch(), kToday};
    return job;
}

/// Nothing but what the calculation makes, of batches of the same employees.
void calculateOnly(storage::ReadConnection &reader, int employees)
{
    const int batch = report::batchSize(kMonthStart.daysTo(kMonthEnd) + 1);
    for (int first = 1; first <= employees; first += batch) {
        QAny request = requestSince(kMonthStart);
        QAny users(QAny::List);
        for (int user = first; user < first + batch && user <= employees; ++user)
            users.append(user);
        request.insert(QStringLiteral("USER"), users);
        Calc21 calculation(reader, kToday);
        benchmark::DoNotOptimize(calculation.calculate(request).employees.size());
    }
}

/// Into memory: the disk is not what is measured. How many bytes.
qint64 makeReport(storage::ReadConnection &reader, const report::Job &job, report::Format format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const auto writer = report::sheetWriter(format, buffer, {job.language, QStringLiteral("1. 3. 2026 12:00")});
    const QString fault = report::makeReport(reader, job,
                                             [&writer](const report::Sheet &sheet) {
                                                 writer->write(sheet);
                                                 return QString();
                                             },
                                             {});
    if (!fault.isEmpty())
        qFatal("%s", qPrintable(fault));
    writer->finish();
    return buffer.size();
}

/// Seconds of the processor: both sides are of one thread, and what else the machine does would drown the difference.
std::function<double()> busySeconds(const std::function<void()> &side)
{
    return [side] {
        const std::clock_t start = std::clock();
        side();
        return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    };
}

bool compareCsv(const Company &company)
{
    storage::ReadConnection reader(company.file());
    qint64 bytes = 0;
    const std::vector<double> seconds = alternatingMediansOf(
        {busySeconds([&] { bytes = makeReport(reader, jobOf(report::Kind::Statement), report::Format::Csv); }),
         busySeconds([&] { calculateOnly(reader, kEmployees); }),
         busySeconds([&] { makeReport(reader, jobOf(report::Kind::Register), report::Format::Csv); })},
        kRounds);
    std::printf("1,000 employees x 1 month: calculation %.3f s, statements as CSV %.3f s (%.1f MB), register %.3f s\n",
                seconds[1], seconds[0], static_cast<double>(bytes) / 1e6, seconds[2]);
    tellFigure("The record of working time of 1,000 employees and a month, as CSV", "s", seconds[2]);
    return atMost("statements of 1,000 employees x 1 month as CSV", "ratio", seconds[0] / seconds[1], kCsvLimit,
                  "the calculation alone");
}

bool comparePapers(const Company &company)
{
    storage::ReadConnection reader(company.file());
    report::Job job = jobOf(report::Kind::Statement);
    for (int user = 1; user <= kPapers; ++user)
        job.staff.users += user;
    qint64 bytes = 0;
    const std::vector<double> seconds =
        alternatingMedians({[&] { bytes = makeReport(reader, job, report::Format::Pdf); },
                            [&] { makeReport(reader, job, report::Format::Csv); }},
                           3);
    std::printf("%d statements as PDF %.3f s (%.1f MB), as CSV %.3f s\n", kPapers, seconds[0],
                static_cast<double>(bytes) / 1e6, seconds[1]);
    return atMost("a statement as PDF, on top of its calculation", "ms", (seconds[0] - seconds[1]) * 1e3 / kPapers,
                  kPaperLimitMs, "");
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

bool measureMemory(const QTemporaryDir &folder)
{
    const Company company(folder, kManyEmployees, 1);
    const double before = peakMiB();
    storage::ReadConnection reader(company.file());
    report::Outputs outputs(folder.filePath(QStringLiteral("all.csv")), report::Format::Csv, {});
    QString fault = outputs.open();
    if (fault.isEmpty())
        fault = report::makeReport(reader, jobOf(report::Kind::Register),
                                   [&outputs](const report::Sheet &sheet) { return outputs.write(sheet); }, {});
    if (fault.isEmpty())
        fault = outputs.commit();
    if (!fault.isEmpty())
        qFatal("%s", qPrintable(fault));
    std::printf("10,000 employees x 1 month: peak %.0f MiB, before the register %.0f MiB\n", peakMiB(), before);
    return atMost("peak memory of the register of 10,000 employees x 1 month", "MiB", peakMiB(), kMemoryLimitMiB, "");
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    // The diagnostic lines would be measured too, on a terminal that scrolls.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    if (const QString fault = report::loadPaperFonts(); !fault.isEmpty())
        qFatal("%s", qPrintable(fault));
    const QTemporaryDir folder;
    const Company company(folder, kEmployees, 1);
    bool met = compareCsv(company);
    met = comparePapers(company) && met;
    met = measureMemory(folder) && met;
    return met ? 0 : 1;
}
