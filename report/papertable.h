#pragma once

#include "report/sheet.h"

#include <QFont>
#include <QPainter>

#include <vector>

namespace report {

/// The fonts of a paper.
struct PaperFonts {
    QFont title;
    QFont subject;
    QFont text;
    QFont bold;
    QFont head;
    QFont small;

    static PaperFonts make();
};

/// A sheet's table on paper: widths of columns, heights of rows, and how they are drawn. Lengths are units of drawing.
class PaperTable
{
public:
    /// The sheet and the fonts are not owned. The metrics are those of the device.
    PaperTable(const Sheet &sheet, const PaperFonts &fonts, QPaintDevice &device, Language language);

    /// What the columns take at least; more than a page is wide in portrait asks for landscape.
    double leastWidth() const;

    /// To be called once, before anything below: the width that there is, and the height of the tallest row that is
    /// drawn whole.
    void fit(double width, double mostHeight);
    double headHeight() const { return m_headHeight; }
    double rowHeight(size_t row) const { return m_heights[row]; }
    /// Takes so much off the rows together, where that leaves their texts apart; else nothing.
    void tighten(double excess);
    void drawHead(QPainter &painter, double top) const;
    void drawRow(QPainter &painter, size_t row, double top) const;

private:
    static constexpr double kPadding = 90; ///< left and right of a cell's text

    struct Place {
        size_t column;
        double left;
        double width;

        double textWidth() const { return width - 2 * kPadding; }
    };

    const Column &columnOf(const Place &place) const { return m_sheet.layout->columns[place.column]; }
    double fixedWidth(size_t number) const;
    const QFont &fontOf(const Place &place, Sheet::Row kind) const;
    void drawCell(QPainter &painter, const Place &place, Sheet::Row kind, const QString &text, const QRectF &row) const;
    double wrappedHeight(const QFont &font, const QString &text, double width) const;
    void measureHead();
    void measureRows(double mostHeight);

    const Sheet &m_sheet;
    const PaperFonts &m_fonts;
    QPaintDevice &m_device;
    const Language m_language;
    std::vector<Place> m_places;
    std::vector<double> m_heights;
    double m_width = 0;
    double m_headHeight = 0;
    double m_above; ///< a row's text, and below it
};

} // namespace report
