#include "tools/doctor/staff.h"

namespace tools::doctor {

std::vector<StaffMember> readStaff(const Site &site)
{
    // The joins are those of the calculation.
    static const QString sql =
        QStringLiteral("select ID,hex(trim(coalesce(LASTNAME,'')||' '||coalesce(FIRSTNAME,''))) as NAME,") +
        hexed(QStringLiteral("EMPLID")) + ',' + hexed(QStringLiteral("employees.CALCSET")) + ',' +
        hexed(QStringLiteral("employees.WTIMSET")) + ',' + hexed(QStringLiteral("PRERAZDC")) +
        QStringLiteral(",calcset.KEY is not null as HASCALC,wtimset.KEY is not null as HASWTIM from employees "
                       "left join calcset on employees.CALCSET=calcset.KEY "
                       "left join wtimset on employees.WTIMSET=wtimset.KEY where ACTIVE=1 order by ID");
    const QAny rows = site.rows->select(sql);
    std::vector<StaffMember> staff;
    for (int i = 0; i < rows.count(); ++i) {
        const QAny &row = rows.at(i);
        staff.push_back({row.lookup(QStringLiteral("ID")).toInteger(), textOf(row, QStringLiteral("NAME")),
                         textOf(row, QStringLiteral("EMPLID")), textOf(row, QStringLiteral("CALCSET")),
                         textOf(row, QStringLiteral("WTIMSET")), textOf(row, QStringLiteral("PRERAZDC")),
                         row.lookup(QStringLiteral("HASCALC")).toInteger() != 0,
                         row.lookup(QStringLiteral("HASWTIM")).toInteger() != 0});
    }
    return staff;
}

QHash<QString, QString> readTexts(const Site &site, const char *table)
{
    const QAny rows =
        site.rows->select(QStringLiteral("select %1,%2 from %3")
                              .arg(hexed(QStringLiteral("KEY")), hexed(QStringLiteral("VALUE")), QLatin1String(table)));
    QHash<QString, QString> texts;
    for (int i = 0; i < rows.count(); ++i)
        texts.insert(textOf(rows.at(i), QStringLiteral("KEY")), textOf(rows.at(i), QStringLiteral("VALUE")));
    return texts;
}

} // namespace tools::doctor
