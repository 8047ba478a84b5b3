// Display shutters (PS3.3 C.7.6.11).
#include "picture/shutter.h"

#include "base/text.h"
#include "picture/Svg.h"
#include "picture/graphics.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tarn::picture
{
namespace
{

using conformance::Placed;

/// The edges are pixels that are seen.
std::string rectangle(const Placed& state, const Affine& fromImage)
{
  const auto left = conformance::numberOf(state, DCM_ShutterLeftVerticalEdge);
  const auto right = conformance::numberOf(state, DCM_ShutterRightVerticalEdge);
  const auto upper = conformance::numberOf(state, DCM_ShutterUpperHorizontalEdge);
  const auto lower = conformance::numberOf(state, DCM_ShutterLowerHorizontalEdge);
  if (!left || !right || !upper || !lower)
    return "";
  return linePath({mapped(fromImage, *left - 1, *upper - 1), mapped(fromImage, *right, *upper - 1),
                   mapped(fromImage, *right, *lower), mapped(fromImage, *left - 1, *lower)});
}

/// The radius is in pixels along a row; on the screen it is a circle whatever shape pixels have.
std::string circle(const Placed& state, const Affine& fromImage)
{
  const auto center = conformance::numbersOf(state, DCM_CenterOfCircularShutter); // row, then column
  const auto radius = conformance::numberOf(state, DCM_RadiusOfCircularShutter);
  if (!center || center->size() != 2 || !radius)
    return "";
  const Point middle = mapped(fromImage, (*center)[1] - 0.5, (*center)[0] - 0.5);
  return circlePath(middle, *radius * std::hypot(fromImage.a, fromImage.b));
}

std::string polygon(const Placed& state, const Affine& fromImage)
{
  const auto vertices = conformance::numbersOf(state, DCM_VerticesOfThePolygonalShutter); // row, then column
  std::vector<Point> points;
  for (std::size_t i = 0; vertices && i + 1 < vertices->size(); i += 2)
    points.push_back(mapped(fromImage, (*vertices)[i + 1] - 0.5, (*vertices)[i] - 0.5));
  return points.size() < 3 ? "" : linePath(points);
}

} // namespace

Shutter shutterOf(const Placed& state, const Affine& fromImage)
{
  std::vector<std::string> paths;
  for (const std::string& shape : conformance::textsOf(state, DCM_ShutterShape))
  {
    paths.push_back(shape == "RECTANGULAR" ? rectangle(state, fromImage)
                    : shape == "CIRCULAR"  ? circle(state, fromImage)
                    : shape == "POLYGONAL" ? polygon(state, fromImage)
                                           : "");
    if (paths.back().empty() || paths.size() > 3) // a shape may stand there once
      paths.pop_back();
  }
  Shutter shutter;
  if (paths.empty())
    return shutter;
  constexpr double kWhite = 65535;
  const double grey = conformance::numberOf(state, DCM_ShutterPresentationValue).value_or(0);
  const auto level = static_cast<int>(255 * std::clamp(std::isfinite(grey) ? grey : 0, 0.0, kWhite) / kWhite);
  shutter.start =
      base::joined("<rect width=\"100%\" height=\"100%\" fill=\"rgb(", level, ",", level, ",", level, ")\"/>\n");
  for (std::size_t i = 0; i < paths.size(); ++i)
  {
    shutter.start += base::joined("<clipPath id=\"shutter", i, "\"><path d=\"", paths[i],
                                  "Z\"/></clipPath>\n<g clip-path=\"url(#shutter", i, ")\">\n");
    shutter.end += "</g>\n";
  }
  return shutter;
}

} // namespace tarn::picture
