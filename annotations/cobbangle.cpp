#include "annotations/cobbangle.h"

#include "annotations/extension.h"

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
