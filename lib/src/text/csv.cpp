#include "text/csv.h"

#include <algorithm>

namespace {

bool isSpecial(QChar unit)
{
    return unit == QLatin1Char(',') || unit == QLatin1Char(';') || unit == QLatin1Char('"') ||
           unit == QLatin1Char('\r') || unit == QLatin1Char('\n');
}

} // namespace

void appendCsvCell(QByteArray &line, const QString &cell)
{
    if (std::none_of(cell.begin(), cell.end(), isSpecial)) {
        line += cell.toUtf8();
        return;
    }
    QByteArray inner = cell.toUtf8();
    inner.replace('"', "\"\"");
    line += '"' + inner + '"';
}

QByteArray csvRow(const QStringList &cells, char separator)
{
    QByteArray line;
    for (int i = 0; i < cells.size(); ++i) {
        if (i > 0)
            line += separator;
        appendCsvCell(line, cells.at(i));
    }
    return (line.isEmpty() ? QByteArray("\"\"") : line) + "\r\n";
}

QString harmlessCell(const QString &text)
{
    static const QString starts = QStringLiteral("=+-@\t\r");
    return !text.isEmpty() && starts.contains(text.at(0)) ? QLatin1Char('\'') + text : text;
}
