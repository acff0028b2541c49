#include "page/server/office/papers.h"

#include "page/server/office/access.h"
#include "page/server/office/answers.h"
#include "report/reporting.h"
#include "report/sheetwriter.h"

#include <QBuffer>
#include <QDateTime>

namespace page::office {

namespace {

struct Paper {
    const char *path;
    report::Kind kind;
    report::Format format;
};

constexpr Paper kPapers[] = {
    {"statement.csv", report::Kind::Statement, report::Format::Csv},
    {"statement.pdf", report::Kind::Statement, report::Format::Pdf},
    {"register.csv", report::Kind::Register, report::Format::Csv},
    {"register.pdf", report::Kind::Register, report::Format::Pdf},
    {"exceptions.csv", report::Kind::Exceptions, report::Format::Csv},
    {"exceptions.pdf", report::Kind::Exceptions, report::Format::Pdf},
};

const Paper *paperOf(const QString &path)
{
    for (const Paper &known : kPapers) {
        if (path == QLatin1String(known.path))
            return &known;
    }
    return nullptr;
}

/// Of whom it is to be; a refusal's code where the person may not have it.
const char *readStaffFilter(CheckedReader &reader, const Person &person, const QUrlQuery &query, report::Kind kind,
                            report::StaffFilter *staff)
{
    const QString department = QStringLiteral("department");
    const QString user = QStringLiteral("user");
    const bool isOfMany = query.hasQueryItem(department) || kind == report::Kind::Exceptions;
    const QString name = query.queryItemValue(department, QUrl::FullyDecoded);
    QAny ask{{QStringLiteral("ask"), isOfMany ? QStringLiteral("department") : QStringLiteral("month")}};
    if (isOfMany && !name.isEmpty())
        ask.insert(department, name);
    else if (!isOfMany && query.hasQueryItem(user))
        ask.insert(user, query.queryItemValue(user).toLongLong());
    const Admission admission = admit(reader, person, ask);
    if (admission.error)
        return admission.error;
    const std::optional<QStringList> overseen = overseenDepartments(admission.person);
    if (!isOfMany)
        staff->users = {admission.subject.id};
    else if (!name.isEmpty())
        staff->departments = QStringList{name};
    else if (overseen)
        staff->departments = *overseen;
    // A list of none would be one of all.
    return isOfMany && overseen && overseen->isEmpty() ? kNotAllowed : nullptr;
}

report::Imprint imprintOf(const report::Job &job)
{
    const QDateTime at = QDateTime::fromSecsSinceEpoch(job.now.time);
    // As the page's tables have it: what the spreadsheets of the language expect.
    const char separator = job.language == Language::English ? ',' : ';';
    return {job.language, at.toString(QStringLiteral("d. M. yyyy HH:mm")), separator};
}

/// False when it was not made: nobody waits for it any more, nothing can be calculated, or, which is the fault, the
/// file cannot be read.
bool write(calc::Crew &crew, const report::Job &job, report::Format format, QByteArray *content, bool *fault)
{
    QBuffer buffer(content);
    buffer.open(QIODevice::WriteOnly);
    const auto writer = report::sheetWriter(format, buffer, imprintOf(job));
    const report::SheetSink sink = [&](const report::Sheet &sheet) {
        writer->write(sheet);
        return crew.isCancelled() ? QStringLiteral("cancelled") : QString();
    };
    const bool isMade = report::makeReport(crew.reader(), job, sink, {}, fault).isEmpty();
    writer->finish();
    return isMade;
}

QString fileName(const Paper &paper, const report::Job &job, const std::vector<report::Employee> &staff)
{
    const QString path = QString::fromLatin1(paper.path);
    QStringList parts{path.section(QLatin1Char('.'), 0, 0), job.first.toString(monthFormat())};
    if (!job.staff.users.isEmpty())
        parts += staff.front().name;
    else if (job.staff.departments.size() == 1)
        parts += job.staff.departments.first();
    return parts.join(QLatin1Char('-')) + path.mid(path.indexOf(QLatin1Char('.')));
}

} // namespace

bool isPaper(const QString &path)
{
    return paperOf(path) != nullptr;
}

std::optional<Export> paper(calc::Crew &crew, const Person &person, const QString &path, const QUrlQuery &query,
                            const Now &now, bool *fault)
{
    const Paper *wanted = paperOf(path);
    const QDate first = dateOf(query.queryItemValue(QStringLiteral("month")), monthFormat());
    if (!wanted || !first.isValid())
        return {};
    report::Job job;
    job.kind = wanted->kind;
    job.first = first;
    job.last = first.addMonths(1).addDays(-1);
    job.now = now;
    job.language =
        query.queryItemValue(QStringLiteral("lang")) == QLatin1String("en") ? Language::English : Language::Slovenian;
    CheckedReader reader(crew.reader());
    const char *refusal = readStaffFilter(reader, person, query, job.kind, &job.staff);
    *fault = reader.hasFailed();
    if (refusal)
        return {};
    std::vector<report::Employee> staff;
    *fault = !report::readStaff(crew.reader(), job.staff, job.first, job.last, &staff);
    const bool isPrinted = wanted->format == report::Format::Pdf;
    if (*fault || staff.empty() || (isPrinted && staff.size() > kMostPrinted))
        return {};
    Export file{fileName(*wanted, job, staff), {}};
    // Without a font everything else goes on.
    *fault = isPrinted && !report::hasPaperFonts();
    if (*fault || !write(crew, job, wanted->format, &file.content, fault))
        return {};
    return file;
}

} // namespace page::office
