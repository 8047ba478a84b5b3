// A Cobb angle: two lines that need not meet, tied to their label.
#include "annotations/cobbangle.h"

#include "base/wrapping.h"

namespace impsconverter
{
namespace
{

/// One coordinate of a midpoint; the integer halving truncates toward zero.
float middle(int a, int b)
{
  const int half = tarn::base::wrapAdd(a, b) / 2;
  return static_cast<float>(half);
}

} // namespace

bool CobbAngle::parseSpecific(const std::string& type, const std::string& params)
{
  return specific(type, params)
      .number(rayBaseX, " Ray Base X")
      .number(rayBaseY, " Ray Base Y")
      .number(endX, " End X")
      .tracedAt(0)
      .number(endY, " End Y")
      .tracedAt(1)
      .number(rayEndX, " Ray End X")
      .number(rayEndY, " Ray End Y")
      .label(label, " Label")
      .skipNumbers(3)
      .word(mode, " Mode")
      .atLeast(7, "Cobb Angle");
}

std::vector<Point> CobbAngle::firstLine() const
{
  return {base(), pointAt(endX, endY)};
}

std::vector<Point> CobbAngle::secondLine() const
{
  return {pointAt(rayBaseX, rayBaseY), pointAt(rayEndX, rayEndY)};
}

Shape CobbAngle::shape() const
{
  Shape both{Form::lines, firstLine(), label};
  for (const Point& point : secondLine())
    both.points.push_back(point);
  return both;
}

bool CobbAngle::createSimple()
{
  const bool added = addPolyline(firstLine()) && addPolyline(secondLine());
  if (added)
    addHelperLines();
  return added;
}

void CobbAngle::addHelperLines()
{
  const Point first{middle(endX, baseX), middle(endY, baseY)};
  const Point second{middle(rayEndX, rayBaseX), middle(rayEndY, rayBaseY)};
  if (showValue)
  {
    const Point anchor = pointAt(valueAnchorX, valueAnchorY);
    addHelperLine(first, anchor);
    addHelperLine(second, anchor);
  }
  else
    addHelperLine(first, second);
  addExtension(mode, rayBaseX, rayBaseY, rayEndX, rayEndY);
}

} // namespace impsconverter
