#include "report/sheetwriter.h"
#include "text/csv.h"

namespace report {

namespace {

constexpr Text kRow = {"Vrstica", "Row"};
constexpr Text kDay = {"dan", "day"};
constexpr Text kSum = {"skupaj", "sum"};
constexpr Text kCarried = {"prenos", "carried"};

class CsvWriter : public SheetWriter
{
public:
    CsvWriter(QIODevice &device, const Imprint &imprint)
        : m_device(device), m_language(imprint.language), m_separator(imprint.separator)
    {
        m_lines.reserve(2 * kKeptBytes);
    }

    void write(const Sheet &sheet) override
    {
        if (m_isFirst)
            writeHead(*sheet.layout);
        m_isFirst = false;
        QByteArray identity;
        for (const QString &text : sheet.identity) {
            identity += m_separator;
            appendCsvCell(identity, harmlessCell(text));
        }
        const size_t columns = sheet.layout->columns.size();
        for (size_t i = 0; i < sheet.rows.size(); ++i) {
            if (sheet.layout->hasSums)
                m_lines += rowName(sheet.rows[i]) + identity;
            else
                m_lines += identity.mid(1);
            const Cell *cells = sheet.row(i);
            for (size_t k = 0; k < columns; ++k)
                append(cells[k]);
            m_lines += "\r\n";
        }
        if (m_lines.size() > kKeptBytes)
            flush();
    }
    void finish() override { flush(); }

private:
    static constexpr int kKeptBytes = 256 * 1024; ///< written at once

    void writeHead(const Layout &layout)
    {
        QStringList headings;
        if (layout.hasSums)
            headings += kRow.in(m_language);
        for (const Text &heading : layout.identity)
            headings += heading.in(m_language);
        for (const Column &column : layout.columns)
            headings += column.heading.in(m_language);
        m_lines += kByteOrderMark + csvRow(headings, m_separator);
    }

    void append(const Cell &cell)
    {
        m_lines += m_separator;
        if (cell.kind == Cell::Kind::Text) {
            appendCsvCell(m_lines, harmlessCell(cell.text));
        } else if (cell.kind != Cell::Kind::Empty) {
            char buffer[Cell::kMaxLength];
            m_lines.append(buffer, cell.write(buffer));
        }
    }

    const QByteArray &rowName(Sheet::Row row) const
    {
        return row == Sheet::Row::Sum ? m_sum : row == Sheet::Row::Carried ? m_carried : m_day;
    }

    void flush()
    {
        m_device.write(m_lines);
        m_lines.resize(0); // keeps its room
    }

    QIODevice &m_device;
    const Language m_language;
    const char m_separator;
    const QByteArray m_day = kDay.in(m_language).toUtf8();
    const QByteArray m_sum = kSum.in(m_language).toUtf8();
    const QByteArray m_carried = kCarried.in(m_language).toUtf8();
    QByteArray m_lines;
    bool m_isFirst = true;
};

} // namespace

std::unique_ptr<SheetWriter> csvWriter(QIODevice &device, const Imprint &imprint)
{
    return std::make_unique<CsvWriter>(device, imprint);
}

} // namespace report
