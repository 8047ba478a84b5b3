#include "annotations/spinelabel.h"

#include "annotations/distance.h"
#include "base/wrapping.h"

namespace impsconverter
{
namespace
{

/// Image pixels.
constexpr int kSquareSide = 5;
constexpr float kSquareMiddle = 3.0F;
constexpr float kLongestUntied = 20.0F;

} // namespace

bool SpineLabel::parseSpecific(const std::string& type, const std::string& params)
{
  return specific(type, params)
      .skipNumbers(2)
      .number(textX)
      .number(textY)
      .label(label, " Label")
      .skipNumbers(1)
      .atLeast(6, "SpineLabel");
}

bool SpineLabel::createSimple()
{
  const auto left = static_cast<Float32>(baseX);
  const auto top = static_cast<Float32>(baseY);
  const auto right = static_cast<Float32>(tarn::base::wrapAdd(baseX, kSquareSide));
  const auto bottom = static_cast<Float32>(tarn::base::wrapAdd(baseY, kSquareSide));
  const bool added = addPolyline({left, top, right, top, right, bottom, left, bottom, left, top});
  if (added && showValue && isLabelAway())
    addTie();
  return added;
}

bool SpineLabel::isLabelAway() const
{
  const double distance = vectorLength(tarn::base::wrapSub(textX, baseX), tarn::base::wrapSub(textY, baseY));
  return static_cast<float>(distance) > kLongestUntied;
}

void SpineLabel::addTie()
{
  float width = 0.0F;
  float height = 0.0F;
  calcTextBox(label, width, height);
  addHelperLine(static_cast<float>(textX) + width * 0.5F, static_cast<float>(textY) + height * 0.5F,
                static_cast<float>(baseX) + kSquareMiddle, static_cast<float>(baseY) + kSquareMiddle);
}

bool SpineLabel::createText()
{
  const int x = textX == baseX ? tarn::base::wrapAdd(textX, kSquareSide) : textX;
  return !showValue || addText(x, textY, label, false);
}

} // namespace impsconverter
