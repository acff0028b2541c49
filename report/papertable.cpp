#include "report/papertable.h"

#include "report/paperfont.h"

#include <QFontMetricsF>

#include <algorithm>

namespace report {

namespace {

constexpr double kAbove = 0.75 * kUnitsPerMm;      ///< a text, and below it
constexpr double kLeastAbove = 0.25 * kUnitsPerMm; ///< where many rows are to stand on a page
constexpr double kLeastWrapped = 34 * kUnitsPerMm; ///< of a column that takes what is left

const QColor kFreeDay(0xf0, 0xf0, 0xf0);
const QColor kHead(0xe2, 0xe6, 0xea);
const QColor kRule(0xc4, 0xc4, 0xc4);
const QColor kStrongRule(0x40, 0x40, 0x40);

bool isDay(Sheet::Row row)
{
    return row == Sheet::Row::Day || row == Sheet::Row::FreeDay;
}

constexpr double kThin = 0.12 * kUnitsPerMm;
constexpr double kStrong = 0.3 * kUnitsPerMm;

/// Just above `bottom`.
void drawLine(QPainter &painter, double bottom, double width, const QColor &colour, double thickness)
{
    painter.fillRect(QRectF(0, bottom - thickness, width, thickness), colour);
}

} // namespace

PaperFonts PaperFonts::make()
{
    return {paperFont(14, true),  paperFont(10.5, true), paperFont(7.6, false),
            paperFont(7.6, true), paperFont(7, true),    paperFont(6.8, false)};
}

PaperTable::PaperTable(const Sheet &sheet, const PaperFonts &fonts, QPaintDevice &device, Language language)
    : m_sheet(sheet), m_fonts(fonts), m_device(device), m_language(language), m_above(kAbove)
{
    for (const size_t column : m_sheet.shownColumns())
        m_places.push_back({column, 0, fixedWidth(column)});
}

/// As its layout says, or as wide as the longest word of its heading and its longest value; 0 for one that takes what
/// is left.
double PaperTable::fixedWidth(size_t number) const
{
    const Column &column = m_sheet.layout->columns[number];
    if (column.millimetres <= 0)
        return 0;
    const QFontMetricsF metrics(m_fonts.head, &m_device);
    double width = column.millimetres * kUnitsPerMm;
    const QStringList words = column.heading.in(m_language).split(QLatin1Char(' '));
    for (const QString &word : words)
        width = std::max(width, metrics.horizontalAdvance(word) + 2.2 * kPadding);
    const QFontMetricsF ofText(m_fonts.text, &m_device);
    const QFontMetricsF ofSum(m_fonts.bold, &m_device);
    for (size_t i = 0; i < m_sheet.rows.size(); ++i) {
        const Cell &cell = m_sheet.row(i)[number];
        // Texts may be broken into lines.
        if (cell.kind == Cell::Kind::Text || cell.isEmpty())
            continue;
        const QFontMetricsF &used = isDay(m_sheet.rows[i]) ? ofText : ofSum;
        width = std::max(width, used.horizontalAdvance(cell.shown(m_language)) + 2.2 * kPadding);
    }
    return width;
}

double PaperTable::leastWidth() const
{
    double width = 0;
    for (const Place &place : m_places)
        width += place.width > 0 ? place.width : kLeastWrapped;
    return width;
}

double PaperTable::wrappedHeight(const QFont &font, const QString &text, double width) const
{
    // Most texts are of one line: to lay them out costs more than all the rest.
    const QFontMetricsF metrics(font, &m_device);
    if (metrics.horizontalAdvance(text) <= width)
        return metrics.height();
    return PaperText(text, font, m_device, width).height();
}

const QFont &PaperTable::fontOf(const Place &place, Sheet::Row kind) const
{
    if (!isDay(kind))
        return m_fonts.bold;
    return columnOf(place).millimetres > 0 ? m_fonts.text : m_fonts.small;
}

void PaperTable::fit(double width, double mostHeight)
{
    constexpr double kNarrowWrapped = kLeastWrapped * 0.6; // where not even landscape is wide enough
    m_width = width;
    double fixed = 0;
    int wrapped = 0;
    for (const Place &place : m_places) {
        fixed += place.width;
        wrapped += place.width > 0 ? 0 : 1;
    }
    const double leastWrapped = wrapped * kNarrowWrapped;
    const double shrink = fixed + leastWrapped > width ? (width - leastWrapped) / fixed : 1;
    const double ofWrapped = wrapped > 0 ? (width - fixed * shrink) / wrapped : 0;
    double left = 0;
    for (Place &place : m_places) {
        place.left = left;
        place.width = place.width > 0 ? place.width * shrink : ofWrapped;
        left += place.width;
    }
    measureHead();
    measureRows(mostHeight);
}

void PaperTable::measureHead()
{
    m_headHeight = 0;
    for (const Place &place : m_places) {
        const QString text = columnOf(place).heading.in(m_language);
        m_headHeight = std::max(m_headHeight, wrappedHeight(m_fonts.head, text, place.textWidth()) + 2 * kAbove);
    }
}

void PaperTable::measureRows(double mostHeight)
{
    const double oneLine = QFontMetricsF(m_fonts.text, &m_device).height() + 2 * m_above;
    m_heights.assign(m_sheet.rows.size(), oneLine);
    for (size_t i = 0; i < m_heights.size(); ++i) {
        for (const Place &place : m_places) {
            const Cell &cell = m_sheet.row(i)[place.column];
            if (cell.kind != Cell::Kind::Text)
                continue;
            const double height =
                wrappedHeight(fontOf(place, m_sheet.rows[i]), cell.shown(m_language), place.textWidth());
            m_heights[i] = std::max(m_heights[i], height + 2 * m_above);
        }
        m_heights[i] = std::min(m_heights[i], mostHeight);
    }
}

void PaperTable::tighten(double excess)
{
    const double ofRow = excess / (2 * static_cast<double>(m_heights.size()));
    if (ofRow > m_above - kLeastAbove)
        return;
    m_above -= ofRow;
    for (double &height : m_heights)
        height -= 2 * ofRow;
}

void PaperTable::drawHead(QPainter &painter, double top) const
{
    painter.fillRect(QRectF(0, top, m_width, m_headHeight), kHead);
    for (const Place &place : m_places) {
        const PaperText text(columnOf(place).heading.in(m_language), m_fonts.head, m_device, place.textWidth(),
                             columnOf(place).align == Column::Right ? Qt::AlignRight : Qt::AlignLeft);
        text.draw(painter, {place.left + kPadding, top + m_headHeight - kAbove - text.height()}, m_headHeight);
    }
    drawLine(painter, top + m_headHeight, m_width, kStrongRule, kStrong);
}

void PaperTable::drawRow(QPainter &painter, size_t row, double top) const
{
    const double height = m_heights[row];
    const Sheet::Row kind = m_sheet.rows[row];
    if (kind == Sheet::Row::FreeDay)
        painter.fillRect(QRectF(0, top, m_width, height), kFreeDay);
    for (const Place &place : m_places) {
        const Cell &cell = m_sheet.row(row)[place.column];
        if (!cell.isEmpty())
            drawCell(painter, place, kind, cell.shown(m_language), QRectF(0, top, m_width, height));
    }
    // Within the row: the next one's ground would cover the half of it.
    if (kind == Sheet::Row::Sum)
        drawLine(painter, top + kStrong, m_width, kStrongRule, kStrong);
    drawLine(painter, top + height, m_width, kind == Sheet::Row::Sum ? kStrongRule : kRule,
             kind == Sheet::Row::Sum ? kStrong : kThin);
}

void PaperTable::drawCell(QPainter &painter, const Place &place, Sheet::Row kind, const QString &text,
                          const QRectF &row) const
{
    const QFont &font = fontOf(place, kind);
    const double width = QFontMetricsF(font, &m_device).horizontalAdvance(text);
    const double left = place.left + kPadding;
    if (width > place.textWidth()) {
        PaperText(text, font, m_device, place.textWidth())
            .draw(painter, {left, row.top() + m_above}, row.height() - 2 * m_above);
        return;
    }
    // On one base line, whatever the font's size.
    const double base = row.top() + m_above + QFontMetricsF(m_fonts.text, &m_device).ascent();
    painter.setFont(font);
    painter.drawText(QPointF(columnOf(place).align == Column::Right ? left + place.textWidth() - width : left, base),
                     text);
}

} // namespace report
