#pragma once

#include <QByteArray>
#include <QStringList>

namespace page::office {

/// A table as text after RFC 4180, UTF-8 with a byte order mark, by which spreadsheets know the encoding. The separator
/// is that of the reader's spreadsheet: a semicolon where numbers have a decimal comma, as in Slovenian.
class CsvTable
{
public:
    explicit CsvTable(char separator) : m_separator(QLatin1Char(separator)) {}

    void addRow(const QStringList &cells);
    QByteArray content() const;

private:
    QLatin1Char m_separator;
    QString m_text;
};

/// A text that somebody else wrote, as a cell: one that a spreadsheet would take for a formula gets an apostrophe.
QString harmlessCell(const QString &text);

} // namespace page::office
