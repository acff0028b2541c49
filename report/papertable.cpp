#include "report/papertable.h"

#include "report/paperfont.h"

#include <QFontMetricsF>

#include <algorithm>

namespace report {

namespace {

constexpr double kPadding = 1.1 * kUnitsPerMm; ///< left and right of a cell's text
constexpr double kAbove = 0.75 * kUnitsPerMm;  ///< and below it
constexpr double kLeastWrapped = 38;           ///< mm of a column that takes what is left
constexpr int kWrap = Qt::TextWordWrap | Qt::TextWrapAnywhere;

const QColor kFreeDay(0xf0, 0xf0, 0xf0);
const QColor kHead(0xe2, 0xe6, 0xea);
const QColor kRule(0xc4, 0xc4, 0xc4);
const QColor kStrongRule(0x40, 0x40, 0x40);

void drawLine(QPainter &painter, double top, double width, const QColor &colour, double thickness)
{
    painter.fillRect(QRectF(0, top - thickness / 2, width, thickness), colour);
}

} // namespace

PaperFonts PaperFonts::make()
{
    return {paperFont(14, true),  paperFont(10.5, true), paperFont(7.6, false),
            paperFont(7.6, true), paperFont(7, true),    paperFont(6.8, false)};
}

PaperTable::PaperTable(const Sheet &sheet, const PaperFonts &fonts, QPaintDevice &device, Language language)
    : m_sheet(sheet), m_fonts(fonts), m_device(device), m_language(language)
{
}

double PaperTable::leastWidth(const Sheet &sheet)
{
    double width = 0;
    for (const size_t column : sheet.shownColumns()) {
        const double wanted = sheet.layout->columns[column].millimetres;
        width += wanted > 0 ? wanted : kLeastWrapped;
    }
    return width;
}

double PaperTable::wrappedHeight(const QFont &font, const QString &text, double width) const
{
    const QFontMetricsF metrics(font, &m_device);
    if (text.isEmpty())
        return metrics.height();
    // Most texts are of one line: to lay them out costs more than all the rest.
    if (metrics.horizontalAdvance(text) <= width)
        return metrics.height();
    return metrics.boundingRect(QRectF(0, 0, width, 1e7), kWrap, text).height();
}

void PaperTable::fit(double width, double mostHeight)
{
    m_width = width;
    m_places.clear();
    const std::vector<size_t> shown = m_sheet.shownColumns();
    double fixed = 0;
    int wrapped = 0;
    for (const size_t column : shown) {
        const double wanted = m_sheet.layout->columns[column].millimetres;
        fixed += wanted * kUnitsPerMm;
        wrapped += wanted > 0 ? 0 : 1;
    }
    const double leastWrapped = wrapped * kLeastWrapped * kUnitsPerMm;
    const double shrink = fixed + leastWrapped > width ? (width - leastWrapped) / fixed : 1;
    const double ofWrapped = wrapped > 0 ? (width - fixed * shrink) / wrapped : 0;
    double left = 0;
    for (const size_t column : shown) {
        const double wanted = m_sheet.layout->columns[column].millimetres;
        const double taken = wanted > 0 ? wanted * kUnitsPerMm * shrink : ofWrapped;
        m_places.push_back({column, left, taken});
        left += taken;
    }
    measureHead();
    measureRows(mostHeight);
}

void PaperTable::measureHead()
{
    m_headHeight = 0;
    for (const Place &place : m_places) {
        const QString text = columnOf(place).heading.in(m_language);
        m_headHeight =
            std::max(m_headHeight, wrappedHeight(m_fonts.head, text, place.width - 2 * kPadding) + 2 * kAbove);
    }
}

void PaperTable::measureRows(double mostHeight)
{
    const double oneLine = QFontMetricsF(m_fonts.text, &m_device).height() + 2 * kAbove;
    m_heights.assign(m_sheet.rows.size(), oneLine);
    for (size_t i = 0; i < m_heights.size(); ++i) {
        for (const Place &place : m_places) {
            const Cell &cell = m_sheet.row(i)[place.column];
            if (cell.kind == Cell::Kind::Text)
                m_heights[i] = std::max(
                    m_heights[i],
                    wrappedHeight(m_fonts.text, cell.shown(m_language), place.width - 2 * kPadding) + 2 * kAbove);
        }
        m_heights[i] = std::min(m_heights[i], mostHeight);
    }
}

void PaperTable::drawHead(QPainter &painter, double top) const
{
    painter.fillRect(QRectF(0, top, m_width, m_headHeight), kHead);
    painter.setFont(m_fonts.head);
    for (const Place &place : m_places) {
        const Column &column = columnOf(place);
        const int align = column.align == Column::Right ? Qt::AlignRight : Qt::AlignLeft;
        const QRectF room(place.left + kPadding, top + kAbove, place.width - 2 * kPadding, m_headHeight - 2 * kAbove);
        painter.drawText(room, align | Qt::AlignBottom | kWrap, column.heading.in(m_language));
    }
    drawLine(painter, top + m_headHeight, m_width, kStrongRule, 0.3 * kUnitsPerMm);
}

void PaperTable::drawRow(QPainter &painter, size_t row, double top) const
{
    const double height = m_heights[row];
    const Sheet::Row kind = m_sheet.rows[row];
    const bool isDay = kind == Sheet::Row::Day || kind == Sheet::Row::FreeDay;
    if (kind == Sheet::Row::FreeDay)
        painter.fillRect(QRectF(0, top, m_width, height), kFreeDay);
    if (kind == Sheet::Row::Sum)
        drawLine(painter, top, m_width, kStrongRule, 0.3 * kUnitsPerMm);
    painter.setFont(isDay ? m_fonts.text : m_fonts.bold);
    for (const Place &place : m_places) {
        const Cell &cell = m_sheet.row(row)[place.column];
        if (cell.isEmpty())
            continue;
        const int align = columnOf(place).align == Column::Right ? Qt::AlignRight : Qt::AlignLeft;
        const int wrap = cell.kind == Cell::Kind::Text && isDay ? kWrap : Qt::TextSingleLine;
        const QRectF room(place.left + kPadding, top + kAbove, place.width - 2 * kPadding, height - 2 * kAbove);
        painter.drawText(room, align | Qt::AlignTop | wrap, cell.shown(m_language));
    }
    drawLine(painter, top + height, m_width, kind == Sheet::Row::Sum ? kStrongRule : kRule,
             (kind == Sheet::Row::Sum ? 0.3 : 0.12) * kUnitsPerMm);
}

} // namespace report
