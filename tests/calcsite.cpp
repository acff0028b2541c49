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

QString values(const QAny &row, const QString &keys)
{
    QStringList texts;
    for (const QString &key : keys.split(' ')) {
        const QAny cell = row.value(key);
        texts += (cell.isHash() ? cell.value("UWVS") : cell).toJson().replace('"', '\'');
    }
    return texts.join(',');
}

QString durations(const QAny &row, const QString &keys)
{
    QStringList texts;
    for (const QString &key : keys.split(' '))
        texts += row.value(key).isInteger() ? duration(row.value(key).toInteger()) : QString('-');
    return texts.join(' ');
}

QAny Outcome::row(const QString &list, qint64 user, const QString &day) const
{
    const QList<QAny> rows = result.value(list).toList();
    for (const QAny &candidate : rows)
        if (candidate.value("USER").toInteger() == user &&
            (day.isEmpty() || candidate.value("DATE").toInteger() == midnight(day)))
            return candidate;
    return {};
}

QString Outcome::remarks(qint64 user, const QString &date) const
{
    return day(user, date).value("OPOMBA").toVariant().toStringList().join("; ");
}

QList<qint64> Outcome::users(const QString &list) const
{
    QList<qint64> ids;
    const QList<QAny> rows = result.value(list).toList();
    for (const QAny &one : rows)
        ids += one.value("USER").toInteger();
    return ids;
}

QString Outcome::pairTexts(qint64 user) const
{
    QStringList texts;
    const QList<QAny> all = pairs(user).toList();
    for (const QAny &pair : all)
        texts += pairText(pair.value("DATESTAMP").toInteger(), pair.value("TIMESTAMP").toInteger(),
                          pair.value("TIMESTAMP2").toInteger(), pair.value("TIP2").toString(),
                          pair.value("PTIME").toInteger(), pair.value("NW").toInteger());
    return texts.join("; ");
}

QStringList Outcome::errors(const QStringList &codes) const
{
    QStringList texts;
    const QList<QAny> all = result.value("ERR").toList();
    for (const QAny &error : all)
        if (codes.contains(error.value("CODE").toString()))
            texts += errorText(error.value("CODE").toString(), error.value("NAPAKA").toString(),
                               error.value("USER").toInteger(), error.value("DATESTAMP").toInteger());
    texts.sort();
    return texts;
}

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

void CalcSite::events(qint64 user, const QString &script, const QString &table)
{
    for (const ScriptedEvent &event : scriptedEvents(script))
        insert(table, {{"USER", user},
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
