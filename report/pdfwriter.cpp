#include "report/paperfont.h"
#include "report/papertable.h"
#include "report/sheetwriter.h"
#include "text/texttable.h"

#include <QFontMetricsF>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>

#include <algorithm>

namespace report {

namespace {

constexpr Text kMade = {"Izdelano %1", "Made %1"};
constexpr Text kPage = {"Stran %1 od %2", "Page %1 of %2"};

constexpr double kMargin = 12;                                       // mm
constexpr double kPortraitWidth = (210 - 2 * kMargin) * kUnitsPerMm; ///< between its margins
constexpr double kGap = 3 * kUnitsPerMm;
constexpr double kFootHeight = 7 * kUnitsPerMm;
constexpr double kSignatureHeight = 22 * kUnitsPerMm;
const QColor kGrey(0x58, 0x58, 0x58);
const QColor kBlack(0, 0, 0);

/// Rows of a table on one page.
struct PageRows {
    size_t first;
    size_t end;
};

/// One sheet on its pages.
class PaperSheet
{
public:
    PaperSheet(const Sheet &sheet, const PaperFonts &fonts, QPdfWriter &pdf, QPainter &painter, const Imprint &imprint,
               PaperTable &table)
        : m_sheet(sheet), m_fonts(fonts), m_pdf(pdf), m_painter(painter), m_imprint(imprint), m_table(table),
          m_width(pdf.width()), m_height(pdf.height() - kFootHeight)
    {
    }

    /// On the page that is there and, behind it, new ones.
    void draw()
    {
        const double runningHead = lineHeight(m_fonts.small) + kGap;
        m_table.fit(m_width, m_height - runningHead - headHeightLimit());
        const double intro = drawIntroduction();
        tightenToOnePage(intro);
        paginate(intro, runningHead);
        const int pages = static_cast<int>(m_pages.size());
        double top = intro;
        for (int page = 0; page < pages; ++page) {
            if (page > 0) {
                m_pdf.newPage();
                top = drawRunningHead();
            }
            top = drawRows(m_pages[static_cast<size_t>(page)], top);
            if (page + 1 == pages)
                drawEnd(top);
            drawFoot(page + 1, pages);
        }
    }

private:
    double lineHeight(const QFont &font) const { return QFontMetricsF(font, &m_pdf).height(); }
    double headHeightLimit() const { return 20 * kUnitsPerMm; }

    double textHeight(const QFont &font, const QString &text) const
    {
        return PaperText(text, font, m_pdf, m_width).height();
    }

    /// The text from the room's top on, in as many of its lines as fit. Their end.
    double drawText(const QFont &font, const QColor &colour, const QRectF &room, const QString &text)
    {
        const PaperText laidOut(text, font, m_pdf, room.width());
        m_painter.setPen(colour);
        laidOut.draw(m_painter, room.topLeft(), room.height());
        m_painter.setPen(kBlack);
        return room.top() + std::min(laidOut.height(), room.height());
    }

    /// Title, whom it is about, and the facts in columns beside one another. Where the table may begin.
    double drawIntroduction()
    {
        const double most = m_height / 6; // of each, whatever a name is
        double top = drawText(m_fonts.title, kBlack, {0, 0, m_width, most}, printable(m_sheet.title));
        top = drawText(m_fonts.subject, kBlack, {0, top + kGap / 3, m_width, most}, printable(m_sheet.subject));
        top += kGap / 2;
        constexpr size_t kBeside = 3;
        const double width = m_width / kBeside;
        for (size_t first = 0; first < m_sheet.facts.size(); first += kBeside) {
            double bottom = top;
            for (size_t i = first; i < std::min(first + kBeside, m_sheet.facts.size()); ++i) {
                const double left = width * static_cast<double>(i - first);
                const double below =
                    drawText(m_fonts.small, kGrey, {left, top, width - kGap, most}, m_sheet.facts[i].label);
                const QString &value = m_sheet.facts[i].value;
                bottom = std::max(bottom, drawText(m_fonts.text, kBlack, {left, below, width - kGap, most},
                                                   value.isEmpty() ? QStringLiteral("–") : printable(value)));
            }
            top = bottom + kGap / 3;
        }
        return top + kGap * 2 / 3;
    }

    double drawRunningHead()
    {
        QStringList parts{m_sheet.title, printable(m_sheet.subject)};
        if (!m_sheet.facts.empty())
            parts += m_sheet.facts.front().value;
        m_painter.setFont(m_fonts.small);
        m_painter.setPen(kGrey);
        const QString text = QFontMetricsF(m_fonts.small, &m_pdf)
                                 .elidedText(parts.join(QStringLiteral("  ·  ")), Qt::ElideRight, m_width);
        m_painter.drawText(QRectF(0, 0, m_width, lineHeight(m_fonts.small)), Qt::AlignLeft | Qt::TextSingleLine, text);
        m_painter.setPen(kBlack);
        return lineHeight(m_fonts.small) + kGap;
    }

    double endHeight() const
    {
        double height = m_sheet.notes.isEmpty() ? 0 : kGap;
        for (const QString &note : m_sheet.notes)
            height += textHeight(m_fonts.small, printable(note));
        return height + (m_sheet.signatures.isEmpty() ? 0 : kSignatureHeight);
    }

    /// Who signs has the whole month before them.
    void tightenToOnePage(double intro)
    {
        double bottom = intro + m_table.headHeight() + endHeight();
        for (size_t row = 0; row < m_sheet.rows.size(); ++row)
            bottom += m_table.rowHeight(row);
        if (bottom > m_height)
            m_table.tighten(bottom - m_height);
    }

    /// Which rows stand on which page. A sum stays with the row above it, and what follows the table with its end.
    void paginate(double intro, double runningHead)
    {
        double left = m_height - intro - m_table.headHeight();
        const double whole = m_height - runningHead - m_table.headHeight();
        const size_t count = m_sheet.rows.size();
        size_t first = 0;
        for (size_t row = 0; row < count; ++row) {
            const bool isLast = row + 1 == count;
            const bool isBeforeSum = row + 2 == count && m_sheet.rows[row + 1] == Sheet::Row::Sum;
            double needed = m_table.rowHeight(row);
            if (isBeforeSum)
                needed += m_table.rowHeight(row + 1) + std::min(endHeight(), whole / 2);
            else if (isLast)
                needed += std::min(endHeight(), whole / 2);
            if (needed > left && row > first) {
                m_pages.push_back({first, row});
                first = row;
                left = whole;
            }
            left -= m_table.rowHeight(row);
        }
        m_pages.push_back({first, count});
    }

    double drawRows(const PageRows &rows, double top)
    {
        if (rows.first == rows.end)
            return top;
        m_table.drawHead(m_painter, top);
        top += m_table.headHeight();
        for (size_t row = rows.first; row < rows.end; ++row) {
            m_table.drawRow(m_painter, row, top);
            top += m_table.rowHeight(row);
        }
        return top;
    }

    /// Notes, and lines to sign on.
    void drawEnd(double top)
    {
        top += kGap;
        for (const QString &note : m_sheet.notes)
            top = drawText(m_fonts.small, kGrey, {0, top, m_width, std::max(0.0, m_height - top)}, printable(note));
        const auto count = m_sheet.signatures.size();
        if (count == 0)
            return;
        const double line = top + kSignatureHeight * 0.65;
        const double step = m_width / count;
        for (int i = 0; i < count; ++i) {
            const double left = step * i;
            m_painter.fillRect(QRectF(left, line, step - 3 * kGap, 0.2 * kUnitsPerMm), kBlack);
            drawText(m_fonts.small, kGrey, {left, line + kGap / 4, step - 3 * kGap, kSignatureHeight},
                     m_sheet.signatures.at(i));
        }
    }

    void drawFoot(int page, int pages)
    {
        const double height = lineHeight(m_fonts.small);
        const QRectF room(0, m_height + kFootHeight - height, m_width, height);
        m_painter.setFont(m_fonts.small);
        m_painter.setPen(kGrey);
        m_painter.drawText(room, Qt::AlignLeft | Qt::TextSingleLine,
                           kMade.in(m_imprint.language).arg(m_imprint.madeAt));
        m_painter.drawText(room, Qt::AlignRight | Qt::TextSingleLine,
                           kPage.in(m_imprint.language).arg(page).arg(pages));
        m_painter.setPen(kBlack);
    }

    const Sheet &m_sheet;
    const PaperFonts &m_fonts;
    QPdfWriter &m_pdf;
    QPainter &m_painter;
    const Imprint &m_imprint;
    PaperTable &m_table;
    const double m_width;
    const double m_height; ///< without the foot
    std::vector<PageRows> m_pages;
};

class PdfWriter : public SheetWriter
{
public:
    PdfWriter(QIODevice &device, const Imprint &imprint)
        : m_imprint(imprint), m_fonts(PaperFonts::make()), m_pdf(&device)
    {
        m_pdf.setResolution(kUnitsPerInch);
        m_pdf.setCreator(QStringLiteral("zukreport"));
        m_pdf.setPageLayout(layoutOf(QPageLayout::Portrait));
    }
    ~PdfWriter() override { PdfWriter::finish(); }

    void write(const Sheet &sheet) override
    {
        PaperTable table(sheet, m_fonts, m_pdf, m_imprint.language);
        const bool isWide = table.leastWidth() > kPortraitWidth;
        m_pdf.setPageLayout(layoutOf(isWide ? QPageLayout::Landscape : QPageLayout::Portrait));
        if (m_painter.isActive()) {
            m_pdf.newPage();
        } else {
            m_pdf.setTitle(printable(sheet.title));
            m_painter.begin(&m_pdf);
        }
        PaperSheet(sheet, m_fonts, m_pdf, m_painter, m_imprint, table).draw();
    }

    void finish() override
    {
        if (m_painter.isActive())
            m_painter.end();
    }

private:
    static QPageLayout layoutOf(QPageLayout::Orientation orientation)
    {
        return {QPageSize(QPageSize::A4), orientation, QMarginsF(kMargin, kMargin, kMargin, kMargin),
                QPageLayout::Millimeter};
    }

    const Imprint m_imprint;
    const PaperFonts m_fonts;
    QPdfWriter m_pdf;
    QPainter m_painter;
};

} // namespace

std::unique_ptr<SheetWriter> pdfWriter(QIODevice &device, const Imprint &imprint)
{
    return std::make_unique<PdfWriter>(device, imprint);
}

} // namespace report
