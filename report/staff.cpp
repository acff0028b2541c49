#include "report/staff.h"

#include "storage/reader.h"

#include <QCollator>
#include <QDateTime>
#include <QSet>

#include <algorithm>

namespace report {

namespace {

const QString kSelect = QStringLiteral(
    "SELECT ID,trim(coalesce(LASTNAME,'')||' '||coalesce(FIRSTNAME,'')),coalesce(EMPLID,''),coalesce(DEPARTMENT,''),"
    "coalesce(ACTIVE,0)=1 FROM employees e");
const QString kWithEvents = QStringLiteral(
    " WHERE ACTIVE=1 OR EXISTS (SELECT 1 FROM allevents a WHERE a.USER=e.ID AND a.TIMESTAMP>=? AND a.TIMESTAMP<?) "
    "OR EXISTS (SELECT 1 FROM metalog m WHERE m.USER=e.ID AND m.TIMESTAMP>=? AND m.TIMESTAMP<?)");
const QString kActive = QStringLiteral(" WHERE ACTIVE=1");

/// Sorts by keys that are made once: to compare texts of people is slow.
void sortForPeople(std::vector<Employee> &staff)
{
    QCollator collator{QLocale(QLocale::Slovenian)};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    struct Keyed {
        QCollatorSortKey department;
        QCollatorSortKey name;
        Employee employee;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(staff.size());
    for (Employee &employee : staff)
        keyed.push_back({collator.sortKey(employee.department), collator.sortKey(employee.name), std::move(employee)});
    std::sort(keyed.begin(), keyed.end(), [](const Keyed &left, const Keyed &right) {
        if (const int order = left.department.compare(right.department))
            return order < 0;
        if (const int order = left.name.compare(right.name))
            return order < 0;
        return left.employee.id < right.employee.id;
    });
    staff.clear();
    for (Keyed &each : keyed)
        staff.push_back(std::move(each.employee));
}

} // namespace

storage::Status readStaff(storage::Reader &reader, const StaffFilter &filter, QDate first, QDate last,
                          std::vector<Employee> *staff)
{
    QString sql = kSelect;
    QVariantList bindings;
    if (filter.users.isEmpty() && filter.withLeft) {
        const qint64 from = first.startOfDay().toSecsSinceEpoch();
        const qint64 to = last.addDays(1).startOfDay().toSecsSinceEpoch();
        sql += kWithEvents;
        bindings = {from, to, from, to};
    } else if (filter.users.isEmpty()) {
        sql += kActive;
    }
    const QSet<qint64> named(filter.users.begin(), filter.users.end());
    const storage::Status status = reader.forEachRow(sql, bindings, [&](const QSqlQuery &row) {
        enum { Id, Name, EmplId, Department, IsActive };
        const Employee employee{row.value(Id).toLongLong(), row.value(Name).toString(), row.value(EmplId).toString(),
                                row.value(Department).toString(), !row.value(IsActive).toBool()};
        const bool isWanted = filter.departments.isEmpty() || filter.departments.contains(employee.department);
        if (isWanted && (named.isEmpty() || named.contains(employee.id)))
            staff->push_back(employee);
    });
    sortForPeople(*staff);
    return status;
}

} // namespace report
