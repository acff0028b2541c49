#include "calcsite.h"

#include "attendancefile.h"
#include "calc/calc21.h"
#include "calc/dialogcalc3.h"

namespace {

void merge(QAny &row, const QString &columns)
{
    const QAny extra = keyValues(columns);
    for (const QString &key : extra.keys())
        row[key] = extra.value(key);
}

} // namespace

CalcSite::CalcSite() : m_database(std::make_unique<DataBase>(m_folder.filePath("site.db")))
{
    sql("PRAGMA synchronous=OFF"); // no test outlives a power cut
    Transaction transaction(*m_database);
    QStringList days;
    for (QDate day(2026, 1, 1); day.year() == 2026; day = day.addDays(1))
        days += QString("(%1,'%2','','')").arg(day.startOfDay().toSecsSinceEpoch()).arg(day.toString("d.M.yyyy"));
    if (!fillAttendance(*m_database, {"delete from config"}))
        qFatal("CalcSite: no attendance tables");
    sql("insert into calendar (DATE,DATESTAMP,NOTE,PRAZNIK) values " + days.join(','));
    if (!transaction.commit())
        qFatal("CalcSite: nothing stored");
}

CalcSite::CalcSite(const QString &script, const QString &schedule, const QString &settings, const QString &columns)
    : CalcSite()
{
    employee(1, "Novak Ana", schedule, settings, columns);
    events(1, script);
}

void CalcSite::sql(const QString &statement)
{
    if (!m_database->execPrepared(statement, {}))
        qFatal("CalcSite: statement fails: %s", qPrintable(statement));
}

void CalcSite::insert(const QString &table, const QAny &row)
{
    if (!m_database->insert(table, row))
        qFatal("CalcSite: row fails: %s", qPrintable(row.toJson()));
}

void CalcSite::employee(qint64 id, const QString &name, const QString &schedule, const QString &settings,
                        const QString &columns)
{
    const QString key = QString("K%1").arg(id);
    insert("calcset", {{"KEY", key}, {"VALUE", settingsText(settings)}});
    insert("wtimset", {{"KEY", key}, {"VALUE", scheduleText(schedule)}});
    QAny row{{"ID", id},
             {"LASTNAME", name.section(' ', 0, 0)},
             {"FIRSTNAME", name.section(' ', 1)},
             {"EMPLID", QString("E%1").arg(id)},
             {"ACTIVE", 1},
             {"CALCSET", key},
             {"WTIMSET", key},
             {"TIMEZ", 0}};
    merge(row, columns);
    insert("employees", row);
}

void CalcSite::events(qint64 user, const QString &script)
{
    for (const ScriptedEvent &event : scriptedEvents(script))
        insert(event.isMeta ? "metalog" : "allevents", {{"USER", user},
                                                        {"TIMESTAMP", event.timestamp},
                                                        {"ACCESS_CODE", event.accessCode},
                                                        {"TYPE", event.type},
                                                        {"REMARK", "opomba"}});
}

void CalcSite::holiday(const QString &day, const QAny &text)
{
    sql(QString("update calendar set PRAZNIK=%1 where DATE=%2")
            .arg(text.toJson().replace('"', '\''))
            .arg(midnight(day)));
}

void CalcSite::assign(const QString &from, const QString &to, const QString &shift, const QString &columns)
{
    QAny row{{"ID", ++m_assignments}, {"FDATE", instant(from)}, {"TDATE", instant(to)},
             {"PRERAZ", shift},       {"EMPLID", ""},           {"FHOUR", ""}};
    merge(row, columns);
    insert("RAZPOREDC", row);
}

void CalcSite::storeConfig(const QString &key, const QString &value)
{
    sql(QString("insert or replace into config (KEY,VALUE) values ('%1','%2')").arg(key, value));
}

QAny CalcSite::request(const QString &from, const QString &to, const QString &settings)
{
    return {{"STARTDATE", from}, {"ENDDATE", to}, {"SETT", keyValues(settings)}};
}

Outcome CalcSite::run(const QAny &request)
{
    return Outcome(Calc21(*m_database, today).calcAll(request));
}

QAny CalcSite::pack(const QAny &request)
{
    return DialogCalc3(*m_database, today).recalc(request);
}
