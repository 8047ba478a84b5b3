#include "annotations/cobbangle.h"

#include "base/report.h"
#include "annotations/extension.h"

#include <cstdio>

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
  LabelBuffer buffer;
  LabelBuffer modeBuffer;
  int unused = 0;
  const int count =
      std::sscanf(params.c_str(), " %d %d %d %d %d %d " LABEL_FORMAT " %d %d %d " LABEL_FORMAT, &rayBaseX, &rayBaseY,
                  &endX, &endY, &rayEndX, &rayEndY, buffer.data(), &unused, &unused, &unused, modeBuffer.data());
  if (!enoughArguments(type, count, 7))
    return false;
  if (count == 11)
    mode = modeBuffer.data();
  label = buffer.decoded();
  if (debug)
  {
    tarn::base::trace("Cobb Angle arguments: ", count);
    tarn::base::trace(" End X: ", endX);
    tarn::base::trace(" End Y: ", endY);
    tarn::base::trace(" Ray Base X: ", rayBaseX);
    tarn::base::trace(" Ray Base Y: ", rayBaseY);
    tarn::base::trace(" Ray End X: ", rayEndX);
    tarn::base::trace(" Ray End Y: ", rayEndY);
    tarn::base::trace(" Label: ", label);
    tarn::base::trace(" Mode: ", mode);
  }
  return true;
}

bool CobbAngle::createSimple()
{
  const bool added = addPolyline({static_cast<Float32>(baseX), static_cast<Float32>(baseY), static_cast<Float32>(endX),
                                  static_cast<Float32>(endY)}) &&
                     addPolyline({static_cast<Float32>(rayBaseX), static_cast<Float32>(rayBaseY),
                                  static_cast<Float32>(rayEndX), static_cast<Float32>(rayEndY)});
  if (added)
    addHelperLines();
  return added;
}

void CobbAngle::addHelperLines()
{
  const float firstX = middle(endX, baseX);
  const float firstY = middle(endY, baseY);
  const float secondX = middle(rayEndX, rayBaseX);
  const float secondY = middle(rayEndY, rayBaseY);
  if (showValue)
  {
    const auto anchorX = static_cast<float>(valueAnchorX);
    const auto anchorY = static_cast<float>(valueAnchorY);
    addHelperLine(firstX, firstY, anchorX, anchorY);
    addHelperLine(secondX, secondY, anchorX, anchorY);
  }
  else
    addHelperLine(firstX, firstY, secondX, secondY);
  if (mode == kExtensionMode)
    addHelperLine(static_cast<float>(rayBaseX), static_cast<float>(rayBaseY), mirrored(rayBaseX, rayEndX),
                  mirrored(rayBaseY, rayEndY));
}

bool CobbAngle::createText()
{
  return addValueLabel(label);
}

} // namespace impsconverter
