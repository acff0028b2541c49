// Whether the calculation can read the stored texts. They are read with its own code.

#include "calc/input/rulesettingstext.h"
#include "calc/input/scheduletext.h"
#include "calc/rules/schedule.h"
#include "tools/doctor/checks.h"
#include "tools/doctor/staff.h"

namespace tools::doctor {

namespace {

const char kJsonHelp[] =
    "store it anew as JSON, in the administration or with zukadmin update %1 KEY KEY=... VALUE=...";

/// Who uses which text.
QHash<QString, QStringList> usersOf(const Site &site, QString StaffMember::*key)
{
    QHash<QString, QStringList> users;
    for (const StaffMember &member : readStaff(site))
        users[member.*key] += member.text();
    return users;
}

QString withUsers(const QString &key, const QHash<QString, QStringList> &users)
{
    const QStringList names = users.value(key);
    if (names.isEmpty())
        return QStringLiteral("\"%1\" (nobody uses it)").arg(key);
    return QStringLiteral("\"%1\" (%2, %3%4)")
        .arg(key, counted(names.size(), "active employee"), names.first(),
             names.size() > 1 ? QStringLiteral(" and others") : QString());
}

/// Texts of the table that cannot be read, and who uses them.
void reportUnreadable(const char *table, const QStringList &keys, const QHash<QString, QStringList> &users,
                      const char *effect, Findings &findings)
{
    QStringList used;
    QStringList unused;
    for (const QString &key : keys)
        (users.contains(key) ? used : unused) += withUsers(key, users);
    const auto report = [&](Severity severity, const QStringList &which) {
        if (which.isEmpty())
            return;
        findings.add(severity,
                     QStringLiteral("%1 of %2 cannot be read: %3")
                         .arg(counted(which.size(), "text"), QLatin1String(table), QLatin1String(effect)),
                     QString::fromLatin1(kJsonHelp).arg(QLatin1String(table)), which);
    };
    report(Severity::Act, used);
    report(Severity::Soon, unused);
}

/// Times of a schedule's days that are none, as "IZM1/1/STARTB 8.00".
QStringList badTimes(const QAny &schedule)
{
    QStringList found;
    for (int shift = 1; shift <= calc::rules::Schedule::kShifts; ++shift) {
        const QString name = QStringLiteral("IZM%1").arg(shift);
        const QAny &week = schedule.lookup(name);
        for (int weekday = 1; weekday <= 7; ++weekday) {
            const QAny day = week.isHash() ? week.lookup(QString::number(weekday)) : QAny();
            for (const QString &key : calc::input::scheduleTimeKeys()) {
                const QString text = day.isHash() ? day.lookup(key).toString().trimmed() : QString();
                if (!text.isEmpty() && !calc::input::scheduleSeconds(text))
                    found += QStringLiteral("%1/%2/%3 \"%4\"").arg(name).arg(weekday).arg(key, text);
            }
        }
    }
    return found;
}

void reportBadTimes(Severity severity, QStringList schedules, Findings &findings)
{
    if (schedules.isEmpty())
        return;
    schedules.sort();
    findings.add(severity,
                 QStringLiteral("%1 of wtimset with times that are none: nothing is compared with them")
                     .arg(counted(schedules.size(), "schedule")),
                 QStringLiteral("write them as hours and minutes, such as 7:30"), schedules);
}

} // namespace

void checkSettings(const Site &site, Findings &findings)
{
    const QHash<QString, QString> texts = readTexts(site, "config");
    const QString stored = texts.value(QStringLiteral("CALCWTIMES"));
    if (!QAny::fromJson(stored).isHash()) {
        findings.add(Severity::Act,
                     stored.isEmpty()
                         ? QStringLiteral("config has no settings of the calculation (CALCWTIMES): all are "
                                          "off, night shifts at a period's edges are cut")
                         : QStringLiteral("the settings of the calculation (config, CALCWTIMES) cannot be "
                                          "read: all are off, night shifts at a period's edges are cut"),
                     QStringLiteral("store them anew in the administration; attendance-schema.sql of the package has "
                                    "usual ones"));
    }
    const QString taps = texts.value(QStringLiteral("DOUBLETAP")).trimmed();
    bool isNumber = false;
    taps.toLongLong(&isNumber);
    if (!taps.isEmpty() && !isNumber) {
        findings.add(Severity::Soon,
                     QStringLiteral("DOUBLETAP of config is no number but \"%1\": second taps count").arg(taps),
                     QStringLiteral("zukadmin update config KEY KEY=DOUBLETAP VALUE=120"));
    }
}

void checkRuleTexts(const Site &site, Findings &findings)
{
    QStringList unreadable;
    const QHash<QString, QString> texts = readTexts(site, "calcset");
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        if (!calc::input::readRuleSettings(text.value()))
            unreadable += text.key();
    }
    unreadable.sort();
    reportUnreadable("calcset", unreadable, usersOf(site, &StaffMember::settings), "no rule applies", findings);
}

void checkScheduleTexts(const Site &site, Findings &findings)
{
    const QHash<QString, QStringList> users = usersOf(site, &StaffMember::schedule);
    QStringList unreadable;
    QStringList badOnes;
    QStringList unusedBadOnes;
    const QHash<QString, QString> texts = readTexts(site, "wtimset");
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        const calc::input::ScheduleText schedule = calc::input::readSchedule(text.value());
        if (!schedule.schedule) {
            unreadable += text.key();
            continue;
        }
        const QStringList times = badTimes(schedule.fields);
        if (!times.isEmpty())
            (users.contains(text.key()) ? badOnes : unusedBadOnes) +=
                withUsers(text.key(), users) + QStringLiteral(": ") + times.first() +
                (times.size() > 1 ? QStringLiteral(" and %1 more").arg(times.size() - 1) : QString());
    }
    unreadable.sort();
    reportUnreadable("wtimset", unreadable, users, "no schedule applies", findings);
    reportBadTimes(Severity::Act, badOnes, findings);
    reportBadTimes(Severity::Soon, unusedBadOnes, findings);
}

} // namespace tools::doctor
