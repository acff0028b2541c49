#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// A table of texts with aligned columns. Control characters in cells are shown as blanks.
class TextTable
{
public:
    enum Align { Left, Right };

    void addColumn(const QString &title = {}, Align align = Left);
    void addRow(const QStringList &cells);
    /// A line across before the next row.
    void addRule() { m_rules.append(m_rows.size()); }
    bool isEmpty() const { return m_rows.isEmpty(); }

    /// Title line, rule and rows, each ended by a newline, no blanks at line ends. Columns without titles are rows
    /// alone.
    QString toText() const;

private:
    QString lineOf(const QStringList &cells, const QVector<int> &widths) const;

    QStringList m_titles;
    QVector<Align> m_aligns;
    QVector<QStringList> m_rows;
    QVector<int> m_rules; // positions in m_rows
};

/// The text with control characters turned into blanks, so that nothing from the server steers the terminal.
QString printable(QString text);
