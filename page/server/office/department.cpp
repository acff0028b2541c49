#include "page/server/office/answers.h"
#include "page/server/office/asking.h"
#include "page/server/office/staffview.h"

namespace page::office {

namespace {

/// What somebody must look at, of one employee's period.
class Exceptions
{
public:
    void add(const char *what, const QDate &date, const QString &text)
    {
        m_list.append(QAny{{QStringLiteral("date"), date.isValid() ? QAny(date.toString(dateFormat())) : QAny()},
                           {QStringLiteral("what"), QString::fromLatin1(what)},
                           {QStringLiteral("text"), text}});
    }

    void add(const DayView &day)
    {
        if (day.state == DayState::Half) {
            ++m_half;
            add("half", day.date, day.faults.join(QLatin1Char(' ')));
        } else if (day.state == DayState::Missing) {
            ++m_missing;
            add("missing", day.date, {});
        }
        if (day.state != DayState::Half)
            addFaults("fault", day.date, day.faults);
        addFaults("warning", day.date, day.warnings);
    }

    void addFaults(const char *what, const QDate &date, const QStringList &texts)
    {
        for (const QString &text : texts) {
            ++m_faults;
            add(what, date, text);
        }
    }

    void tell(QAny &person) const
    {
        person.insert(QStringLiteral("half"), m_half);
        person.insert(QStringLiteral("missing"), m_missing);
        person.insert(QStringLiteral("faults"), m_faults);
        person.insert(QStringLiteral("exceptions"), m_list);
    }

private:
    QAny m_list{QAny::List};
    int m_half = 0;
    int m_missing = 0;
    int m_faults = 0; ///< and warnings
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
    exceptions.addFaults("fault", {}, view.faultsOf(employee.id));
    const int position = view.positionOf(employee.id);
    if (position >= 0) {
        for (const DayView &day : view.daysOf(position)) {
            totals.add(day);
            exceptions.add(day);
        }
    }
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
