#include "tools/zukreport/reportoptions.h"

#include "options/optionparser.h"

#include <QMap>

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

class ReportArguments : private OptionParser
{
public:
    ReportArguments(ReportOptions &options, QDate today)
        : OptionParser("Makes statements and records of working time.", kExamples), m_options(options), m_today(today)
    {
        addWord(QStringLiteral("report"), QStringLiteral("statement, register or exceptions"));
    }

    QString read(const QStringList &arguments, QString *told)
    {
        if (!parse(arguments, told))
            return fault();
        readKind();
        readPeriodOptions();
        readStaffOptions();
        readOutput();
        m_options.job.language = language(m_language);
        m_options.database = value(m_database);
        return fault();
    }

private:
    void readKind()
    {
        static const QMap<QString, report::Kind> kinds{{"statement", report::Kind::Statement},
                                                       {"register", report::Kind::Register},
                                                       {"exceptions", report::Kind::Exceptions}};
        const QString word = words().constFirst();
        if (!kinds.contains(word))
            return blame(QStringLiteral("unknown report: ") + word);
        m_options.job.kind = kinds.value(word);
    }

    void readPeriodOptions()
    {
        const bool hasRange = isSet(m_from) || isSet(m_to);
        QDate month = QDate(m_today.year(), m_today.month(), 1).addMonths(-1);
        if (isSet(m_month)) {
            month = QDate::fromString(value(m_month), QStringLiteral("yyyy-MM"));
            if (!month.isValid())
                return blameValue(m_month, QStringLiteral("is not a month like 2026-10"));
            if (hasRange)
                return blame(QStringLiteral("--month or --from and --to, not both"));
        }
        if (hasRange && !(isSet(m_from) && isSet(m_to)))
            return blame(QStringLiteral("--from needs --to, and --to needs --from"));
        const DatePeriod days = hasRange ? period(m_from, m_to) : DatePeriod{month, month.addMonths(1).addDays(-1)};
        m_options.job.first = days.from;
        m_options.job.last = days.to;
    }

    void readStaffOptions()
    {
        report::StaffFilter &staff = m_options.job.staff;
        staff.users = ids(m_user);
        if (isSet(m_department))
            staff.departments = QStringList{value(m_department)};
        // Nobody looks at the days of who has left.
        staff.withLeft = m_options.job.kind != report::Kind::Exceptions;
    }

    void readOutput()
    {
        static const QMap<QString, report::Format> formats{
            {"text", report::Format::Text}, {"csv", report::Format::Csv}, {"pdf", report::Format::Pdf}};
        m_options.output = value(m_output);
        const QString name = isSet(m_format) ? value(m_format) : m_options.output.section('.', -1);
        if (isSet(m_format) && !formats.contains(name))
            blameValue(m_format, QStringLiteral("is not text, csv or pdf"));
        m_options.format = formats.value(name, report::Format::Text);
    }

    ReportOptions &m_options;
    const QDate m_today;
    const Option m_month = add({"month", "The month, as 2026-10.", "month"});
    const Option m_from = add({"from", "First day, as 2026-10-01 or 1.10.2026.", "date"});
    const Option m_to = add({"to", "Last day.", "date"});
    const Option m_user = add({"user", "These employees alone, as in 5,7-12.", "ids"});
    const Option m_department = add({"department", "This department alone.", "name"});
    const Option m_format =
        add({"format", "text, csv or pdf; by default as the output's name ends, else text.", "format"});
    const Option m_output = add({"output", "A file, a folder, or - for the standard output (-).", "file", "-"});
    const Option m_language = addLanguage();
    const Option m_database = addDatabase();
};

} // namespace

QString readReportOptions(const QStringList &arguments, QDate today, ReportOptions *options, QString *told)
{
    return ReportArguments(*options, today).read(arguments, told);
}

} // namespace tools::zukreport
