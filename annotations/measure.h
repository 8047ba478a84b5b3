#pragma once

#include "annotations/Annotation.h"

#include <limits>

namespace impsconverter
{

/// How far the centres of adjacent pixels are apart, in any unit of length.
struct PixelSize
{
  double row;    ///< from one row to the next
  double column; ///< from one column to the next
};

/// What the points of a shape measure, in the unit of the pixel size; NaN where that does not apply.
struct Measures
{
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  double length = kNone; ///< of a segment; around an outline
  double area = kNone;   ///< of an ellipse; of an outline, whose parts in opposite senses cancel each other
  double angle = kNone;  ///< degrees: between rays 0 to 180, between lines, which have no direction, 0 to 90
  double majorAxis = kNone;
  double minorAxis = kNone;
};

/// Infinite where the coordinates go beyond what a double holds.
Measures measure(const Shape& shape, const PixelSize& pixel);

} // namespace impsconverter
