#pragma once

#include "page/server/office/checkedreader.h"
#include "report/staffview.h"

#include <QDate>
#include <QString>
#include <QVector>

#include <optional>

namespace page::office {

/// What a person may do beyond their own affairs.
struct Role {
    bool isHr = false;  ///< all departments; else a supervisor
    QString department; ///< of a supervisor; an empty one opens nothing
};

/// Who is signed in.
struct Person {
    qint64 access = 0; ///< USER_ACCESS.ID
    qint64 id = 0;     ///< employees.ID
    QString name;      ///< "LASTNAME FIRSTNAME"
    QString department;
    QVector<Role> roles;
};

/// When an ask is answered.
using report::Now;

/// An employee at work, who may be asked for.
struct Employee {
    qint64 id = 0;
    QString name; ///< "LASTNAME FIRSTNAME"
    QString department;

    /// {"id", "name", "department"}
    QAny json() const;
};

/// Null where name or password is wrong or empty, or the user or the employee is not active. Any thread. `fault` is set
/// to whether the file could not be read; then the result says nothing.
std::optional<Person> signIn(storage::Reader &reader, const QString &name, const QString &password, bool *fault);
/// The same person as of now, roles included; null when it is no longer active.
std::optional<Person> lookAgain(storage::Reader &reader, const Person &person, bool *fault);

/// The same, for who asks more of the reader.
std::optional<Person> lookAgain(CheckedReader &reader, const Person &person);
/// Null where no active employee has the id.
std::optional<Employee> employeeOf(CheckedReader &reader, qint64 id);
/// All active ones, by name.
QVector<Employee> activeEmployees(CheckedReader &reader);

/// Whether a role of the person opens the department.
bool overlooks(const Person &person, const QString &department);
/// Those that the roles open; null for all.
std::optional<QStringList> overseenDepartments(const Person &person);

/// SQL text of an employee's name, as the calculation shows it; the table's name or alias is put in.
QString nameSql(const char *table);

} // namespace page::office
