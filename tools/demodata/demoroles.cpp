#include "tools/demodata/demoroles.h"

namespace tools::demodata {

namespace {

const QString kPersonnelOffice = QStringLiteral("Računovodstvo");
constexpr int kAccessSwitchedOff = 20; ///< one in so many
constexpr int kAna = 1;

/// Of a department, of any where it is empty; 0 where there is nobody.
int firstFree(const QVector<DemoEmployee> &staff, const QString &department, const QHash<int, DemoRole> &roles)
{
    for (const DemoEmployee &employee : staff) {
        const bool fits = department.isEmpty() || employee.job.department == department;
        if (fits && employee.id != kAna && hasAccess(employee) && !roles.contains(employee.id))
            return employee.id;
    }
    return 0;
}

} // namespace

bool hasAccess(const DemoEmployee &employee)
{
    return employee.isActive() && employee.id % kAccessSwitchedOff != 0;
}

QHash<int, DemoRole> demoRoles(const QVector<DemoEmployee> &staff)
{
    QHash<int, DemoRole> roles;
    int hr = firstFree(staff, kPersonnelOffice, roles);
    if (hr == 0)
        hr = firstFree(staff, QString(), roles);
    if (hr != 0)
        roles.insert(hr, {true, QString()});
    for (const DemoJob &job : demoJobs()) {
        if (const int supervisor = firstFree(staff, job.department, roles))
            roles.insert(supervisor, {false, job.department});
    }
    return roles;
}

} // namespace tools::demodata
