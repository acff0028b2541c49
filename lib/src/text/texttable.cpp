#include "text/texttable.h"

#include <algorithm>

namespace {

const QLatin1String kGap("  ");

} // namespace

QString printable(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char(' ');
    }
    return text;
}

void TextTable::addColumn(const QString &title, Align align)
{
    m_titles.append(printable(title));
    m_aligns.append(align);
}

void TextTable::addRow(const QStringList &cells)
{
    QStringList row;
    for (const QString &cell : cells)
        row.append(printable(cell));
    m_rows.append(row);
}

QString TextTable::lineOf(const QStringList &cells, const QVector<int> &widths) const
{
    QStringList parts;
    for (int i = 0; i < cells.size(); ++i)
        parts.append(m_aligns.at(i) == Left ? cells.at(i).leftJustified(widths.at(i))
                                            : cells.at(i).rightJustified(widths.at(i)));
    QString line = parts.join(kGap);
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line + QLatin1Char('\n');
}

QString TextTable::toText() const
{
    QVector<int> widths;
    for (const QString &title : m_titles)
        widths.append(title.size());
    for (const QStringList &row : m_rows) {
        for (int i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths.at(i), row.at(i).size());
    }
    QStringList dashes;
    for (const int width : qAsConst(widths))
        dashes.append(QString(width, QLatin1Char('-')));
    const QString rule = lineOf(dashes, widths);

    QString text = m_titles.join(QString()).isEmpty() ? QString() : lineOf(m_titles, widths) + rule;
    for (int i = 0; i < m_rows.size(); ++i) {
        if (m_rules.contains(i))
            text += rule;
        text += lineOf(m_rows.at(i), widths);
    }
    return text;
}
