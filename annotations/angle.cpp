#include "annotations/angle.h"

#include "base/report.h"
#include "annotations/extension.h"

#include <cstdio>

namespace impsconverter
{

bool Angle::parseSpecific(const std::string& type, const std::string& params)
{
  LabelBuffer buffer;
  LabelBuffer modeBuffer;
  const int count = std::sscanf(params.c_str(), " %d %d %d %d " LABEL_FORMAT " " LABEL_FORMAT, &ray1X, &ray1Y, &ray2X,
                                &ray2Y, buffer.data(), modeBuffer.data());
  if (!enoughArguments(type, count, 5))
    return false;
  if (count == 6)
    mode = modeBuffer.data();
  label = buffer.decoded();
  if (debug)
  {
    tarn::base::trace("Angle arguments: ", count);
    tarn::base::trace(" Ray 1 X: ", ray1X);
    tarn::base::trace(" Ray 1 Y: ", ray1Y);
    tarn::base::trace(" Ray 2 X: ", ray2X);
    tarn::base::trace(" Ray 2 Y: ", ray2Y);
    tarn::base::trace(" Label: ", label);
    tarn::base::trace(" Mode: ", mode);
  }
  return true;
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
