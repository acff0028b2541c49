#include "tools/common/packedtext.h"

#include <QSet>

QString packedText(const QAny &cell)
{
    return (cell.isHash() ? cell.lookup(QStringLiteral("UWVS")) : cell).toString();
}

QString packedText(const QAny &row, const QString &key)
{
    return packedText(row.lookup(key));
}

bool isNothing(const QString &text)
{
    static const QSet<QString> nothing{QString(), QStringLiteral("0"), QStringLiteral("00:00"),
                                       QStringLiteral("00:00:00")};
    return nothing.contains(text);
}

QHash<QString, QString> packedTitles(const QAny &table)
{
    QHash<QString, QString> titles;
    const QAny header = table.lookup(QStringLiteral("HEADER"));
    for (int i = 0; i < header.count(); ++i) {
        titles.insert(packedText(header.at(i), QStringLiteral("KEY")), packedText(header.at(i), QStringLiteral("TXT")));
    }
    return titles;
}
