// Whether who works in shifts is assigned to one.

#include "calc/input/scheduletext.h"
#include "calc/rules/shiftplan.h"
#include "tools/doctor/checks.h"
#include "tools/doctor/staff.h"

namespace tools::doctor {

namespace {

using calc::rules::Assignment;
using calc::rules::Schedule;
using calc::rules::ShiftPlan;

constexpr int kDays = 7;
constexpr qint64 kDaySeconds = 86400;

/// One schedule that differs from shift to shift.
bool hasShifts(const calc::input::ScheduleText &text)
{
    const QAny &first = text.fields.lookup(QStringLiteral("IZM1"));
    for (const QString &name : {QStringLiteral("IZM2"), QStringLiteral("IZM3")}) {
        if (text.fields.contains(name) && text.fields.lookup(name) != first)
            return true;
    }
    return false;
}

/// Whether anybody of the schedule works on such a day, in whatever shift.
bool isWorked(const Schedule &schedule, int weekday)
{
    for (int shift = 1; shift <= Schedule::kShifts; ++shift) {
        if (schedule.day(shift, weekday))
            return true;
    }
    return false;
}

/// The assignments of the next days, today being day 0.
ShiftPlan readPlan(const Site &site)
{
    const QAny rows = site.rows->select(
        QStringLiteral("select ID,date(FDATE,'unixepoch','localtime') as F,date(TDATE,'unixepoch','localtime') as T,"
                       "%1,%2,%3 from RAZPOREDC where TDATE>=%4 and FDATE<=%5")
            .arg(hexed(QStringLiteral("RGROUP")), hexed(QStringLiteral("EMPLID")), hexed(QStringLiteral("PRERAZ")))
            .arg(site.now - kDaySeconds)
            .arg(site.now + (kDays + 1) * kDaySeconds));
    const auto dayOf = [&site](const QAny &date) {
        return static_cast<int>(site.today().daysTo(QDate::fromString(date.toString(), Qt::ISODate)));
    };
    std::vector<Assignment> assignments;
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &row = rows.at(i);
        Assignment assignment;
        assignment.id = row.lookup(QStringLiteral("ID")).toInteger();
        assignment.firstDay = dayOf(row.lookup(QStringLiteral("F")));
        assignment.lastDay = dayOf(row.lookup(QStringLiteral("T")));
        assignment.group = textOf(row, QStringLiteral("RGROUP"));
        assignment.emplId = textOf(row, QStringLiteral("EMPLID"));
        assignment.preraz = textOf(row, QStringLiteral("PRERAZ"));
        assignments.push_back(assignment);
    }
    return ShiftPlan(std::move(assignments), kDays);
}

} // namespace

void checkShifts(const Site &site, Findings &findings)
{
    QHash<QString, calc::input::ScheduleText> schedules;
    const QHash<QString, QString> texts = readTexts(site, "wtimset");
    for (auto text = texts.begin(); text != texts.end(); ++text)
        schedules.insert(text.key(), calc::input::readSchedule(text.value()));
    ShiftPlan plan = readPlan(site);
    QStringList unassigned;
    for (const StaffMember &member : readStaff(site)) {
        const calc::input::ScheduleText schedule = schedules.value(member.schedule);
        if (!schedule.schedule || !hasShifts(schedule))
            continue;
        const auto days = plan.daysOf(member.group, member.emplId);
        for (int day = 0; day < kDays; ++day) {
            const QDate date = site.today().addDays(day);
            if ((*days)[static_cast<size_t>(day)].isAssigned() || !isWorked(*schedule.schedule, date.dayOfWeek()))
                continue;
            unassigned +=
                member.text() + (member.group.isEmpty()
                                     ? QStringLiteral(": no PRERAZDC")
                                     : QStringLiteral(": group %1, %2").arg(member.group, date.toString(Qt::ISODate)));
            break;
        }
    }
    if (!unassigned.isEmpty()) {
        findings.add(Severity::Soon,
                     QStringLiteral("%1 with a schedule of several shifts not assigned to one within the next %2 days: "
                                    "calculated as in the first shift")
                         .arg(counted(unassigned.size(), "active employee"))
                         .arg(kDays),
                     QStringLiteral("give them a group (employees.PRERAZDC), and the group a row in RAZPOREDC for "
                                    "these days"),
                     unassigned);
    }
}

} // namespace tools::doctor
