#pragma once

#include <QFont>
#include <QPainter>
#include <QTextLayout>

namespace report {

/// The unit of drawing on paper: a hundredth of a millimetre.
constexpr int kUnitsPerInch = 2540;
constexpr double kUnitsPerMm = 100;

/// Of a size in points. loadPaperFonts() was called.
QFont paperFont(double points, bool isBold);

/// A text laid out in lines of a width, broken between words where it can be. The device is that which is drawn on.
class PaperText
{
public:
    PaperText(const QString &text, const QFont &font, QPaintDevice &device, double width,
              Qt::Alignment alignment = Qt::AlignLeft);

    double height() const { return m_height; }
    /// The lines that fit into `most`, from `at` on.
    void draw(QPainter &painter, QPointF at, double most) const;

private:
    QTextLayout m_layout;
    double m_height = 0;
};

} // namespace report
