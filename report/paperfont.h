#pragma once

#include <QFont>

namespace report {

/// The unit of drawing on paper: a hundredth of a millimetre.
constexpr int kUnitsPerInch = 2540;
constexpr double kUnitsPerMm = 100;

/// Of a size in points. loadPaperFonts() was called.
QFont paperFont(double points, bool isBold);

} // namespace report
