#pragma once

#include <QByteArray>
#include <QStringList>

// Tables as text after RFC 4180.

/// What UTF-8 begins with, so that spreadsheets know the encoding.
constexpr char kByteOrderMark[] = "\xef\xbb\xbf";

/// Appends the cell in UTF-8, in quotes where it needs them.
void appendCsvCell(QByteArray &line, const QString &cell);
/// A whole row with its line end, the separator between its cells. An empty row is a row of one empty cell: an empty
/// line would be none.
QByteArray csvRow(const QStringList &cells, char separator = ',');
/// A text that somebody else wrote, as a cell: one that a spreadsheet would take for a formula gets an apostrophe.
QString harmlessCell(const QString &text);

/// A table in UTF-8 with a byte order mark. The separator is that of the reader's spreadsheet: a semicolon where
/// numbers have a decimal comma, as in Slovenian.
class CsvTable
{
public:
    explicit CsvTable(char separator) : m_separator(separator) {}

    void addRow(const QStringList &cells) { m_content += csvRow(cells, m_separator); }
    const QByteArray &content() const { return m_content; }

private:
    char m_separator;
    QByteArray m_content{kByteOrderMark};
};
