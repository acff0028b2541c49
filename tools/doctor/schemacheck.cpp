// Tables, columns and indexes.

#include "tools/doctor/checks.h"

#include <algorithm>

namespace tools::doctor {

namespace {

enum class Owner { Administration, Server };

struct Table {
    const char *name;
    const char *columns; ///< that something reads; with a bar one of them is enough
    Severity severity;   ///< of their lack
    Owner owner;         ///< who makes it
    const char *users;
};

constexpr Table kTables[] = {
    {"config", "KEY VALUE", Severity::Act, Owner::Administration, "the calculation and the journal"},
    {"employees", "ID FIRSTNAME LASTNAME EMPLID DEPARTMENT ACTIVE CALCSET WTIMSET PRERAZDC OFFDAYS STIMUL OTHER TIMEZ",
     Severity::Act, Owner::Administration, "the calculation"},
    {"allevents", "ID IDX USER TIMESTAMP ACCESS_CODE TYPE REMARK TAG PTIME PARAM TERMINAL", Severity::Act,
     Owner::Administration, "the calculation"},
    {"metalog", "ID IDLOG USER TIMESTAMP ACCESS_CODE TYPE REMARK", Severity::Act, Owner::Administration,
     "the calculation"},
    {"calendar", "DATE PRAZNIK|NOTE", Severity::Act, Owner::Administration, "the calculation"},
    {"RAZPOREDC", "ID FDATE TDATE FHOUR RGROUP EMPLID PRERAZ", Severity::Act, Owner::Administration, "the calculation"},
    {"calcset", "KEY VALUE", Severity::Act, Owner::Administration, "the calculation"},
    {"wtimset", "KEY VALUE", Severity::Act, Owner::Administration, "the calculation"},
    {"freehour", "ID IDU HDLAST HDLSPENT HDLDATE HDTOT HDSPENT FHOURS LUPDATE CHGDATE STATUS REMARK", Severity::Soon,
     Owner::Administration, "balances on the web and on the page"},
    {"USER_ACCESS", "ID IDP NAME PASSWORD ACTIVE", Severity::Soon, Owner::Administration,
     "logins on the web and on the page"},
    {"logs", "IDX LINE ID FTIMESTAMP LLEVEL LGROUP FMESSAGE DATA", Severity::Act, Owner::Server, "the journal"},
    {"events", "ID USER FINGER TERMINAL TIMESTAMP DESCRIPTION ACCESS_CODE ID_TYPE UID TID NAME", Severity::Act,
     Owner::Server, "terminals"},
    {"IMAGES", "ID TYPE PICT", Severity::Soon, Owner::Server, "terminals' pictures"},
};

/// What is searched by, and is long after years. As the server and the shipped schema name them.
constexpr struct {
    const char *name;
    const char *table;
    const char *columns;
} kIndexes[] = {
    {"logs_line_ftimestamp", "logs", "LINE, FTIMESTAMP"},
    {"events_tid_timestamp", "events", "TID, TIMESTAMP"},
    {"events_user_timestamp", "events", "USER, TIMESTAMP"},
    {"allevents_user_timestamp", "allevents", "USER, TIMESTAMP"},
    {"allevents_timestamp", "allevents", "TIMESTAMP"},
    {"metalog_user_timestamp", "metalog", "USER, TIMESTAMP"},
    {"metalog_timestamp", "metalog", "TIMESTAMP"},
    {"calendar_date", "calendar", "DATE"},
    {"razporedc_fdate", "RAZPOREDC", "FDATE, TDATE"},
    {"freehour_idu", "freehour", "IDU, STATUS"},
    {"user_access_name", "USER_ACCESS", "NAME"},
};

/// Tables of the product's own in `zuk_schema`, and the newest version that is known (page/server/office/pagetables.h).
constexpr struct {
    const char *name;
    int version;
} kOwnTables[] = {{"page", 1}};

QStringList missingColumns(const Site &site, const Table &table)
{
    const QSet<QString> there = site.columns.value(QString::fromLatin1(table.name).toUpper());
    QStringList missing;
    const QStringList columns = QString::fromLatin1(table.columns).split(QLatin1Char(' '));
    for (const QString &column : columns) {
        const QStringList choices = column.split(QLatin1Char('|'));
        if (std::none_of(choices.begin(), choices.end(), [&](const QString &name) { return there.contains(name); }))
            missing += choices.join(" or ");
    }
    return missing;
}

bool isThere(const Site &site, const char *table)
{
    return site.columns.contains(QString::fromLatin1(table).toUpper());
}

QString makerOf(const Table &table)
{
    return table.owner == Owner::Server
               ? QStringLiteral("restart the server, which makes its own tables")
               : QStringLiteral("let the administration make it, or run attendance-schema.sql of the package on the "
                                "file, which leaves what is there as it is");
}

} // namespace

QStringList neededTables()
{
    QStringList names{QStringLiteral("ZUK_SCHEMA")};
    for (const Table &table : kTables)
        names += QString::fromLatin1(table.name).toUpper();
    return names;
}

QStringList readIndexes(const Site &site)
{
    const QAny rows = site.rows->select(
        QStringLiteral("select upper(m.name)||' '||(select group_concat(upper(name),', ') from (select name from "
                       "pragma_index_info(l.name) order by seqno)) as I from sqlite_master m join "
                       "pragma_index_list(m.name) l where m.type='table' and not l.partial and upper(m.name) in (%1) "
                       // A primary key of one whole number is the row id itself, for which no index is kept.
                       "union all select upper(m.name)||' '||upper(max(i.name)) from sqlite_master m join "
                       "pragma_table_info(m.name) i where m.type='table' and upper(m.name) in (%1) and i.pk>0 "
                       "group by m.name having count(*)=1 and upper(max(i.type))='INTEGER'")
            .arg(QLatin1Char('\'') + neededTables().join(QStringLiteral("','")) + QLatin1Char('\'')));
    QStringList indexes;
    for (int i = 0; i < rows.count(); ++i)
        indexes += rows.at(i).lookup(QStringLiteral("I")).toString();
    return indexes;
}

bool isIndexed(const Site &site, const QString &columns)
{
    // More columns behind those that are wanted do as well.
    return std::any_of(site.indexes.begin(), site.indexes.end(), [&columns](const QString &each) {
        return each == columns || each.startsWith(columns + QLatin1Char(','));
    });
}

bool isWhole(const Site &site, const QString &table)
{
    const auto *const found = std::find_if(std::begin(kTables), std::end(kTables), [&table](const Table &each) {
        return table.compare(QLatin1String(each.name), Qt::CaseInsensitive) == 0;
    });
    return found != std::end(kTables) && missingColumns(site, *found).isEmpty();
}

void checkTables(const Site &site, Findings &findings)
{
    if (site.columns.isEmpty()) {
        findings.add(Severity::Act, QStringLiteral("the file holds none of the tables"),
                     QStringLiteral("look whether it is the right file; a new site begins with docs/operation.md, "
                                    "\"A new site\""));
        return;
    }
    for (const Table &table : kTables) {
        const QStringList missing = missingColumns(site, table);
        const QString name = QString::fromLatin1(table.name);
        const QString users = QString::fromLatin1(table.users);
        if (!isThere(site, table.name)) {
            findings.add(table.severity, QStringLiteral("table %1 is missing, needed by %2").arg(name, users),
                         makerOf(table));
        } else if (!missing.isEmpty()) {
            findings.add(table.severity,
                         QStringLiteral("table %1 lacks %2, needed by %3").arg(name, missing.join(", "), users),
                         QStringLiteral("add what is missing: zukadmin exec \"alter table %1 add column %2\"")
                             .arg(name, missing.first().section(QLatin1Char(' '), 0, 0)));
        }
    }
}

void checkIndexes(const Site &site, Findings &findings)
{
    for (const auto &index : kIndexes) {
        const QString columns = QString::fromLatin1(index.columns);
        const QString wanted = QString::fromLatin1(index.table).toUpper() + QLatin1Char(' ') + columns;
        const bool isView = site.views.contains(QString::fromLatin1(index.table).toUpper());
        if (isIndexed(site, wanted) || !isThere(site, index.table) || isView)
            continue;
        const QString name = QString::fromLatin1(index.table);
        findings.add(Severity::Soon,
                     QStringLiteral("no index on %1 (%2): each search reads all rows").arg(name, columns),
                     QStringLiteral("zukadmin exec \"create index if not exists %1 on %2 (%3)\"; on years of events "
                                    "outside working hours, for the server waits for it")
                         .arg(QLatin1String(index.name), name, columns));
    }
}

void checkOwnTables(const Site &site, Findings &findings)
{
    if (!isThere(site, "zuk_schema"))
        return;
    const QAny rows = site.rows->select(QStringLiteral("select ") + hexed(QStringLiteral("NAME")) +
                                        QStringLiteral(",VERSION from zuk_schema"));
    for (int i = 0; i < rows.count(); ++i) {
        const QString name = textOf(rows.at(i), QStringLiteral("NAME"));
        const qint64 version = rows.at(i).lookup(QStringLiteral("VERSION")).toInteger();
        const bool isKnown = std::any_of(std::begin(kOwnTables), std::end(kOwnTables), [&](const auto &known) {
            return name == QLatin1String(known.name) && version >= 1 && version <= known.version;
        });
        if (!isKnown) {
            findings.add(Severity::Soon,
                         QStringLiteral("tables of \"%1\" are of version %2, which this program does not know")
                             .arg(name)
                             .arg(version),
                         QStringLiteral("install programs of one version; older ones refuse these tables"));
        }
    }
}

} // namespace tools::doctor
