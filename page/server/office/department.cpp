#include "page/server/office/answers.h"
#include "page/server/office/asking.h"
#include "page/server/office/staffview.h"

namespace page::office {

namespace {

constexpr const char *kWhat[] = {"half", "missing", "fault", "warning"};

/// What somebody must look at, of one employee's period.
class Exceptions
{
public:
    void add(const report::Exception &exception)
    {
        ++m_counts[static_cast<size_t>(exception.what)];
        m_list.append(QAny{
            {QStringLiteral("date"), exception.date.isValid() ? QAny(exception.date.toString(dateFormat())) : QAny()},
            {QStringLiteral("what"), QString::fromLatin1(kWhat[exception.what])},
            {QStringLiteral("text"), exception.text}});
    }

    void tell(QAny &person) const
    {
        person.insert(QStringLiteral("half"), m_counts[report::Exception::Half]);
        person.insert(QStringLiteral("missing"), m_counts[report::Exception::Missing]);
        person.insert(QStringLiteral("faults"),
                      m_counts[report::Exception::Fault] + m_counts[report::Exception::Warning]);
        person.insert(QStringLiteral("exceptions"), m_list);
    }

private:
    QAny m_list{QAny::List};
    std::array<int, 4> m_counts{}; ///< by what
};

QVector<Employee> overseen(const QVector<Employee> &all, const Person &person, const QAny &department)
{
    QVector<Employee> people;
    for (const Employee &employee : all) {
        const bool isWanted = !department.isString() || employee.department == department.asString();
        if (isWanted && overlooks(person, employee.department))
            people.append(employee);
    }
    return people;
}

QAny departmentsOf(const QVector<Employee> &people)
{
    QStringList names;
    for (const Employee &employee : people) {
        if (!employee.department.isEmpty() && !names.contains(employee.department))
            names.append(employee.department);
    }
    names.sort();
    return names;
}

QAny personJson(const StaffView &view, const Employee &employee, int openRequests)
{
    Totals totals;
    Exceptions exceptions;
    const int position = view.positionOf(employee.id);
    const std::vector<DayView> days = position < 0 ? std::vector<DayView>() : view.daysOf(position);
    for (const DayView &day : days)
        totals.add(day);
    for (const report::Exception &exception : view.exceptionsOf(employee.id, days))
        exceptions.add(exception);
    QAny person = employee.json();
    person.insert(QStringLiteral("worked"), totals.worked);
    person.insert(QStringLiteral("required"), totals.required);
    person.insert(QStringLiteral("balance"), totals.balance);
    person.insert(QStringLiteral("openRequests"), openRequests);
    exceptions.tell(person);
    return person;
}

} // namespace

QAny departmentAnswer(Asking &asking)
{
    const QDate first = dateOf(asking.field("month"), monthFormat());
    if (!first.isValid())
        return refused(kBadRequest);
    const QVector<Employee> all = activeEmployees(asking.reader);
    const QHash<qint64, int> openRequests = openRequestCounts(asking.reader);
    checkCalculable(asking.reader);
    if (asking.reader.hasFailed())
        return refused(kDatabase);

    const QVector<Employee> people = overseen(all, asking.person(), asking.field("department"));
    QAny list(QAny::List);
    if (!people.isEmpty()) {
        Period period{first, first.addMonths(1).addDays(-1), {}};
        for (const Employee &employee : people)
            period.users.push_back(employee.id);
        const StaffView view(asking.crew, period, asking.now);
        if (asking.crew.isCancelled())
            return refused(kBusy);
        for (const Employee &employee : people)
            list.append(personJson(view, employee, openRequests.value(employee.id)));
    }
    return done({{QStringLiteral("departments"), departmentsOf(overseen(all, asking.person(), {}))},
                 {QStringLiteral("month"), first.toString(monthFormat())},
                 {QStringLiteral("people"), list},
                 {QStringLiteral("asOf"), asking.now.time}});
}

} // namespace page::office
