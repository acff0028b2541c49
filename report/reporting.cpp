#include "report/reporting.h"

#include "calc/rules/share.h"
#include "report/carried.h"
#include "report/exceptions.h"
#include "report/register.h"
#include "report/statement.h"
#include "storage/reader.h"

#include <algorithm>

namespace report {

namespace {

/// Days of employees in a batch: some tens of MiB.
constexpr qint64 kBatchDays = 6000;
constexpr qint64 kMaxBatch = calc::rules::Share::kMaxEmployees;

/// Remembers whether the file could be read: a calculation does not tell.
class WatchedReader final : public storage::Reader
{
public:
    explicit WatchedReader(storage::Reader &reader) : m_reader(reader) {}

    bool isOpen() const override { return m_reader.isOpen(); }
    QString filePath() const override { return m_reader.filePath(); }
    QString configValue(const QString &key) override { return m_reader.configValue(key); }
    QAny select(const QString &sql) override { return m_reader.select(sql); }
    storage::Status forEachRow(const QString &sql, const QVariantList &bindings,
                               const std::function<void(const QSqlQuery &)> &reader) override
    {
        const storage::Status status = m_reader.forEachRow(sql, bindings, reader);
        if (!status)
            m_status = status;
        return status;
    }

    QString fault() const
    {
        if (m_status)
            return {};
        return m_status.mayPass()
                   ? QStringLiteral("the database cannot be read now: another program holds it, or it is "
                                    "damaged")
                   : QStringLiteral("the database lacks tables of the attendance system");
    }

private:
    storage::Reader &m_reader;
    storage::Status m_status;
};

/// The run of one report.
class Reporting
{
public:
    Reporting(storage::Reader &reader, const Job &job, const SheetSink &sink)
        : m_reader(reader), m_job(job), m_sink(sink), m_register(job, m_entries), m_statement(job), m_exceptions(job)
    {
    }

    QString run(const Progress &progress);
    bool hasReadAll() const { return m_reader.fault().isEmpty(); }

private:
    QString runBatch(size_t first, size_t end);
    QString runSheets(size_t first, size_t end, const StaffView &view);
    QString addExceptions(const Employee &employee, const StaffView &view);
    QString flushDepartment();
    QString hand(const Sheet &sheet) const { return m_sink(sheet); }
    void readCarriedBalances(size_t first, size_t end);
    QString faultOfStaff() const;

    WatchedReader m_reader;
    const Job &m_job;
    const SheetSink &m_sink;
    std::vector<Employee> m_staff;
    std::vector<std::optional<qint64>> m_carried; ///< of the batch
    Entries m_entries;
    const Register m_register;
    const Statement m_statement;
    const Exceptions m_exceptions;
    std::optional<Sheet> m_department; ///< exceptions that are being gathered
    QString m_departmentName;
};

/// Whoever was asked for by name must be there: a paper that is not made would not be missed.
QString Reporting::faultOfStaff() const
{
    for (const qint64 user : m_job.staff.users) {
        const bool isKnown =
            std::any_of(m_staff.begin(), m_staff.end(), [user](const Employee &each) { return each.id == user; });
        if (!isKnown)
            return QStringLiteral("there is no employee %1%2")
                .arg(user)
                .arg(m_job.staff.departments.isEmpty() ? QString() : QStringLiteral(" in this department"));
    }
    if (m_staff.empty())
        return m_job.staff.departments.isEmpty() ? QStringLiteral("there are no employees")
                                                 : QStringLiteral("nobody is in the department \"%1\"")
                                                       .arg(m_job.staff.departments.join(QStringLiteral("\", \"")));
    return {};
}

QString Reporting::run(const Progress &progress)
{
    readStaff(m_reader, m_job.staff, m_job.first, m_job.last, &m_staff);
    if (m_job.kind == Kind::Register)
        m_entries.readCommon(m_reader, m_job.first, m_job.last);
    QString fault = m_reader.fault();
    if (fault.isEmpty())
        fault = faultOfStaff();
    const auto size = static_cast<size_t>(batchSize(m_job.first.daysTo(m_job.last) + 1));
    for (size_t first = 0; first < m_staff.size() && fault.isEmpty(); first += size) {
        const size_t end = std::min(first + size, m_staff.size());
        fault = runBatch(first, end);
        if (progress)
            progress(end, m_staff.size());
    }
    return fault.isEmpty() ? flushDepartment() : fault;
}

void Reporting::readCarriedBalances(size_t first, size_t end)
{
    m_carried.assign(end - first, {});
    // The accounting tells with what a month began.
    if (m_job.kind != Kind::Statement || m_job.first.day() != 1)
        return;
    for (size_t i = first; i < end; ++i)
        readCarried(m_reader, m_staff[i].id, m_job.first, &m_carried[i - first]);
}

QString Reporting::runBatch(size_t first, size_t end)
{
    Period period{m_job.first, m_job.last, {}};
    period.withLeft = true; // who is wanted is settled
    period.asMade = m_job.kind == Kind::Register;
    for (size_t i = first; i < end; ++i)
        period.users.push_back(m_staff[i].id);
    readCarriedBalances(first, end);
    if (m_job.kind == Kind::Register)
        m_entries.read(m_reader, period.users, m_job.first, m_job.last);
    calc::CrewOfOne crew(m_reader);
    const StaffView view(crew, period, m_job.now);
    const QString fault = m_reader.fault();
    if (!fault.isEmpty())
        return fault;
    if (view.isFatal())
        return view.faultsOf(0).join(QStringLiteral("; "));
    return runSheets(first, end, view);
}

QString Reporting::runSheets(size_t first, size_t end, const StaffView &view)
{
    QString fault;
    for (size_t i = first; i < end && fault.isEmpty(); ++i) {
        switch (m_job.kind) {
        case Kind::Statement:
            fault = hand(m_statement.of(m_staff[i], view, m_carried[i - first]));
            break;
        case Kind::Register:
            fault = hand(m_register.of(m_staff[i], view));
            break;
        case Kind::Exceptions:
            fault = addExceptions(m_staff[i], view);
            break;
        }
    }
    return fault;
}

/// The staff come by department.
QString Reporting::addExceptions(const Employee &employee, const StaffView &view)
{
    QString fault;
    if (m_department && employee.department != m_departmentName)
        fault = flushDepartment();
    if (!m_department) {
        m_department = m_exceptions.ofDepartment(employee.department);
        m_departmentName = employee.department;
    }
    m_exceptions.add(*m_department, employee, view);
    return fault;
}

QString Reporting::flushDepartment()
{
    if (!m_department)
        return {};
    m_exceptions.conclude(*m_department);
    const QString fault = hand(*m_department);
    m_department.reset();
    return fault;
}

} // namespace

int batchSize(qint64 days)
{
    return static_cast<int>(std::clamp<qint64>(kBatchDays / std::max<qint64>(days, 1), 1, kMaxBatch));
}

const Layout &layoutOf(Kind kind)
{
    return kind == Kind::Statement  ? Statement::layout()
           : kind == Kind::Register ? Register::layout()
                                    : Exceptions::layout();
}

QString makeReport(storage::Reader &reader, const Job &job, const SheetSink &sink, const Progress &progress,
                   bool *isUnreadable)
{
    Reporting reporting(reader, job, sink);
    const QString fault = reporting.run(progress);
    if (isUnreadable)
        *isUnreadable = !reporting.hasReadAll();
    return fault;
}

} // namespace report
