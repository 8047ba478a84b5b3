#pragma once

#include "picture/Affine.h"

namespace tarn::picture
{

/// A rectangle in image pixels: the first pixel covers 0 to 1.
struct Rectangle
{
  double left = 0, top = 0, right = 0, bottom = 0;

  double width() const { return right - left; }
  double height() const { return bottom - top; }
};

/// How an image is shown (PS3.3 C.10.4 and C.10.6).
struct View
{
  Rectangle area;
  double pixelWidth = 1; ///< of an image pixel, in any unit
  double pixelHeight = 1;
  int quarterTurns = 0; ///< clockwise
  bool flip = false;    ///< left and right, after the turn
};

/// Where an image lies in its picture.
struct Placement
{
  Affine fromImage; ///< image pixels to picture pixels; for the image itself and for all that is drawn on it
  double width = 0, height = 0; ///< of the area, picture pixels
};

/// Places the area so that the longer side of the picture is `size`. The area is not empty.
Placement place(const View& view, unsigned size);

} // namespace tarn::picture
