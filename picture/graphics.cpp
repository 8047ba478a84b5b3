// Graphic objects as paths (PS3.3 C.10.5.1.2).
#include "picture/graphics.h"

#include "base/text.h"
#include "conformance/annotations.h"
#include "picture/Svg.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace tarn::picture
{
namespace
{

using conformance::Placed;

constexpr double kDot = 2; ///< radius of a point, picture pixels

/// Where the control points of a cubic curve lie that is nearest to a quarter of a circle, in radii.
constexpr double kQuarter = 0.5522847498;

std::string curve(Point control1, Point control2, Point end)
{
  return "C" + svgPoint(control1) + " " + svgPoint(control2) + " " + svgPoint(end);
}

/// The unit circle under the map of its two half axes, which need not be at right angles.
std::string ellipse(Point centre, Point u, Point v)
{
  const auto at = [&](double x, double y) { return Point{centre.x + x * u.x + y * v.x, centre.y + x * u.y + y * v.y}; };
  std::string path = "M" + svgPoint(at(1, 0));
  double x = 1;
  double y = 0;
  for (int quarter = 0; quarter < 4; ++quarter)
  {
    path += curve(at(x - kQuarter * y, y + kQuarter * x), at(-y + kQuarter * x, x + kQuarter * y), at(-y, x));
    const double turned = -y;
    y = x;
    x = turned;
  }
  return path + "Z";
}

/// A curve through all points with a continuous direction (Catmull and Rom): the standard leaves the kind open.
std::string interpolated(const std::vector<Point>& points, bool isClosed)
{
  const std::size_t last = points.size() - 1;
  const auto control = [](Point point, Point before, Point after, double share) {
    return Point{point.x + share * (after.x - before.x), point.y + share * (after.y - before.y)};
  };
  std::string path = "M" + svgPoint(points.front());
  for (std::size_t i = 0; i < last; ++i)
  {
    const Point before = i > 0 ? points[i - 1] : points[isClosed ? last - 1 : 0];
    const Point after = i + 1 < last ? points[i + 2] : points[isClosed ? 1 : last];
    path += curve(control(points[i], before, points[i + 1], 1.0 / 6),
                  control(points[i + 1], points[i], after, -1.0 / 6), points[i + 1]);
  }
  return path;
}

Point half(Point first, Point last)
{
  return {(last.x - first.x) / 2, (last.y - first.y) / 2};
}

std::string pathOf(const std::string& type, const std::vector<Point>& points, bool isClosed)
{
  if (type == "POINT" && !points.empty())
    return circlePath(points[0], kDot);
  if (type == "CIRCLE" && points.size() >= 2)
    return circlePath(points[0], std::hypot(points[1].x - points[0].x, points[1].y - points[0].y));
  if (type == "ELLIPSE" && points.size() >= 4)
  {
    const Point major = half(points[0], points[1]);
    return ellipse({points[0].x + major.x, points[0].y + major.y}, major, half(points[2], points[3]));
  }
  if (points.size() >= 2 && (type == "POLYLINE" || type == "INTERPOLATED"))
    return (type == "POLYLINE" ? linePath(points) : interpolated(points, isClosed)) + (isClosed ? "Z" : "");
  return "";
}

std::vector<Point> pointsOf(const Placed& graphic, const Affine& matrix)
{
  const std::vector<Float32> data = conformance::coordinatesOf(graphic, DCM_GraphicData);
  std::vector<Point> points;
  for (std::size_t i = 0; i + 1 < data.size(); i += 2)
    points.push_back(mapped(matrix, data[i], data[i + 1]));
  return points;
}

/// The dashes of a line style: 16 bits, a picture pixel each, from the highest on (PS3.3 C.10.5.1.3); empty for a line
/// without gaps.
std::string dashes(const Placed& graphic)
{
  constexpr unsigned kBits = 16;
  const auto styles = conformance::itemsOf(graphic, DCM_LineStyleSequence);
  if (styles.empty() || conformance::textOf(styles.front(), DCM_LineDashingStyle) != "DASHED")
    return "";
  const auto pattern =
      static_cast<std::uint32_t>(conformance::numberOf(styles.front(), DCM_LinePattern).value_or(0)) & 0xFFFFU;
  const auto isOn = [pattern](unsigned place) { return (pattern >> (kBits - 1 - place % kBits) & 1U) != 0; };
  unsigned start = 0; // where a dash begins
  while (start < kBits && !(isOn(start) && !isOn(start + kBits - 1)))
    ++start;
  if (start == kBits)
    return "";
  std::string lengths;
  for (unsigned place = start, length = 0; place < start + kBits; ++place)
    if (++length; isOn(place) != isOn(place + 1))
    {
      lengths += (lengths.empty() ? "" : " ") + std::to_string(length);
      length = 0;
    }
  return base::joined(" stroke-dasharray=\"", lengths, "\" stroke-dashoffset=\"", (kBits - start) % kBits,
                      "\" stroke-linecap=\"butt\"");
}

} // namespace

std::string circlePath(Point centre, double radius)
{
  return ellipse(centre, {radius, 0}, {0, radius});
}

std::string linePath(const std::vector<Point>& points)
{
  std::string path = "M" + svgPoint(points.front());
  for (std::size_t i = 1; i < points.size(); ++i)
    path.append("L").append(svgPoint(points[i]));
  return path;
}

std::string lineBetween(Point first, Point last)
{
  return "<path d=\"" + linePath({first, last}) + "\"/>\n";
}

std::string shapeOf(const Placed& graphic, const Units& units)
{
  const std::string type = conformance::textOf(graphic, DCM_GraphicType);
  const Affine& matrix = units.named(conformance::textOf(graphic, DCM_GraphicAnnotationUnits));
  const bool isClosed = conformance::isClosed(graphic);
  const std::string path = pathOf(type, pointsOf(graphic, matrix), isClosed);
  if (path.empty())
    return "";
  const bool isFilled = isClosed && conformance::textOf(graphic, DCM_GraphicFilled) == "Y";
  const char* const fill = type == "POINT" ? "" : isFilled ? " fill-opacity=\"0.35\"" : " fill=\"none\"";
  return "<path d=\"" + path + "\"" + fill + dashes(graphic) + "/>\n";
}

} // namespace tarn::picture
