// An angle at the base point, between two rays.
#include "annotations/angle.h"

namespace impsconverter
{

bool Angle::parseSpecific(const std::string& type, const std::string& params)
{
  return specific(type, params)
      .number(ray1X, " Ray 1 X")
      .number(ray1Y, " Ray 1 Y")
      .number(ray2X, " Ray 2 X")
      .number(ray2Y, " Ray 2 Y")
      .label(label, " Label")
      .word(mode, " Mode")
      .atLeast(5, "Angle");
}

std::vector<Point> Angle::rays() const
{
  return {pointAt(ray1X, ray1Y), base(), pointAt(ray2X, ray2Y)};
}

bool Angle::createSimple()
{
  const bool added = addPolyline(rays());
  if (added)
    addExtension(mode, baseX, baseY, ray2X, ray2Y);
  return added;
}

bool Angle::createCompound()
{
  compound = true;
  return addCompound(GraphicType::multiLine, {base(), pointAt(ray1X, ray1Y), base(), pointAt(ray2X, ray2Y)});
}

} // namespace impsconverter
