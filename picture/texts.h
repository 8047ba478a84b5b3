#pragma once

#include "conformance/items.h"
#include "picture/Affine.h"
#include "picture/graphics.h"

#include <string>

namespace tarn::picture
{

/// A text object: its letters, and the line to what it is about.
struct TextShapes
{
  std::string text; ///< empty where it has neither text nor place
  std::string line;
};

/// The text of an element in UTF-8, by the character set `terms`; bytes that do not fit it are UTF-8 where they are
/// valid, else Latin-1.
std::string utf8Of(const std::string& bytes, const std::string& terms);

/// An item of the Text Object Sequence. Its text is upright however the image is turned, and its lines do not wrap;
/// `height` is that of a line, picture pixels. `terms` is the character set of the item.
TextShapes textOf(const conformance::Placed& object, const Units& units, double height, const std::string& terms);

} // namespace tarn::picture
