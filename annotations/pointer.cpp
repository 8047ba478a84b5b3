// An arrow: its shaft, and a head of two barbs.
#include "annotations/pointer.h"

#include "base/wrapping.h"

#include <cmath>

namespace impsconverter
{
namespace
{

/// The barbs reach this far back, in image pixels along the shaft.
constexpr float kHeadLength = 8.0F;

/// One coordinate of a barb's end, `offset` taken to the nearest integer, halves away from zero.
int barb(int tip, double offset)
{
  return tarn::base::wrapAdd(tip, static_cast<int>(std::lround(offset)));
}

} // namespace

bool Pointer::parseSpecific(const std::string& type, const std::string& params)
{
  return specific(type, params).number(endX, " End X").number(endY, " End Y").atLeast(2, "Pointer");
}

bool Pointer::createSimple()
{
  return addPolyline(shaft()) && addHead();
}

bool Pointer::addHead()
{
  const int dx = tarn::base::wrapSub(endX, baseX);
  const int dy = tarn::base::wrapSub(endY, baseY);
  if (dx == 0 && dy == 0)
    return true;
  const double length = vectorLength(dx, dy);
  const double a = static_cast<float>(dx) * kHeadLength / length;
  const double b = static_cast<float>(dy) * kHeadLength / length;
  return addPolyline(
      {pointAt(barb(baseX, a + b), barb(baseY, b - a)), base(), pointAt(barb(baseX, a - b), barb(baseY, a + b))});
}

bool Pointer::createCompound()
{
  compound = true;
  return addCompound(GraphicType::arrow, {pointAt(endX, endY), base()});
}

} // namespace impsconverter
