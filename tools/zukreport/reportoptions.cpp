#include "tools/zukreport/reportoptions.h"

#include "tools/common/dateperiod.h"
#include "tools/common/idlist.h"
#include "tools/common/optionreader.h"

#include <iterator>

namespace tools::zukreport {

namespace {

const char kExamples[] = R"(
Reports:
  statement   the days of an employee's month with categories and balance, to be signed
  register    the daily record of working time, from the events as they were made
  exceptions  what somebody must look at: half pairs, days without hours, faults, by department

Examples:
  zukreport statement --month 2026-10 --user 14
  zukreport statement --month 2026-10 --format pdf --output statements/
  zukreport register --month 2026-10 --department Proizvodnja --output register.pdf
  zukreport register --from 2025-01-01 --to 2026-12-31 --user 14 --output register.csv
  zukreport exceptions --lang en

Without a period it is last month. Of who is not named by --user, the statement and the register are also made for
employees who have left and have events in the period.

FILE gets all of it, a FOLDER (one that is there, or a path that ends with a slash) a file for each employee, of
exceptions for each department. A file is there whole or not at all.

Exit code: 0 done, 1 failed, 2 wrong usage.
)";

struct KindName {
    const char *name;
    report::Kind kind;
};
constexpr KindName kKinds[] = {{"statement", report::Kind::Statement},
                               {"register", report::Kind::Register},
                               {"exceptions", report::Kind::Exceptions}};

struct FormatName {
    const char *name;
    report::Format format;
};
constexpr FormatName kFormats[] = {
    {"text", report::Format::Text}, {"csv", report::Format::Csv}, {"pdf", report::Format::Pdf}};

class ReportArguments : private OptionReader
{
public:
    ReportArguments(ReportOptions &options, QDate today) : m_options(options), m_today(today)
    {
        m_parser.setApplicationDescription(QStringLiteral("Makes statements and records of working time."));
        m_parser.addOptions(
            {m_help, m_month, m_from, m_to, m_user, m_department, m_format, m_output, m_language, m_database});
        m_parser.addPositionalArgument(QStringLiteral("report"), QStringLiteral("statement, register or exceptions."));
    }

    QString read(const QStringList &arguments, QString *help)
    {
        const bool isParsed = m_parser.parse(arguments);
        if (m_parser.isSet(m_help)) {
            *help = m_parser.helpText() + QString::fromUtf8(kExamples);
            return {};
        }
        if (!isParsed)
            return m_parser.errorText();
        readKind();
        readPeriodOptions();
        readStaffOptions();
        readOutput();
        m_options.job.language = languageOfLocale();
        if (m_parser.isSet(m_language) && !readLanguage(m_parser.value(m_language), &m_options.job.language))
            blame(QStringLiteral("--lang is sl or en"));
        m_options.database = m_parser.value(m_database);
        return fault();
    }

private:
    void readKind()
    {
        const QStringList words = m_parser.positionalArguments();
        if (words.size() != 1)
            return blame(QStringLiteral("one report is needed: statement, register or exceptions"));
        const auto *known = std::find_if(std::begin(kKinds), std::end(kKinds), [&words](const KindName &each) {
            return words.first() == QLatin1String(each.name);
        });
        if (known == std::end(kKinds))
            return blame(QStringLiteral("unknown report: ") + words.first());
        m_options.job.kind = known->kind;
    }

    void readPeriodOptions()
    {
        const bool hasRange = m_parser.isSet(m_from) || m_parser.isSet(m_to);
        QDate month = QDate(m_today.year(), m_today.month(), 1).addMonths(-1);
        if (m_parser.isSet(m_month)) {
            month = QDate::fromString(m_parser.value(m_month), QStringLiteral("yyyy-MM"));
            if (!month.isValid())
                return blameValue(m_month, QStringLiteral("is not a month like 2026-10"));
            if (hasRange)
                return blame(QStringLiteral("--month or --from and --to, not both"));
        }
        DatePeriod period{month, month.addMonths(1).addDays(-1)};
        if (hasRange) {
            if (!m_parser.isSet(m_from) || !m_parser.isSet(m_to))
                return blame(QStringLiteral("--from needs --to, and --to needs --from"));
            blame(readPeriod(m_parser.value(m_from), m_parser.value(m_to), &period));
        }
        m_options.job.first = period.from;
        m_options.job.last = period.to;
    }

    void readStaffOptions()
    {
        report::StaffFilter &staff = m_options.job.staff;
        if (m_parser.isSet(m_user) && !readIdList(m_parser.value(m_user), &staff.users))
            blameValue(m_user, QStringLiteral("is not a list like 5,7-12"));
        if (m_parser.isSet(m_department))
            staff.departments = QStringList{m_parser.value(m_department)};
        // Nobody looks at the days of who has left.
        staff.withLeft = m_options.job.kind != report::Kind::Exceptions;
    }

    void readOutput()
    {
        m_options.output = m_parser.value(m_output);
        if (m_options.output.isEmpty())
            return blame(QStringLiteral("--output is empty"));
        const QString name = m_parser.isSet(m_format) ? m_parser.value(m_format) : m_options.output.section('.', -1);
        const auto *known = std::find_if(std::begin(kFormats), std::end(kFormats),
                                         [&name](const FormatName &each) { return name == QLatin1String(each.name); });
        if (known != std::end(kFormats))
            m_options.format = known->format;
        else if (m_parser.isSet(m_format))
            blameValue(m_format, QStringLiteral("is not text, csv or pdf"));
    }

    ReportOptions &m_options;
    const QDate m_today;
    const QCommandLineOption m_help{{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Shows this.")};
    const QCommandLineOption m_month{QStringLiteral("month"), QStringLiteral("The month, as 2026-10."),
                                     QStringLiteral("month")};
    const QCommandLineOption m_from{QStringLiteral("from"), QStringLiteral("First day, as 2026-10-01 or 1.10.2026."),
                                    QStringLiteral("date")};
    const QCommandLineOption m_to{QStringLiteral("to"), QStringLiteral("Last day."), QStringLiteral("date")};
    const QCommandLineOption m_user{QStringLiteral("user"), QStringLiteral("These employees alone, as in 5,7-12."),
                                    QStringLiteral("ids")};
    const QCommandLineOption m_department{QStringLiteral("department"), QStringLiteral("This department alone."),
                                          QStringLiteral("name")};
    const QCommandLineOption m_format{
        QStringLiteral("format"), QStringLiteral("text, csv or pdf; by default as the output's name ends, else text."),
        QStringLiteral("format")};
    const QCommandLineOption m_output{QStringLiteral("output"),
                                      QStringLiteral("A file, a folder, or - for the standard output (-)."),
                                      QStringLiteral("file"), QStringLiteral("-")};
    const QCommandLineOption m_language{QStringLiteral("lang"),
                                        QStringLiteral("sl or en; by default as the environment has it."),
                                        QStringLiteral("language")};
    const QCommandLineOption m_database{QStringLiteral("database"),
                                        QStringLiteral("The database (/opt/zuk3srv/zuknetserver.db)."),
                                        QStringLiteral("file"), QStringLiteral("/opt/zuk3srv/zuknetserver.db")};
};

} // namespace

QString readReportOptions(const QStringList &arguments, QDate today, ReportOptions *options, QString *help)
{
    return ReportArguments(*options, today).read(arguments, help);
}

} // namespace tools::zukreport
