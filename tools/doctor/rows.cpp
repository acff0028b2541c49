#include "tools/doctor/rows.h"

namespace tools::doctor {

QAny Rows::select(const QString &sql)
{
    Fault fault;
    QAny rows = ask(sql, &fault);
    if (m_fault.text.isEmpty())
        m_fault = fault;
    return fault.text.isEmpty() && rows.isList() ? rows : QAny(QAny::List);
}

QAny Rows::first(const QString &sql)
{
    const QAny rows = select(sql);
    return rows.count() > 0 ? rows.at(0) : QAny();
}

QString hexed(const QString &column)
{
    return QStringLiteral("hex(%1) as %2").arg(column, column.section(QLatin1Char('.'), -1));
}

QString textOf(const QAny &row, const QString &name)
{
    return QString::fromUtf8(QByteArray::fromHex(row.lookup(name).toString().toLatin1()));
}

} // namespace tools::doctor
