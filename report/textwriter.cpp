#include "report/sheetwriter.h"
#include "text/texttable.h"

namespace report {

namespace {

constexpr Text kPeriodMade = {"Izdelano %1", "Made %1"};
constexpr char kSignatureLine[] = "______________________________";

class TextWriter : public SheetWriter
{
public:
    TextWriter(QIODevice &device, const Imprint &imprint) : m_device(device), m_imprint(imprint) {}

    void write(const Sheet &sheet) override
    {
        QString text = m_isFirst ? QString() : QStringLiteral("\n\n");
        m_isFirst = false;
        addLine(text, sheet.title);
        addLine(text, sheet.subject);
        for (const Sheet::Fact &fact : sheet.facts)
            addLine(text, fact.label + QStringLiteral(": ") + fact.value);
        text += QLatin1Char('\n');
        text += tableOf(sheet);
        text += QLatin1Char('\n');
        for (const QString &note : sheet.notes)
            addLine(text, note);
        addLine(text, kPeriodMade.in(m_imprint.language).arg(m_imprint.madeAt));
        for (const QString &who : sheet.signatures)
            text += QStringLiteral("\n%1: %2\n").arg(printable(who), QLatin1String(kSignatureLine));
        m_device.write(text.toUtf8());
    }
    void finish() override {}

private:
    static void addLine(QString &text, const QString &line) { text += printable(line) + QLatin1Char('\n'); }

    QString tableOf(const Sheet &sheet) const
    {
        TextTable table;
        const std::vector<size_t> shown = sheet.shownColumns();
        for (const size_t number : shown) {
            const Column &column = sheet.layout->columns[number];
            table.addColumn(column.heading.in(m_imprint.language),
                            column.align == Column::Right ? TextTable::Right : TextTable::Left);
        }
        for (size_t i = 0; i < sheet.rows.size(); ++i) {
            if (sheet.rows[i] == Sheet::Row::Sum)
                table.addRule();
            QStringList cells;
            for (const size_t number : shown)
                cells += sheet.row(i)[number].shown(m_imprint.language);
            table.addRow(cells);
        }
        return table.isEmpty() ? QString() : table.toText();
    }

    QIODevice &m_device;
    const Imprint m_imprint;
    bool m_isFirst = true;
};

} // namespace

std::unique_ptr<SheetWriter> textWriter(QIODevice &device, const Imprint &imprint)
{
    return std::make_unique<TextWriter>(device, imprint);
}

std::unique_ptr<SheetWriter> sheetWriter(Format format, QIODevice &device, const Imprint &imprint)
{
    switch (format) {
    case Format::Csv:
        return csvWriter(device, imprint);
    case Format::Pdf:
        return pdfWriter(device, imprint);
    case Format::Text:
        break;
    }
    return textWriter(device, imprint);
}

} // namespace report
