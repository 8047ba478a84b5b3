#pragma once

#include "picture/Affine.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarn::picture
{

/// The value with two decimals, within 100,000 picture pixels; 0 for what is no number.
std::string svgNumber(double value);
/// "x y".
std::string svgPoint(Point point);
/// Bounds what a matrix is given and what it gives: coordinates of a state may be infinite or no numbers.
Point mapped(const Affine& matrix, double x, double y);

/// UTF-8 text as the content of an element. What XML 1.0 does not allow is left out.
std::string svgText(std::string_view utf8);

/// What a picture consists of.
struct Svg
{
  unsigned width = 0, height = 0; ///< of the picture, picture pixels; the captions stand below it
  std::string pixels;             ///< elements
  std::string shapes;
  std::string texts;
  double textHeight = 12;
  std::vector<std::string> captions;

  std::string document() const;
};

/// The bytes as a text of base 64 (RFC 4648).
std::string base64(std::string_view bytes);

} // namespace tarn::picture
