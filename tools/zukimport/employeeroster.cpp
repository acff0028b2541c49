#include "tools/zukimport/employeeroster.h"

#include "tools/zukimport/importstore.h"

#include <algorithm>

namespace tools::zukimport {

EmployeeRoster::EmployeeRoster(ImportStore &store) : m_store(store)
{
    QSqlQuery rows = m_store.select(QStringLiteral("SELECT ID, EMPLID FROM employees"));
    while (rows.next())
        remember(rows.value(0).toLongLong(), rows.value(1).toString().trimmed());
}

void EmployeeRoster::remember(qint64 id, const QString &personalNumber)
{
    m_ids.insert(id);
    m_highestId = std::max(m_highestId, id);
    if (!personalNumber.isEmpty())
        m_byNumber.insert(personalNumber, m_byNumber.contains(personalNumber) ? kAmbiguous : id);
}

qint64 EmployeeRoster::add(QHash<QString, QVariant> columns)
{
    const QString personalNumber = columns.value(QStringLiteral("EMPLID")).toString();
    qint64 id = columns.value(QStringLiteral("ID")).toLongLong();
    if (id <= 0)
        id = personalNumber.toLongLong();
    if (id <= 0 || hasId(id))
        id = m_highestId + 1;
    columns.insert(QStringLiteral("ID"), id);

    QStringList names = columns.keys();
    names.sort();
    QVariantList values;
    for (const QString &name : qAsConst(names))
        values.append(columns.value(name));
    const QString marks = QStringLiteral("?,").repeated(values.size()).chopped(1);
    m_store.write(QStringLiteral("INSERT INTO employees (%1) VALUES (%2)").arg(names.join(QLatin1Char(',')), marks),
                  values);
    remember(id, personalNumber);
    return id;
}

} // namespace tools::zukimport
