#include "annotations/angle.h"

#include "annotations/extension.h"

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

bool Angle::createSimple()
{
  const auto vertexX = static_cast<Float32>(baseX);
  const auto vertexY = static_cast<Float32>(baseY);
  const bool added = addPolyline({static_cast<Float32>(ray1X), static_cast<Float32>(ray1Y), vertexX, vertexY,
                                  static_cast<Float32>(ray2X), static_cast<Float32>(ray2Y)});
  if (added && mode == kExtensionMode)
    addHelperLine(vertexX, vertexY, mirrored(baseX, ray2X), mirrored(baseY, ray2Y));
  return added;
}

bool Angle::createCompound()
{
  compound = true;
  const auto vertexX = static_cast<Float32>(baseX);
  const auto vertexY = static_cast<Float32>(baseY);
  DcmItem* item = addCompound({vertexX, vertexY, static_cast<Float32>(ray1X), static_cast<Float32>(ray1Y), vertexX,
                               vertexY, static_cast<Float32>(ray2X), static_cast<Float32>(ray2Y)},
                              "MULTILINE");
  if (item)
    traceItem(*item);
  return item != nullptr;
}

bool Angle::createText()
{
  return addValueLabel(label);
}

} // namespace impsconverter
