#include "tools/zukadmin/valuetable.h"

#include "text/csv.h"
#include "text/texttable.h"
#include "tools/common/packedtext.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>

namespace {

QString textOf(const QAny &value)
{
    return value.isHash() || value.isList() ? value.toJson() : value.toString();
}

/// Counts, times of day and durations.
bool looksNumeric(const QString &text)
{
    static const QRegularExpression number(QStringLiteral("^-?[0-9][0-9:.,]*$"));
    return text.isEmpty() || number.match(text).hasMatch();
}

} // namespace

ValueTable ValueTable::ofRows(const QAny &rows)
{
    ValueTable table;
    QHash<QString, int> positions;
    for (int r = 0; r < rows.count(); ++r) {
        const QAny &row = rows.at(r);
        for (int i = 0; i < row.count(); ++i) {
            const QString &key = row.keyAt(i);
            if (positions.contains(key))
                continue;
            positions.insert(key, table.columns.size());
            table.columns.append({key, key, true});
        }
    }
    for (int r = 0; r < rows.count(); ++r) {
        QStringList texts;
        for (Column &column : table.columns) {
            const QAny &value = rows.at(r).lookup(column.key);
            column.isNumeric = column.isNumeric && (value.isInteger() || value.isDouble() || value.isNull());
            texts.append(textOf(value));
        }
        table.rows.append(texts);
    }
    return table;
}

ValueTable ValueTable::ofPacked(const QAny &packed)
{
    ValueTable table;
    const QHash<QString, QString> titles = packedTitles(packed);
    const QAny &header = packed.lookup(QStringLiteral("HEADER"));
    for (int i = 0; i < header.count(); ++i) {
        const QString key = packedText(header.at(i), QStringLiteral("KEY"));
        table.columns.append({key, titles.value(key, key), true});
    }
    const QAny &rows = packed.lookup(QStringLiteral("TABLE"));
    for (int r = 0; r < rows.count(); ++r) {
        QStringList texts;
        for (Column &column : table.columns) {
            texts.append(packedText(rows.at(r), column.key));
            column.isNumeric = column.isNumeric && looksNumeric(texts.constLast());
        }
        table.rows.append(texts);
        if (texts.contains(QStringLiteral("SKUPAJ")))
            table.parts += {r, r + 1};
    }
    return table;
}

QString ValueTable::toText() const
{
    ValueTable told = *this;
    told.columns.clear();
    told.rows = QVector<QStringList>(rows.size());
    for (int c = 0; c < columns.size(); ++c) {
        if (std::all_of(rows.begin(), rows.end(), [c](const QStringList &row) { return isNothing(row.at(c)); }))
            continue;
        told.columns.append(columns.at(c));
        for (int r = 0; r < rows.size(); ++r)
            told.rows[r].append(rows.at(r).at(c));
    }
    return told.toFullText();
}

QString ValueTable::toFullText() const
{
    if (rows.isEmpty())
        return {};
    TextTable text;
    for (const Column &column : columns)
        text.addColumn(column.title, column.isNumeric ? TextTable::Right : TextTable::Left);
    for (int r = 0; r < rows.size(); ++r) {
        if (parts.contains(r))
            text.addRule();
        text.addRow(rows.at(r));
    }
    return text.toText();
}

QByteArray ValueTable::toCsv() const
{
    if (columns.isEmpty())
        return {};
    QStringList keys;
    for (const Column &column : columns)
        keys.append(column.key);
    QByteArray csv = csvRow(keys);
    for (const QStringList &row : rows)
        csv += csvRow(row);
    return csv;
}
