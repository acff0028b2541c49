#include "storage/database.h"
#include "tools/demodata/democompany.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QTextStream>

using tools::demodata::DemoSummary;

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kWrongUsage = 2 };

const QString kDateFormat = QStringLiteral("yyyy-MM-dd");

/// Reads the options into the demo's; the fault is empty when they make sense.
class Arguments
{
public:
    explicit Arguments(const QCoreApplication &application)
    {
        m_parser.setApplicationDescription(
            QStringLiteral("Fills a database with an invented company: employees, shifts, punches, absences.\n"
                           "The web page's user is \"ana\" with the password \"ana\"; who has a role in page_role "
                           "has the user's name for a password too."));
        m_parser.addHelpOption();
        m_parser.addOptions({m_employees, m_months, m_start, m_end, m_today, m_seed, m_output});
        m_parser.process(application);
        read();
    }

    const DemoOptions &options() const { return m_options; }
    QString output() const { return m_parser.value(m_output); }
    QString fault() const { return m_fault; }

private:
    void read()
    {
        if (!m_parser.positionalArguments().isEmpty())
            m_fault = QStringLiteral("unknown argument \"%1\"").arg(m_parser.positionalArguments().constFirst());
        if (m_parser.isSet(m_end) && m_parser.isSet(m_today))
            m_fault = QStringLiteral("--end and --today exclude each other");
        const bool hasBothEnds = m_parser.isSet(m_start) && (m_parser.isSet(m_end) || m_parser.isSet(m_today));
        if (hasBothEnds && m_parser.isSet(m_months))
            m_fault = QStringLiteral("--months is too much beside both ends of the period");
        m_options.employees = static_cast<int>(number(m_employees, 1));
        m_options.seed = static_cast<quint64>(number(m_seed, 0));
        m_options.dutyOnLastDay = m_parser.isSet(m_today);
        const int months = static_cast<int>(number(m_months, 1));

        m_options.start = date(m_start);
        if (m_parser.isSet(m_today))
            m_options.end = QDate::currentDate();
        else if (m_parser.isSet(m_end))
            m_options.end = date(m_end);
        else if (m_parser.isSet(m_start))
            m_options.end = m_options.start.addMonths(months).addDays(-1);
        else
            m_options.end = QDate::currentDate().addDays(-QDate::currentDate().day());
        if (!m_parser.isSet(m_start))
            m_options.start = m_options.end.addDays(1).addMonths(-months);
    }

    qlonglong number(const QCommandLineOption &option, qlonglong least)
    {
        bool ok = false;
        const qlonglong value = m_parser.value(option).toLongLong(&ok);
        if (!ok || value < least || (least > 0 && value > kMost))
            m_fault = QStringLiteral("--%1 \"%2\" is not a fitting number")
                          .arg(option.names().constFirst(), m_parser.value(option));
        return ok ? value : least;
    }

    QDate date(const QCommandLineOption &option)
    {
        if (!m_parser.isSet(option))
            return {};
        const QDate value = QDate::fromString(m_parser.value(option), kDateFormat);
        if (!value.isValid())
            m_fault = QStringLiteral("--%1 \"%2\" is not a date like 2025-01-31")
                          .arg(option.names().constFirst(), m_parser.value(option));
        return value;
    }

    static constexpr qlonglong kMost = 1000000;

    const QCommandLineOption m_employees{"employees", "Number of employees.", "N", "50"};
    const QCommandLineOption m_months{"months", "Length of the period in months.", "M", "12"};
    const QCommandLineOption m_start{"start", "First day of the period.", "yyyy-MM-dd"};
    const QCommandLineOption m_end{"end", "Last day; without it and --start, the end of last month.", "yyyy-MM-dd"};
    const QCommandLineOption m_today{"today", "The last day is today, and somebody comes also when it is free."};
    const QCommandLineOption m_seed{"seed", "Another number makes another company.", "number", "1"};
    const QCommandLineOption m_output{"output", "Database to fill; made when missing.", "file", "zuknetserver.db"};
    QCommandLineParser m_parser;
    DemoOptions m_options;
    QString m_fault;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    const Arguments arguments(application);
    const QString wrong = arguments.fault().isEmpty() ? faultOf(arguments.options()) : arguments.fault();
    if (!wrong.isEmpty()) {
        err << "demodata: " << wrong << Qt::endl;
        return kWrongUsage;
    }
    QElapsedTimer timer;
    timer.start();
    DemoSummary summary;
    QString fault;
    {
        DataBase database(arguments.output());
        fault = generateDemoCompany(database, arguments.options(), &summary);
    }
    if (!fault.isEmpty()) {
        err << "demodata: " << fault << Qt::endl;
        return kFailed;
    }
    out << arguments.output() << ": " << summary.employees << " employees, "
        << arguments.options().start.toString(kDateFormat) << " to " << arguments.options().end.toString(kDateFormat)
        << ", " << summary.events << " events, " << summary.metaEvents << " hand-entered, " << timer.elapsed() << " ms"
        << Qt::endl;
    return kDone;
}
