#include "page/server/office/csv.h"

namespace page::office {

namespace {

QString quoted(const QString &cell)
{
    static const QString special = QStringLiteral(",;\"\r\n");
    const bool needsQuotes = std::any_of(cell.begin(), cell.end(), [](QChar unit) { return special.contains(unit); });
    if (!needsQuotes)
        return cell;
    QString inner = cell;
    inner.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + inner + QLatin1Char('"');
}

} // namespace

void CsvTable::addRow(const QStringList &cells)
{
    QStringList row;
    for (const QString &cell : cells)
        row += quoted(cell);
    m_text += row.join(m_separator) + QLatin1String("\r\n");
}

QByteArray CsvTable::content() const
{
    return "\xef\xbb\xbf" + m_text.toUtf8();
}

QString harmlessCell(const QString &text)
{
    static const QString starts = QStringLiteral("=+-@\t\r");
    return !text.isEmpty() && starts.contains(text.at(0)) ? QLatin1Char('\'') + text : text;
}

} // namespace page::office
