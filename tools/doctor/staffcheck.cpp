// Whether all active employees have settings and a schedule.

#include "tools/doctor/checks.h"
#include "tools/doctor/staff.h"

namespace tools::doctor {

namespace {

/// What employees take from a table of stored texts.
struct Kind {
    const char *table;
    const char *column;
    const char *effect;
    QString StaffMember::*key;
    bool StaffMember::*hasRow;
};

constexpr Kind kKinds[] = {
    {"calcset", "CALCSET", "calculated without any rule", &StaffMember::settings, &StaffMember::hasSettings},
    {"wtimset", "WTIMSET", "calculated without a schedule", &StaffMember::schedule, &StaffMember::hasSchedule},
};

void checkKind(const std::vector<StaffMember> &staff, const Kind &kind, Findings &findings)
{
    QStringList without;
    QStringList dangling;
    for (const StaffMember &member : staff) {
        const QString &key = member.*kind.key;
        if (key.isEmpty())
            without += member.text();
        else if (!(member.*kind.hasRow))
            dangling += member.text() + QStringLiteral(": \"%1\"").arg(key);
    }
    const QString column = QString::fromLatin1(kind.column);
    if (!without.isEmpty()) {
        findings.add(Severity::Soon,
                     QStringLiteral("%1 without %2, %3")
                         .arg(counted(without.size(), "active employee"), column, QLatin1String(kind.effect)),
                     QStringLiteral("zukadmin update employees ID ID:=N %1=KEY, with a KEY of the table %2")
                         .arg(column, QLatin1String(kind.table)),
                     without);
    }
    if (!dangling.isEmpty()) {
        findings.add(Severity::Act,
                     QStringLiteral("%1 with a %2 that %3 does not have, %4")
                         .arg(counted(dangling.size(), "active employee"), column, QLatin1String(kind.table),
                              QLatin1String(kind.effect)),
                     QStringLiteral("give them another key, or add the row to %1").arg(QLatin1String(kind.table)),
                     dangling);
    }
}

} // namespace

void checkStaff(const Site &site, Findings &findings)
{
    const std::vector<StaffMember> staff = readStaff(site);
    if (staff.empty()) {
        findings.add(Severity::Soon, QStringLiteral("no employee is active"),
                     QStringLiteral("move the site in (zukimport), or set ACTIVE of the employees to 1"));
    }
    for (const Kind &kind : kKinds)
        checkKind(staff, kind, findings);
}

} // namespace tools::doctor
