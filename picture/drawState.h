#pragma once

#include "images/ImageFiles.h"
#include "picture/Codecs.h"
#include "picture/Refusal.h"

#include <string>

namespace tarn::picture
{

/// What is wanted of a picture.
struct Order
{
  unsigned size = 512;    ///< longer side of the picture, picture pixels; 16 to 4096
  unsigned reference = 1; ///< which of the state's referenced images, from 1 on
  bool labels = true;     ///< false: no texts of the state
  std::string image;      ///< the image's file, which the state has to refer to; empty: found through `images`
};

/// Draws what a presentation state of any maker shows: its image as it turns, cuts and shades it, its graphics and
/// texts over it. Returns an SVG document that needs nothing else. Throws Refusal. Compressed images need Codecs.
std::string drawState(const std::string& stateFile, images::ImageFiles& images, const Order& order);

} // namespace tarn::picture
