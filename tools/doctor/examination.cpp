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
        if (columns.at(i).lookup(QStringLiteral("K")).toString() == QLatin1String("view"))
            site->views.insert(table);
        site->columns[table].insert(columns.at(i).lookup(QStringLiteral("C")).toString().toUpper());
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

/// False when a question of the check had no answer: then nothing that it found is told, for it may follow from rows
/// that are missing.
bool makeCheck(const Check &check, const Site &site, Report *report)
{
    const bool wasWhole = site.rows->fault().isEmpty();
    Report own;
    Findings findings(QString::fromLatin1(check.name), &own);
    check.run(site, findings);
    if (wasWhole && !site.rows->fault().isEmpty())
        return false;
    report->findings += own.findings;
    report->unseen += own.unseen;
    ++report->checks;
    return true;
}

void runChecks(const Site &site, Report *report)
{
    QStringList local;
    QStringList impossible;
    QStringList unanswered;
    for (const Check &check : kChecks) {
        const QString name = QString::fromLatin1(check.name);
        // Once a question had no answer only that is looked at for which nobody is asked.
        const bool isAnswered = site.rows->fault().isEmpty() || check.isLocal;
        if (check.isLocal && !site.files)
            local += name;
        else if (!canRun(check, site))
            impossible += name;
        else if (!isAnswered || !makeCheck(check, site, report))
            unanswered += name;
    }
    const auto tell = [report](const QStringList &names, const QString &why) {
        if (!names.isEmpty())
            report->unseen += names.join(QStringLiteral(", ")) + QStringLiteral(": ") + why;
    };
    tell(unanswered, QStringLiteral("a question had no answer (%1).").arg(site.rows->fault()));
    tell(impossible, QStringLiteral("a table, column or index that they need is missing."));
    tell(local, QStringLiteral("on the server's machine, --database looks at them."));
}

Report examineWhole(Site *site)
{
    Report report;
    lookAround(site);
    if (site->rows->fault().isEmpty() && site->now == 0) {
        Findings(QStringLiteral("integrity"), &report)
            .add(Severity::Act, QStringLiteral("the server has no open database"),
                 QStringLiteral("its journal tells why (journalctl -u zuk3srv); docs/operation.md, \"When the database "
                                "cannot be written\""));
        return report;
    }
    if (site->rows->fault().isEmpty())
        runChecks(*site, &report);
    report.fault = site->rows->fault();
    const QString integrity = QStringLiteral("integrity");
    const bool isTold = std::any_of(report.findings.begin(), report.findings.end(),
                                    [&integrity](const Finding &each) { return each.check == integrity; });
    if (site->rows->isDamaged() && !isTold) {
        Findings findings(integrity, &report);
        addDamage({report.fault}, findings);
    }
    return report;
}

} // namespace

Report examine(Site site)
{
    Report report = examineWhole(&site);
    if (site.rows->wasDisturbed()) {
        report = Report();
        report.fault = QStringLiteral("somebody else used the file meanwhile: run it again");
    }
    std::stable_sort(report.findings.begin(), report.findings.end(),
                     [](const Finding &left, const Finding &right) { return left.severity > right.severity; });
    return report;
}

} // namespace tools::doctor
