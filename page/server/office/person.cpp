#include "page/server/office/person.h"

namespace page::office {

namespace {

const QString &personSql()
{
    static const QString sql =
        QStringLiteral("SELECT USER_ACCESS.ID,employees.ID,%1,coalesce(employees.DEPARTMENT,'') FROM USER_ACCESS "
                       "JOIN employees ON employees.ID=USER_ACCESS.IDP "
                       "WHERE USER_ACCESS.ACTIVE=1 AND employees.ACTIVE=1")
            .arg(nameSql("employees"));
    return sql;
}

const QString &employeesSql()
{
    static const QString sql =
        QStringLiteral("SELECT employees.ID,%1,coalesce(employees.DEPARTMENT,'') FROM employees WHERE ACTIVE=1")
            .arg(nameSql("employees"));
    return sql;
}

const QString kRoles = QStringLiteral("SELECT ROLE,DEPARTMENT FROM page_role WHERE IDP=? ORDER BY ID");
const QString kHr = QStringLiteral("hr");
const QString kSupervisor = QStringLiteral("supervisor");

void readRoles(CheckedReader &reader, Person &person)
{
    reader.forEachRow(kRoles, {person.id}, [&person](const QSqlQuery &row) {
        const QString role = row.value(0).toString();
        if (role == kHr)
            person.roles.append({true, QString()});
        else if (role == kSupervisor)
            person.roles.append({false, row.value(1).toString()});
    });
}

std::optional<Person> personOf(CheckedReader &reader, const QString &condition, const QVariantList &bindings)
{
    std::optional<Person> person;
    reader.forEachRow(personSql() + condition, bindings, [&person](const QSqlQuery &row) {
        person = Person{
            row.value(0).toLongLong(), row.value(1).toLongLong(), row.value(2).toString(), row.value(3).toString(), {}};
    });
    if (person)
        readRoles(reader, *person);
    return person;
}

Employee employeeIn(const QSqlQuery &row)
{
    return {row.value(0).toLongLong(), row.value(1).toString(), row.value(2).toString()};
}

} // namespace

QString nameSql(const char *table)
{
    return QStringLiteral("trim(coalesce(%1.LASTNAME,'')||' '||coalesce(%1.FIRSTNAME,''))")
        .arg(QString::fromLatin1(table));
}

QAny Employee::json() const
{
    return {{QStringLiteral("id"), id}, {QStringLiteral("name"), name}, {QStringLiteral("department"), department}};
}

std::optional<Person> signIn(storage::Reader &reader, const QString &name, const QString &password, bool *fault)
{
    static const QString byName =
        QStringLiteral(" AND USER_ACCESS.NAME=? AND USER_ACCESS.PASSWORD=? ORDER BY USER_ACCESS.ID LIMIT 1");
    *fault = false;
    if (name.isEmpty() || password.isEmpty())
        return {};
    CheckedReader checked(reader);
    std::optional<Person> person = personOf(checked, byName, {name, password});
    *fault = checked.hasFailed();
    return *fault ? std::nullopt : person;
}

std::optional<Person> lookAgain(CheckedReader &reader, const Person &person)
{
    static const QString byId = QStringLiteral(" AND USER_ACCESS.ID=? AND employees.ID=?");
    return personOf(reader, byId, {person.access, person.id});
}

std::optional<Person> lookAgain(storage::Reader &reader, const Person &person, bool *fault)
{
    CheckedReader checked(reader);
    std::optional<Person> found = lookAgain(checked, person);
    *fault = checked.hasFailed();
    return *fault ? std::nullopt : found;
}

std::optional<Employee> employeeOf(CheckedReader &reader, qint64 id)
{
    static const QString byId = employeesSql() + QStringLiteral(" AND ID=?");
    std::optional<Employee> employee;
    reader.forEachRow(byId, {id}, [&employee](const QSqlQuery &row) { employee = employeeIn(row); });
    return employee;
}

QVector<Employee> activeEmployees(CheckedReader &reader)
{
    static const QString all = employeesSql() + QStringLiteral(" ORDER BY LASTNAME,FIRSTNAME,ID");
    QVector<Employee> employees;
    reader.forEachRow(all, {}, [&employees](const QSqlQuery &row) { employees.append(employeeIn(row)); });
    return employees;
}

bool overlooks(const Person &person, const QString &department)
{
    for (const Role &role : person.roles) {
        if (role.isHr || (!department.isEmpty() && role.department == department))
            return true;
    }
    return false;
}

std::optional<QStringList> overseenDepartments(const Person &person)
{
    QStringList departments;
    for (const Role &role : person.roles) {
        if (role.isHr)
            return {};
        if (!role.department.isEmpty())
            departments += role.department;
    }
    return departments;
}

} // namespace page::office
