#pragma once

#include "picture/ImageFile.h"
#include "picture/StateView.h"
#include "picture/placement.h"

#include <cstdint>
#include <string>

namespace tarn::picture
{

/// Pixels of an image as the state shades them.
struct Pixels
{
  Rectangle part; ///< of the image that they are
  std::string jpeg;
};

/// Renders the part of a frame that lies in `area`, with a value for each image pixel, or fewer where the picture has
/// fewer: `scaleX` and `scaleY` are picture pixels an image pixel. What the state does not say of grey values is taken
/// from the image, and noted. Throws Refusal.
Pixels renderPixels(ImageFile& image, StateView& state, const Target& target, const Rectangle& area, double scaleX,
                    double scaleY, Notes& notes);

} // namespace tarn::picture
