#include "tools/doctor/examination.h"

#include "tools/doctor/checks.h"

#include <algorithm>

namespace tools::doctor {

namespace {

struct Check {
    const char *name;
    const char *tables; ///< that it reads
    const char *index;  ///< without which it would read years of rows again and again
    bool isLocal;       ///< it looks at what lies on the server's machine
    void (*run)(const Site &site, Findings &findings);
};

constexpr Check kChecks[] = {
    {"version", "", "", false, checkVersion},
    {"ports", "", "", false, checkPorts},
    {"integrity", "", "", false, checkIntegrity},
    {"journal mode", "", "", false, checkJournalMode},
    {"tables", "", "", false, checkTables},
    {"indexes", "", "", false, checkIndexes},
    {"own tables", "", "", false, checkOwnTables},
    {"calendar", "calendar", "", false, checkCalendar},
    {"employees", "employees calcset wtimset", "", false, checkStaff},
    {"shifts", "employees calcset wtimset RAZPOREDC", "", false, checkShifts},
    {"stored settings", "config", "", false, checkSettings},
    {"stored rules", "employees calcset wtimset", "", false, checkRuleTexts},
    {"stored schedules", "employees calcset wtimset", "", false, checkScheduleTexts},
    {"terminals", "events calendar", "EVENTS TID, TIMESTAMP", false, checkSilence},
    {"terminal clocks", "events", "EVENTS TID, TIMESTAMP", false, checkClocks},
    {"waiting events", "", "", true, checkWaiting},
    {"disk", "", "", true, checkDisk},
    {"back-ups", "", "", true, checkBackups},
};

/// The server's clock, and what the file holds.
void lookAround(Site *site)
{
    const QAny clock = site->rows->first(QStringLiteral("select cast(strftime('%s','now') as integer) as NOW"));
    site->here = QDateTime::currentSecsSinceEpoch();
    if (site->now == 0)
        site->now = clock.lookup(QStringLiteral("NOW")).toInteger();
    const QAny local = site->rows->first(
        QStringLiteral("select cast(strftime('%s',%1,'unixepoch','localtime') as integer) as CLOCK").arg(site->now));
    site->utcOffset = local.lookup(QStringLiteral("CLOCK")).toInteger() - site->now;
    const QAny columns = site->rows->select(
        QStringLiteral(
            "select m.name as T,m.type as K,i.name as C from sqlite_master m join pragma_table_info(m.name) i "
            "where m.type in ('table','view') and upper(m.name) in ('%1')")
            .arg(neededTables().join(QStringLiteral("','"))));
    for (int i = 0; i < columns.count(); ++i) {
        const QString table = columns.at(i).lookup(QStringLiteral("T")).toString().toUpper();
        site->columns[table].insert(columns.at(i).lookup(QStringLiteral("C")).toString().toUpper());
        if (columns.at(i).lookup(QStringLiteral("K")).toString() == QLatin1String("view"))
            site->views.insert(table);
    }
    site->indexes = readIndexes(*site);
}

bool canRun(const Check &check, const Site &site)
{
    const QStringList tables = QString::fromLatin1(check.tables).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QString index = QString::fromLatin1(check.index);
    if (!index.isEmpty() && !isIndexed(site, index))
        return false;
    return std::all_of(tables.begin(), tables.end(), [&site](const QString &table) { return isWhole(site, table); });
}

void runChecks(const Site &site, Report *report)
{
    QStringList local;
    QStringList impossible;
    for (const Check &check : kChecks) {
        const QString name = QString::fromLatin1(check.name);
        if (check.isLocal && !site.files) {
            local += name;
        } else if (!canRun(check, site)) {
            impossible += name;
        } else {
            Findings findings(name, report);
            check.run(site, findings);
            ++report->checks;
        }
    }
    if (!impossible.isEmpty())
        report->unseen +=
            QStringLiteral("%1: a table, column or index that they need is missing.").arg(impossible.join(", "));
    if (!local.isEmpty())
        report->unseen +=
            QStringLiteral("%1: on the server's machine, --database looks at them.").arg(local.join(", "));
}

} // namespace

Report examine(Site site)
{
    Report report;
    lookAround(&site);
    if (!site.rows->fault().isEmpty()) {
        report.fault = site.rows->fault();
        return report;
    }
    if (site.now == 0) {
        Findings(QStringLiteral("integrity"), &report)
            .add(Severity::Act, QStringLiteral("the server has no open database"),
                 QStringLiteral("its journal tells why (journalctl -u zuk3srv); docs/operation.md, \"When the database "
                                "cannot be written\""));
        return report;
    }
    runChecks(site, &report);
    report.fault = site.rows->fault();
    std::stable_sort(report.findings.begin(), report.findings.end(),
                     [](const Finding &left, const Finding &right) { return left.severity > right.severity; });
    return report;
}

} // namespace tools::doctor
