// Text objects (PS3.3 C.10.5.1.1).
#include "picture/texts.h"

#include "base/text.h"
#include "conformance/texts.h"
#include "picture/Svg.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace tarn::picture
{
namespace
{

using conformance::Placed;

constexpr double kLineHeight = 1.2; ///< of a line, in heights of its letters
constexpr double kBaseline = 0.35;  ///< below the middle of a line
constexpr double kGap = 4;          ///< between an anchor and its text, picture pixels

/// A box of the picture, and the side of it that its lines keep to.
struct Box
{
  Point least, greatest;
  const char* anchor = "middle";

  Point middle() const { return {(least.x + greatest.x) / 2, (least.y + greatest.y) / 2}; }
  Point nearest(Point to) const
  {
    return {std::clamp(to.x, least.x, greatest.x), std::clamp(to.y, least.y, greatest.y)};
  }
};

std::optional<Point> pointIn(const Placed& object, const DcmTagKey& tag, const DcmTagKey& units, const Units& all)
{
  const auto place = conformance::numbersOf(object, tag);
  if (!place || place->size() != 2)
    return std::nullopt;
  return mapped(all.named(conformance::textOf(object, units)), (*place)[0], (*place)[1]);
}

/// Lines keep to the side of the box that the named one has become; where that is its top or bottom, to the middle.
const char* anchorOf(const Placed& object, const Affine& matrix)
{
  const std::string side = conformance::textOf(object, DCM_BoundingBoxTextHorizontalJustification);
  const bool isTurned = std::abs(matrix.b) > std::abs(matrix.a);
  if (isTurned || (side != "LEFT" && side != "RIGHT"))
    return "middle";
  return (side == "LEFT") == (matrix.a > 0) ? "start" : "end";
}

std::optional<Box> boxOf(const Placed& object, const Units& units)
{
  const auto first = pointIn(object, DCM_BoundingBoxTopLeftHandCorner, DCM_BoundingBoxAnnotationUnits, units);
  const auto last = pointIn(object, DCM_BoundingBoxBottomRightHandCorner, DCM_BoundingBoxAnnotationUnits, units);
  if (!first || !last)
    return std::nullopt;
  return Box{{std::min(first->x, last->x), std::min(first->y, last->y)},
             {std::max(first->x, last->x), std::max(first->y, last->y)},
             anchorOf(object, units.named(conformance::textOf(object, DCM_BoundingBoxAnnotationUnits)))};
}

/// PS3.5 6.1.3: lines end with CR LF; files have either alone too.
std::vector<std::string> linesOf(const std::string& utf8)
{
  std::string text = utf8;
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  text.erase(text.find_last_not_of(" \n\t") + 1);
  std::vector<std::string> lines;
  base::split3<std::vector<std::string>, '\n'>(text, lines);
  return lines;
}

/// Lines around the middle of their block.
std::string block(const std::vector<std::string>& lines, const char* anchor, Point place, double height)
{
  double y = place.y + height * (kBaseline - kLineHeight * static_cast<double>(lines.size() - 1) / 2);
  std::string text = base::joined("<text text-anchor=\"", anchor, "\" xml:space=\"preserve\">");
  for (const std::string& line : lines)
  {
    text += "<tspan x=\"" + svgNumber(place.x) + "\" y=\"" + svgNumber(y) + "\">" + svgText(line) + "</tspan>";
    y += height * kLineHeight;
  }
  return text + "</text>\n";
}

} // namespace

std::string utf8Of(const std::string& bytes, const std::string& terms)
{
  if (conformance::isPlain(bytes))
    return bytes;
  if (auto decoded = conformance::CharacterSet(terms).decode(bytes, ""))
    return *std::move(decoded);
  if (conformance::isUtf8(bytes))
    return bytes;
  std::string graphic = bytes;
  graphic.erase(std::remove_if(graphic.begin(), graphic.end(),
                               [](char byte)
                               { return (static_cast<unsigned char>(byte) & 0x7F) < 0x20 && byte != '\n'; }),
                graphic.end());
  return conformance::CharacterSet("ISO_IR 100").decode(graphic, "").value_or("");
}

TextShapes textOf(const Placed& object, const Units& units, double height, const std::string& terms)
{
  const std::vector<std::string> lines = linesOf(utf8Of(conformance::textOf(object, DCM_UnformattedTextValue), terms));
  const auto box = boxOf(object, units);
  const auto anchor = pointIn(object, DCM_AnchorPoint, DCM_AnchorPointAnnotationUnits, units);
  TextShapes shapes;
  if (lines.empty() || (!box && !anchor))
    return shapes;
  if (box)
  {
    const double x = box->anchor[0] == 's' ? box->least.x : box->anchor[0] == 'e' ? box->greatest.x : box->middle().x;
    shapes.text = block(lines, box->anchor, {x, box->middle().y}, height);
  }
  else
    shapes.text = block(lines, "start", {anchor->x + kGap, anchor->y}, height);
  if (box && anchor && conformance::textOf(object, DCM_AnchorPointVisibility) == "Y")
    shapes.line = lineBetween(*anchor, box->nearest(*anchor));
  return shapes;
}

} // namespace tarn::picture
