#pragma once

#include "conformance/items.h"
#include "picture/Affine.h"

#include <string>
#include <vector>

namespace tarn::picture
{

/// From the units of annotations to picture pixels (PS3.3 C.10.5).
struct Units
{
  Affine pixel;   ///< PIXEL: the image's own pixels
  Affine display; ///< DISPLAY: shares of the picture
  Affine matrix;  ///< MATRIX: pixels of the whole of which a frame is a tile

  const Affine& named(const std::string& units) const
  {
    if (units == "DISPLAY")
      return display;
    return units == "MATRIX" ? matrix : pixel;
  }
};

/// The data of a path: a circle of the picture; lines from each point to the next.
std::string circlePath(Point centre, double radius);
std::string linePath(const std::vector<Point>& points);

/// A line between two points of the picture.
std::string lineBetween(Point first, Point last);

/// An item of the Graphic Object Sequence as an element; empty where its type or its points cannot be drawn.
std::string shapeOf(const conformance::Placed& graphic, const Units& units);

} // namespace tarn::picture
