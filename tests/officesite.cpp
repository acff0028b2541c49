#include "officesite.h"

using page::office::Now;

const QString OfficeSite::kNoon = "4.3.2026 12:00";

OfficeSite::OfficeSite() : m_storage(database())
{
    const QString schedule = QString("1-5 ") + kDay;
    employee(kAna, "Novak Ana", schedule, kNoRules, "DEPARTMENT=Razvoj OFFDAYS=25");
    employee(kBor, "Kos Bor", schedule, kNoRules, "DEPARTMENT=Razvoj");
    employee(kCene, "Turk Cene", schedule, kNoRules, "DEPARTMENT=Prodaja");
    employee(kDana, "Hren Dana", schedule, kNoRules, "DEPARTMENT=Uprava");
    employee(kEva, "Mrak Eva", schedule, kNoRules, "DEPARTMENT=Razvoj ACTIVE=0");
    employee(kFilip, "Zajc Filip", schedule, kNoRules, "DEPARTMENT=");
    for (const int id : {kAna, kBor, kCene, kDana, kEva, kFilip}) {
        const QString name = QString::fromLatin1("abcdef").mid(id - 1, 1);
        insert(
            "USER_ACCESS",
            {{"ID", id}, {"IDP", id}, {"NAME", name}, {"PASSWORD", "geslo'" + name}, {"ACTIVE", id == kFilip ? 0 : 1}});
    }
    insert("page_role", {{"IDP", kBor}, {"ROLE", "supervisor"}, {"DEPARTMENT", "Razvoj"}});
    insert("page_role", {{"IDP", kCene}, {"ROLE", "supervisor"}, {"DEPARTMENT", "Prodaja"}});
    insert("page_role", {{"IDP", kCene}, {"ROLE", "supervisor"}, {"DEPARTMENT", ""}});
    insert("page_role", {{"IDP", kDana}, {"ROLE", "hr"}});
}

Now OfficeSite::now(const QString &time)
{
    return {instant(time), date(time.section(' ', 0, 0))};
}

QAny OfficeSite::ask(qint64 who, const QString &json, const QString &time)
{
    const QAny ask = QAny::fromJson(QString(json).replace('\'', '"'));
    if (page::office::isWriting(ask))
        return page::office::write(m_storage, person(who), ask, now(time));
    calc::CrewOfOne crew(database());
    return page::office::read(crew, person(who), ask, now(time));
}

QString OfficeSite::errorOf(qint64 who, const QString &json)
{
    const QAny answer = ask(who, json);
    return QStringList{answer.value("error").toString(), answer.value("reason").toString()}.join(' ').trimmed();
}

QString OfficeSite::approve(const QString &json)
{
    const QString decide = "{'ask':'decide','rid':%1,'approve':true}";
    return errorOf(kBor, decide.arg(ask(kAna, json).value("rid").toInteger()));
}

QAny OfficeSite::dayOf(qint64 who, const QString &text, const QString &time)
{
    const QDate day = date(text);
    const QAny days = ask(who, "{'ask':'month','month':'" + day.toString("yyyy-MM") + "'}", time).value("days");
    return days.value(day.day() - 1);
}

QStringList OfficeSite::rows(const QString &sql)
{
    QStringList rows;
    database().forEachRow(sql, {}, [&rows](const QSqlQuery &query) {
        QStringList cells;
        for (int i = 0; query.value(i).isValid(); ++i)
            cells += query.value(i).toString();
        rows += cells.join('|');
    });
    return rows;
}

QString cell(const TableRow &row, int number)
{
    return row[number] == "-" ? QString() : row[number];
}

QString oneLine(const QAny &value)
{
    return value.toJson().replace('"', '\'');
}
