#include "options/optionparser.h"
#include "options/programend.h"
#include "storage/database.h"
#include "tools/demodata/democompany.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QLoggingCategory>

#include <cstdio>

using tools::demodata::DemoSummary;

namespace {

constexpr int kFailed = 1;
constexpr int kMostMonths = 1000000;

const QString kDescription = QStringLiteral(
    "Fills a database with an invented company: employees, shifts, punches, absences.\n"
    "The web page's user is \"ana\" with the password \"ana\"; who has a role in page_role has the user's name for a "
    "password too.");
const char kExitCodes[] = R"(
Exit code: 0 done, 1 failed, 2 wrong usage.
)";

/// Reads the command line into the demo's options; the fault is empty when they make sense.
QString readArguments(const QStringList &arguments, DemoOptions *options, QString *output, QString *told)
{
    OptionParser parser(kDescription, kExitCodes);
    const auto employees = parser.add({"employees", "Number of employees (50).", "N", "50"});
    const auto months = parser.add({"months", "Length of the period in months (12).", "M", "12"});
    const auto start = parser.add({"start", "First day of the period.", "date"});
    const auto end = parser.add({"end", "Last day; without it and --start, the end of last month.", "date"});
    const auto today =
        parser.add({"today", "The last day is today up to now, and somebody comes also when it is free."});
    const auto seed = parser.add({"seed", "Another number makes another company (1).", "number", "1"});
    const auto file =
        parser.add({"output", "Database to fill (zuknetserver.db); made when missing.", "file", "zuknetserver.db"});
    if (!parser.parse(arguments, told))
        return parser.fault();

    if (parser.isSet(end) && parser.isSet(today))
        parser.blame(QStringLiteral("--end and --today exclude each other"));
    if (parser.isSet(start) && (parser.isSet(end) || parser.isSet(today)) && parser.isSet(months))
        parser.blame(QStringLiteral("--months is too much beside both ends of the period"));
    options->employees = parser.number(employees, 1);
    options->seed = static_cast<quint64>(parser.number<qint64>(seed, 0));
    options->dutyOnLastDay = parser.isSet(today);
    if (parser.isSet(today))
        options->now = QDateTime::currentSecsSinceEpoch();
    *output = parser.value(file);

    const int length = parser.number(months, 1, kMostMonths);
    const QDate now = QDate::currentDate();
    options->start = parser.date(start);
    options->end = parser.isSet(today) ? now : parser.date(end);
    if (!parser.isSet(today) && !parser.isSet(end))
        options->end = parser.isSet(start) ? options->start.addMonths(length).addDays(-1) : now.addDays(-now.day());
    if (!parser.isSet(start))
        options->start = options->end.addDays(1).addMonths(-length);
    return parser.fault().isEmpty() ? faultOf(*options) : parser.fault();
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    DemoOptions options;
    QString output;
    QString told;
    QString fault = readArguments(QCoreApplication::arguments(), &options, &output, &told);
    if (const auto end = endAfterOptions(fault, told))
        return *end;

    QElapsedTimer timer;
    timer.start();
    DemoSummary summary;
    {
        DataBase database(output);
        fault = generateDemoCompany(database, options, &summary);
    }
    if (!fault.isEmpty())
        return failWith(kFailed, fault);
    std::printf("%s: %d employees, %s to %s, %d events, %d hand-entered, %lld ms\n", qUtf8Printable(output),
                summary.employees, qUtf8Printable(options.start.toString(Qt::ISODate)),
                qUtf8Printable(options.end.toString(Qt::ISODate)), summary.events, summary.metaEvents,
                static_cast<long long>(timer.elapsed()));
    return 0;
}
